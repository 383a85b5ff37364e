// One triangle of a general product, C := alpha op(A) op(B) + beta C with C of
// order n and only its uplo triangle referenced and updated, under its
// standard names: sgemmt_ ... zgemmt_ (32-bit integers), sgemmt_64_ ...
// zgemmt_64_ (64-bit integers) and cblas_sgemmt ... cblas_zgemmt (row- or
// column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  The call is a product of order n,
// so it is checked as one (gemm_call.hpp) after its triangle.  A row-major
// call is the column-major product of the transposes, C^T = op(B)^T op(A)^T,
// on the other triangle: uplo flips, A and B change places with their leading
// dimensions and transpositions, and its reports exchange those positions back
// (blas_rules.hpp, beside the family's rules).
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "gemm_call.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

#define ORB_THREADED_GEMMT(p, P, T)                                                                        \
  void threaded_gemmt(char uplo, const GemmCall<T> &g) {                                                  \
    orb_blas_##p##gemmt(&uplo, &g.transa, &g.transb, &g.n, &g.k, g.alpha, g.a, &g.lda, g.b, &g.ldb, g.beta, \
                        g.c, &g.ldc);                                                                     \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_GEMMT)
#undef ORB_THREADED_GEMMT

//! The standard positions of GEMMT for a legal triangle: GEMM's checks of the
//! product of order n, then the operands (A 7, B 9, C 12: GEMM's own).
template <class T>
int check_gemmt_call(char uplo, const GemmCall<T> &g) {
  if (const int standard =
          rules::check_gemmt(&uplo, &g.transa, &g.transb, &g.n, &g.k, g.alpha, &g.lda, &g.ldb, g.beta, &g.ldc))
    return standard;
  return check_operands(g);
}

template <class I, class S>
void gemmt_operands(CallText &t, I n, I k, const S *alpha, const void *a, I lda, const void *b, I ldb, const S *beta,
                    const void *c, I ldc) {
  t.integer(n).integer(k).scalar(alpha).address(a).integer(lda).address(b).integer(ldb).scalar(beta).address(c)
      .integer(ldc);
}

}  // namespace

template <class T, class I>
void fortran_gemmt(int iface, const char *uplo, const char *transa, const char *transb, const I *n, const I *k,
                   const T *alpha, const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c,
                   const I *ldc) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_gemmt(uplo, transa, transb, n, k, alpha, lda, ldb, beta, ldc);
        GemmCall<T> g = {};
        if (!info) {
          g = {*transa, *transb, *n, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc};
          info = check_operands(g);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, "GEMMT", int64).report, info);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemmt(*uplo, g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMMT", int64).upper)
            .character(uplo)
            .character(transa)
            .character(transb);
        gemmt_operands(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

template <class T>
void cblas_gemmt(int layout, int uplo, int transa, int transb, int n, int k, const T *alpha, const T *a, int lda,
                 const T *b, int ldb, const T *beta, T *c, int ldc) {
  run_reported(
      kCblas,
      [&] {
        const auto [ta, tb, row, head] = cblas_product(layout, transa, transb);
        char ul = uplo_letter(uplo);
        // The layout first, then the triangle, then the transpositions.
        int info = head == 1 ? 1 : !ul ? 2 : head ? head + 1 : 0;
        GemmCall<T> g = {};
        if (!info) {
          if (row) ul = ul == 'U' ? 'L' : 'U';
          g = column_major_call(row, ta, tb, n, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
          info = check_gemmt_call(ul, g);
          if (info) ++info;
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, "GEMMT", false).cblas, info, row, rules::kGemmtRowMajorSwaps);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemmt(ul, g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMMT", false).cblas);
        cblas_layout(t, layout);
        cblas_uplo(t, uplo);
        cblas_transpose(t, transa);
        cblas_transpose(t, transb);
        gemmt_operands(t, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_gemmt;
using orb::iface::fortran_gemmt;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of the three characters after the last argument;
// they are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_GEMMT(name, iface, T, I)                                                                        \
  extern "C" ORB_EXPORT void name(const char *uplo, const char *ta, const char *tb, const I *n, const I *k,        \
                                  const T *alpha, const T *a, const I *lda, const T *b, const I *ldb, const T *beta, \
                                  T *c, const I *ldc) {                                                             \
    fortran_gemmt<T, I>(iface, uplo, ta, tb, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                            \
  }
#define ORB_FORTRAN_GEMMT_FORMS(p, P, T)              \
  ORB_FORTRAN_GEMMT(p##gemmt_, kLp64, T, int)         \
  ORB_FORTRAN_GEMMT(p##gemmt_64_, kIlp64, T, ORB_INT) \
  ORB_FORTRAN_NAME_FORMS(p##gemmt, P##GEMMT)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_GEMMT_FORMS)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_REAL_GEMMT(p, T)                                                                                  \
  extern "C" void cblas_##p##gemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb,   \
                                   int n, int k, T alpha, const T *a, int lda, const T *b, int ldb, T beta, T *c,  \
                                   int ldc) {                                                                      \
    cblas_gemmt<T>(layout, uplo, ta, tb, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);                             \
  }
#define ORB_CBLAS_COMPLEX_GEMMT(p, T)                                                                               \
  extern "C" void cblas_##p##gemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb,   \
                                   int n, int k, const void *alpha, const void *a, int lda, const void *b, int ldb, \
                                   const void *beta, void *c, int ldc) {                                           \
    cblas_gemmt<T>(layout, uplo, ta, tb, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a), lda,      \
                   static_cast<const T *>(b), ldb, static_cast<const T *>(beta), static_cast<T *>(c), ldc);        \
  }
ORB_CBLAS_REAL_GEMMT(s, float)
ORB_CBLAS_REAL_GEMMT(d, double)
ORB_CBLAS_COMPLEX_GEMMT(c, ORB_Complex8)
ORB_CBLAS_COMPLEX_GEMMT(z, ORB_Complex16)
