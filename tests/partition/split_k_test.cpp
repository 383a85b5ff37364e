// The worked table of the split along k (thread/partition/split_k.cpp).
#include "cuts.hpp"
#include "partition/split_k.hpp"

namespace orb::test {
namespace {

// Every slice but the last holds kb steps.
struct SliceRow {
  int64_t k, budget, slices, kb, last;
};

void PrintTo(const SliceRow &r, std::ostream *os) { *os << "k " << r.k << " on " << r.budget; }

class SplitKSlices : public ::testing::TestWithParam<SliceRow> {};

TEST_P(SplitKSlices, CountAndSlices) {
  const SliceRow &row = GetParam();
  ASSERT_EQ(thr::split_k_slices(row.k, row.budget), row.slices);
  if (row.slices < 2) return;
  std::vector<int64_t> sizes(row.slices, row.kb);
  sizes.back() = row.last;
  expect_cut(row.k, sizes, [&](int64_t i) { return thr::split_k_slice(row.k, row.slices, i); });
}

INSTANTIATE_TEST_SUITE_P(Table, SplitKSlices,
                         ::testing::Values(SliceRow{10000, 8, 8, 1250, 1250}, SliceRow{1000, 2, 2, 500, 500},
                                           SliceRow{600, 2, 1, 0, 0}, SliceRow{2693, 8, 8, 337, 334},
                                           SliceRow{113569, 338, 338, 337, 0}));

}  // namespace
}  // namespace orb::test
