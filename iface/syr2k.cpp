// Rank-2k updates of one triangle of a symmetric or Hermitian C under their
// standard names: ssyr2k_ ... zsyr2k_, cher2k_ and zher2k_ (32-bit integers),
// the same with _64_ (64-bit integers) and cblas_ssyr2k ... cblas_zher2k (row-
// or column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major C is, read
// column-major, its transpose, which holds the other triangle, and row-major
// A and B read column-major are A^T and B^T: so a row-major call is the
// column-major call with uplo and the transposition flipped, as for the
// rank-k updates.  For her2k the transpose of C is its conjugate, which the
// column-major update reaches with alpha conjugated (the two terms change
// roles); syr2k's alpha stays.  No position changes places.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "rank_k.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the column-major argument order of the standard routine; S is
// the type of beta (T for syr2k, the real type for her2k).
template <class T, class S>
struct Syr2kCall {
  char uplo, trans;
  int64_t n, k;
  const T *alpha;
  const T *a;
  int64_t lda;
  const T *b;
  int64_t ldb;
  const S *beta;
  T *c;
  int64_t ldc;
};

template <class T, class S>
const char *family() {
  return kHermitian<T, S> ? "HER2K" : "SYR2K";
}

#define ORB_THREADED_RANK_2K(name, T, S)                                                                   \
  void threaded_rank_2k(const Syr2kCall<T, S> &s) {                                                       \
    orb_blas_##name(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, s.a, &s.lda, s.b, &s.ldb, s.beta, s.c, &s.ldc); \
  }
#define ORB_THREADED_SYR2K(p, P, T) ORB_THREADED_RANK_2K(p##syr2k, T, T)
ORB_FOR_EACH_PRECISION(ORB_THREADED_SYR2K)
ORB_THREADED_RANK_2K(cher2k, ORB_Complex8, float)
ORB_THREADED_RANK_2K(zher2k, ORB_Complex16, double)
#undef ORB_THREADED_SYR2K
#undef ORB_THREADED_RANK_2K

template <class T, class S>
bool leaves_c_unchanged(const Syr2kCall<T, S> &s) {
  return triangle_unchanged(s.n, s.k, *s.alpha, *s.beta);
}

// After the standard's own tests (blas_rules.hpp), a call that changes C must
// provide C, and A and B when it reads them (alpha != 0, k > 0): the
// standard position of the first missing one, or 0.
template <class T, class S>
int check_operands(const Syr2kCall<T, S> &s) {
  if (leaves_c_unchanged(s)) return 0;
  if (!is_zero(*s.alpha) && s.k > 0) {
    if (!s.a) return 6;
    if (!s.b) return 8;
  }
  if (!s.c) return 11;
  return 0;
}

template <class T, class S>
int check_call(const Syr2kCall<T, S> &s) {
  const int info =
      rules::check_syr2k(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, &s.lda, &s.ldb, s.beta, &s.ldc, rank_k_ops<T, S>());
  return info ? info : check_operands(s);
}

template <class I, class T, class S>
void syr2k_operands(CallText &t, I n, I k, const T *alpha, const void *a, I lda, const void *b, I ldb, const S *beta,
                    const void *c, I ldc) {
  t.integer(n).integer(k).scalar(alpha).address(a).integer(lda).address(b).integer(ldb).scalar(beta).address(c)
      .integer(ldc);
}

}  // namespace

