// The counted tasks under the LAPACK graphs: each task runs once, after its
// predecessors; a sink wakes its owner with its last predecessor; a task a
// body hands back runs next on the same thread; every object comes from the
// core's allocator, zero-filled, and goes back to it.  The allocator is
// interposed: it fills blocks with 0xff, tracks the live ones, and can refuse.
#include "hooks.hpp"
#include "runtime/task_compat.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/task.h>
#include <oneapi/tbb/task_group.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {
std::mutex heap_lock;
std::set<void *> live;          // 128-aligned blocks not yet returned
std::vector<int64_t> sizes;     // their requested sizes, in order
std::atomic<int> refuse{0};     // 128-aligned requests still to refuse
}  // namespace

extern "C" void *orb_serv_allocate(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_allocate);
  if (alignment != 128) return real(bytes, alignment);
  for (int left = refuse.load(); left > 0;)
    if (refuse.compare_exchange_weak(left, left - 1)) return nullptr;
  void *p = real(bytes, alignment);
  if (!p) return p;
  std::memset(p, 0xff, static_cast<size_t>(bytes));
  std::lock_guard<std::mutex> g(heap_lock);
  sizes.push_back(bytes);
  return *live.insert(p).first;
}

extern "C" void orb_serv_deallocate(void *ptr) {
  static const auto real = ORB_TEST_NEXT(orb_serv_deallocate);
  {
    std::lock_guard<std::mutex> g(heap_lock);
    live.erase(ptr);
  }
  real(ptr);
}

namespace orb::test {
namespace {

using namespace orb_lapack_tsq_compat::detail;
using std::chrono::milliseconds;

size_t live_blocks() {
  std::lock_guard<std::mutex> g(heap_lock);
  return live.size();
}

thread_local int64_t bodies_here = 0;  // bodies run so far on this thread

//! A graph built as the factorization drivers build theirs.  Each node runs
//! `on_run`, counts a violation if a predecessor had not finished or its
//! memory was not zeroed, releases its successors (the sink last) and returns
//! the node it hands back, if any.
struct Graph {
  struct Node final : task {
    Node(Graph &g, int i) : g(&g), i(i) {}
    task *execute() override {
      g->visit(i);
      release(succ.data(), static_cast<int64_t>(succ.size()));
      return next;
    }
    Graph *g;
    int i;
    std::vector<task *> succ;
    task *next = nullptr;
    int untouched;  // left alone by the constructor: 0 unless the fill was lost
  };

  explicit Graph(int n) : nodes(n), preds(n), runs(n), done(n), thread(n), serial(n) {
    for (int i = 0; i < n; ++i) nodes[i] = task::allocate<Node>(*this, i);
  }
  void edge(int a, int b) {
    nodes[a]->succ.push_back(nodes[b]);
    nodes[b]->increment_ref_count();
    preds[b].push_back(a);
  }
  void hand_back(int a, int b) {  // b is counted as if by an edge, so it is never ready
    edge(a, b);
    nodes[a]->succ.pop_back();
    nodes[a]->next = nodes[b];
  }
  void to_sink(int a) {
    nodes[a]->succ.push_back(sink);
    sink->increment_ref_count();
  }
  void ready(task_list &list) {
    for (Node *t : nodes)
      if (t->ref_count() == 0) list.push_back(*t);
  }
  void run() {
    sink->increment_ref_count();  // the owner's
    task_list list;
    ready(list);
    sink->spawn_and_wait_for_all(list);
    EXPECT_EQ(sink->ref_count(), 1);
    task::destroy(sink);
  }
  void run_as_roots() {
    task_list list;
    ready(list);
    task::spawn_root_and_wait(list);
    list.push_back(*sink);  // the list is empty and usable again
    EXPECT_EQ(list.pop_front(), sink);
    EXPECT_TRUE(list.empty());
    task::destroy(sink);
  }
  void visit(int i) {
    if (on_run) on_run(i);
    for (int p : preds[i]) violations += !done[p];
    thread[i] = std::this_thread::get_id();
    serial[i] = ++bodies_here;
    violations += nodes[i]->untouched != 0;
    ++runs[i];
    done[i] = true;
  }
  bool each_ran_once_in_order() const {
    for (const auto &r : runs)
      if (r != 1) return false;
    return violations == 0;
  }

