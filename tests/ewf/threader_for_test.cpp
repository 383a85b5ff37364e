// The parallel loop services inside arenas larger than this machine, so that
// requests of more than two threads take every path.
#include "ewf/threader_chunks.hpp"
#include "recorder.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include <memory>
#include <thread>

namespace orb::test {
namespace {

// The runtime sizes its worker pool to the machine; allow the arenas of these
// tests real threads, so that calls of one loop do run at the same time.
const tbb::global_control kWorkers(tbb::global_control::max_allowed_parallelism, 8);

enum class Shape {
  slot,     // thread number is an arena slot below P
  section,  // thread number is the index itself
  chunk,    // thread number is i / length, increasing inside a chunk
};

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
    if (c.shape == Shape::slot) {
      EXPECT_LT(rec.thread[i].load(), c.arena) << "index " << i;
    } else if (c.shape == Shape::section) {
      EXPECT_EQ(rec.thread[i].load(), i);
    } else {
      EXPECT_EQ(rec.thread[i].load(), i / c.length) << "index " << i;
      EXPECT_EQ(rec.position[i].load(), i % c.length) << "index " << i << " out of order in its chunk";
    }
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
    for (auto &r : nest.inner) r = std::make_unique<Recorder>(300), r->work = 0;
    tbb::task_arena(4).execute([&] { set->loop(8, 0, &nest, run_inner); });
    for (auto &r : nest.inner) EXPECT_EQ(r->total(), 300) << set->name;

    std::atomic<int> wrong{0};
    auto run = [&](int p) {
      tbb::task_arena arena(p);
      for (int round = 0; round < 40; ++round) {
        Recorder rec(257);
        rec.work = 0;
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

}  // namespace
}  // namespace orb::test
