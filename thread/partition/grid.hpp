// The two-dimensional grid of C: how many workers a matrix product runs on,
// how they are laid out over C, and which rectangle each one owns.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Constants of a grid rule.  Tile counts are Mt = ceil(m / tile_m) and
//! Nt = ceil(n / tile_n); rows are split only while every row block keeps
//! min_rows rows and there are fewer than max_row_blocks of them; narrow and
//! wide bound the columns per worker that allow a row split.
struct GridRule {
  int64_t tile_m;
  int64_t tile_n;
  int64_t min_rows;
  int64_t narrow;
  int64_t wide;
  int64_t max_row_blocks;
};

//! mt workers along the rows of C, nt along its columns.
struct GemmGrid {
  int64_t mt;
  int64_t nt;
};

//! The rows and columns of C that one worker owns.
struct GemmRect {
  Range rows;
  Range cols;
};

//! Workers for an m x n product on this budget: one per tile of the rule, at
//! most the budget; 0 when C is empty.
int64_t gemm_grid_workers(int64_t m, int64_t n, int64_t budget, const GridRule &rule);

//! The grid for an m x n product run by nthr workers.
GemmGrid gemm_choose_grid(int64_t m, int64_t n, int64_t nthr, const GridRule &rule);

//! The rectangle of C that worker ithr of grid g owns.
GemmRect gemm_worker_rect(int64_t m, int64_t n, GemmGrid g, int64_t ithr);

}  // namespace orb::thr
