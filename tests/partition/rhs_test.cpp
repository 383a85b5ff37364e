// The worked table of the right-hand sides of a triangular solve
// (thread/partition/rhs.cpp).
#include "cuts.hpp"
#include "partition/rhs.hpp"

namespace orb::test {
namespace {

struct RhsRow {
  int64_t order, rhs, budget;
  std::vector<int64_t> sizes;  // one per worker: W = sizes.size()
};

void PrintTo(const RhsRow &r, std::ostream *os) {
  *os << "order " << r.order << ", " << r.rhs << " right-hand sides, budget " << r.budget;
}

class Rhs : public ::testing::TestWithParam<RhsRow> {};

TEST_P(Rhs, WorkersBoundedByBudgetCountAndWorkThenBalanced) {
  const RhsRow &row = GetParam();
  const int64_t w = thr::rhs_workers(row.order, row.rhs, row.budget);
  ASSERT_EQ(w, static_cast<int64_t>(row.sizes.size()));
  expect_cut(row.rhs, row.sizes, [&](int64_t i) { return thr::rhs_range(row.rhs, w, i); });
}

INSTANTIATE_TEST_SUITE_P(Table, Rhs,
                         ::testing::Values(RhsRow{1000, 1000, 4, {250, 250, 250, 250}},
                                           RhsRow{1000, 130, 4, {33, 33, 32, 32}},
                                           RhsRow{1000, 100, 8, {34, 33, 33}}, RhsRow{1000, 31, 4, {31}},
                                           RhsRow{64, 1000, 4, {250, 250, 250, 250}},
                                           RhsRow{64, 200, 8, {67, 67, 66}}, RhsRow{16, 1000, 8, {1000}},
                                           RhsRow{4000, 4000, 16, std::vector<int64_t>(16, 250)},
                                           RhsRow{1000, 1000, 1, {1000}}));

// Sizes far beyond memory neither overflow the work bound nor lift the count
// above the budget; nothing to solve is one worker.
TEST(RhsWorkers, ExtremesStayBetweenOneAndTheBudget) {
  EXPECT_EQ(thr::rhs_workers(int64_t{1} << 40, int64_t{1} << 40, 64), 64);
  EXPECT_EQ(thr::rhs_workers(0, 1000, 8), 1);
  EXPECT_EQ(thr::rhs_workers(1000, 0, 8), 1);
}

}  // namespace
}  // namespace orb::test
