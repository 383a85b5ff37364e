// Triangular solve with many right-hand sides, B := alpha op(A)^-1 B (side
// L) or alpha B op(A)^-1 (side R), under its standard names: strsm_ ...
// ztrsm_ (32-bit integers), strsm_64_ ... ztrsm_64_ (64-bit integers) and
// cblas_strsm ... cblas_ztrsm (row- or column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major B of m rows is,
// read column-major, B^T with n rows, and a row-major triangle is the
// column-major transpose of the other triangle: solving X op(A) = B is
// solving op(A)^T X^T = B^T.  So a row-major call is the column-major call
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

// The threaded driver of each element type, handed the checked call with its
// integers already 64 bits wide.
#define ORB_THREADED_TRSM(p, P, T)                                                                       \
  void threaded_trsm(const TrsmCall<T> &t) {                                                            \
    orb_blas_##p##trsm(&t.side, &t.uplo, &t.transa, &t.diag, &t.m, &t.n, t.alpha, t.a, &t.lda, t.b, &t.ldb); \
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

//! m and n: what a row-major call exchanges (CBLAS positions).
constexpr RowMajorExchange kTrsmRowMajorExchanges[] = {{6, 7}};

template <class I, class S>
void trsm_operands(CallText &t, I m, I n, const S *alpha, const void *a, I lda, const void *b, I ldb) {
  t.integer(m).integer(n).scalar(alpha).address(a).integer(lda).address(b).integer(ldb);
}

}  // namespace

template <class T, class I>
void fortran_trsm(int iface, const char *side, const char *uplo, const char *transa, const char *diag, const I *m,
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
          report_fortran(routine_name(Precision<T>::upper, "TRSM", int64).report, info);
          return;
        }
        if (t.m == 0 || t.n == 0) return;
        threaded_trsm(t);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "TRSM", int64).upper)
            .character(side)
            .character(uplo)
            .character(transa)
            .character(diag);
        trsm_operands(t, m, n, alpha, a, lda, b, ldb);
      });
}

template <class T>
void cblas_trsm(int layout, int side, int uplo, int transa, int diag, int m, int n, const T *alpha, const T *a,
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
          report_cblas(routine_name(Precision<T>::upper, "TRSM", false).cblas, info, row, kTrsmRowMajorExchanges);
          return;
        }
        if (t.m == 0 || t.n == 0) return;
        threaded_trsm(t);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "TRSM", false).cblas);
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
#define ORB_FORTRAN_TRSM(name, iface, T, I)                                                                   \
  extern "C" ORB_EXPORT void name(const char *side, const char *uplo, const char *ta, const char *diag,      \
                                  const I *m, const I *n, const T *alpha, const T *a, const I *lda, T *b,    \
                                  const I *ldb) {                                                            \
    fortran_trsm<T, I>(iface, side, uplo, ta, diag, m, n, alpha, a, lda, b, ldb);                            \
  }
#define ORB_FORTRAN_TRSM_FORMS(p, P, T)             \
  ORB_FORTRAN_TRSM(p##trsm_, kLp64, T, int)         \
  ORB_FORTRAN_TRSM(p##trsm_64_, kIlp64, T, ORB_INT) \
  ORB_FORTRAN_NAME_FORMS(p##trsm, P##TRSM)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_TRSM_FORMS)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_REAL_TRSM(p, T)                                                                                \
  extern "C" void cblas_##p##trsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta,    \
                                  CBLAS_DIAG diag, int m, int n, T alpha, const T *a, int lda, T *b, int ldb) { \
    cblas_trsm<T>(layout, side, uplo, ta, diag, m, n, &alpha, a, lda, b, ldb);                                   \
  }
#define ORB_CBLAS_COMPLEX_TRSM(p, T)                                                                              \
  extern "C" void cblas_##p##trsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta,     \
                                  CBLAS_DIAG diag, int m, int n, const void *alpha, const void *a, int lda,      \
                                  void *b, int ldb) {                                                            \
    cblas_trsm<T>(layout, side, uplo, ta, diag, m, n, static_cast<const T *>(alpha), static_cast<const T *>(a), \
                  lda, static_cast<T *>(b), ldb);                                                                \
  }
ORB_CBLAS_REAL_TRSM(s, float)
ORB_CBLAS_REAL_TRSM(d, double)
ORB_CBLAS_COMPLEX_TRSM(c, ORB_Complex8)
ORB_CBLAS_COMPLEX_TRSM(z, ORB_Complex16)
