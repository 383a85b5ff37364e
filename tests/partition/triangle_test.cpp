// The worked table of column blocks of equal area (thread/partition/triangle.cpp).
#include "cuts.hpp"
#include "partition/triangle.hpp"

#include <algorithm>

namespace orb::test {
namespace {

struct TriangleRow {
  int64_t n;
  std::vector<int64_t> lower;  // column counts of the lower triangle's blocks, one per worker
};

void PrintTo(const TriangleRow &r, std::ostream *os) { *os << r.n << " columns onto " << r.lower.size(); }

class Triangle : public ::testing::TestWithParam<TriangleRow> {};

TEST_P(Triangle, LowerBlocksOfEqualAreaUpperTheirMirror) {
  const TriangleRow &row = GetParam();
  const int64_t w = static_cast<int64_t>(row.lower.size());
  expect_cut(row.n, row.lower, [&](int64_t i) { return thr::triangle_columns(row.n, w, i, false); });
  std::vector<int64_t> upper(row.lower.rbegin(), row.lower.rend());
  expect_cut(row.n, upper, [&](int64_t i) { return thr::triangle_columns(row.n, w, i, true); });
}

INSTANTIATE_TEST_SUITE_P(Table, Triangle,
                         ::testing::Values(TriangleRow{1000, {294, 706}}, TriangleRow{1000, {135, 159, 207, 499}},
                                           TriangleRow{100, {19, 24, 57}}, TriangleRow{10, {2, 2, 2, 4}},
                                           TriangleRow{5, {1, 0, 1, 0, 1, 0, 1, 1}}, TriangleRow{0, {0, 0}}));

// The worker counts of the table's closing lines, and sizes far beyond memory.
TEST(TriangleWorkers, BoundedByBudgetColumnsAndWork) {
  EXPECT_EQ(thr::triangle_workers(1000, 1000, 4), 4);
  EXPECT_EQ(thr::triangle_workers(100, 1000, 8), 3);
  EXPECT_EQ(thr::triangle_workers(31, 100000, 8), 1);
  EXPECT_EQ(thr::triangle_workers(1000, 0, 8), 1);
  EXPECT_EQ(thr::triangle_workers(int64_t{1} << 40, int64_t{1} << 40, 64), 64);
}

}  // namespace
}  // namespace orb::test
