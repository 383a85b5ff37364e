// The worked table of quantised blocks (thread/partition/blocks.cpp).
#include "cuts.hpp"
#include "partition/blocks.hpp"

namespace orb::test {
namespace {

struct BlockRow {
  int64_t len, w, q;
  std::vector<int64_t> sizes;
};

void PrintTo(const BlockRow &r, std::ostream *os) { *os << r.len << " onto " << r.w << " by " << r.q; }

class Blocks : public ::testing::TestWithParam<BlockRow> {};

TEST_P(Blocks, EqualBlocksOnTheQuantumOnlyTheLastShort) {
  const BlockRow &row = GetParam();
  expect_cut(row.len, row.sizes, [&](int64_t i) { return thr::block_range(row.len, row.w, row.q, i); });
}

INSTANTIATE_TEST_SUITE_P(Table, Blocks,
                         ::testing::Values(BlockRow{10, 4, 1, {3, 3, 3, 1}}, BlockRow{9, 4, 1, {3, 3, 3, 0}},
                                           BlockRow{0, 4, 1, {0, 0, 0, 0}}, BlockRow{100, 4, 16, {32, 32, 32, 4}},
                                           BlockRow{40, 4, 16, {16, 16, 8, 0}}, BlockRow{4096, 2, 16, {2048, 2048}},
                                           BlockRow{4096, 4, 16, {1024, 1024, 1024, 1024}}));

}  // namespace
}  // namespace orb::test
