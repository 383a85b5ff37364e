// The two-dimensional cut of C: which grid of mt x nt rectangles the workers
// of one GEMM call take, which rectangle each one owns, and the worker that
// multiplies its rectangle with the full inner dimension.
//
// Every worker computes the same grid from m, n and the worker count, so the
// workers never talk to each other: the rectangles are disjoint and each is
// written by one kernel call.
//
// The grid rule, with Mt = ceil(m / 64) row tiles and Nt = ceil(n / 32) column
// tiles (constants of the real rule; grid_rule names them):
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
//     m     n  nthr   Mt   Nt  case                          grid
//   1000  4096    8   16  128  A, n/8 = 512 > 192 (wide)     1x8 -> 2x4 -> 4x2 (4 row blocks)
//   1000  1200    8   16   38  A, n/8 = 150 in 97..192        1x8 (the gap)
//   1000   512    8   16   16  A, n/8 = 64 <= 96 (narrow)     1x8 -> 2x4 (n/4 = 128 > 96)
//   2000  6000    6   32  188  A, n/6 = 1000 (wide)           1x6 -> 2x3 (nt odd)
//    512    64   16    8    2  B, 8 x 2 = 16 <= 16           8x2
//    640    96   16   10    3  B, 30 > 16                    10x3 -> 9x3 ... -> 5x3
//
// Rectangles: row blocks of mb' = ceil(m / mt') rows where mt' drops the row
// blocks that would be empty, column blocks of ceil(n / nt).  For 1000 x 4096
// on 4 x 2, worker 5 (row 5 div 2 = 2, column 5 mod 2 = 1) owns rows
// [500, 750) and columns [2048, 4096).
// The complex drivers use the same constants (kComplexGridRule): a complex
// element carries four times the arithmetic of a real one per load, so its
// tiles are at least as worth cutting.
#include "blas/gemm_grid.hpp"
#include "blas/precision.hpp"

#include <algorithm>

namespace orb::thr {

namespace {

ORB_INT ceil_div(ORB_INT x, ORB_INT y) { return (x + y - 1) / y; }

}  // namespace

gemm_grid gemm_choose_grid(ORB_INT m, ORB_INT n, ORB_INT nthr, const grid_rule &rule) {
  const ORB_INT Mt = ceil_div(m, rule.tile_m);
  const ORB_INT Nt = ceil_div(n, rule.tile_n);
  ORB_INT mt = 1, nt = nthr;
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
  return {std::max<ORB_INT>(mt, 1), std::max<ORB_INT>(nt, 1)};
}

gemm_rect gemm_worker_rect(ORB_INT m, ORB_INT n, gemm_grid g, ORB_INT ithr) {
  const ORB_INT mb = std::max<ORB_INT>(ceil_div(m, g.mt), 1);
  const ORB_INT mt = std::min(ceil_div(m, mb), g.mt);
  const ORB_INT rows = mt > 0 ? ceil_div(m, mt) : 0;
  const ORB_INT ithr_m = ithr / g.nt, ithr_n = ithr % g.nt;
  const ORB_INT nb = ceil_div(n, g.nt);
  return {std::min(rows * ithr_m, m), std::min(rows * (ithr_m + 1), m), std::min(nb * ithr_n, n),
          std::min(nb * (ithr_n + 1), n)};
}

template <class P>
int64_t internal_thread(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename P::value_type;
  const gemm_grid g = gemm_choose_grid(args->m, args->n, nthr, P::grid);
  const gemm_rect r = gemm_worker_rect(args->m, args->n, g, ithr);
  if (r.j0 >= r.j1) return 0;
  const ORB_INT rows = r.i1 - r.i0, cols = r.j1 - r.j0;
  const T *a = static_cast<const T *>(args->a) + (not_transposed(args->transa) ? r.i0 : r.i0 * args->lda);
  const T *b = static_cast<const T *>(args->b) + (not_transposed(args->transb) ? r.j0 * args->ldb : r.j0);
  T *c = static_cast<T *>(args->c) + r.i0 + r.j0 * args->ldc;
  P::gemm_kernel(args->transa, args->transb, rows == args->m ? &args->m : &rows,
                 cols == args->n ? &args->n : &cols, &args->k, static_cast<const T *>(args->alpha), a,
                 &args->lda, b, &args->ldb, static_cast<const T *>(args->beta), c, &args->ldc);
  return 0;
}

#define ORB_INSTANTIATE(T) template int64_t internal_thread<blas_precision<T>>(int64_t, int64_t, blas_args_t *);
ORB_FOR_EACH_PRECISION(ORB_INSTANTIATE)
#undef ORB_INSTANTIATE

}  // namespace orb::thr
