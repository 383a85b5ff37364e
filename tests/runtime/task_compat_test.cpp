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

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {
std::mutex heap_lock;
std::set<void *> live;          // 128-aligned blocks not yet returned
std::atomic<int> allocations{0};
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
  ++allocations;
  std::lock_guard<std::mutex> g(heap_lock);
  return *live.insert(p).first;
}

extern "C" void orb_serv_deallocate(void *ptr) {
  static const auto real = ORB_TEST_NEXT(orb_serv_deallocate);
  std::unique_lock<std::mutex> g(heap_lock);
  live.erase(ptr);
  g.unlock();
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

thread_local const void *last_body = nullptr;  // the node that ran last on this thread

//! A graph built as the factorization drivers build theirs.  Each node runs
//! `on_run` and counts a violation if a predecessor had not finished, its
//! memory was not zeroed, or, handed back, it is not the next body on its
//! giver's thread; then it releases its successors (the sink last).
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

  explicit Graph(int n) : nodes(n), preds(n), giver(n, -1), runs(n) {
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
    giver[b] = a;
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
    if (giver[i] >= 0) violations += last_body != nodes[giver[i]];
    if (on_run) on_run(i);
    for (int p : preds[i]) violations += !runs[p];
    violations += nodes[i]->untouched != 0;
    last_body = nodes[i];
    ++runs[i];
  }
  bool each_ran_once_in_order() const {
    return violations == 0 && std::all_of(runs.begin(), runs.end(), [](const auto &r) { return r == 1; });
  }

  empty_task *sink = task::allocate<empty_task>();
  std::vector<Node *> nodes;
  std::vector<std::vector<int>> preds;
  std::vector<int> giver;  // the node that hands this one back, or -1
  std::vector<std::atomic<int>> runs;
  std::atomic<int> violations{0};
  std::function<void(int)> on_run;
};

class TaskCompat : public ::testing::Test {
 protected:
  void SetUp() override {
    alarm(10);  // a lost release shows as a waiter that never wakes
    allocations = 0;
  }
  void TearDown() override {
    alarm(0);
    refuse = 0;
    for (int i = 0; i < 2000 && live_blocks(); ++i) std::this_thread::sleep_for(milliseconds(1));
    EXPECT_EQ(live_blocks(), 0u);  // the task that wakes an owner frees itself just after
  }
};

//! A diamond; a long chain, every third link handed back; and six steps of six
//! columns as a factorization's updates, each task building and waiting for a
//! nested diamond as a panel factored by a graph of its own does.
void diamond(Graph &g) { g.edge(0, 1), g.edge(0, 2), g.edge(1, 3), g.edge(2, 3), g.to_sink(3); }
void chain(Graph &g) {
  for (int i = 0; i + 1 < 1000; ++i) (g.*(i % 3 ? &Graph::edge : &Graph::hand_back))(i, i + 1);
  g.to_sink(999);
}
void nested_steps(Graph &g) {
  for (int s = 0; s < 5; ++s)
    for (int j = 0; j < 6; ++j) {
      if (j) g.edge(6 * s + j, 6 * s + 6 + j);
      g.edge(6 * s, 6 * s + 6 + j);  // the step's panel goes last, as it does in a driver
    }
  for (int j = 30; j < 36; ++j) g.to_sink(j);
  g.on_run = [&g](int) {
    Graph inner(4);
    diamond(inner);
    inner.run();
    g.violations += !inner.each_ran_once_in_order();
  };
}
using Shape = std::pair<int, void (*)(Graph &)>;  // nodes, edges

class Graphs : public TaskCompat, public ::testing::WithParamInterface<Shape> {};

// Four callers, each inside a task group, the first a cancelled one, whose
// cancellation must not reach its graphs.
TEST_P(Graphs, EachTaskRunsOnceAfterItsPredecessorsFromConcurrentCallers) {
  const Shape shape = GetParam();
  std::vector<std::thread> threads;
  for (int c = 0; c < 4; ++c)
    threads.emplace_back([c, shape] {
      tbb::task_group group;
      group.run([&] {
        if (c == 0) group.cancel();
        for (int round = 0; round < 4; ++round) {
          Graph g(shape.first);
          shape.second(g);
          g.run();
          EXPECT_TRUE(g.each_ran_once_in_order());
        }
      });
      group.wait();
    });
  for (auto &t : threads) t.join();
}

INSTANTIATE_TEST_SUITE_P(Shapes, Graphs, ::testing::Values(Shape{4, diamond}, Shape{1000, chain}, Shape{36, nested_steps}));

// Roots (none, one, many) each run once from zeroed 128-byte blocks, all freed
// when the call returns; without memory for wrappers they run on the caller.
// Each hands back a task, which runs next on its thread and which the caller
// waits for even when it runs late on another thread.
class Roots : public TaskCompat, public ::testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(Roots, RunOnceAndAreFreedBeforeReturn) {
  const auto [n, no_wrappers] = GetParam();
  Graph g(2 * n);
  for (int i = 0; i < n; ++i) g.hand_back(i, n + i);
  g.on_run = [&, caller = std::this_thread::get_id()](int i) {
    const bool on_caller = std::this_thread::get_id() == caller;
    g.violations += no_wrappers && !on_caller;
    std::this_thread::sleep_for(milliseconds(i < n || on_caller ? 0 : 2));
  };
  refuse = no_wrappers ? n : 0;
  g.run_as_roots();
  EXPECT_EQ(live_blocks(), 0u);
  EXPECT_TRUE(g.each_ran_once_in_order());
  EXPECT_EQ(allocations, 1 + 2 * n + (no_wrappers ? 0 : n));  // the sink, the tasks, the roots' wrappers
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

// A task of a cancelled graph, and a sink with predecessors but nothing
// ready, end the process rather than hang.
TEST(TaskCompatDeath, ImpossibleStatesTerminate) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(([] {
                 Graph g(2);
                 g.edge(0, 1), g.to_sink(1);
                 g.on_run = [](int) { tbb::task::current_context()->cancel_group_execution(); };
                 g.run();
               }()),
               "");
  EXPECT_DEATH(([] {
                 Graph g(1);
                 g.to_sink(0), g.nodes[0]->increment_ref_count();  // a predecessor that does not exist
                 g.run();
               }()),
               "");
}

}  // namespace
}  // namespace orb::test
