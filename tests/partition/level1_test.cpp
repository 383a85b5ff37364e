// The worked tables of the level-1 cut (thread/partition/level1.cpp).
#include "cuts.hpp"
#include "partition/level1.hpp"

namespace orb::test {
namespace {

struct WorkerRow {
  const char *rule;
  int64_t n, budget, workers;
};

void PrintTo(const WorkerRow &r, std::ostream *os) { *os << r.rule << " " << r.n << " budget " << r.budget; }

class Level1Workers : public ::testing::TestWithParam<WorkerRow> {};

TEST_P(Level1Workers, ThresholdThenOneWorkerPerShareUpToTheBudget) {
  const WorkerRow &row = GetParam();
  const thr::Level1Rule rule = std::string(row.rule) == "pair" ? thr::kLevel1Pair : thr::kLevel1Single;
  EXPECT_EQ(thr::level1_workers(row.n, rule, row.budget), row.workers);
}

INSTANTIATE_TEST_SUITE_P(Table, Level1Workers,
                         ::testing::Values(WorkerRow{"pair", 4095, 4, 1}, WorkerRow{"pair", 4096, 4, 2},
                                           WorkerRow{"pair", 10000, 4, 4}, WorkerRow{"pair", 10000, 1, 1},
                                           WorkerRow{"single", 8191, 4, 1}, WorkerRow{"single", 8192, 16, 2}));

struct RangeRow {
  int64_t n, w;
  std::vector<int64_t> sizes;
};

void PrintTo(const RangeRow &r, std::ostream *os) { *os << r.n << " onto " << r.w; }

class Level1Ranges : public ::testing::TestWithParam<RangeRow> {};

TEST_P(Level1Ranges, ContiguousRunsTheFirstOnesLonger) {
  const RangeRow &row = GetParam();
  expect_cut(row.n, row.sizes, [&](int64_t i) { return thr::level1_range(row.n, row.w, i); });
}

INSTANTIATE_TEST_SUITE_P(Table, Level1Ranges,
                         ::testing::Values(RangeRow{10, 4, {3, 3, 2, 2}}, RangeRow{8, 4, {2, 2, 2, 2}},
                                           RangeRow{3, 4, {1, 1, 1, 0}}, RangeRow{4096, 2, {2048, 2048}},
                                           RangeRow{10001, 4, {2501, 2500, 2500, 2500}}));

// The memory table: n = 10 with increment -1, pieces [0,3) and [8,10), and the
// same pieces with positive increments.
TEST(Level1Offset, NegativeIncrementsCountFromTheFarEnd) {
  EXPECT_EQ(thr::level1_offset(10, -1, {0, 3}), 7);
  EXPECT_EQ(thr::level1_offset(10, -1, {8, 10}), 0);
  EXPECT_EQ(thr::level1_offset(10, -3, {0, 3}), 21);
  EXPECT_EQ(thr::level1_offset(10, 2, {3, 6}), 6);
  EXPECT_EQ(thr::level1_offset(10, 0, {3, 6}), 0);
}

}  // namespace
}  // namespace orb::test
