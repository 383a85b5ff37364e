// The threaded GEMV drivers: y = alpha * op(A) * x + beta * y in s, d, c and z,
// with 64-bit integers and their lp64 wrappers.
//
// The workers split y, never the sum: op(A) = A gives each worker a block of
// rows of A and the same entries of y; a transposed A gives each worker a block
// of columns of A (contiguous in memory) and the matching entries of y.  Every
// worker makes one kernel call with the full x, so each entry of y is computed
// exactly as the sequential kernel computes it, whatever the budget.
//
// The worker count is the rule of the drivers that stream a matrix once
// (partition/matvec.cpp) with len = m for op(A) = A, else n.  The blocks of y
// are quantised blocks (partition/blocks.cpp):
// ceil(len / W) rounded up to a multiple of 16 entries, so the row blocks of
// op(A) = A start on cache-line boundaries for every element type when A is;
// trailing workers may then get nothing and return.
//
//     m     n    T  op   W                          blocks of y
//   4096   512   2  N    min(2, 64, 64) = 2         [0, 2048) [2048, 4096)
//    100  4096   4  T    min(4, 64, 12) = 4         [0, 1024) ... [3072, 4096)
//    150   150   2  N    (22500 div 32768) = 0      one kernel call
//
// With a negative increment the logical entry i of y lives at position
// (len - 1 - i) * |incy|, so a block [i0, i1) starts at (len - i1) * |incy|
// (level1_offset, the addressing of level 1's runs).
//
// The argument record carries trans in transa, x in b with its increment in
// ldb, and y in c with its increment in ldc.
#include <orb/internal/blas_args.h>
#include "blas/blas_precision.hpp"
#include "lp64.hpp"
#include "partition/blocks.hpp"
#include "partition/level1.hpp"
#include "partition/matvec.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <algorithm>
#include <cstdint>

namespace orb::thr {

namespace {

constexpr ORB_INT kGemvQuantum = 16;

template <class P>
int64_t gemv_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename P::value_type;
  const bool as_stored = not_transposed(args->transa);
  const ORB_INT len = as_stored ? args->m : args->n;
  const Range block = block_range(len, nthr, kGemvQuantum, ithr);
  if (block.empty()) return 0;
  const ORB_INT i0 = block.begin, count = block.size();
  const T *a = static_cast<const T *>(args->a) + (as_stored ? i0 : i0 * args->lda);
  T *y = static_cast<T *>(args->c) + level1_offset(len, args->ldc, block);
  P::gemv_kernel(args->transa, as_stored ? &count : &args->m, as_stored ? &args->n : &count,
                 static_cast<const T *>(args->alpha), a, &args->lda, static_cast<const T *>(args->b), &args->ldb,
                 static_cast<const T *>(args->beta), y, &args->ldc);
  return 0;
}

template <class P>
void gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const typename P::value_type *alpha,
          const typename P::value_type *a, const ORB_INT *lda, const typename P::value_type *x,
          const ORB_INT *incx, const typename P::value_type *beta, typename P::value_type *y,
          const ORB_INT *incy) {
  // An illegal call goes whole to the kernel, which reports it once.
  if (orb_blas_check_gemv(trans, m, n, alpha, lda, incx, beta, incy) != 0) {
    P::gemv_kernel(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
    return;
  }
  const ORB_INT len = not_transposed(trans) ? *m : *n;
  const ORB_INT workers = matvec_workers(len, *m, *n, orb_serv_get_max_threads());
  if (workers <= 1) {
    P::gemv_kernel(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
    return;
  }
  blas_args_t args{};
  args.transa = trans;
  args.m = *m;
  args.n = *n;
  args.alpha = alpha;
  args.beta = beta;
  args.a = a;
  args.lda = *lda;
  args.b = x;
  args.ldb = *incx;
  args.c = y;
  args.ldc = *incy;
  orb_blas_invoke_thin_thread(workers, gemv_worker<P>, &args, nullptr);
}

}  // namespace

}  // namespace orb::thr

#define ORB_GEMV_ENTRIES(p, P, T)                                                                           \
  extern "C" ORB_GEMV_DECL(orb_blas_##p##gemv, T, ORB_INT) {                                             \
    orb::thr::gemv<orb::thr::BlasPrecision<T>>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);     \
  }                                                                                                      \
  extern "C" ORB_GEMV_DECL(orb_blas_lp64_##p##gemv, T, int) {                                            \
    orb::thr::call_lp64(orb_blas_##p##gemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);          \
  }

ORB_FOR_EACH_PRECISION(ORB_GEMV_ENTRIES)
