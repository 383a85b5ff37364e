// Every cutting rule of thread/partition against the rows of the worked table
// beside its arithmetic: the workers' ranges follow one another from 0 without
// gap or overlap, with the sizes the row lists, and end at the last item;
// where the rule counts its own workers, the count is the number of sizes.
#include "blas/gemm_grid.hpp"
#include "partition/balanced.hpp"
#include "partition/blocks.hpp"
#include "partition/level1.hpp"
#include "partition/matvec.hpp"
#include "partition/members.hpp"
#include "partition/rhs.hpp"
#include "partition/split_k.hpp"
#include "partition/threshold.hpp"
#include "partition/triangle.hpp"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace orb::test {
namespace {

enum Rule { kBalanced, kBlocks, kLevel1, kMembers, kRhs, kSplitK, kTriangle };

struct CutRow {
  Rule rule;
  int64_t n, budget;           // items; the budget where the rule counts its workers
  std::vector<int64_t> sizes;  // one per worker
  int64_t extra = 0;           // the quantum of blocks, the order of a solve
};
void PrintTo(const CutRow &r, std::ostream *os) { *os << "rule " << r.rule << ": " << r.n << " on " << r.budget; }

std::vector<int64_t> repeat(size_t count, int64_t size, std::vector<int64_t> tail = {}) {
  std::vector<int64_t> v(count, size);
  v.insert(v.end(), tail.begin(), tail.end());
  return v;
}

class Cut : public ::testing::TestWithParam<CutRow> {};

TEST_P(Cut, RangesFollowTheWorkedTable) {
  const CutRow &r = GetParam();
  const int64_t w = static_cast<int64_t>(r.sizes.size());
  if (r.rule == kMembers) ASSERT_EQ(thr::member_workers(r.n, r.budget), w);
  if (r.rule == kRhs) ASSERT_EQ(thr::rhs_workers(r.extra, r.n, r.budget), w);
  if (r.rule == kSplitK) ASSERT_EQ(thr::split_k_slices(r.n, r.budget), w);
  // The upper triangle's blocks mirror the lower one's.
  for (const bool upper : {false, true}) {
    if (upper && r.rule != kTriangle) break;
    int64_t next = 0;
    for (int64_t i = 0; i < w; ++i) {
      const thr::Range got = r.rule == kBalanced  ? thr::balanced_range(r.n, w, i)
                             : r.rule == kBlocks  ? thr::block_range(r.n, w, r.extra, i)
                             : r.rule == kLevel1  ? thr::level1_range(r.n, w, i)
                             : r.rule == kMembers ? thr::member_run(r.n, w, i)
                             : r.rule == kRhs     ? thr::rhs_range(r.n, w, i)
                             : r.rule == kSplitK  ? thr::split_k_slice(r.n, w, i)
                                                  : thr::triangle_columns(r.n, w, i, upper);
      EXPECT_EQ(got.begin, next) << "worker " << i << (upper ? " upper" : "");
      EXPECT_EQ(got.size(), r.sizes[upper ? w - 1 - i : i]) << "worker " << i << (upper ? " upper" : "");
      next = got.end;
    }
    EXPECT_EQ(next, r.n);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tables, Cut,
    ::testing::Values(
        // Balanced: longer ranges first, sizes differ by one.
        CutRow{kBalanced, 10, 0, {3, 3, 2, 2}}, CutRow{kBalanced, 12, 0, {3, 3, 3, 3}},
        CutRow{kBalanced, 3, 0, {1, 1, 1, 0}}, CutRow{kBalanced, 0, 0, {0, 0, 0, 0}},
        CutRow{kBalanced, 100, 0, {13, 13, 13, 13, 12, 12, 12, 12}}, CutRow{kBalanced, 5, 0, {1, 1, 1, 1, 1, 0, 0, 0}},
        // Blocks on the quantum, only the last short.
        CutRow{kBlocks, 10, 0, {3, 3, 3, 1}, 1}, CutRow{kBlocks, 9, 0, {3, 3, 3, 0}, 1},
        CutRow{kBlocks, 0, 0, {0, 0, 0, 0}, 1}, CutRow{kBlocks, 100, 0, {32, 32, 32, 4}, 16},
        CutRow{kBlocks, 40, 0, {16, 16, 8, 0}, 16}, CutRow{kBlocks, 4096, 0, {2048, 2048}, 16},
        CutRow{kBlocks, 4096, 0, {1024, 1024, 1024, 1024}, 16},
        CutRow{kLevel1, 10, 0, {3, 3, 2, 2}}, CutRow{kLevel1, 8, 0, {2, 2, 2, 2}}, CutRow{kLevel1, 3, 0, {1, 1, 1, 0}},
        CutRow{kLevel1, 4096, 0, {2048, 2048}}, CutRow{kLevel1, 10001, 0, {2501, 2500, 2500, 2500}},
        // Batch members: runs of at least 128 on the budget.
        CutRow{kMembers, 1000, 4, {250, 250, 250, 250}}, CutRow{kMembers, 100, 8, {100}},
        CutRow{kMembers, 1000, 16, repeat(8, 125)}, CutRow{kMembers, 129, 4, {65, 64}},
        CutRow{kMembers, 257, 4, {86, 86, 85}}, CutRow{kMembers, 128, 4, {128}}, CutRow{kMembers, 0, 4, {}},
        CutRow{kMembers, 100000, 1, {100000}},
        // Right-hand sides: workers bounded by budget, count and work (the order).
        CutRow{kRhs, 1000, 4, {250, 250, 250, 250}, 1000}, CutRow{kRhs, 130, 4, {33, 33, 32, 32}, 1000},
        CutRow{kRhs, 100, 8, {34, 33, 33}, 1000}, CutRow{kRhs, 31, 4, {31}, 1000},
        CutRow{kRhs, 1000, 4, {250, 250, 250, 250}, 64}, CutRow{kRhs, 200, 8, {67, 67, 66}, 64},
        CutRow{kRhs, 1000, 8, {1000}, 16}, CutRow{kRhs, 4000, 16, repeat(16, 250), 4000},
        CutRow{kRhs, 1000, 1, {1000}, 1000},
        // Slices of k: one slice is no split; a large budget leaves the last slice empty.
        CutRow{kSplitK, 10000, 8, repeat(8, 1250)}, CutRow{kSplitK, 1000, 2, {500, 500}},
        CutRow{kSplitK, 600, 2, {600}}, CutRow{kSplitK, 2693, 8, repeat(7, 337, {334})},
        CutRow{kSplitK, 113569, 338, repeat(337, 337, {0})},
        // Column blocks of equal area in the lower triangle.
        CutRow{kTriangle, 1000, 0, {294, 706}}, CutRow{kTriangle, 1000, 0, {135, 159, 207, 499}},
        CutRow{kTriangle, 100, 0, {19, 24, 57}}, CutRow{kTriangle, 10, 0, {2, 2, 2, 4}},
        CutRow{kTriangle, 5, 0, {1, 0, 1, 0, 1, 0, 1, 1}}, CutRow{kTriangle, 0, 0, {0, 0}}));

// The worker counts of the tables' closing lines; sizes far beyond memory
// neither overflow nor lift a count above the budget, and nothing to do is
// one worker.
TEST(Workers, CountsOfTheTables) {
  EXPECT_EQ(thr::level1_workers(4095, thr::kLevel1Pair, 4), 1);
  EXPECT_EQ(thr::level1_workers(4096, thr::kLevel1Pair, 4), 2);
  EXPECT_EQ(thr::level1_workers(10000, thr::kLevel1Pair, 4), 4);
  EXPECT_EQ(thr::level1_workers(10000, thr::kLevel1Pair, 1), 1);
  EXPECT_EQ(thr::level1_workers(8191, thr::kLevel1Single, 4), 1);
  EXPECT_EQ(thr::level1_workers(8192, thr::kLevel1Single, 16), 2);
  EXPECT_EQ(thr::rhs_workers(int64_t{1} << 40, int64_t{1} << 40, 64), 64);
  EXPECT_EQ(thr::rhs_workers(0, 1000, 8), 1);
  EXPECT_EQ(thr::rhs_workers(1000, 0, 8), 1);
  EXPECT_EQ(thr::triangle_workers(1000, 1000, 4), 4);
  EXPECT_EQ(thr::triangle_workers(100, 1000, 8), 3);
  EXPECT_EQ(thr::triangle_workers(31, 100000, 8), 1);
  EXPECT_EQ(thr::triangle_workers(1000, 0, 8), 1);
  EXPECT_EQ(thr::triangle_workers(int64_t{1} << 40, int64_t{1} << 40, 64), 64);
  // A rank-2k update counts 2k: 100 x 40 on 4 is one worker for syrk, 3 for syr2k.
  EXPECT_EQ(thr::triangle_workers(100, 40, 4), 1);
  EXPECT_EQ(thr::triangle_workers(100, 2 * 40, 4), 3);
  EXPECT_EQ(thr::gemm_grid_workers(10, 10, 16, thr::kRealGridRule), 1);
  EXPECT_EQ(thr::gemm_grid_workers(150, 40, 16, thr::kRealGridRule), 6);
  EXPECT_EQ(thr::gemm_grid_workers(2000, 2000, 8, thr::kRealGridRule), 8);
  EXPECT_EQ(thr::gemm_grid_workers(0, 500, 4, thr::kRealGridRule), 0);
}

// The blocks of the triangle table with the rectangles beside them: n =
// 1000 on 2 workers, each triangle, then 10 on 4 (lower): worker, columns,
// rows of the rectangle.
TEST(TriangleBlock, RectanglesBesideTheDiagonalBlocks) {
  struct Row {
    int64_t n, w, i;
    bool upper;
    int64_t c0, c1, r0, r1;
  };
  const Row rows[] = {{1000, 2, 0, false, 0, 294, 294, 1000}, {1000, 2, 1, false, 294, 1000, 1000, 1000},
                      {1000, 2, 0, true, 0, 706, 0, 0},       {1000, 2, 1, true, 706, 1000, 0, 706},
                      {10, 4, 1, false, 2, 4, 4, 10},         {10, 4, 3, false, 6, 10, 10, 10}};
  for (const Row &r : rows) {
    const thr::TriangleBlock b = thr::triangle_block(r.n, r.w, r.i, r.upper);
    EXPECT_EQ(std::make_tuple(b.cols.begin, b.cols.end, b.rows.begin, b.rows.end),
              std::make_tuple(r.c0, r.c1, r.r0, r.r1))
        << r.n << " on " << r.w << ", worker " << r.i << (r.upper ? " upper" : " lower");
  }
}

// The table of blocks of equal cost: each block's first column, lower
// triangle (weight 1: the equal-area cut, to a column); the upper triangle mirrors it;
// every block's rectangle lies beside it.
TEST(WeightedTriangleBlock, BlocksOfEqualCost) {
  struct Row {
    int64_t n, w;
    double d;
    std::vector<int64_t> starts;
  };
  const Row rows[] = {{2000, 2, 1.12, {0, 619}},
                      {2000, 2, 1.0, {0, 586}},
                      {1000, 4, 1.12, {0, 139, 304, 520}},
                      {10, 4, 1.12, {0, 2, 4, 6}}};
  for (const Row &r : rows)
    for (int64_t i = 0; i < r.w; ++i) {
      const thr::TriangleBlock lo = thr::weighted_triangle_block(r.n, r.w, i, false, r.d);
      const thr::TriangleBlock up = thr::weighted_triangle_block(r.n, r.w, r.w - 1 - i, true, r.d);
      const int64_t end = i + 1 < r.w ? r.starts[i + 1] : r.n;
      EXPECT_EQ(std::make_tuple(lo.cols.begin, lo.cols.end, lo.rows.begin, lo.rows.end),
                std::make_tuple(r.starts[i], end, end, r.n))
          << r.n << " on " << r.w << ", worker " << i;
      EXPECT_EQ(std::make_tuple(up.cols.begin, up.cols.end, up.rows.begin, up.rows.end),
                std::make_tuple(r.n - end, r.n - r.starts[i], int64_t{0}, r.n - end));
    }
}

// The memory table: n = 10 with increment -1, pieces [0,3) and [8,10), and the
// same pieces with positive increments.
TEST(Level1Offset, NegativeIncrementsCountFromTheFarEnd) {
  EXPECT_EQ(thr::level1_offset(10, -1, {0, 3}), 7);
  EXPECT_EQ(thr::level1_offset(10, -1, {8, 10}), 0);
  EXPECT_EQ(thr::level1_offset(10, -3, {0, 3}), 21);
  EXPECT_EQ(thr::level1_offset(10, 2, {3, 6}), 6);
  EXPECT_EQ(thr::level1_offset(10, 0, {3, 6}), 0);
}

// The grid of C with the constants the real products use: m x n on nthr
// workers as mt x nt, and the rectangles of single workers.
TEST(Grid, ChoicesAndRectanglesOfTheTables) {
  const int64_t choices[][5] = {{1000, 4096, 8, 4, 2}, {1000, 1200, 8, 1, 8}, {1000, 512, 8, 2, 4},
                                {1000, 768, 8, 2, 4},  {288, 8192, 16, 4, 4}, {287, 8192, 16, 2, 8},
                                {2000, 6000, 6, 2, 3}, {1000, 386, 2, 2, 1},  {1000, 384, 2, 1, 2},
                                {512, 64, 16, 8, 2},   {640, 96, 16, 5, 3}};
  for (const auto &c : choices) {
    const thr::GemmGrid g = thr::gemm_choose_grid(c[0], c[1], c[2], thr::kRealGridRule);
    EXPECT_EQ(std::make_tuple(g.mt, g.nt), std::make_tuple(c[3], c[4])) << c[0] << "x" << c[1] << " on " << c[2];
  }
  // m, n, mt, nt, worker, then its rows and columns
  const int64_t rects[][9] = {{1000, 4096, 4, 2, 5, 500, 750, 2048, 4096},
                              {640, 96, 5, 3, 4, 128, 256, 32, 64},
                              {9, 4096, 4, 2, 7, 9, 9, 2048, 4096}};
  for (const auto &c : rects) {
    const thr::GemmRect r = thr::gemm_worker_rect(c[0], c[1], {c[2], c[3]}, c[4]);
    EXPECT_EQ(std::make_tuple(r.rows.begin, r.rows.end, r.cols.begin, r.cols.end),
              std::make_tuple(c[5], c[6], c[7], c[8]))
        << "worker " << c[4] << " of " << c[0] << "x" << c[1];
  }
}

// The worker count of the drivers that stream a matrix once, matvec.cpp's table.
TEST(Matvec, WorkersFollowTheTable) {
  const struct {
    int64_t m, n, len, budget, workers;
  } rows[] = {{4096, 512, 4096, 2, 2}, {100, 4096, 4096, 4, 4}, {150, 150, 150, 2, 0}, {2000, 2000, 2000, 8, 8},
              {10, 1000000, 10, 4, 0}};
  for (const auto &r : rows) EXPECT_EQ(thr::matvec_workers(r.len, r.m, r.n, r.budget), r.workers) << r.m << "x" << r.n;
}

// The scaling of a threshold, the rows of threshold.hpp's table.
TEST(Threshold, ScalesAsTheTable) {
  const struct {
    int64_t nominal;
    double scale;
    int64_t scaled;
  } rows[] = {{4096, 1, 4096}, {4096, 0.5, 2048}, {4096, 0.01, 41}, {4096, 0, 1}, {64, 1, 64}, {64, 0.5, 32},
              {64, 0.01, 1},   {64, 0, 1},        {1, 1, 1},        {1, 0.5, 1},  {1, 0.01, 1}, {1, 0, 1}};
  for (const auto &r : rows) EXPECT_EQ(thr::scaled_threshold(r.nominal, r.scale), r.scaled) << r.nominal << " x " << r.scale;
  EXPECT_EQ(thr::threshold_scale(), 1.0);  // this process sets no scale
}

}  // namespace
}  // namespace orb::test
