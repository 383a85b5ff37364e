// Sections, the ordered loop and pass-through, and the thread limit.
#include "recorder.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/task_arena.h>

#include <thread>
#include <vector>

namespace {

using orb::test::kDf;
using orb::test::kStx;
using orb::test::Recorder;
using orb::test::ThreaderSet;

struct SectionsCase {
  int arena;  // P
  int m;
  int sections;  // how many run, each told it is section i of this many
};

class ThreaderSections : public ::testing::TestWithParam<std::tuple<const ThreaderSet *, SectionsCase>> {};

TEST_P(ThreaderSections, RunsOneCallPerSection) {
  const ThreaderSet *set = std::get<0>(GetParam());
  const SectionsCase c = std::get<1>(GetParam());
  Recorder rec(c.sections);
  tbb::task_arena arena(c.arena);
  arena.execute([&] { set->sections(c.m, &rec, Recorder::record); });
  EXPECT_EQ(rec.out_of_range.load(), 0);
  EXPECT_EQ(rec.total_calls(), c.sections);
  for (int i = 0; i < c.sections; ++i) {
    EXPECT_EQ(rec.calls[i].load(), 1) << "section " << i;
    EXPECT_EQ(rec.thread[i].load(), i);
    EXPECT_EQ(rec.nthreads[i].load(), c.sections);
  }
}

INSTANTIATE_TEST_SUITE_P(Counts, ThreaderSections,
                         ::testing::Combine(::testing::Values(&kStx, &kDf),
                                            ::testing::Values(SectionsCase{4, 3, 3}, SectionsCase{4, 4, 4},
                                                              SectionsCase{8, 1, 1}, SectionsCase{4, 0, 4},
                                                              SectionsCase{8, 0, 8}, SectionsCase{4, -2, 4},
                                                              SectionsCase{4, 9, 4})));

// The ordered loop: every index on the calling thread, in order, as thread 0
// of 1 whatever thread count was asked for.
struct OrderedLog {
  std::thread::id caller;
  std::vector<int> indices;
  int wrong = 0;
};

int log_ordered(int index, int thr, int nthr, void *context) {
  auto *log = static_cast<OrderedLog *>(context);
  if (thr != 0 || nthr != 1 || std::this_thread::get_id() != log->caller) ++log->wrong;
  log->indices.push_back(index);
  return 0;
}

class ThreaderForOrdered : public ::testing::TestWithParam<std::tuple<const ThreaderSet *, int64_t, int>> {};

TEST_P(ThreaderForOrdered, RunsInOrderOnTheCaller) {
  const ThreaderSet *set = std::get<0>(GetParam());
  const int64_t n = std::get<1>(GetParam());
  const int t = std::get<2>(GetParam());
  OrderedLog log{std::this_thread::get_id(), {}, 0};
  tbb::task_arena arena(8);
  arena.execute([&] {
    log.caller = std::this_thread::get_id();
    set->ordered_loop(n, t, &log, log_ordered);
  });
  EXPECT_EQ(log.wrong, 0);
  const int count = n > 0 ? static_cast<int>(n) : 0;
  ASSERT_EQ(static_cast<int>(log.indices.size()), count);
  for (int i = 0; i < count; ++i) EXPECT_EQ(log.indices[i], i);
}

INSTANTIATE_TEST_SUITE_P(Loops, ThreaderForOrdered,
                         ::testing::Combine(::testing::Values(&kStx, &kDf), ::testing::Values(0, -3, 1, 37),
                                            ::testing::Values(0, 4, 64)));

// The pass-through returns the callback's own result for the arguments given.
int echo(int a, int b, int c, void *p) { return a * 10000 + b * 100 + c + (p ? 7 : 0); }

TEST(ThreaderOrdered, PassesArgumentsThroughAndReturnsTheResult) {
  int token = 0;
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    EXPECT_EQ(set->ordered(3, 5, 9, &token, echo), 30509 + 7) << set->name;
    EXPECT_EQ(set->ordered(-1, 0, 2, nullptr, echo), -10000 + 2) << set->name;
    EXPECT_EQ(set->ordered(1, 2, 3, nullptr, nullptr), 0) << set->name;
  }
}

TEST(ThreaderLimit, IsTheCurrentArenasConcurrency) {
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    for (int p : {1, 3, 8}) {
      tbb::task_arena arena(p);
      int seen = -1;
      arena.execute([&] { seen = set->limit(); });
      EXPECT_EQ(seen, p) << set->name;
    }
    EXPECT_EQ(set->limit(), tbb::this_task_arena::max_concurrency()) << set->name;
  }
}

}  // namespace
