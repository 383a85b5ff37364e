// The threader services of the statistics (stx) and data-fitting (df)
// modules, inside arenas larger than this machine so that requests of more
// than two threads take every path: the parallel loop, nested and concurrent
// loops, sections and the ordered loop.
#include "ewf/threader_chunks.hpp"

#include <orb/orb_threader.h>

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include <array>
#include <atomic>
#include <memory>
#include <numeric>
#include <thread>

namespace orb::test {
namespace {

// The runtime sizes its worker pool to the machine; allow the arenas of these
// tests real threads, so that calls of one loop do run at the same time.
const tbb::global_control kWorkers(tbb::global_control::max_allowed_parallelism, 8);

struct ThreaderSet {
  const char *name;
  void (*loop)(int64_t, int, void *, orb_threader_fn);
  void (*ordered_loop)(int64_t, int, void *, orb_threader_fn);
  void (*sections)(int, void *, orb_threader_fn);
};
const ThreaderSet kStx{"stx", orb_stx_serv_threader_for, orb_stx_serv_threader_for_ordered,
                       orb_stx_serv_threader_sections};
const ThreaderSet kDf{"df", orb_df_serv_threader_for, orb_df_serv_threader_for_ordered, orb_df_serv_threader_sections};

//! Per index: how often it was called, with which thread number and count,
//! and how many calls that thread number had received before it.
struct Recorder {
  static constexpr int kNumbers = 64;  // above any thread number a case hands out

  explicit Recorder(int n, int spin = 2000) : calls(n), thread(n), nthreads(n), position(n), work(spin) {}

  static int record(int index, int thr, int nthr, void *context) {
    auto *r = static_cast<Recorder *>(context);
    if (index < 0 || index >= static_cast<int>(r->calls.size()) || thr < 0 || thr >= kNumbers) {
      r->invalid.fetch_add(1);
      return 0;
    }
    r->calls[index].fetch_add(1);
    r->thread[index] = thr;
    r->nthreads[index] = nthr;
    r->position[index] = r->received[thr].fetch_add(1);
    // Per-thread scratch indexed by the number must never serve two calls at once.
    if (r->busy[thr].exchange(1)) r->overlaps.fetch_add(1);
    for (volatile int spin = 0; spin < r->work; spin = spin + 1) {
    }
    r->busy[thr] = 0;
    return 0;
  }

  int total() const { return std::accumulate(calls.begin(), calls.end(), 0); }

