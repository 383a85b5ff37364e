// The worked tables of the grid of C (thread/partition/grid.cpp), with the
// constants the real products use.
#include "blas/gemm_grid.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace orb::test {
namespace {

using thr::kRealGridRule;

struct WorkersRow {
  int64_t m, n, budget, workers;
};

void PrintTo(const WorkersRow &r, std::ostream *os) { *os << r.m << "x" << r.n << " on " << r.budget; }

class GridWorkers : public ::testing::TestWithParam<WorkersRow> {};

TEST_P(GridWorkers, OneTileAtLeastEach) {
  const WorkersRow &row = GetParam();
  EXPECT_EQ(thr::gemm_grid_workers(row.m, row.n, row.budget, kRealGridRule), row.workers);
}

INSTANTIATE_TEST_SUITE_P(Table, GridWorkers,
                         ::testing::Values(WorkersRow{10, 10, 16, 1}, WorkersRow{150, 40, 16, 6},
                                           WorkersRow{2000, 2000, 8, 8}, WorkersRow{0, 500, 4, 0}));

struct GridRow {
  int64_t m, n, nthr, mt, nt;
};

void PrintTo(const GridRow &r, std::ostream *os) { *os << r.m << "x" << r.n << " on " << r.nthr; }

class GridChoice : public ::testing::TestWithParam<GridRow> {};

TEST_P(GridChoice, Grid) {
  const GridRow &row = GetParam();
  const thr::GemmGrid g = thr::gemm_choose_grid(row.m, row.n, row.nthr, kRealGridRule);
  EXPECT_EQ(std::make_tuple(g.mt, g.nt), std::make_tuple(row.mt, row.nt));
}

INSTANTIATE_TEST_SUITE_P(Table, GridChoice,
                         ::testing::Values(GridRow{1000, 4096, 8, 4, 2}, GridRow{1000, 1200, 8, 1, 8},
                                           GridRow{1000, 512, 8, 2, 4}, GridRow{1000, 768, 8, 2, 4},
                                           GridRow{288, 8192, 16, 4, 4}, GridRow{287, 8192, 16, 2, 8},
                                           GridRow{2000, 6000, 6, 2, 3},
                                           GridRow{1000, 386, 2, 2, 1}, GridRow{1000, 384, 2, 1, 2},
                                           GridRow{512, 64, 16, 8, 2}, GridRow{640, 96, 16, 5, 3}));

struct RectRow {
  int64_t m, n, mt, nt, ithr;
  thr::Range rows, cols;
};

void PrintTo(const RectRow &r, std::ostream *os) {
  *os << "worker " << r.ithr << " of " << r.m << "x" << r.n << " on " << r.mt << "x" << r.nt;
}

class GridRect : public ::testing::TestWithParam<RectRow> {};

TEST_P(GridRect, Rectangle) {
  const RectRow &row = GetParam();
  const thr::GemmRect r = thr::gemm_worker_rect(row.m, row.n, {row.mt, row.nt}, row.ithr);
  EXPECT_EQ(std::make_tuple(r.rows.begin, r.rows.end, r.cols.begin, r.cols.end),
            std::make_tuple(row.rows.begin, row.rows.end, row.cols.begin, row.cols.end));
}

INSTANTIATE_TEST_SUITE_P(Table, GridRect,
                         ::testing::Values(RectRow{1000, 4096, 4, 2, 5, {500, 750}, {2048, 4096}},
                                           RectRow{640, 96, 5, 3, 4, {128, 256}, {32, 64}},
                                           RectRow{9, 4096, 4, 2, 7, {9, 9}, {2048, 4096}}));

}  // namespace
}  // namespace orb::test
