// The parallel loop services: which indices each call is told it runs, with
// which thread number and count, inside arenas larger than this machine so
// that requests of more than two threads take every path.
#include "ewf/threader_chunks.hpp"
#include "recorder.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/task_arena.h>

#include <thread>

namespace {

using orb::test::kDf;
using orb::test::kStx;
using orb::test::Recorder;
using orb::test::ThreaderSet;

// How a case expects its indices to be reported.
enum class Shape {
  none,     // no call at all
  slot,     // general loop: thread number is an arena slot below P
  section,  // thread number is the index itself
  chunk,    // thread number is i / length, in increasing order inside a chunk
};

struct ForCase {
  const char *name;
  const ThreaderSet *set;
  int arena;  // P
  int64_t n;
  int t;
  Shape shape;
  int nthreads;      // thread count every call must be told
  int length = 0;    // chunk length for Shape::chunk
  int expected = 0;  // number of indices called; n when 0 and shape != none
};

class ThreaderFor : public ::testing::TestWithParam<ForCase> {};

TEST_P(ThreaderFor, CallsEveryIndexOnceWithItsThreadNumber) {
  const ForCase &c = GetParam();
  const int indices = c.shape == Shape::none ? 0 : (c.expected ? c.expected : static_cast<int>(c.n));
  Recorder rec(indices > 0 ? indices : 1);
  tbb::task_arena arena(c.arena);
  arena.execute([&] { c.set->loop(c.n, c.t, &rec, Recorder::record); });

  EXPECT_EQ(rec.out_of_range.load(), 0);
  EXPECT_EQ(rec.overlaps.load(), 0) << "a thread number was used by two calls at once";
  EXPECT_EQ(rec.total_calls(), indices);
  for (int i = 0; i < indices; ++i) {
    ASSERT_EQ(rec.calls[i].load(), 1) << "index " << i;
    EXPECT_EQ(rec.nthreads[i].load(), c.nthreads) << "index " << i;
    const int thr = rec.thread[i];
    switch (c.shape) {
      case Shape::slot:
        EXPECT_GE(thr, 0) << "index " << i;
        EXPECT_LT(thr, c.arena) << "index " << i;
        break;
      case Shape::section:
        EXPECT_EQ(thr, i);
        break;
      case Shape::chunk:
        EXPECT_EQ(thr, i / c.length) << "index " << i;
        EXPECT_EQ(rec.position[i].load(), i % c.length) << "index " << i << " out of order in its chunk";
        break;
      case Shape::none:
        break;
    }
  }
}

const ForCase kForCases[] = {
    // Statistics, fewer threads than the arena: chunks of n / t + 1.
    {"stx_n10_t3", &kStx, 4, 10, 3, Shape::chunk, 3, 4},
    {"stx_n10_t4", &kStx, 8, 10, 4, Shape::chunk, 4, 3},
    {"stx_n10_t1", &kStx, 4, 10, 1, Shape::chunk, 1, 11},
    {"stx_n12_t5", &kStx, 8, 12, 5, Shape::chunk, 4, 3},
    {"stx_n3_t2", &kStx, 4, 3, 2, Shape::chunk, 2, 2},
    {"stx_n1000_t7", &kStx, 8, 1000, 7, Shape::chunk, 7, 143},
    {"stx_t_equals_n", &kStx, 8, 5, 5, Shape::section, 5},
    // Everything else is the general loop, counted with P (or t when t == P).
    {"stx_t_equals_P", &kStx, 4, 100, 4, Shape::slot, 4},
    {"stx_t_above_P", &kStx, 4, 100, 9, Shape::slot, 4},
    {"stx_t_zero", &kStx, 8, 100, 0, Shape::slot, 8},
    {"stx_t_negative", &kStx, 4, 100, -3, Shape::slot, 4},
    {"stx_t_equals_n_equals_P", &kStx, 4, 4, 4, Shape::slot, 4},
    {"stx_long_loop", &kStx, 8, 20000, 0, Shape::slot, 8},
    {"stx_n_zero_chunked", &kStx, 4, 0, 2, Shape::none, 0},
    {"stx_n_negative_chunked", &kStx, 4, -100, 2, Shape::none, 0},
    {"stx_n_negative_general", &kStx, 4, -5, 0, Shape::none, 0},
    // Only the low 32 bits of n count.
    {"stx_n_above_32_bits", &kStx, 4, (int64_t{1} << 32) + 6, 0, Shape::slot, 4, 0, 6},
    // Data fitting, fewer threads than the arena: every index its own section.
    {"df_n10_t3", &kDf, 4, 10, 3, Shape::section, 10},
    {"df_n3_t3", &kDf, 8, 3, 3, Shape::section, 3},
    {"df_n10_t1", &kDf, 4, 10, 1, Shape::section, 10},
    {"df_t_equals_P", &kDf, 8, 50, 8, Shape::slot, 8},
    {"df_t_above_P", &kDf, 4, 50, 5, Shape::slot, 4},
    {"df_t_zero", &kDf, 4, 50, 0, Shape::slot, 4},
    {"df_n_zero", &kDf, 4, 0, 2, Shape::none, 0},
    {"df_n_negative", &kDf, 8, -7, 0, Shape::none, 0},
};

INSTANTIATE_TEST_SUITE_P(Cases, ThreaderFor, ::testing::ValuesIn(kForCases),
                         [](const auto &info) { return std::string(info.param.name); });

// The worked table beside the chunk arithmetic.
struct PlanCase {
  int n, t;
  int64_t length, count;
};

class ChunkPlanTable : public ::testing::TestWithParam<PlanCase> {};

TEST_P(ChunkPlanTable, MatchesTheWorkedExample) {
  const PlanCase &c = GetParam();
  const orb::thr::ChunkPlan p = orb::thr::plan_chunks(c.n, c.t);
  EXPECT_EQ(p.length, c.length);
  EXPECT_EQ(p.count, c.count);
}

INSTANTIATE_TEST_SUITE_P(Table, ChunkPlanTable,
                         ::testing::Values(PlanCase{10, 1, 11, 1}, PlanCase{10, 2, 6, 2}, PlanCase{10, 3, 4, 3},
                                           PlanCase{10, 4, 3, 4}, PlanCase{12, 5, 3, 4}, PlanCase{3, 5, 1, 3},
                                           PlanCase{0, 3, 0, 0}, PlanCase{-4, 3, 0, 0},
                                           // L would overflow 32 bits here.
                                           PlanCase{2147483647, 1, 2147483648LL, 1}));

// A callback that itself runs a loop: the inner loop must not disturb the
// outer one's thread numbers or lose indices.
struct Nested {
  const ThreaderSet *set;
  Recorder *outer;
  Recorder *inner[8];
};

int nested_body(int index, int thr, int nthr, void *context) {
  auto *nest = static_cast<Nested *>(context);
  nest->set->loop(300, 0, nest->inner[index], Recorder::record);
  return Recorder::record(index, thr, nthr, nest->outer);
}

TEST(ThreaderForNesting, InnerLoopsRunCompletely) {
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    Recorder outer(8);
    std::vector<std::unique_ptr<Recorder>> inner;
    Nested nest{set, &outer, {}};
    for (int k = 0; k < 8; ++k) {
      inner.push_back(std::make_unique<Recorder>(300));
      inner.back()->work = 0;
      nest.inner[k] = inner.back().get();
    }
    tbb::task_arena arena(4);
    arena.execute([&] { set->loop(8, 0, &nest, nested_body); });
    EXPECT_EQ(outer.total_calls(), 8) << set->name;
    for (int k = 0; k < 8; ++k) {
      EXPECT_EQ(inner[k]->total_calls(), 300) << set->name << " inner loop " << k;
      for (int i = 0; i < 300; ++i) ASSERT_EQ(inner[k]->calls[i].load(), 1);
    }
  }
}

