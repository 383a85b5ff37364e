// Triangular solve with many right-hand sides, B := alpha op(A)^-1 B (side
// L) or alpha B op(A)^-1 (side R), and product with a triangular matrix, B :=
// alpha op(A) B or alpha B op(A), under their standard names: strsm_ ...
// ztrsm_ and strmm_ ... ztrmm_ (32-bit integers), the same with _64_ (64-bit
// integers) and cblas_strsm ... cblas_ztrmm (row- or column-major).  The two
// take the same arguments under the same rules, so one template serves both.
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major B of m rows is,
// read column-major, B^T with n rows, and a row-major triangle is the
// column-major transpose of the other triangle: solving X op(A) = B is
// solving op(A)^T X^T = B^T, and B op(A) is (op(A)^T B^T)^T.  So a row-major call is the column-major call
// with side and uplo flipped (L <-> R, U <-> L) and m and n exchanged; transa
// and diag stay as they are, and so do lda and ldb.
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
struct TrsmCall {
  char side, uplo, transa, diag;
  int64_t m, n;
  const T *alpha;
  const T *a;
  int64_t lda;
  T *b;
  int64_t ldb;
};

// The threaded driver of each element type (the product's when multiply
// holds), handed the checked call with its integers already 64 bits wide.
#define ORB_THREADED_TRSM(p, P, T)                                                                       \
  void threaded_trsm(const TrsmCall<T> &t, bool multiply) {                                             \
    (multiply ? orb_blas_##p##trmm : orb_blas_##p##trsm)(&t.side, &t.uplo, &t.transa, &t.diag, &t.m, &t.n, \
                                                          t.alpha, t.a, &t.lda, t.b, &t.ldb);          \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_TRSM)
#undef ORB_THREADED_TRSM

// After the standard's own tests (blas_rules.hpp), a call with something to
// solve must provide B, and A when it reads it (alpha != 0): the standard
// position of the first missing one, or 0.  m or n = 0 is the standard's
// early return, which reads nothing.
template <class T>
int check_operands(const TrsmCall<T> &t) {
  if (t.m == 0 || t.n == 0) return 0;
  if (!is_zero(*t.alpha) && !t.a) return 8;
  if (!t.b) return 10;
  return 0;
}

//! The family's name without its letter.
constexpr const char *family(bool multiply) { return multiply ? "TRMM" : "TRSM"; }

//! m and n: what a row-major call exchanges (CBLAS positions).
constexpr RowMajorExchange kTrsmRowMajorExchanges[] = {{6, 7}};

template <class I, class S>
void trsm_operands(CallText &t, I m, I n, const S *alpha, const void *a, I lda, const void *b, I ldb) {
  t.integer(m).integer(n).scalar(alpha).address(a).integer(lda).address(b).integer(ldb);
}

}  // namespace

template <class T, class I>
void fortran_trsm(int iface, bool multiply, const char *side, const char *uplo, const char *transa, const char *diag, const I *m,
                  const I *n, const T *alpha, const T *a, const I *lda, T *b, const I *ldb) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb);
        TrsmCall<T> t = {};
        if (!info) {
          t = {*side, *uplo, *transa, *diag, *m, *n, alpha, a, *lda, b, *ldb};
          info = check_operands(t);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, family(multiply), int64).report, info);
          return;
        }
        if (t.m == 0 || t.n == 0) return;
        threaded_trsm(t, multiply);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family(multiply), int64).upper)
            .character(side)
            .character(uplo)
            .character(transa)
            .character(diag);
        trsm_operands(t, m, n, alpha, a, lda, b, ldb);
      });
}

