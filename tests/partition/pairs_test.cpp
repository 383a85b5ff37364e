// The pieces of a loop over (block, row) pairs against the worked table in
// thread/partition/pairs.cpp: walking a sub-range piece by piece gives the
// listed (block, first, last) in order and ends at the sub-range's end.
#include "partition/pairs.hpp"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace orb::test {
namespace {

struct PairsCase {
  int64_t begin, end, rows;
  std::vector<std::array<int64_t, 3>> pieces;
};
void PrintTo(const PairsCase &c, std::ostream *os) { *os << "[" << c.begin << ", " << c.end << ")"; }

class PairPieces : public ::testing::TestWithParam<PairsCase> {};

TEST_P(PairPieces, FollowTheWorkedTable) {
  const PairsCase &c = GetParam();
  std::vector<std::array<int64_t, 3>> got;
  int64_t at = c.begin;
  while (at < c.end && got.size() < 10) {
    const thr::PairPiece p = thr::pair_piece(at, c.end, c.rows);
    got.push_back({p.block, p.first, p.last});
    at = p.block * c.rows + p.last;
  }
  EXPECT_EQ(got, c.pieces);
  EXPECT_EQ(at, c.end);
}

INSTANTIATE_TEST_SUITE_P(Table, PairPieces,
                         ::testing::Values(PairsCase{0, 1000, 1000, {{0, 0, 1000}}},
                                           PairsCase{900, 2100, 1000, {{0, 900, 1000}, {1, 0, 1000}, {2, 0, 100}}},
                                           PairsCase{1500, 1700, 1000, {{1, 500, 700}}},
                                           PairsCase{2999, 3000, 1000, {{2, 999, 1000}}}));

}  // namespace
}  // namespace orb::test