  std::vector<std::atomic<int>> calls, thread, nthreads, position;
  std::atomic<int> received[kNumbers] = {}, busy[kNumbers] = {};
  std::atomic<int> invalid{0}, overlaps{0};
  int work;  //!< spin per call, so that the calls of a loop overlap in time
};

// The thread number: an arena slot below P, the index itself, or i / length
// (called in order inside a chunk).
enum class Shape { slot, section, chunk };

struct ForCase {
  const char *name;
  const ThreaderSet *set;
  int arena;  // P
  int64_t n;
  int t;
  int calls;  // indices called: 0 .. calls-1
  Shape shape;
  int nthreads;    // thread count every call is told
  int length = 0;  // chunk length
};
void PrintTo(const ForCase &c, std::ostream *os) { *os << c.name; }
class ThreaderFor : public ::testing::TestWithParam<ForCase> {};

TEST_P(ThreaderFor, CallsEveryIndexOnceWithItsThreadNumber) {
  const ForCase &c = GetParam();
  Recorder rec(c.calls);
  tbb::task_arena(c.arena).execute([&] { c.set->loop(c.n, c.t, &rec, Recorder::record); });
  EXPECT_EQ(rec.invalid.load(), 0);
  EXPECT_EQ(rec.overlaps.load(), 0) << "a thread number served two calls at once";
  ASSERT_EQ(rec.total(), c.calls);
  for (int i = 0; i < c.calls; ++i) {
    ASSERT_EQ(rec.calls[i].load(), 1) << "index " << i;
    EXPECT_EQ(rec.nthreads[i].load(), c.nthreads) << "index " << i;
    if (c.shape == Shape::slot)
      EXPECT_LT(rec.thread[i].load(), c.arena) << "index " << i;
    else
      EXPECT_EQ(rec.thread[i].load(), c.shape == Shape::section ? i : i / c.length) << "index " << i;
    if (c.shape == Shape::chunk) EXPECT_EQ(rec.position[i].load(), i % c.length) << "index " << i << " out of order";
  }
}

const ForCase kCases[] = {
    // Statistics, 0 < t < P: chunks of n / t + 1 (the table beside the arithmetic).
    {"stx_n10_t1", &kStx, 4, 10, 1, 10, Shape::chunk, 1, 11},
    {"stx_n10_t2", &kStx, 4, 10, 2, 10, Shape::chunk, 2, 6},
    {"stx_n10_t3", &kStx, 4, 10, 3, 10, Shape::chunk, 3, 4},
    {"stx_n10_t4", &kStx, 8, 10, 4, 10, Shape::chunk, 4, 3},
    {"stx_n12_t5", &kStx, 8, 12, 5, 12, Shape::chunk, 4, 3},
    {"stx_n3_t5", &kStx, 8, 3, 5, 3, Shape::chunk, 3, 1},
    {"stx_t_equals_n", &kStx, 8, 5, 5, 5, Shape::section, 5},
    // Anything else: the general loop, counted as P (t itself when t == P).
    {"stx_t_equals_P", &kStx, 4, 100, 4, 100, Shape::slot, 4},
    {"stx_t_equals_n_equals_P", &kStx, 4, 4, 4, 4, Shape::slot, 4},
    {"stx_t_above_P", &kStx, 4, 100, 9, 100, Shape::slot, 4},
    {"stx_t_zero", &kStx, 8, 20000, 0, 20000, Shape::slot, 8},
    {"stx_t_negative", &kStx, 4, 100, -3, 100, Shape::slot, 4},
    {"stx_n_zero", &kStx, 4, 0, 2, 0, Shape::slot, 0},
    {"stx_n_negative_chunked", &kStx, 4, -100, 2, 0, Shape::slot, 0},
    {"stx_n_negative", &kStx, 4, -5, 0, 0, Shape::slot, 0},
    {"stx_n_low_32_bits", &kStx, 4, (int64_t{1} << 32) + 6, 0, 6, Shape::slot, 4},
    // Data fitting, 0 < t < P: every index its own section.
    {"df_n10_t3", &kDf, 4, 10, 3, 10, Shape::section, 10},
    {"df_n3_t3", &kDf, 8, 3, 3, 3, Shape::section, 3},
    {"df_t_equals_P", &kDf, 8, 50, 8, 50, Shape::slot, 8},
    {"df_t_above_P", &kDf, 4, 50, 5, 50, Shape::slot, 4},
    {"df_t_zero", &kDf, 4, 50, 0, 50, Shape::slot, 4},
    {"df_n_zero", &kDf, 4, 0, 2, 0, Shape::slot, 0},
};

INSTANTIATE_TEST_SUITE_P(Cases, ThreaderFor, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(ThreaderFor, ChunkLengthDoesNotOverflow) {
  EXPECT_EQ(orb::thr::plan_chunks(2147483647, 1).length, 2147483648LL);
  EXPECT_EQ(orb::thr::plan_chunks(2147483647, 1).count, 1);
}

// Loops nested in a callback, and loops started at once from arenas of
// different sizes, share each service's affinity history; every loop must
// still call every index once, with slots of its own arena.
struct Nest {
  const ThreaderSet *set;
  std::unique_ptr<Recorder> inner[8];
};

int run_inner(int index, int, int, void *context) {
  auto *nest = static_cast<Nest *>(context);
  nest->set->loop(300, 0, nest->inner[index].get(), Recorder::record);
  return 0;
}

TEST(ThreaderFor, NestedAndConcurrentLoops) {
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    Nest nest{set, {}};
    for (auto &r : nest.inner) r = std::make_unique<Recorder>(300, 0);
    tbb::task_arena(4).execute([&] { set->loop(8, 0, &nest, run_inner); });
    for (auto &r : nest.inner) EXPECT_EQ(r->total(), 300) << set->name;

    std::atomic<int> wrong{0};
    auto run = [&](int p) {
      tbb::task_arena arena(p);
      for (int round = 0; round < 40; ++round) {
        Recorder rec(257, 0);
        arena.execute([&] { set->loop(257, 0, &rec, Recorder::record); });
        for (int i = 0; i < 257; ++i) wrong += rec.calls[i] != 1 || rec.nthreads[i] != p || rec.thread[i] >= p;
      }
    };
    std::thread a(run, 3), b(run, 6);
    a.join();
    b.join();
    EXPECT_EQ(wrong.load(), 0) << set->name;
  }
}

// m sections when 1 <= m <= P, else P; each told it is section i of that many.
TEST(ThreaderSections, RunsOneCallPerSection) {
  for (const ThreaderSet *set : {&kStx, &kDf})
    for (auto [p, m, count] : {std::array<int, 3>{4, 3, 3}, {4, 4, 4}, {8, 1, 1}, {4, 0, 4}, {8, 0, 8}, {4, -2, 4}, {4, 9, 4}}) {
      Recorder rec(count);
      tbb::task_arena(p).execute([&] { set->sections(m, &rec, Recorder::record); });
      EXPECT_EQ(rec.invalid.load(), 0);
      ASSERT_EQ(rec.total(), count) << set->name << " m " << m;
      for (int i = 0; i < count; ++i)
        EXPECT_TRUE(rec.calls[i] == 1 && rec.thread[i] == i && rec.nthreads[i] == count) << set->name << " m " << m;
    }
}

// The ordered loop runs on the caller, in order, as thread 0 of 1, whatever t.
struct OrderedLog {
  std::thread::id caller;
  std::vector<int> indices;
  int wrong = 0;
};

int log_ordered(int index, int thr, int nthr, void *context) {
  auto *log = static_cast<OrderedLog *>(context);
  log->wrong += thr != 0 || nthr != 1 || std::this_thread::get_id() != log->caller;
  log->indices.push_back(index);
  return 0;
}

TEST(ThreaderForOrdered, RunsInOrderOnTheCaller) {
  for (const ThreaderSet *set : {&kStx, &kDf})
    for (int64_t n : {0, -3, 1, 37})
      for (int t : {0, 4, 64}) {
        OrderedLog log{std::this_thread::get_id(), {}, 0};
        tbb::task_arena(8).execute([&] { set->ordered_loop(n, t, &log, log_ordered); });
        EXPECT_EQ(log.wrong, 0);
        ASSERT_EQ(log.indices.size(), static_cast<size_t>(n > 0 ? n : 0)) << set->name;
        for (int i = 0; i < n; ++i) EXPECT_EQ(log.indices[i], i);
      }
}

}  // namespace
}  // namespace orb::test
