// The threaded rank-k and rank-2k updates of one triangle of C: ?syrk, C :=
// alpha op(A) op(A)^T + beta C, and ?syr2k, C := alpha op(A) op(B)^T + alpha
// op(B) op(A)^T + beta C, in s, d, c and z; ?herk and ?her2k, the same with
// ^H (and conj(alpha) on her2k's second term), a real beta and, for herk, a
// real alpha, in c and z; 64-bit integers and their lp64 wrappers.
//
// The triangle is cut into column blocks of equal area
// (partition/triangle.cpp), one per worker.  Worker i's columns [j0, j1)
// are its diagonal block C(j0:j1, j0:j1), one call of the sequential kernel
// on the rows j0..j1 of op(A) (and op(B)), and the rectangle beside it
// inside the triangle: rows j1..n of the lower triangle, rows 0..j0 of the
// upper one.  That rectangle is a general product of those rows of op(A)
// with the transpose (the conjugate transpose for herk and her2k) of rows
// j0..j1: one GEMM call for a rank-k update, two for a rank-2k update (the
// second adding op(B) times op(A)'s rows onto the first).  The blocks are
// disjoint, so no lock is taken.
//
// In this order:
//   1. An illegal call goes, unchanged, to the sequential kernel, which
//      reports the first illegal argument once and writes nothing.
//   2. n = 0, alpha = 0 and k = 0 go to the kernel as they came: at most the
//      triangle is scaled by beta.
//   3. The budget T is orb_serv_get_max_threads(), 1 in strict
//      reproducibility mode (level3_frame.hpp); the worker count is the
//      rule's, counting 2k for a rank-2k update (it does twice the work);
//      one worker calls the kernel with the caller's own arguments.
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

#include "blas_rules.hpp"

#include <type_traits>

namespace orb::thr {

namespace {

//! ?syrk and ?syr2k (S = T) or ?herk and ?her2k (S the real type of T): the kernels and letters.
template <class T, class S>
struct RankK;
#define ORB_RANK_K(p, P, T)                                                                          \
  template <>                                                                                        \
  struct RankK<T, T> : BlasPrecision<T> {                                                          \
    static constexpr auto kernel = &orb_blas_x##p##syrk;                                             \
    static constexpr auto kernel_2k = &orb_blas_x##p##syr2k;                                         \
    static constexpr char conj = 'T';                                                                \
    static const char *ops() { return BlasPrecision<T>::is_complex ? rules::kSyrkComplexOps : rules::kSyrkRealOps; } \
    static T scalar(const T &s) { return s; }                                                        \
    static T second_alpha(const T &alpha) { return alpha; }                                          \
  };
ORB_FOR_EACH_PRECISION(ORB_RANK_K)
#undef ORB_RANK_K
#define ORB_RANK_K_HERMITIAN(p, T, S)                                     \
  template <>                                                           \
  struct RankK<T, S> : BlasPrecision<T> {                             \
    static constexpr auto kernel = &orb_blas_x##p##herk;                \
    static constexpr auto kernel_2k = &orb_blas_x##p##her2k;            \
    static constexpr char conj = 'C';                                   \
    static const char *ops() { return rules::kHerkOps; }                \
    static T scalar(const S &s) { return T{s, 0}; }                     \
    static T second_alpha(const T &alpha) { return orb::conjugate(alpha); } \
  };
ORB_RANK_K_HERMITIAN(c, ORB_Complex8, float)
ORB_RANK_K_HERMITIAN(z, ORB_Complex16, double)
#undef ORB_RANK_K_HERMITIAN

//! What both updates' workers share: the record's view of one worker's block.
template <class T, class S>
struct RankKPiece {
  const blas_args_t &args;
  const char *uplo = static_cast<const char *>(args.word2);
  const char *trans = args.transa;
  bool plain = not_transposed(trans);
  TriangleBlock block;
  ORB_INT width = block.cols.size(), rows = block.rows.size();
  //! The letters of the rectangle's product: rows of op(A) times the (conjugate) transpose of others.
  char left = plain ? 'N' : RankK<T, S>::conj, right = plain ? RankK<T, S>::conj : 'N';

  RankKPiece(const blas_args_t &record, int64_t nthr, int64_t ithr)
      : args(record), block(triangle_block(record.n, nthr, ithr, (*uplo | 0x20) == 'u')) {}