template <class T>
void cblas_trsm(bool multiply, int layout, int side, int uplo, int transa, int diag, int m, int n, const T *alpha, const T *a,
                int lda, T *b, int ldb) {
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        char sd = side_letter(side), ul = uplo_letter(uplo);
        const char ta = transpose_letter(transa), dg = diag_letter(diag);
        int info = !known_layout(layout) ? 1 : !sd ? 2 : !ul ? 3 : !ta ? 4 : !dg ? 5 : 0;
        TrsmCall<T> t = {};
        if (!info) {
          if (row) {
            sd = sd == 'L' ? 'R' : 'L';
            ul = ul == 'U' ? 'L' : 'U';
          }
          t = {sd, ul, ta, dg, row ? n : m, row ? m : n, alpha, a, lda, b, ldb};
          info = rules::check_trsm(&t.side, &t.uplo, &t.transa, &t.diag, &t.m, &t.n, t.alpha, &t.lda, &t.ldb);
          if (!info) info = check_operands(t);
          if (info) ++info;
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, family(multiply), false).cblas, info, row,
                       kTrsmRowMajorExchanges);
          return;
        }
        if (t.m == 0 || t.n == 0) return;
        threaded_trsm(t, multiply);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family(multiply), false).cblas);
        cblas_layout(t, layout);
        cblas_side(t, side);
        cblas_uplo(t, uplo);
        cblas_transpose(t, transa);
        cblas_diag(t, diag);
        trsm_operands(t, m, n, alpha, a, lda, b, ldb);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_trsm;
using orb::iface::fortran_trsm;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of the four characters after the last argument;
// they are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_TRSM(name, multiply, iface, T, I)                                                        \
  extern "C" ORB_EXPORT void name(const char *side, const char *uplo, const char *ta, const char *diag,      \
                                  const I *m, const I *n, const T *alpha, const T *a, const I *lda, T *b,    \
                                  const I *ldb) {                                                            \
    fortran_trsm<T, I>(iface, multiply, side, uplo, ta, diag, m, n, alpha, a, lda, b, ldb);                  \
  }
#define ORB_FORTRAN_TRIANGULAR_FORMS(lower, upper, multiply, T) \
  ORB_FORTRAN_TRSM(lower##_, multiply, kLp64, T, int)           \
  ORB_FORTRAN_TRSM(lower##_64_, multiply, kIlp64, T, ORB_INT)   \
  ORB_FORTRAN_NAME_FORMS(lower, upper)
#define ORB_FORTRAN_TRSM_FORMS(p, P, T)                       \
  ORB_FORTRAN_TRIANGULAR_FORMS(p##trsm, P##TRSM, false, T) \
  ORB_FORTRAN_TRIANGULAR_FORMS(p##trmm, P##TRMM, true, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_TRSM_FORMS)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_REAL_TRSM(name, multiply, T)                                                                  \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta,      \
                               CBLAS_DIAG diag, int m, int n, T alpha, const T *a, int lda, T *b, int ldb) {    \
    cblas_trsm<T>(multiply, layout, side, uplo, ta, diag, m, n, &alpha, a, lda, b, ldb);                        \
  }
#define ORB_CBLAS_COMPLEX_TRSM(name, multiply, T)                                                                \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta,       \
                               CBLAS_DIAG diag, int m, int n, const void *alpha, const void *a, int lda, void *b, \
                               int ldb) {                                                                        \
    cblas_trsm<T>(multiply, layout, side, uplo, ta, diag, m, n, static_cast<const T *>(alpha),                  \
                  static_cast<const T *>(a), lda, static_cast<T *>(b), ldb);                                     \
  }
ORB_CBLAS_REAL_TRSM(strsm, false, float)
ORB_CBLAS_REAL_TRSM(dtrsm, false, double)
ORB_CBLAS_COMPLEX_TRSM(ctrsm, false, ORB_Complex8)
ORB_CBLAS_COMPLEX_TRSM(ztrsm, false, ORB_Complex16)
ORB_CBLAS_REAL_TRSM(strmm, true, float)
ORB_CBLAS_REAL_TRSM(dtrmm, true, double)
ORB_CBLAS_COMPLEX_TRSM(ctrmm, true, ORB_Complex8)
ORB_CBLAS_COMPLEX_TRSM(ztrmm, true, ORB_Complex16)
