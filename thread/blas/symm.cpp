// The threaded products with a symmetric (?symm, s d c z) or Hermitian
// (?hemm, c z) A: C := alpha A B + beta C (side L) or alpha B A + beta C
// (side R), with 64-bit integers and their lp64 wrappers.
//
// Each column of C (side L) or row of C (side R) is A times the same column
// of B, or the same row of B times A: independent pieces of equal cost, like
// the right-hand sides of a triangular solve, so the cut is the same
// (partition/rhs.cpp): balanced blocks of the columns (side L) or rows (side
// R) of B and C, each one call of the sequential kernel with the whole of A.
// The blocks of C are disjoint, so no lock is taken.
//
// In this order:
//   1. An illegal call goes, unchanged, to the sequential kernel, which
//      reports the first illegal argument once and writes nothing.
//   2. m or n = 0 and alpha = 0 go to the kernel as they came: at most C is
//      scaled by beta.
//   3. The budget T is orb_serv_get_max_threads(), 1 in strict
//      reproducibility mode (level3_frame.hpp); the worker count is the
//      rule's; one worker calls the kernel with the caller's own arguments.
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

namespace orb::thr {

namespace {

//! The kernel of one routine, by element type and name.
template <class T, auto Kernel>
struct SymmRoutine {
  using value_type = T;
  static void kernel(const char *side, const char *uplo, const ORB_INT *m, const ORB_INT *n, const T *alpha,
                     const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
                     const ORB_INT *ldc) {
    Kernel(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};

//! One block of columns (side L) or rows (side R) of B and C.
template <class R>
int64_t symm_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename R::value_type;
  const char *side = static_cast<const char *>(args->word2);
  const bool left = (*side | 0x20) == 'l';
  const Range r = rhs_range(left ? args->n : args->m, nthr, ithr);
  if (r.empty()) return 0;
  const ORB_INT count = r.size();
  const T *b = static_cast<const T *>(args->b);
  T *c = static_cast<T *>(args->c);
  R::kernel(side, static_cast<const char *>(args->word3), left ? &args->m : &count, left ? &count : &args->n,
            static_cast<const T *>(args->alpha), static_cast<const T *>(args->a), &args->lda,
            left ? b + r.begin * args->ldb : b + r.begin, &args->ldb, static_cast<const T *>(args->beta),
            left ? c + r.begin * args->ldc : c + r.begin, &args->ldc);
  return 0;
}

template <class R, class T = typename R::value_type>
void symm(const char *side, const char *uplo, const ORB_INT *m, const ORB_INT *n, const T *alpha, const T *a,
          const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c, const ORB_INT *ldc) {
  const bool left = (*side | 0x20) == 'l';
  run_cut(
      orb_blas_check_symm(side, uplo, m, n, alpha, lda, ldb, beta, ldc) != 0 || *m == 0 || *n == 0 ||
          orb::is_zero(*alpha),
      [&](int64_t budget) { return rhs_workers(left ? *m : *n, left ? *n : *m, budget); },
      [&] { R::kernel(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc); },
      [&](int64_t workers) {
        blas_args_t args = level3_args(nullptr, nullptr, *m, *n, 0, alpha, a, *lda, b, *ldb, beta, c, *ldc);
        args.word2 = side;
        args.word3 = uplo;
        orb_blas_invoke_thin_thread(workers, symm_worker<R>, &args, nullptr);
      });
}

}  // namespace

}  // namespace orb::thr

#define ORB_SYMM_ENTRIES(name, T)                                                                              \
  extern "C" ORB_SYMM_DECL(orb_blas_##name, T, ORB_INT) {                                                     \
    orb::thr::symm<orb::thr::SymmRoutine<T, orb_blas_x##name>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, \
                                                                 ldc);                                         \
  }                                                                                                            \
  extern "C" ORB_SYMM_DECL(orb_blas_lp64_##name, T, int) {                                                    \
    orb::thr::call_lp64(orb_blas_##name, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);              \
  }
#define ORB_SYMM_EACH(p, P, T) ORB_SYMM_ENTRIES(p##symm, T)
ORB_FOR_EACH_PRECISION(ORB_SYMM_EACH)
ORB_SYMM_ENTRIES(chemm, ORB_Complex8)
ORB_SYMM_ENTRIES(zhemm, ORB_Complex16)
