// Rank-k and rank-2k updates of one triangle of a symmetric or Hermitian C
// under their standard names: ssyrk_ ... zsyrk_, cherk_, zherk_, ssyr2k_ ...
// zsyr2k_, cher2k_ and zher2k_ (32-bit integers), the same with _64_ (64-bit
// integers) and cblas_ssyrk ... cblas_zher2k (row- or column-major).  The two
// families differ only in B (and its leading dimension) and in the type of
// alpha, so one template serves both.
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major C is, read
// column-major, its transpose, which holds the other triangle, and row-major
// A and B read column-major are A^T and B^T: so a row-major call is the
// column-major call with uplo flipped and the transposition flipped (N to T,
// or to C for herk and her2k, and back); n, k and the leading dimensions
// stay, and no position changes places.  For her2k the transpose of C is its
// conjugate, which the column-major update reaches with alpha conjugated
// (its two terms exchange roles); the other alphas stay.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>
#include <type_traits>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the column-major argument order of the standard routine: T the
// element type, S the type of beta (the real type for herk and her2k); a
// rank-2k update (Two) has B and an alpha of type T, a rank-k update neither
// B nor ldb and an alpha of type S.
template <class T, class S, bool Two>
struct RankCall {
  using Alpha = std::conditional_t<Two, T, S>;
  static constexpr bool hermitian = !std::is_same_v<T, S>;
  char uplo, trans;
  int64_t n, k;
  const Alpha *alpha;
  const T *a;
  int64_t lda;
  const T *b;
  int64_t ldb;
  const S *beta;
  T *c;
  int64_t ldc;

  static const char *family() {
    return Two ? (hermitian ? "HER2K" : "SYR2K") : (hermitian ? "HERK" : "SYRK");
  }
  static const char *ops() {
    return hermitian ? rules::kHerkOps : Precision<T>::is_complex ? rules::kSyrkComplexOps : rules::kSyrkRealOps;
  }
  //! The standard's own tests (blas_rules.hpp): the first illegal position, or 0.
  template <class I>
  static int check(const char *uplo, const char *trans, const I *n, const I *k, const Alpha *alpha, const I *lda,
                   const I *ldb, const S *beta, const I *ldc) {
    if constexpr (Two)
      return rules::check_syr2k(uplo, trans, n, k, alpha, lda, ldb, beta, ldc, ops());
    else
      return rules::check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, ops());
  }
  //! The standard's early return: no entry of C changes.
  bool leaves_c_unchanged() const { return n == 0 || ((is_zero(*alpha) || k == 0) && is_one(*beta)); }
  //! After the standard's tests, a call that changes C must provide C, and A
  //! (and B) when it reads them (alpha != 0, k > 0): the standard position of
  //! the first missing one, or 0.
  int check_operands() const {
    if (leaves_c_unchanged()) return 0;
    if (!is_zero(*alpha) && k > 0) {
      if (!a) return 6;
      if (Two && !b) return 8;
    }
    if (!c) return Two ? 11 : 9;
    return 0;
  }
};

// The threaded driver of each routine, handed the checked call with its
// integers already 64 bits wide.
#define ORB_THREADED_RANK_K(name, name_2k, T, S)                                                              \
  void threaded(const RankCall<T, S, false> &s) {                                                            \
    orb_blas_##name(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, s.a, &s.lda, s.beta, s.c, &s.ldc);               \
  }                                                                                                          \
  void threaded(const RankCall<T, S, true> &s) {                                                             \
    orb_blas_##name_2k(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, s.a, &s.lda, s.b, &s.ldb, s.beta, s.c, &s.ldc); \
  }
#define ORB_THREADED_SYRK(p, P, T) ORB_THREADED_RANK_K(p##syrk, p##syr2k, T, T)
ORB_FOR_EACH_PRECISION(ORB_THREADED_SYRK)
ORB_THREADED_RANK_K(cherk, cher2k, ORB_Complex8, float)
ORB_THREADED_RANK_K(zherk, zher2k, ORB_Complex16, double)
#undef ORB_THREADED_SYRK
#undef ORB_THREADED_RANK_K