template <class T, class S, class I>
void fortran_syr2k(int iface, const char *uplo, const char *trans, const I *n, const I *k, const T *alpha,
                   const T *a, const I *lda, const T *b, const I *ldb, const S *beta, T *c, const I *ldc) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_syr2k(uplo, trans, n, k, alpha, lda, ldb, beta, ldc, rank_k_ops<T, S>());
        Syr2kCall<T, S> s = {};
        if (!info) {
          s = {*uplo, *trans, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc};
          info = check_operands(s);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, family<T, S>(), int64).report, info);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_rank_2k(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family<T, S>(), int64).upper).character(uplo).character(trans);
        syr2k_operands(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

template <class T, class S>
void cblas_syr2k(int layout, int uplo, int trans, int n, int k, const T *alpha, const T *a, int lda, const T *b,
                 int ldb, const S *beta, T *c, int ldc) {
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        char ul = uplo_letter(uplo), tr = transpose_letter(trans);
        int info = !known_layout(layout) ? 1 : !ul ? 2 : !tr ? 3 : 0;
        Syr2kCall<T, S> s = {};
        T conjugated{};
        if (!info) {
          const T *al = alpha;
          if (row) {
            flip_for_row_major<T, S>(ul, tr);
            if (kHermitian<T, S> && alpha) al = &(conjugated = conjugate(*alpha));
          }
          s = {ul, tr, n, k, al, a, lda, b, ldb, beta, c, ldc};
          info = check_call(s);
          if (info) ++info;
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, family<T, S>(), false).cblas, info, row, nullptr, 0);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_rank_2k(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family<T, S>(), false).cblas);
        cblas_layout(t, layout);
        cblas_uplo(t, uplo);
        cblas_transpose(t, trans);
        syr2k_operands(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_syr2k;
using orb::iface::fortran_syr2k;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of uplo and trans after the last argument; they
// are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_RANK_2K(name, iface, T, S, I)                                                                   \
  extern "C" ORB_EXPORT void name(const char *uplo, const char *trans, const I *n, const I *k, const T *alpha,     \
                                  const T *a, const I *lda, const T *b, const I *ldb, const S *beta, T *c,         \
                                  const I *ldc) {                                                                  \
    fortran_syr2k<T, S, I>(iface, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                         \
  }
#define ORB_FORTRAN_RANK_2K_FORMS(lower, upper, T, S)     \
  ORB_FORTRAN_RANK_2K(lower##_, kLp64, T, S, int)         \
  ORB_FORTRAN_RANK_2K(lower##_64_, kIlp64, T, S, ORB_INT) \
  ORB_FORTRAN_NAME_FORMS(lower, upper)
#define ORB_FORTRAN_SYR2K_FORMS(p, P, T) ORB_FORTRAN_RANK_2K_FORMS(p##syr2k, P##SYR2K, T, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_SYR2K_FORMS)
ORB_FORTRAN_RANK_2K_FORMS(cher2k, CHER2K, ORB_Complex8, float)
ORB_FORTRAN_RANK_2K_FORMS(zher2k, ZHER2K, ORB_Complex16, double)

// Real scalars come by value, complex ones through void pointers (her2k's
// real beta by value).
#define ORB_CBLAS_REAL_SYR2K(p, T)                                                                                  \
  extern "C" void cblas_##p##syr2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,      \
                                   T alpha, const T *a, int lda, const T *b, int ldb, T beta, T *c, int ldc) {     \
    cblas_syr2k<T, T>(layout, uplo, trans, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);                           \
  }
#define ORB_CBLAS_COMPLEX_RANK_2K(name, T, S, BETA, BETA_PTR)                                                       \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,          \
                               const void *alpha, const void *a, int lda, const void *b, int ldb, BETA beta,       \
                               void *c, int ldc) {                                                                 \
    cblas_syr2k<T, S>(layout, uplo, trans, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a), lda,    \
                      static_cast<const T *>(b), ldb, BETA_PTR, static_cast<T *>(c), ldc);                         \
  }
ORB_CBLAS_REAL_SYR2K(s, float)
ORB_CBLAS_REAL_SYR2K(d, double)
ORB_CBLAS_COMPLEX_RANK_2K(csyr2k, ORB_Complex8, ORB_Complex8, const void *, static_cast<const ORB_Complex8 *>(beta))
ORB_CBLAS_COMPLEX_RANK_2K(zsyr2k, ORB_Complex16, ORB_Complex16, const void *, static_cast<const ORB_Complex16 *>(beta))
ORB_CBLAS_COMPLEX_RANK_2K(cher2k, ORB_Complex8, float, float, &beta)
ORB_CBLAS_COMPLEX_RANK_2K(zher2k, ORB_Complex16, double, double, &beta)
