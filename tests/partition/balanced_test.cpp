// The worked table of balanced ranges (thread/partition/balanced.cpp).
#include "cuts.hpp"
#include "partition/balanced.hpp"

namespace orb::test {
namespace {

struct BalancedRow {
  int64_t n, p;
  std::vector<int64_t> sizes;
};

void PrintTo(const BalancedRow &r, std::ostream *os) { *os << r.n << " onto " << r.p; }

class Balanced : public ::testing::TestWithParam<BalancedRow> {};

TEST_P(Balanced, LongerRangesFirstSizesDifferByOne) {
  const BalancedRow &row = GetParam();
  expect_cut(row.n, row.sizes, [&](int64_t i) { return thr::balanced_range(row.n, row.p, i); });
}

INSTANTIATE_TEST_SUITE_P(Table, Balanced,
                         ::testing::Values(BalancedRow{10, 4, {3, 3, 2, 2}}, BalancedRow{12, 4, {3, 3, 3, 3}},
                                           BalancedRow{3, 4, {1, 1, 1, 0}}, BalancedRow{0, 4, {0, 0, 0, 0}},
                                           BalancedRow{100, 8, {13, 13, 13, 13, 12, 12, 12, 12}},
                                           BalancedRow{5, 8, {1, 1, 1, 1, 1, 0, 0, 0}}));

}  // namespace
}  // namespace orb::test
