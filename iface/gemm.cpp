// General matrix product C := alpha op(A) op(B) + beta C under its standard
// names: sgemm_ ... zgemm_ (32-bit integers), sgemm_64_ ... zgemm_64_ (64-bit
// integers) and cblas_sgemm ... cblas_zgemm (row- or column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major CBLAS call is the
// column-major product of the transposes, C^T = op(B)^T op(A)^T, so it goes
// to the same check and driver with A and B, m and n exchanged.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "gemm_call.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// The threaded driver of each element type.  Every name hands it the checked
// call with its integers already 64 bits wide, so a 32-bit name makes one
// call across libraries, not two.
#define ORB_THREADED_GEMM(p, P, T)                                                                      \
  void threaded_gemm(const GemmCall<T> &g) {                                                           \
    orb_blas_##p##gemm(&g.transa, &g.transb, &g.m, &g.n, &g.k, g.alpha, g.a, &g.lda, g.b, &g.ldb, g.beta, \
                       g.c, &g.ldc);                                                                   \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_GEMM)
#undef ORB_THREADED_GEMM

//! The operands every form of the call lists after its transposition words;
//! I is the caller's integer: by reference (Fortran) or by value (C).
template <class I, class S>
void gemm_operands(CallText &t, I m, I n, I k, const S *alpha, const void *a, I lda, const void *b, I ldb,
                   const S *beta, const void *c, I ldc) {
  t.integer(m).integer(n).integer(k).scalar(alpha).address(a).integer(lda).address(b).integer(ldb).scalar(beta)
      .address(c)
      .integer(ldc);
}

}  // namespace

template <class T, class I>
void fortran_gemm(int iface, const char *transa, const char *transb, const I *m, const I *n, const I *k, const T *alpha,
                  const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c, const I *ldc) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_gemm(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc);
        GemmCall<T> g = {};
        if (!info) {
          g = {*transa, *transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc};
          info = check_operands(g);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, "GEMM", int64).report, info);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemm(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMM", int64).upper)
            .character(transa)
            .character(transb);
        gemm_operands(t, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}


template <class T>
void cblas_gemm(int layout, int transa, int transb, int m, int n, int k, const T *alpha, const T *a, int lda,
                const T *b, int ldb, const T *beta, T *c, int ldc) {
  run_reported(
      kCblas,
      [&] {
        const auto [ta, tb, row, head] = cblas_product(layout, transa, transb);
        int info = head;
        GemmCall<T> g = {};
        if (!info) {
          g = column_major_call(row, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
          info = check_cblas_call(g, row);
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, "GEMM", false).cblas, info, row, kGemmRowMajorExchanges);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemm(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMM", false).cblas);
        cblas_layout(t, layout);
        cblas_transpose(t, transa);
        cblas_transpose(t, transb);
        gemm_operands(t, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_gemm;
using orb::iface::fortran_gemm;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of transa and transb after the last argument.
// They are not declared here, and so never read: declared, they would make
// their stack slots the callee's to reuse, and C programs that call dgemm_
// with its thirteen arguments do not provide those slots.
#define ORB_FORTRAN_GEMM(name, iface, T, I)                                                                           \
  extern "C" ORB_EXPORT void name(const char *ta, const char *tb, const I *m, const I *n, const I *k, const T *alpha, \
                                  const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c,            \
                                  const I *ldc) {                                                                     \
    fortran_gemm<T, I>(iface, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                  \
  }
#define ORB_FORTRAN_GEMM_FORMS(p, P, T)                  \
  ORB_FORTRAN_GEMM(p##gemm_, kLp64, T, int)          \
  ORB_FORTRAN_GEMM(p##gemm_64_, kIlp64, T, ORB_INT)  \
  ORB_FORTRAN_NAME_FORMS(p##gemm, P##GEMM)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_GEMM_FORMS)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_REAL_GEMM(p, T)                                                                                   \
  extern "C" void cblas_##p##gemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, int n, int k, \
                                  T alpha, const T *a, int lda, const T *b, int ldb, T beta, T *c, int ldc) {       \
    cblas_gemm<T>(layout, ta, tb, m, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);                                  \
  }
#define ORB_CBLAS_COMPLEX_GEMM(p, T)                                                                                   \
  extern "C" void cblas_##p##gemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, int n, int k,    \
                                  const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, \
                                  void *c, int ldc) {                                                                  \
    cblas_gemm<T>(layout, ta, tb, m, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a), lda,              \
                  static_cast<const T *>(b), ldb, static_cast<const T *>(beta), static_cast<T *>(c), ldc);             \
  }
ORB_CBLAS_REAL_GEMM(s, float)
ORB_CBLAS_REAL_GEMM(d, double)
ORB_CBLAS_COMPLEX_GEMM(c, ORB_Complex8)
ORB_CBLAS_COMPLEX_GEMM(z, ORB_Complex16)
