// The two-dimensional worker of the threaded GEMM drivers: each worker takes
// its rectangle of C on the grid (partition/grid.cpp, where the rule and its
// worked examples live) and multiplies it with one kernel call over the full
// inner dimension.  A worker without columns returns at once; one without rows
// (a grid row that rounding left empty) still calls the kernel, with 0 rows.
//
// The complex drivers use the same constants (kComplexGridRule): a complex
// element carries four times the arithmetic of a real one per load, so its
// tiles are at least as worth cutting.
#include "blas/gemm_grid.hpp"
#include "blas/blas_precision.hpp"

namespace orb::thr {

template <class P>
int64_t internal_thread(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename P::value_type;
  const GemmGrid g = gemm_choose_grid(args->m, args->n, nthr, P::grid);
  const GemmRect r = gemm_worker_rect(args->m, args->n, g, ithr);
  if (r.cols.empty()) return 0;
  const ORB_INT rows = r.rows.size(), cols = r.cols.size(), i0 = r.rows.begin, j0 = r.cols.begin;
  const T *a = static_cast<const T *>(args->a) + (not_transposed(args->transa) ? i0 : i0 * args->lda);
  const T *b = static_cast<const T *>(args->b) + (not_transposed(args->transb) ? j0 * args->ldb : j0);
  T *c = static_cast<T *>(args->c) + i0 + j0 * args->ldc;
  P::gemm_kernel(args->transa, args->transb, rows == args->m ? &args->m : &rows,
                 cols == args->n ? &args->n : &cols, &args->k, static_cast<const T *>(args->alpha), a,
                 &args->lda, b, &args->ldb, static_cast<const T *>(args->beta), c, &args->ldc);
  return 0;
}

#define ORB_INSTANTIATE(p, P, T) template int64_t internal_thread<BlasPrecision<T>>(int64_t, int64_t, blas_args_t *);
ORB_FOR_EACH_PRECISION(ORB_INSTANTIATE)
#undef ORB_INSTANTIATE

}  // namespace orb::thr
