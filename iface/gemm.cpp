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
#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the column-major argument order of the standard routine.
template <class T>
struct GemmCall {
  char transa, transb;
  int64_t m, n, k;
  const T *alpha;
  const T *a;
  int64_t lda;
  const T *b;
  int64_t ldb;
  const T *beta;
  T *c;
  int64_t ldc;
};

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

// The standard's early return: no entry of C changes.
template <class T>
bool leaves_c_unchanged(const GemmCall<T> &g) {
  return g.m == 0 || g.n == 0 || ((is_zero(*g.alpha) || g.k == 0) && is_one(*g.beta));
}

// After the standard's own tests (blas_rules.hpp), a call that would change C
// must also provide C, and A and B when it reads them (alpha != 0, k > 0): the
// position of the first missing one, or 0.
template <class T>
int check_operands(const GemmCall<T> &g) {
  if (leaves_c_unchanged(g)) return 0;
  if (!is_zero(*g.alpha) && g.k > 0) {
    if (!g.a) return 7;
    if (!g.b) return 9;
  }
  if (!g.c) return 12;
  return 0;
}

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
          report_fortran(routine_name(precision<T>::upper, "GEMM", int64).report, info);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemm(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(precision<T>::upper, "GEMM", int64).upper)
            .character(transa)
            .character(transb);
        gemm_operands(t, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      });
}

// Reports follow the C interface's convention: the number handed to
// cblas_xerbla is one more than the standard routine's (the layout is
// argument 1) for the column-major call actually checked, and cblas_xerbla,
// told that the call was row-major, exchanges m and n, lda and ldb back to
// their places in the caller's list.  A and B, which only orb checks (for
// being present), are exchanged here so that the same rule places them.
//! m and n, lda and ldb: what a row-major call exchanges.
constexpr RowMajorExchange kGemmRowMajorExchanges[] = {{4, 5}, {9, 11}};

template <class T>
void cblas_gemm(int layout, int transa, int transb, int m, int n, int k, const T *alpha, const T *a, int lda,
                const T *b, int ldb, const T *beta, T *c, int ldc) {
  run_reported(
      kCblas,
      [&] {
        const char ta = transpose_letter(transa), tb = transpose_letter(transb);
        const bool row = layout == CblasRowMajor;
        int info = !known_layout(layout) ? 1 : !ta ? 2 : !tb ? 3 : 0;
        GemmCall<T> g = {};
        if (!info) {
          g = row ? GemmCall<T>{tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, c, ldc}
                  : GemmCall<T>{ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc};
          if (const int standard = rules::check_gemm(&g.transa, &g.transb, &g.m, &g.n, &g.k, alpha, &g.lda, &g.ldb,
                                                     beta, &g.ldc))
            info = standard + 1;
          else if (const int missing = check_operands(g))
            info = row ? swap_positions(missing + 1, 8, 10) : missing + 1;
        }
        if (info) {
          report_cblas(routine_name(precision<T>::upper, "GEMM", false).cblas, info, row, kGemmRowMajorExchanges);
          return;
        }
        if (leaves_c_unchanged(g)) return;
        threaded_gemm(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(precision<T>::upper, "GEMM", false).cblas);
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
