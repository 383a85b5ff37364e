// The row-balancing rule against the rows of its worked table
// (thread/partition/rows.cpp), in both index widths, and the partition
// block it fills.
#include "partition/rows.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace orb::test {
namespace {

struct RowsCase {
  int64_t rows;
  int64_t heavy_row, heavy;  // one row of `heavy` entries (-1: none), the others of `light`
  int64_t light;
  int parts, part;
  int64_t start;
};

template <class I>
std::vector<I> pointers(const RowsCase &c, I base) {
  std::vector<I> ptr{base};
  for (int64_t r = 0; r < c.rows; ++r) ptr.push_back(ptr.back() + static_cast<I>(r == c.heavy_row ? c.heavy : c.light));
  return ptr;
}

class StartRow : public ::testing::TestWithParam<RowsCase> {};

TEST_P(StartRow, FollowsTheWorkedTable) {
  const RowsCase &c = GetParam();
  for (const int base : {0, 1}) {
    const auto p32 = pointers<int32_t>(c, base);
    const auto p64 = pointers<int64_t>(c, base);
    EXPECT_EQ(thr::getStartRow<int32_t>(c.part, c.parts, p32.data(), base, c.rows, p32.back() - base), c.start);
    EXPECT_EQ(thr::getStartRow<int64_t>(c.part, c.parts, p64.data(), base, c.rows, p64.back() - base), c.start);
  }
}

INSTANTIATE_TEST_SUITE_P(Table, StartRow,
                         ::testing::Values(RowsCase{10, -1, 0, 3, 4, 1, 2}, RowsCase{10, -1, 0, 3, 4, 3, 7},
                                           RowsCase{1000, -1, 0, 10, 2, 1, 500},
                                           RowsCase{1000, 0, 10000, 10, 2, 1, 45},
                                           RowsCase{1000, 0, 10000, 10, 4, 3, 522},
                                           RowsCase{1000, 999, 10000, 10, 2, 1, 954},
                                           RowsCase{1000, 999, 200, 10, 2, 1, 508},
                                           RowsCase{1000, 0, 10000, 10, 4, 0, 0}));

// Every part of the block starts where the rule says, in increasing order,
// the last entry is the row count and entry 1023 the part count.
TEST(RowPartitioning, FillsTheBlock) {
  const RowsCase skewed{1000, 0, 10000, 10, 4, 0, 0};
  const auto ptr = pointers<int32_t>(skewed, 0);
  std::vector<int32_t> block(1024, -1);
  thr::findRowPartitioning<int32_t>(1000, ptr.back(), ptr.data(), 0, block.data(), 4);
  EXPECT_EQ(block[0], 0);
  EXPECT_EQ(block[3], 522);
  EXPECT_EQ(block[4], 1000);
  EXPECT_EQ(block[1023], 4);
  for (int p = 0; p < 4; ++p) EXPECT_LE(block[p], block[p + 1]);
  thr::findRowPartitioning<int32_t>(1000, ptr.back(), ptr.data(), 0, block.data(), 1);
  EXPECT_EQ(block[1], 1000);
  EXPECT_EQ(block[1023], 1);
}

}  // namespace
}  // namespace orb::test
