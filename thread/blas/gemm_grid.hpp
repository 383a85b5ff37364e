// The two-dimensional cut of C that the threaded GEMM drivers run normally.
#pragma once

#include "blas/blas_args.hpp"

#include <cstdint>

namespace orb::thr {

//! Constants of a grid rule.  Tile counts are Mt = ceil(m / tile_m) and
//! Nt = ceil(n / tile_n); rows are split only while every row block keeps
//! min_rows rows and there are fewer than max_row_blocks of them; narrow and
//! wide bound the columns per worker that allow a row split.
struct grid_rule {
  ORB_INT tile_m;
  ORB_INT tile_n;
  ORB_INT min_rows;
  ORB_INT narrow;
  ORB_INT wide;
  ORB_INT max_row_blocks;
};

//! The rule of the real precisions.
constexpr grid_rule kRealGridRule = {64, 32, 144, 96, 192, 4};

//! mt workers along the rows of C, nt along its columns.
struct gemm_grid {
  ORB_INT mt;
  ORB_INT nt;
};

//! Rows [i0, i1) and columns [j0, j1) of C.
struct gemm_rect {
  ORB_INT i0, i1, j0, j1;
};

//! The grid for an m x n product run by nthr workers.
gemm_grid gemm_choose_grid(ORB_INT m, ORB_INT n, ORB_INT nthr, const grid_rule &rule);

//! The rectangle of C that worker ithr of grid g owns.
gemm_rect gemm_worker_rect(ORB_INT m, ORB_INT n, gemm_grid g, ORB_INT ithr);

//! The two-dimensional worker: one kernel call on its rectangle with the full k.
template <class P>
int64_t internal_thread(int64_t ithr, int64_t nthr, blas_args_t *args);

}  // namespace orb::thr
