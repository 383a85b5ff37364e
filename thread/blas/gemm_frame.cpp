// The threaded GEMM drivers: C = alpha * op(A) * op(B) + beta * C in s, d, c
// and z, with 64-bit integers and their lp64 wrappers.
//
// One frame serves every precision, in this order:
//   0. A C of one 64 x 32 tile of the grid (step 7), n > 1, is never cut: the
//      call, legal or not, goes to the sequential kernel as it came.  A small
//      product spends much of its time outside the kernel, so nothing else is
//      read first.
//   1. An illegal call goes, unchanged, to the sequential kernel, which reports
//      the first illegal argument once and writes nothing.  Nothing is cut
//      before the call is known to be legal, so no piece can pass a check that
//      the whole call fails (a row block is shorter than ldc) or report twice.
//   2. Strict reproducibility is bit 16 of orb_serv_cbwr_get(-1).
//   3. n = 1 with k > 0 is a matrix-vector product (gemv_shortcut.hpp): it
//      goes to the threaded GEMV.  Not in strict mode, whose results must not
//      depend on the path.
//   4. The argument record is filled.
//   5. The budget T is orb_serv_get_max_threads(); T = 1 calls the kernel
//      once with the caller's own arguments.
//   6. The split along k (gemm_split_k.cpp) when its conditions hold and its
//      scratch can be had.
//   7. Otherwise the two-dimensional cut (gemm_grid.cpp) with
//      W = min(ceil(n / 32) * ceil(m / 64), T) workers: no worker gets less than
//      one 64 x 32 tile of C, the tile of every precision's grid rule.
// Steps 4, 5 and 7 are the level-3 frame (level3_frame.hpp); step 6 is GEMM's
// own cut, which the frame tries before the grid.
// In the launcher and in every worker, 'N' and 'n' mean "as stored" and every
// other character "transposed"; after step 1 only T, t, C and c remain.
#include <orb/internal/blas_args.h>
#include "blas/gemm_grid.hpp"
#include "blas/gemm_split_k.hpp"
#include "blas/gemv_shortcut.hpp"
#include "blas/blas_precision.hpp"
#include "blas/level3_frame.hpp"
#include "lp64.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

namespace orb::thr {

namespace {

template <class P>
void gemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k,
          const typename P::value_type *alpha, const typename P::value_type *a, const ORB_INT *lda,
          const typename P::value_type *b, const ORB_INT *ldb, const typename P::value_type *beta,
          typename P::value_type *c, const ORB_INT *ldc) {
  if (one_tile(P::grid, m, n) && *n != 1) {
    P::gemm_kernel(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (orb_blas_check_gemm(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc) != 0) {
    P::gemm_kernel(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  const bool strict = strict_reproducibility();
  if (*k != 0 && *n == 1 && !strict &&
      gemv_shortcut<P>(P::gemv, transa, transb, m, k, alpha, a, lda, b, ldb, beta, c))
    return;

  blas_args_t args = level3_args(transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc);
  level3_run(
      args, P::grid, internal_thread<P>,
      [&] { P::gemm_kernel(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); },
      [strict](blas_args_t &record, ORB_INT budget) {
        return gemm_split_k_applies<P>(record, budget, strict) && gemm_split_k<P>(record, budget);
      });
}

}  // namespace

}  // namespace orb::thr

#define ORB_GEMM_ENTRIES(p, P, T)                                                                        \
  extern "C" ORB_GEMM_DECL(p, T, ORB_INT) {                                                           \
    orb::thr::gemm<orb::thr::BlasPrecision<T>>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, \
                                                ldc);                                                 \
  }                                                                                                   \
  extern "C" ORB_GEMM_LP64_DECL(p, T) {                                                               \
    orb::thr::call_lp64(orb_blas_##p##gemm, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); \
  }

ORB_FOR_EACH_PRECISION(ORB_GEMM_ENTRIES)
