// Products with a symmetric or Hermitian A, C := alpha A B + beta C (side L)
// or alpha B A + beta C (side R), under their standard names: ssymm_ ...
// zsymm_, chemm_ and zhemm_ (32-bit integers), the same with _64_ (64-bit
// integers) and cblas_ssymm ... cblas_zhemm (row- or column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  Read column-major, a row-major B
// or C of m rows is its transpose with n rows, and a row-major A is its
// transpose, which holds the other triangle (for a Hermitian A, its
// conjugate: A^T = conj(A), and (A B)^T = B^T A^T holds all the same since
// the stored triangle read as the other one is A^T).  So a row-major call is
// the column-major call with side and uplo flipped and m and n exchanged;
// the leading dimensions stay.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the column-major argument order of the standard routine.
template <class T>
struct SymmCall {
  char side, uplo;
  int64_t m, n;
  const T *alpha;
  const T *a;
  int64_t lda;
  const T *b;
  int64_t ldb;
  const T *beta;
  T *c;
  int64_t ldc;
};

// The threaded driver of each routine, handed the checked call with its
// integers already 64 bits wide; hermitian chooses ?hemm, which only the
// complex types have (the real names never ask for it).
#define ORB_THREADED_SYMM(T, symm, hemm)                                                                  \
  void threaded_symm(const SymmCall<T> &s, bool hermitian) {                                             \
    (hermitian ? hemm : symm)(&s.side, &s.uplo, &s.m, &s.n, s.alpha, s.a, &s.lda, s.b, &s.ldb, s.beta, s.c, \
                              &s.ldc);                                                                   \
  }
ORB_THREADED_SYMM(float, orb_blas_ssymm, orb_blas_ssymm)
ORB_THREADED_SYMM(double, orb_blas_dsymm, orb_blas_dsymm)
ORB_THREADED_SYMM(ORB_Complex8, orb_blas_csymm, orb_blas_chemm)
ORB_THREADED_SYMM(ORB_Complex16, orb_blas_zsymm, orb_blas_zhemm)
#undef ORB_THREADED_SYMM

// The standard's early return: no entry of C changes.
template <class T>
bool leaves_c_unchanged(const SymmCall<T> &s) {
  return s.m == 0 || s.n == 0 || (is_zero(*s.alpha) && is_one(*s.beta));
}

// After the standard's own tests (blas_rules.hpp), a call that changes C must
// provide C, and A and B when it reads them (alpha != 0): the standard
// position of the first missing one, or 0.
template <class T>
int check_operands(const SymmCall<T> &s) {
  if (leaves_c_unchanged(s)) return 0;
  if (!is_zero(*s.alpha)) {
    if (!s.a) return 6;
    if (!s.b) return 8;
  }
  if (!s.c) return 11;
  return 0;
}

//! m and n: what a row-major call exchanges (CBLAS positions).
constexpr RowMajorExchange kSymmRowMajorExchanges[] = {{4, 5}};

template <class I, class T>
void symm_operands(CallText &t, I m, I n, const T *alpha, const void *a, I lda, const void *b, I ldb, const T *beta,
                   const void *c, I ldc) {
  t.integer(m).integer(n).scalar(alpha).address(a).integer(lda).address(b).integer(ldb).scalar(beta).address(c)
      .integer(ldc);
}

}  // namespace