// Loops started at once from two threads in arenas of different sizes share
// each service's affinity history; every loop must still call every index once
// and report slots of its own arena.
TEST(ThreaderForConcurrency, LoopsFromTwoArenasAtOnce) {
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    std::atomic<int> failures{0};
    auto run = [&](int concurrency) {
      tbb::task_arena arena(concurrency);
      for (int round = 0; round < 40; ++round) {
        Recorder rec(257);
        rec.work = 0;
        arena.execute([&] { set->loop(257, 0, &rec, Recorder::record); });
        for (int i = 0; i < 257; ++i)
          if (rec.calls[i] != 1 || rec.nthreads[i] != concurrency || rec.thread[i] < 0 ||
              rec.thread[i] >= concurrency)
            failures.fetch_add(1);
      }
    };
    std::thread a(run, 3), b(run, 6);
    a.join();
    b.join();
    EXPECT_EQ(failures.load(), 0) << set->name;
  }
}

TEST(ThreaderFor, NullCallbackDoesNothing) {
  tbb::task_arena arena(4);
  arena.execute([] {
    orb_stx_serv_threader_for(10, 0, nullptr, nullptr);
    orb_stx_serv_threader_for(10, 3, nullptr, nullptr);
    orb_df_serv_threader_for(10, 3, nullptr, nullptr);
  });
  SUCCEED();
}

}  // namespace