//! The operands after the letters; B and ldb only for a rank-2k update.
template <bool Two, class I, class A, class S>
void rank_k_operands(CallText &t, I n, I k, const A *alpha, const void *a, I lda, const void *b, I ldb, const S *beta,
                     const void *c, I ldc) {
  t.integer(n).integer(k).scalar(alpha).address(a).integer(lda);
  if (Two) t.address(b).integer(ldb);
  t.scalar(beta).address(c).integer(ldc);
}

}  // namespace

template <class T, class S, bool Two, class I, class A = typename RankCall<T, S, Two>::Alpha>
void fortran_rank_k(int iface, const char *uplo, const char *trans, const I *n, const I *k, const A *alpha,
                    const T *a, const I *lda, const T *b, const I *ldb, const S *beta, T *c, const I *ldc) {
  using Call = RankCall<T, S, Two>;
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = Call::check(uplo, trans, n, k, alpha, lda, ldb, beta, ldc);
        Call s = {};
        if (!info) {
          s = {*uplo, *trans, *n, *k, alpha, a, *lda, b, Two ? *ldb : 0, beta, c, *ldc};
          info = s.check_operands();
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, Call::family(), int64).report, info);
          return;
        }
        if (s.leaves_c_unchanged()) return;
        threaded(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, Call::family(), int64).upper).character(uplo).character(trans);
        rank_k_operands<Two>(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

template <class T, class S, bool Two, class A = typename RankCall<T, S, Two>::Alpha>
void cblas_rank_k(int layout, int uplo, int trans, int n, int k, const A *alpha, const T *a, int lda, const T *b,
                  int ldb, const S *beta, T *c, int ldc) {
  using Call = RankCall<T, S, Two>;
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        char ul = uplo_letter(uplo), tr = transpose_letter(trans);
        int info = !known_layout(layout) ? 1 : !ul ? 2 : !tr ? 3 : 0;
        Call s = {};
        A conjugated{};
        if (!info) {
          const A *al = alpha;
          if (row) {
            ul = ul == 'U' ? 'L' : 'U';
            // A letter the routine does not take stays, to be reported as it is.
            bool known = false;
            for (const char *op = Call::ops(); *op; ++op) known = known || *op == tr;
            if (known) tr = tr != 'N' ? 'N' : Call::hermitian ? 'C' : 'T';
            if constexpr (Two && Call::hermitian)
              if (alpha) al = &(conjugated = conjugate(*alpha));
          }
          s = {ul, tr, n, k, al, a, lda, b, ldb, beta, c, ldc};
          info = Call::check(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, &s.lda, &s.ldb, s.beta, &s.ldc);
          if (!info) info = s.check_operands();
          if (info) ++info;
        }
        if (info) {
          // No position changes places between a row-major call and its twin.
          report_cblas(routine_name(Precision<T>::upper, Call::family(), false).cblas, info, row, nullptr, 0);
          return;
        }
        if (s.leaves_c_unchanged()) return;
        threaded(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, Call::family(), false).cblas);
        cblas_layout(t, layout);
        cblas_uplo(t, uplo);
        cblas_transpose(t, trans);
        rank_k_operands<Two>(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_rank_k;
using orb::iface::fortran_rank_k;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of uplo and trans after the last argument; they
// are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_RANK_K(name, iface, T, S, I)                                                                  \
  extern "C" ORB_EXPORT void name(const char *uplo, const char *trans, const I *n, const I *k, const S *alpha,   \
                                  const T *a, const I *lda, const S *beta, T *c, const I *ldc) {                 \
    fortran_rank_k<T, S, false, I>(iface, uplo, trans, n, k, alpha, a, lda, nullptr, nullptr, beta, c, ldc);     \
  }
#define ORB_FORTRAN_RANK_2K(name, iface, T, S, I)                                                                 \
  extern "C" ORB_EXPORT void name(const char *uplo, const char *trans, const I *n, const I *k, const T *alpha,   \
                                  const T *a, const I *lda, const T *b, const I *ldb, const S *beta, T *c,       \
                                  const I *ldc) {                                                                \
    fortran_rank_k<T, S, true, I>(iface, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                \
  }
#define ORB_FORTRAN_RANK_K_FORMS(lower, upper, lower_2k, upper_2k, T, S) \
  ORB_FORTRAN_RANK_K(lower##_, kLp64, T, S, int)                         \
  ORB_FORTRAN_RANK_K(lower##_64_, kIlp64, T, S, ORB_INT)                 \
  ORB_FORTRAN_NAME_FORMS(lower, upper)                                   \
  ORB_FORTRAN_RANK_2K(lower_2k##_, kLp64, T, S, int)                     \
  ORB_FORTRAN_RANK_2K(lower_2k##_64_, kIlp64, T, S, ORB_INT)             \
  ORB_FORTRAN_NAME_FORMS(lower_2k, upper_2k)
#define ORB_FORTRAN_SYRK_FORMS(p, P, T) ORB_FORTRAN_RANK_K_FORMS(p##syrk, P##SYRK, p##syr2k, P##SYR2K, T, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_SYRK_FORMS)
ORB_FORTRAN_RANK_K_FORMS(cherk, CHERK, cher2k, CHER2K, ORB_Complex8, float)
ORB_FORTRAN_RANK_K_FORMS(zherk, ZHERK, zher2k, ZHER2K, ORB_Complex16, double)

// Real scalars come by value, complex ones through void pointers (the real
// beta of herk and her2k, and herk's real alpha, by value).
#define ORB_CBLAS_BY_VALUE(name, T, S, M)                                                                          \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, S alpha, \
                               const M *a, int lda, S beta, M *c, int ldc) {                                       \
    cblas_rank_k<T, S, false>(layout, uplo, trans, n, k, &alpha, static_cast<const T *>(a), lda, nullptr, 0, &beta, \
                              static_cast<T *>(c), ldc);                                                           \
  }
#define ORB_CBLAS_BY_POINTER(name, T)                                                                                \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,           \
                               const void *alpha, const void *a, int lda, const void *beta, void *c, int ldc) {     \
    cblas_rank_k<T, T, false>(layout, uplo, trans, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a),  \
                              lda, nullptr, 0, static_cast<const T *>(beta), static_cast<T *>(c), ldc);              \
  }
#define ORB_CBLAS_REAL_2K(name, T)                                                                                  \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, T alpha, \
                               const T *a, int lda, const T *b, int ldb, T beta, T *c, int ldc) {                  \
    cblas_rank_k<T, T, true>(layout, uplo, trans, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);                    \
  }
#define ORB_CBLAS_COMPLEX_2K(name, T, S, BETA, BETA_PTR)                                                             \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,           \
                               const void *alpha, const void *a, int lda, const void *b, int ldb, BETA beta,        \
                               void *c, int ldc) {                                                                  \
    cblas_rank_k<T, S, true>(layout, uplo, trans, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a),   \
                             lda, static_cast<const T *>(b), ldb, BETA_PTR, static_cast<T *>(c), ldc);               \
  }
ORB_CBLAS_BY_VALUE(ssyrk, float, float, float)
ORB_CBLAS_BY_VALUE(dsyrk, double, double, double)
ORB_CBLAS_BY_POINTER(csyrk, ORB_Complex8)
ORB_CBLAS_BY_POINTER(zsyrk, ORB_Complex16)
ORB_CBLAS_BY_VALUE(cherk, ORB_Complex8, float, void)
ORB_CBLAS_BY_VALUE(zherk, ORB_Complex16, double, void)
ORB_CBLAS_REAL_2K(ssyr2k, float)
ORB_CBLAS_REAL_2K(dsyr2k, double)
ORB_CBLAS_COMPLEX_2K(csyr2k, ORB_Complex8, ORB_Complex8, const void *, static_cast<const ORB_Complex8 *>(beta))
ORB_CBLAS_COMPLEX_2K(zsyr2k, ORB_Complex16, ORB_Complex16, const void *, static_cast<const ORB_Complex16 *>(beta))
ORB_CBLAS_COMPLEX_2K(cher2k, ORB_Complex8, float, float, &beta)
ORB_CBLAS_COMPLEX_2K(zher2k, ORB_Complex16, double, double, &beta)