template <class T, class I>
void fortran_symm(int iface, bool hermitian, const char *side, const char *uplo, const I *m, const I *n,
                  const T *alpha, const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c,
                  const I *ldc) {
  constexpr bool int64 = sizeof(I) == 8;
  const char *family = hermitian ? "HEMM" : "SYMM";
  run_reported(
      iface,
      [&] {
        int info = rules::check_symm(side, uplo, m, n, alpha, lda, ldb, beta, ldc);
        SymmCall<T> s = {};
        if (!info) {
          s = {*side, *uplo, *m, *n, alpha, a, *lda, b, *ldb, beta, c, *ldc};
          info = check_operands(s);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, family, int64).report, info);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_symm(s, hermitian);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family, int64).upper).character(side).character(uplo);
        symm_operands(t, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

template <class T>
void cblas_symm(bool hermitian, int layout, int side, int uplo, int m, int n, const T *alpha, const T *a, int lda,
                const T *b, int ldb, const T *beta, T *c, int ldc) {
  const char *family = hermitian ? "HEMM" : "SYMM";
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        char sd = side_letter(side), ul = uplo_letter(uplo);
        int info = !known_layout(layout) ? 1 : !sd ? 2 : !ul ? 3 : 0;
        SymmCall<T> s = {};
        if (!info) {
          if (row) {
            sd = sd == 'L' ? 'R' : 'L';
            ul = ul == 'U' ? 'L' : 'U';
          }
          s = {sd, ul, row ? n : m, row ? m : n, alpha, a, lda, b, ldb, beta, c, ldc};
          info = rules::check_symm(&s.side, &s.uplo, &s.m, &s.n, s.alpha, &s.lda, &s.ldb, s.beta, &s.ldc);
          if (!info) info = check_operands(s);
          if (info) ++info;
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, family, false).cblas, info, row, kSymmRowMajorExchanges);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_symm(s, hermitian);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family, false).cblas);
        cblas_layout(t, layout);
        cblas_side(t, side);
        cblas_uplo(t, uplo);
        symm_operands(t, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_symm;
using orb::iface::fortran_symm;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of side and uplo after the last argument; they
// are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_SYMM(name, iface, hermitian, T, I)                                                             \
  extern "C" ORB_EXPORT void name(const char *side, const char *uplo, const I *m, const I *n, const T *alpha,      \
                                  const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c,        \
                                  const I *ldc) {                                                                 \
    fortran_symm<T, I>(iface, hermitian, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);                  \
  }
#define ORB_FORTRAN_SYMM_FORMS(lower, upper, hermitian, T)      \
  ORB_FORTRAN_SYMM(lower##_, kLp64, hermitian, T, int)          \
  ORB_FORTRAN_SYMM(lower##_64_, kIlp64, hermitian, T, ORB_INT)  \
  ORB_FORTRAN_NAME_FORMS(lower, upper)
#define ORB_FORTRAN_SYMM_EACH(p, P, T) ORB_FORTRAN_SYMM_FORMS(p##symm, P##SYMM, false, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_SYMM_EACH)
ORB_FORTRAN_SYMM_FORMS(chemm, CHEMM, true, ORB_Complex8)
ORB_FORTRAN_SYMM_FORMS(zhemm, ZHEMM, true, ORB_Complex16)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_REAL_SYMM(p, T)                                                                               \
  extern "C" void cblas_##p##symm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, T alpha, \
                                  const T *a, int lda, const T *b, int ldb, T beta, T *c, int ldc) {            \
    cblas_symm<T>(false, layout, side, uplo, m, n, &alpha, a, lda, b, ldb, &beta, c, ldc);                      \
  }
#define ORB_CBLAS_COMPLEX_SYMM(name, hermitian, T)                                                                  \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,                \
                               const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, \
                               void *c, int ldc) {                                                                  \
    cblas_symm<T>(hermitian, layout, side, uplo, m, n, static_cast<const T *>(alpha), static_cast<const T *>(a),    \
                  lda, static_cast<const T *>(b), ldb, static_cast<const T *>(beta), static_cast<T *>(c), ldc);     \
  }
ORB_CBLAS_REAL_SYMM(s, float)
ORB_CBLAS_REAL_SYMM(d, double)
ORB_CBLAS_COMPLEX_SYMM(csymm, false, ORB_Complex8)
ORB_CBLAS_COMPLEX_SYMM(zsymm, false, ORB_Complex16)
ORB_CBLAS_COMPLEX_SYMM(chemm, true, ORB_Complex8)
ORB_CBLAS_COMPLEX_SYMM(zhemm, true, ORB_Complex16)
