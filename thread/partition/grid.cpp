// The two-dimensional grid of C for a matrix product: the worker count, the
// grid of mt x nt rectangles, and the rectangle each worker owns.
//
// Every worker computes the same grid from m, n and the worker count, so the
// workers never talk to each other: the rectangles are disjoint, and each is
// written by one kernel call.
//
// Worker count: W = min(Mt Nt, budget) with Mt = ceil(m / tile_m) row tiles
// and Nt = ceil(n / tile_n) column tiles, so that no worker gets less than one
// tile of C.  With tiles of 64 x 32:
//
//      m     n  budget |  Mt  Nt |  W
//     10    10      16 |   1   1 |  1
//    150    40      16 |   3   2 |  6
//   2000  2000       8 |  32  63 |  8
//      0   500       4 |   0  16 |  0   (nothing to run)
//
// The grid, with the constants of the rule as the real products use them
// (tiles 64 x 32, row blocks of at least 144 rows, at most 4 of them, column
// bounds 96 and 192):
//
//   A. Nt >= nthr.  Start at 1 x nthr.  While nthr (then nt) is even, move a
//      factor 2 from columns to rows, as long as every row block keeps 144
//      rows and there are fewer than 4 row blocks; when the columns per worker
//      n / nthr are 192 or fewer, also only while a column block holds 96 or
//      fewer columns.  A worker with 97..192 columns therefore keeps the grid
//      at 1 x nthr: a row split would halve a block that is already narrow
//      enough for the kernel and cost a second pass over B.  Keep that gap.
//   B. Nt < nthr.  Mt >= nthr: nthr x 1.  Otherwise start at Mt x Nt and give
//      up a row or a column block (the longer side, columns on a tie) until
//      mt x nt <= nthr.
//
// Worked examples (the same table runs as a test):
//
//      m     n  nthr   Mt   Nt  case                          grid
//   1000  4096    8   16  128  A, n/8 = 512 > 192 (wide)     1x8 -> 2x4 -> 4x2 (4 row blocks)
//   1000  1200    8   16   38  A, n/8 = 150 in 97..192        1x8 (the gap)
//   1000   512    8   16   16  A, n/8 = 64 <= 96 (narrow)     1x8 -> 2x4 (n/4 = 128 > 96)
//   1000   768    8   16   24  A, n/8 = 96 <= 96 (narrow)     1x8 -> 2x4 (n/4 = 192 > 96)
//    288  8192   16    5  256  A, wide, 288/2 = 144 rows      1x16 -> 2x8 -> 4x4
//    287  8192   16    5  256  A, wide, 287/2 = 143 < 144     1x16 -> 2x8
//   2000  6000    6   32  188  A, n/6 = 1000 (wide)           1x6 -> 2x3 (nt odd)
//   1000   386    2   16   13  A, n/2 = 193 > 192 (wide)      1x2 -> 2x1
//   1000   384    2   16   12  A, n/2 = 192 in 97..192        1x2 (the gap)
//    512    64   16    8    2  B, 8 x 2 = 16 <= 16           8x2
//    640    96   16   10    3  B, 30 > 16                    10x3 -> 9x3 ... -> 5x3
//
// Rectangles: plain blocks (blocks.cpp, q = 1) along each side, ceil(m / mt)
// rows by ceil(n / nt) columns, worker ithr at row ithr div nt and column
// ithr mod nt of the grid.  Rounding up can leave the last row of a grid
// without rows (9 rows on 4 row blocks of 3, say); its workers then multiply
// 0 rows.
//
//      m     n  grid  ithr | row, column | rows         columns
//   1000  4096   4x2     5 |   2, 1      | [500,750)    [2048,4096)
//    640    96   5x3     4 |   1, 1      | [128,256)    [32,64)
//      9  4096   4x2     7 |   3, 1      | [9,9)        [2048,4096)
#include "partition/grid.hpp"
#include "partition/threshold.hpp"

#include "partition/blocks.hpp"

#include <algorithm>

namespace orb::thr {

int64_t gemm_grid_workers(int64_t m, int64_t n, int64_t budget, const GridRule &rule) {
  const int64_t Mt = ceil_div(m, threshold(rule.tile_m)), Nt = ceil_div(n, threshold(rule.tile_n));
  if (Mt == 0 || Nt == 0) return 0;
  return Mt > budget / Nt ? budget : std::min(Mt * Nt, budget);  // Mt Nt may not fit
}

GemmGrid gemm_choose_grid(int64_t m, int64_t n, int64_t nthr, const GridRule &rule) {
  const int64_t Mt = ceil_div(m, threshold(rule.tile_m));
  const int64_t Nt = ceil_div(n, threshold(rule.tile_n));
  int64_t mt = 1, nt = nthr;
  if (Nt >= nthr) {
    if (nthr % 2 == 0) {
      const bool wide = n / nthr > rule.wide;
      for (;;) {
        if (!wide && n / nt > rule.narrow) break;
        if (m / mt < rule.min_rows || mt >= rule.max_row_blocks) break;
        mt *= 2;
        nt /= 2;
        if (nt % 2 != 0) break;
      }
    }
  } else if (Mt >= nthr) {
    mt = nthr;
    nt = 1;
  } else {
    mt = Mt;
    nt = Nt;
    while (mt * nt > nthr) {
      if (nt < mt)
        --mt;
      else
        --nt;
    }
  }
  return {std::max<int64_t>(mt, 1), std::max<int64_t>(nt, 1)};
}

GemmRect gemm_worker_rect(int64_t m, int64_t n, GemmGrid g, int64_t ithr) {
  return {block_range(m, g.mt, 1, ithr / g.nt), block_range(n, g.nt, 1, ithr % g.nt)};
}

}  // namespace orb::thr
