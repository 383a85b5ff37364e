// The threaded products on one triangle of C: ?gemmt, C := alpha op(A) op(B)
// + beta C with C of order n, only its uplo triangle referenced and updated,
// in s, d, c and z, with 64-bit integers and their lp64 wrappers.
//
// The triangle falls into column blocks as a rank-k update's does
// (partition/triangle.cpp), with the same worker count for the same n and k,
// but of equal cost rather than equal area: a diagonal block, built of ever
// smaller products, costs more per entry than the rectangle beside it.  Worker i's columns
// [j0, j1) are its diagonal block, one call of the sequential GEMMT on rows
// j0..j1 of op(A) and columns j0..j1 of op(B), and the rectangle beside it
// inside the triangle (rows j1..n of the lower triangle, rows 0..j0 of the
// upper one), one GEMM call of those rows of op(A) with the same columns of
// op(B).  The blocks are disjoint, so no lock is taken.
//
// In this order:
//   1. An illegal call goes, unchanged, to the sequential kernel, which
//      reports the first illegal argument once and writes nothing.
//   2. n = 0, alpha = 0 and k = 0 go to the kernel as they came: at most the
//      triangle is scaled by beta.
//   3. The budget T is orb_serv_get_max_threads(), 1 in strict
//      reproducibility mode (level3_frame.hpp); the worker count is the
//      rule's; one worker calls the kernel with the caller's own arguments.
//   4. Otherwise the record carries the call to W workers through
//      orb_blas_invoke_thin_thread.
#include <orb/internal/blas_args.h>
#include "blas/blas_precision.hpp"
#include "blas/level3_frame.hpp"
#include "lp64.hpp"
#include "partition/triangle.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

namespace orb::thr {

namespace {

//! The sequential GEMMT of each precision.
template <class T>
struct Gemmt;
#define ORB_GEMMT_KERNEL(p, P, T)                            \
  template <>                                               \
  struct Gemmt<T> : BlasPrecision<T> {                     \
    static constexpr auto kernel = &orb_blas_x##p##gemmt;   \
  };
ORB_FOR_EACH_PRECISION(ORB_GEMMT_KERNEL)
#undef ORB_GEMMT_KERNEL

//! Columns [j0, j1): the diagonal block, then the rectangle beside it.
template <class T>
int64_t gemmt_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  const char *uplo = static_cast<const char *>(args->word2);
  const TriangleBlock block = weighted_triangle_block(args->n, nthr, ithr, (*uplo | 0x20) == 'u', kGemmtDiagonalCost);
  if (block.cols.empty()) return 0;
  const T *a = static_cast<const T *>(args->a), *b = static_cast<const T *>(args->b);
  const T *alpha = static_cast<const T *>(args->alpha), *beta = static_cast<const T *>(args->beta);
  T *c = static_cast<T *>(args->c);
  // Rows r.. of op(A) and columns j.. of op(B), as stored or transposed.
  const auto rows_of_op_a = [&](ORB_INT r) { return not_transposed(args->transa) ? a + r : a + r * args->lda; };
  const auto cols_of_op_b = [&](ORB_INT j) { return not_transposed(args->transb) ? b + j * args->ldb : b + j; };
  const ORB_INT j0 = block.cols.begin, width = block.cols.size(), rows = block.rows.size();
  Gemmt<T>::kernel(uplo, args->transa, args->transb, &width, &args->k, alpha, rows_of_op_a(j0), &args->lda,
                   cols_of_op_b(j0), &args->ldb, beta, c + j0 * (1 + args->ldc), &args->ldc);
  if (rows == 0) return 0;
  Gemmt<T>::gemm_kernel(args->transa, args->transb, &rows, &width, &args->k, alpha, rows_of_op_a(block.rows.begin),
                        &args->lda, cols_of_op_b(j0), &args->ldb, beta, c + block.rows.begin + j0 * args->ldc,
                        &args->ldc);
  return 0;
}

template <class T>
void gemmt(const char *uplo, const char *transa, const char *transb, const ORB_INT *n, const ORB_INT *k,
           const T *alpha, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
           const ORB_INT *ldc) {
  run_cut(
      orb_blas_check_gemmt(uplo, transa, transb, n, k, alpha, lda, ldb, beta, ldc) != 0 || *n == 0 || *k == 0 ||
          orb::is_zero(*alpha),
      [&](int64_t budget) { return triangle_workers(*n, *k, budget); },
      [&] { Gemmt<T>::kernel(uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc); },
      [&](int64_t workers) {
        blas_args_t args = level3_args(transa, transb, *n, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc);
        args.word2 = uplo;
        orb_blas_invoke_thin_thread(workers, gemmt_worker<T>, &args, nullptr);
      });
}

}  // namespace

}  // namespace orb::thr

#define ORB_GEMMT_ENTRIES(p, P, T)                                                                         \
  extern "C" ORB_GEMMT_DECL(orb_blas_##p##gemmt, T, ORB_INT) {                                            \
    orb::thr::gemmt<T>(uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                  \
  }                                                                                                       \
  extern "C" ORB_GEMMT_DECL(orb_blas_lp64_##p##gemmt, T, int) {                                           \
    orb::thr::call_lp64(orb_blas_##p##gemmt, uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc); \
  }
ORB_FOR_EACH_PRECISION(ORB_GEMMT_ENTRIES)