  //! Rows r.. of op(X), X stored with leading dimension ld: rows as stored, columns when transposed.
  const T *rows_of(const void *x, ORB_INT ld, ORB_INT r) const {
    const T *p = static_cast<const T *>(x);
    return plain ? p + r : p + r * ld;
  }
  T *diagonal() const { return static_cast<T *>(args.c) + block.cols.begin * (1 + args.ldc); }
  T *rectangle() const { return static_cast<T *>(args.c) + block.rows.begin + block.cols.begin * args.ldc; }
  //! rectangle := alpha (rows of op(X)) (rows j0..j1 of op(Y))^T + beta rectangle.
  void product(const T &alpha, const void *x, ORB_INT ldx, const void *y, ORB_INT ldy, const T &beta) const {
    RankK<T, S>::gemm_kernel(&left, &right, &rows, &width, &args.k, &alpha, rows_of(x, ldx, block.rows.begin), &ldx,
                             rows_of(y, ldy, block.cols.begin), &ldy, &beta, rectangle(), &args.ldc);
  }
};

//! Columns [j0, j1) of a rank-k update: the diagonal block, then the rectangle beside it.
template <class T, class S>
int64_t syrk_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using K = RankK<T, S>;
  const RankKPiece<T, S> p(*args, nthr, ithr);
  if (p.block.cols.empty()) return 0;
  const S *alpha = static_cast<const S *>(args->alpha), *beta = static_cast<const S *>(args->beta);
  K::kernel(p.uplo, p.trans, &p.width, &args->k, alpha, p.rows_of(args->a, args->lda, p.block.cols.begin),
            &args->lda, beta, p.diagonal(), &args->ldc);
  if (p.rows > 0) p.product(K::scalar(*alpha), args->a, args->lda, args->a, args->lda, K::scalar(*beta));
  return 0;
}

//! Columns [j0, j1) of a rank-2k update: the diagonal block, then the
//! rectangle, alpha op(A) op(B)^T + beta C and then + alpha' op(B) op(A)^T.
template <class T, class S>
int64_t syr2k_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using K = RankK<T, S>;
  const RankKPiece<T, S> p(*args, nthr, ithr);
  if (p.block.cols.empty()) return 0;
  const T *alpha = static_cast<const T *>(args->alpha);
  const S *beta = static_cast<const S *>(args->beta);
  const ORB_INT j0 = p.block.cols.begin;
  K::kernel_2k(p.uplo, p.trans, &p.width, &args->k, alpha, p.rows_of(args->a, args->lda, j0), &args->lda,
               p.rows_of(args->b, args->ldb, j0), &args->ldb, beta, p.diagonal(), &args->ldc);
  if (p.rows == 0) return 0;
  p.product(*alpha, args->a, args->lda, args->b, args->ldb, K::scalar(*beta));
  p.product(K::second_alpha(*alpha), args->b, args->ldb, args->a, args->lda, K::one());
  return 0;
}

//! Runs a rank-k (b null) or rank-2k update through run_cut: the record
//! carries uplo beside the caller's letters, sizes and pointers.
template <class T, class Whole>
void rank_k_cut(bool as_it_came, int64_t work_k, orb_blas_worker_fn worker, const char *uplo, const char *trans,
                const ORB_INT *n, const ORB_INT *k, const void *alpha, const T *a, const ORB_INT *lda, const T *b,
                const ORB_INT *ldb, const void *beta, T *c, const ORB_INT *ldc, Whole &&whole) {
  run_cut(
      as_it_came, [&](int64_t budget) { return triangle_workers(*n, work_k, budget); }, whole,
      [&](int64_t workers) {
        blas_args_t args = level3_args(trans, nullptr, 0, *n, *k, alpha, a, *lda, b, b ? *ldb : 0, beta, c, *ldc);
        args.word2 = uplo;
        orb_blas_invoke_thin_thread(workers, worker, &args, nullptr);
      });
}

template <class T, class S>
void syrk(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const S *alpha, const T *a,
          const ORB_INT *lda, const S *beta, T *c, const ORB_INT *ldc) {
  using K = RankK<T, S>;
  const bool as_it_came = orb_blas_check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, K::ops()) != 0 ||
                          *n == 0 || *k == 0 || orb::is_zero(*alpha);
  rank_k_cut<T>(as_it_came, as_it_came ? 0 : *k, syrk_worker<T, S>, uplo, trans, n, k, alpha, a, lda, nullptr,
                nullptr, beta, c, ldc, [&] { K::kernel(uplo, trans, n, k, alpha, a, lda, beta, c, ldc); });
}

template <class T, class S>
void syr2k(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const T *alpha, const T *a,
           const ORB_INT *lda, const T *b, const ORB_INT *ldb, const S *beta, T *c, const ORB_INT *ldc) {
  using K = RankK<T, S>;
  const bool as_it_came = orb_blas_check_syr2k(uplo, trans, n, k, alpha, lda, ldb, beta, ldc, K::ops()) != 0 ||
                          *n == 0 || *k == 0 || orb::is_zero(*alpha);
  // Twice a rank-k update's work: the rule counts 2k.
  rank_k_cut<T>(as_it_came, as_it_came ? 0 : 2 * *k, syr2k_worker<T, S>, uplo, trans, n, k, alpha, a, lda, b, ldb,
                beta, c, ldc, [&] { K::kernel_2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc); });
}

}  // namespace

}  // namespace orb::thr

#define ORB_RANK_K_ENTRIES(name, name_2k, T, S)                                                           \
  extern "C" ORB_SYRK_DECL(orb_blas_##name, T, S, ORB_INT) {                                              \
    orb::thr::syrk<T, S>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                                 \
  }                                                                                                       \
  extern "C" ORB_SYRK_DECL(orb_blas_lp64_##name, T, S, int) {                                             \
    orb::thr::call_lp64(orb_blas_##name, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                 \
  }                                                                                                       \
  extern "C" ORB_SYR2K_DECL(orb_blas_##name_2k, T, S, ORB_INT) {                                          \
    orb::thr::syr2k<T, S>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                        \
  }                                                                                                       \
  extern "C" ORB_SYR2K_DECL(orb_blas_lp64_##name_2k, T, S, int) {                                         \
    orb::thr::call_lp64(orb_blas_##name_2k, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);      \
  }
#define ORB_SYRK_ENTRIES(p, P, T) ORB_RANK_K_ENTRIES(p##syrk, p##syr2k, T, T)
ORB_FOR_EACH_PRECISION(ORB_SYRK_ENTRIES)
ORB_RANK_K_ENTRIES(cherk, cher2k, ORB_Complex8, float)
ORB_RANK_K_ENTRIES(zherk, zher2k, ORB_Complex16, double)
