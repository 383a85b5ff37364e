// The threaded triangular solves, B := alpha op(A)^-1 B (side L) or
// alpha B op(A)^-1 (side R), and products with a triangular matrix, B :=
// alpha op(A) B or alpha B op(A), in s, d, c and z, with 64-bit integers and
// their lp64 wrappers.
//
// Every right-hand side is a solve (a product) of its own, so the cut is over
// them (partition/rhs.cpp): the columns of B when A stands on the left, the
// rows of B when it stands on the right; each worker solves (multiplies) its
// block with one call of the sequential kernel, the whole triangle and the
// caller's alpha.  Each costs order^2 / 2 multiply-adds per right-hand side
// either way, so solve and product share the rule too.  The blocks are
// disjoint and no worker reads another's, so no lock is taken.
//
// In this order:
//   1. An illegal call goes, unchanged, to the sequential kernel, which
//      reports the first illegal argument once and writes nothing.
//   2. alpha = 0 (B set to zero, A not read) and m or n = 0 go to the kernel
//      as they came: there is nothing to solve.
//   3. The budget T is orb_serv_get_max_threads(), 1 in strict
//      reproducibility mode (level3_frame.hpp); the worker count is the
//      rule's (partition/rhs.cpp); one worker calls the kernel with the
//      caller's own arguments.
//   4. Otherwise the record carries the call to W workers through
//      orb_blas_invoke_thin_thread.
#include <orb/internal/blas_args.h>
#include "blas/blas_precision.hpp"
#include "blas/level3_frame.hpp"
#include "lp64.hpp"
#include "partition/rhs.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "precision.hpp"

namespace orb::thr {

namespace {

inline bool left_side(const char *side) { return (*side | 0x20) == 'l'; }

//! One block of right-hand sides: columns of B (side L) or rows (side R).
template <class T, auto Kernel>
int64_t trsm_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  const char *side = static_cast<const char *>(args->word2);
  const char *uplo = static_cast<const char *>(args->word3);
  const bool left = left_side(side);
  const Range r = rhs_range(left ? args->n : args->m, nthr, ithr);
  if (r.empty()) return 0;
  const ORB_INT count = r.size();
  T *b = static_cast<T *>(args->c);
  T *piece = left ? b + r.begin * args->ldb : b + r.begin;
  Kernel(side, uplo, args->transa, args->transb, left ? &args->m : &count, left ? &count : &args->n,
         static_cast<const T *>(args->alpha), static_cast<const T *>(args->a), &args->lda, piece, &args->ldb);
  return 0;
}

//! ?trsm with Kernel orb_blas_x?trsm, ?trmm with orb_blas_x?trmm.
template <class T, auto Kernel>
void trsm(const char *side, const char *uplo, const char *transa, const char *diag, const ORB_INT *m,
          const ORB_INT *n, const T *alpha, const T *a, const ORB_INT *lda, T *b, const ORB_INT *ldb) {
  const bool left = left_side(side);
  run_cut(
      orb_blas_check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb) != 0 || *m == 0 || *n == 0 ||
          orb::is_zero(*alpha),
      [&](int64_t budget) { return rhs_workers(left ? *m : *n, left ? *n : *m, budget); },
      [&] { Kernel(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb); },
      [&](int64_t workers) {
        // diag travels in the second transposition's word, side and uplo in the two after it.
        blas_args_t args = level3_args(transa, diag, *m, *n, 0, alpha, a, *lda, nullptr, *ldb, nullptr, b, 0);
        args.word2 = side;
        args.word3 = uplo;
        orb_blas_invoke_thin_thread(workers, trsm_worker<T, Kernel>, &args, nullptr);
      });
}

}  // namespace

}  // namespace orb::thr

#define ORB_TRIANGULAR_ENTRIES(name, T)                                                                      \
  extern "C" ORB_TRSM_DECL(orb_blas_##name, T, ORB_INT) {                                                  \
    orb::thr::trsm<T, orb_blas_x##name>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);            \
  }                                                                                                        \
  extern "C" ORB_TRSM_DECL(orb_blas_lp64_##name, T, int) {                                                 \
    orb::thr::call_lp64(orb_blas_##name, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);           \
  }
#define ORB_TRSM_TRMM_ENTRIES(p, P, T) ORB_TRIANGULAR_ENTRIES(p##trsm, T) ORB_TRIANGULAR_ENTRIES(p##trmm, T)

ORB_FOR_EACH_PRECISION(ORB_TRSM_TRMM_ENTRIES)