  empty_task *sink = task::allocate<empty_task>();
  std::vector<Node *> nodes;
  std::vector<std::vector<int>> preds;
  std::vector<std::atomic<int>> runs;
  std::vector<std::atomic<bool>> done;
  std::vector<std::thread::id> thread;
  std::vector<int64_t> serial;
  std::atomic<int> violations{0};
  std::function<void(int)> on_run;
};

class TaskCompat : public ::testing::Test {
 protected:
  void SetUp() override {
    alarm(10);  // a lost release shows as a waiter that never wakes
    std::lock_guard<std::mutex> g(heap_lock);
    live.clear(), sizes.clear();
  }
  void TearDown() override {
    alarm(0);
    refuse = 0;
    for (int i = 0; i < 2000 && live_blocks(); ++i) std::this_thread::sleep_for(milliseconds(1));
    EXPECT_EQ(live_blocks(), 0u);  // the task that wakes an owner frees itself just after
  }
};

//! Diamond, long chain, and six steps of six columns as a factorization's updates.
void diamond(Graph &g) { g.edge(0, 1), g.edge(0, 2), g.edge(1, 3), g.edge(2, 3), g.to_sink(3); }
void chain(Graph &g) {
  for (int i = 0; i + 1 < 1000; ++i) g.edge(i, i + 1);
  g.to_sink(999);
}
void steps(Graph &g) {
  for (int s = 0; s < 5; ++s)
    for (int j = 0; j < 6; ++j) {
      if (j) g.edge(6 * s + j, 6 * s + 6 + j);
      g.edge(6 * s, 6 * s + 6 + j);  // the step's panel goes last, as it does in a driver
    }
  for (int j = 30; j < 36; ++j) g.to_sink(j);
}
struct Shape {
  const char *name;
  int nodes;
  void (*build)(Graph &);
};

class Graphs : public TaskCompat, public ::testing::WithParamInterface<std::tuple<Shape, int>> {};

TEST_P(Graphs, EachTaskRunsOnceAfterItsPredecessorsFromConcurrentCallers) {
  const auto [shape, callers] = GetParam();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int c = 0; c < callers; ++c)
    threads.emplace_back([&, shape = shape] {
      for (int round = 0; round < 4; ++round) {
        Graph g(shape.nodes);
        shape.build(g);
        g.run();
        wrong += !g.each_ran_once_in_order();
      }
    });
  for (auto &t : threads) t.join();
  EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Shapes, Graphs,
                         ::testing::Combine(::testing::Values(Shape{"diamond", 4, diamond}, Shape{"chain", 1000, chain},
                                                              Shape{"steps", 36, steps}),
                                            ::testing::Values(1, 4)),
                         [](const auto &info) {
                           return std::string(std::get<0>(info.param).name) + "_by_" + std::to_string(std::get<1>(info.param)) + "_callers";
                         });

// Roots (none, one, many) each run once from zeroed 128-byte blocks, all freed
// when the call returns; without memory for wrappers they run on the caller.
class Roots : public TaskCompat, public ::testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(Roots, RunOnceAndAreFreedBeforeReturn) {
  const auto [n, no_wrappers] = GetParam();
  Graph g(n);
  refuse = no_wrappers ? n : 0;
  g.run_as_roots();
  EXPECT_EQ(live_blocks(), 0u);
  EXPECT_TRUE(g.each_ran_once_in_order());
  std::vector<int64_t> want(n + 1, sizeof(Graph::Node));  // the sink, the roots, then their wrappers
  want[0] = 128;
  if (!no_wrappers) want.resize(2 * n + 1, 128);
  EXPECT_EQ(sizes, want);
  if (no_wrappers) {
    EXPECT_EQ(g.thread, std::vector<std::thread::id>(n, std::this_thread::get_id()));
  }
}

INSTANTIATE_TEST_SUITE_P(Counts, Roots, ::testing::Combine(::testing::Values(0, 1, 64), ::testing::Bool()));

// k predecessors: the last holds back until the others finished and the owner
// had time to wake early, were it going to.
class SinkRelease : public TaskCompat, public ::testing::WithParamInterface<int> {};

TEST_P(SinkRelease, OwnerWakesWithTheLastPredecessorOnly) {
  const int k = GetParam();
  std::atomic<int> others{0};
  std::atomic<bool> go{false}, returned{false};
  Graph g(k);
  for (int i = 0; i < k; ++i) g.to_sink(i);
  g.on_run = [&](int i) {
    while (i == 0 && !go) std::this_thread::yield();
    others += i > 0;
  };
  std::thread owner([&] { g.run(), returned = true; });
  for (int i = 0; i < 2000 && others < k - 1; ++i) std::this_thread::sleep_for(milliseconds(1));
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_FALSE(returned);
  go = true;
  owner.join();
  EXPECT_TRUE(g.each_ran_once_in_order());
}

INSTANTIATE_TEST_SUITE_P(Predecessors, SinkRelease, ::testing::Values(1, 2, 7));

// A handed-back task is the next body on the same thread, inside a graph and
// after a root; the caller of the roots waits for it even when it runs late
// on another thread.
TEST_F(TaskCompat, HandedBackTaskRunsNextOnSameThread) {
  Graph g(3);
  g.edge(0, 1), g.hand_back(1, 2), g.to_sink(2);
  g.run();
  EXPECT_TRUE(g.each_ran_once_in_order());
  EXPECT_EQ(g.thread[2], g.thread[1]);
  EXPECT_EQ(g.serial[2], g.serial[1] + 1);

  std::atomic<bool> returned{false};
  std::atomic<int> early{0};
  Graph r(16);
  for (int i = 0; i < 8; ++i) r.hand_back(i, 8 + i);
  r.on_run = [&, caller = std::this_thread::get_id()](int i) {
    if (i >= 8 && std::this_thread::get_id() != caller) std::this_thread::sleep_for(milliseconds(5));
    if (i < 8) std::this_thread::sleep_for(milliseconds(1));  // time for other threads to take roots
    early += returned;
  };
  r.run_as_roots();
  returned = true;
  std::this_thread::sleep_for(milliseconds(10));
  EXPECT_EQ(early, 0);
  EXPECT_TRUE(r.each_ran_once_in_order());
  for (int i = 8; i < 16; ++i) {
    EXPECT_EQ(r.thread[i], r.thread[i - 8]) << i;
    EXPECT_EQ(r.serial[i], r.serial[i - 8] + 1) << i;
  }
}

// A caller inside a cancelled task group still gets its whole graph.
TEST_F(TaskCompat, CallersCancellationDoesNotReachTheGraph) {
  Graph g(36);
  steps(g);
  tbb::task_group group;
  group.run([&] { group.cancel(), g.run(); });
  group.wait();
  EXPECT_TRUE(g.each_ran_once_in_order());
}

// A task may build and wait for a graph of its own, as a panel of a
// factorization does when it is factored by a nested graph.
TEST_F(TaskCompat, TasksRunNestedGraphs) {
  std::atomic<int> wrong{0};
  Graph g(36);
  steps(g);
  g.on_run = [&](int) {
    Graph inner(4);
    diamond(inner);
    inner.run();
    wrong += !inner.each_ran_once_in_order();
  };
  g.run();
  EXPECT_TRUE(g.each_ran_once_in_order());
  EXPECT_EQ(wrong, 0);
}

// Each ends the process: a sink that is run, a task of a cancelled graph, a
// sink with predecessors but nothing ready.
TEST(TaskCompatDeath, ImpossibleStatesTerminate) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto sink_run = [] {
    task_list list;
    list.push_back(*task::allocate<empty_task>());
    task::spawn_root_and_wait(list);
  };
  const auto cancelled = [] {
    Graph g(2);
    g.edge(0, 1), g.to_sink(1);
    g.on_run = [](int) { tbb::task::current_context()->cancel_group_execution(); };
    g.run();
  };
  const auto stuck = [] {
    Graph g(1);
    g.to_sink(0), g.nodes[0]->increment_ref_count();  // a predecessor that does not exist
    g.run();
  };
  EXPECT_DEATH(sink_run(), "");
  EXPECT_DEATH(cancelled(), "");
  EXPECT_DEATH(stuck(), "");
}

}  // namespace
}  // namespace orb::test
