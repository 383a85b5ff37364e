// The cuts of the products with a triangle and the blocks of the triangular
// solve: the worked tables of partition/triangle_matvec.cpp, row by row.
#include "partition/triangle_matvec.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace orb {
namespace {

TEST(TriangleMatvec, WorkerCountsOfTheTable) {
  struct Row {
    int64_t n, budget, workers;
  };
  const Row rows[] = {{1000, 4, 0}, {1100, 4, 1}, {1500, 4, 2}, {2000, 2, 2}, {4000, 8, 8}, {0, 4, 1}, {63, 4, 0}};
  for (const Row &r : rows) EXPECT_EQ(thr::triangle_matvec_workers(r.n, r.budget), r.workers) << r.n << " on " << r.budget;
  // A triangle far beyond memory neither overflows nor lifts the count above the budget.
  EXPECT_EQ(thr::triangle_matvec_workers(int64_t{1} << 40, 64), 64);
}

// n = 1000 on 2 workers: the entries each worker computes, and those of the
// original x it reads beyond them, for each triangle and op.
TEST(TriangleMatvec, TrmvPiecesOfTheTable) {
  struct Row {
    int64_t i;
    bool lower, transposed;
    int64_t own0, own1, other0, other1;
  };
  const Row rows[] = {{0, true, false, 0, 706, 0, 0},       {1, true, false, 706, 1000, 0, 706},
                      {0, true, true, 0, 294, 294, 1000},   {1, true, true, 294, 1000, 1000, 1000},
                      {0, false, false, 0, 294, 294, 1000}, {1, false, false, 294, 1000, 1000, 1000},
                      {0, false, true, 0, 706, 0, 0},       {1, false, true, 706, 1000, 0, 706}};
  for (const Row &r : rows) {
    const thr::TriangleBlock p = thr::trmv_block(1000, 2, r.i, r.lower, r.transposed);
    EXPECT_EQ(std::make_tuple(p.cols.begin, p.cols.end, p.rows.begin, p.rows.end),
              std::make_tuple(r.own0, r.own1, r.other0, r.other1))
        << "worker " << r.i << (r.lower ? " lower" : " upper") << (r.transposed ? " T" : " N");
  }
}

TEST(TriangleMatvec, SolvesBlockedFromTheirThreshold) {
  EXPECT_FALSE(thr::trsv_blocked(2047, 2));
  EXPECT_TRUE(thr::trsv_blocked(2048, 2));
  EXPECT_FALSE(thr::trsv_blocked(4000, 1));
  EXPECT_EQ(thr::ceil_div(4000, thr::kTrsvBlock), 16);
  EXPECT_EQ(4000 - 15 * thr::kTrsvBlock, 160);
}

}  // namespace
}  // namespace orb
