// General matrix-vector product y := alpha op(A) x + beta y under its standard
// names: sgemv_ ... zgemv_ (32-bit integers), sgemv_64_ ... zgemv_64_ (64-bit
// integers) and cblas_sgemv ... cblas_zgemv (row- or column-major).
//
// A row-major A of m rows is, read column-major, A^T with n rows, so a
// row-major call is the column-major call with the transposition flipped and
// m and n exchanged.  One case has no column-major equivalent: the conjugate
// transpose of a complex row-major A, y := alpha conj(B) x + beta y with B
// the column-major view.  It is computed conjugated,
//   conj(y) := conj(alpha) B conj(x) + conj(beta) conj(y),
// with conj(x) in a scratch copy and y conjugated in place before and after.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

#include <cstdint>

#include "arguments.hpp"
#include "precision.hpp"
#include "blas_rules.hpp"
#include "scratch.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the argument order of the standard routine.
template <class T>
struct GemvCall {
  char trans;
  int64_t m, n;
  const T *alpha;
  const T *a;
  int64_t lda;
  const T *x;
  int64_t incx;
  const T *beta;
  T *y;
  int64_t incy;
};

// The threaded driver of each element type, handed the checked call with its
// integers already 64 bits wide: a 32-bit name makes one call across
// libraries, not two.
#define ORB_THREADED_GEMV(p, P, T)                                                                          \
  void threaded_gemv(const GemvCall<T> &g) {                                                               \
    orb_blas_##p##gemv(&g.trans, &g.m, &g.n, g.alpha, g.a, &g.lda, g.x, &g.incx, g.beta, g.y, &g.incy); \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_GEMV)
#undef ORB_THREADED_GEMV

// The standard's early return: no entry of y changes.
template <class T>
bool leaves_y_unchanged(const GemvCall<T> &g) {
  return g.m == 0 || g.n == 0 || (is_zero(*g.alpha) && is_one(*g.beta));
}

// After the standard's own tests (blas_rules.hpp), a call that changes y
// must provide y, and A and x when it reads them (alpha != 0): the position of
// the first missing one, or 0.
template <class T>
int check_operands(const GemvCall<T> &g) {
  if (leaves_y_unchanged(g)) return 0;
  if (!is_zero(*g.alpha)) {
    if (!g.a) return 5;
    if (!g.x) return 7;
  }
  if (!g.y) return 10;
  return 0;
}

// conj(x) for at most this many elements lives on the stack when the heap
// has no room for all of x; the product then runs in column blocks.
constexpr int kStackElements = 256;

template <class T>
void conjugate_in_place(T *v, int64_t count, int64_t inc) {
  const int64_t step = inc < 0 ? -inc : inc;
  for (int64_t i = 0; i < count; ++i) v[i * step] = conjugate(v[i * step]);
}

// y := alpha conj(B) x + beta y for the column-major B of g (trans 'N',
// g.m rows, g.n columns, g.m and g.n both positive).
template <class T>
void conjugated_product(const GemvCall<T> &g) {
  const Scratch<T> heap(g.n, 64, Allocator::plain);
  T stack[kStackElements];
  T *xc = heap ? heap.get() : stack;
  const int64_t block = heap ? g.n : kStackElements;

  const T alpha = conjugate(*g.alpha);
  T beta = conjugate(*g.beta);
  const int64_t xstep = g.incx < 0 ? -g.incx : g.incx;
  conjugate_in_place(g.y, g.m, g.incy);
  for (int64_t j0 = 0; j0 < g.n; j0 += block) {
    const int64_t nb = g.n - j0 < block ? g.n - j0 : block;
    // Element j of x sits at j * incx, or counted from the far end when incx < 0.
    for (int64_t j = 0; j < nb; ++j) {
      const int64_t logical = j0 + j;
      xc[j] = conjugate(g.x[(g.incx > 0 ? logical : g.n - 1 - logical) * xstep]);
    }
    threaded_gemv(GemvCall<T>{'N', g.m, nb, &alpha, g.a + j0 * g.lda, g.lda, xc, 1, &beta, g.y, g.incy});
    beta = Precision<T>::one();
  }
  conjugate_in_place(g.y, g.m, g.incy);
}

//! The operands every form of the call lists after its transposition word;
//! I is the caller's integer: by reference (Fortran) or by value (C).
template <class I, class S>
void gemv_operands(CallText &t, I m, I n, const S *alpha, const void *a, I lda, const void *x, I incx, const S *beta,
                   const void *y, I incy) {
  t.integer(m).integer(n).scalar(alpha).address(a).integer(lda).address(x).integer(incx).scalar(beta).address(y)
      .integer(incy);
}

}  // namespace

template <class T, class I>
void fortran_gemv(int iface, const char *trans, const I *m, const I *n, const T *alpha, const T *a, const I *lda,
                  const T *x, const I *incx, const T *beta, T *y, const I *incy) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_gemv(trans, m, n, alpha, lda, incx, beta, incy);
        GemvCall<T> g = {};
        if (!info) {
          g = {*trans, *m, *n, alpha, a, *lda, x, *incx, beta, y, *incy};
          info = check_operands(g);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, "GEMV", int64).report, info);
          return;
        }
        if (leaves_y_unchanged(g)) return;
        threaded_gemv(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMV", int64).upper)
            .character(trans);
        gemv_operands(t, m, n, alpha, a, lda, x, incx, beta, y, incy);
      });
}

// Reports follow the C interface's convention: one more than the standard
// routine's number for the column-major call actually checked; cblas_xerbla,
// told that the call was row-major, exchanges m and n back.
//! m and n: what a row-major call exchanges.
constexpr RowMajorExchange kGemvRowMajorExchanges[] = {{3, 4}};

template <class T>
void cblas_gemv(int layout, int trans, int m, int n, const T *alpha, const T *a, int lda, const T *x, int incx,
                const T *beta, T *y, int incy) {
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        const char letter = transpose_letter(trans);
        // Row-major flips the transposition; the conjugate transpose becomes
        // the conjugated product above.
        const bool conjugated = row && letter == 'C' && Precision<T>::is_complex;
        const char ta = !row ? letter : letter == 'N' ? 'T' : 'N';
        int info = !known_layout(layout) ? 1 : !letter ? 2 : 0;
        GemvCall<T> g = {};
        if (!info) {
          g = row ? GemvCall<T>{ta, n, m, alpha, a, lda, x, incx, beta, y, incy}
                  : GemvCall<T>{ta, m, n, alpha, a, lda, x, incx, beta, y, incy};
          if (const int standard = rules::check_gemv(&g.trans, &g.m, &g.n, alpha, &g.lda, &g.incx, beta, &g.incy))
            info = standard + 1;
          else if (const int missing = check_operands(g))
            info = missing + 1;
        }
        if (info) {
          report_cblas(routine_name(Precision<T>::upper, "GEMV", false).cblas, info, row, kGemvRowMajorExchanges);
          return;
        }
        if (leaves_y_unchanged(g)) return;
        if (conjugated) {
          conjugated_product(g);
          return;
        }
        threaded_gemv(g);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMV", false).cblas);
        cblas_layout(t, layout);
        cblas_transpose(t, trans);
        gemv_operands(t, m, n, alpha, a, lda, x, incx, beta, y, incy);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_gemv;
using orb::iface::fortran_gemv;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the length of trans after the last argument.  It is not
// declared, and so never read: C callers pass no such argument (see gemm.cpp).
#define ORB_FORTRAN_GEMV(name, iface, T, I)                                                                            \
  extern "C" ORB_EXPORT void name(const char *trans, const I *m, const I *n, const T *alpha, const T *a, const I *lda, \
                                  const T *x, const I *incx, const T *beta, T *y, const I *incy) {                     \
    fortran_gemv<T, I>(iface, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                     \
  }
#define ORB_FORTRAN_GEMV_FORMS(p, P, T)                  \
  ORB_FORTRAN_GEMV(p##gemv_, kLp64, T, int)          \
  ORB_FORTRAN_GEMV(p##gemv_64_, kIlp64, T, ORB_INT)  \
  ORB_FORTRAN_NAME_FORMS(p##gemv, P##GEMV)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_GEMV_FORMS)

#define ORB_CBLAS_REAL_GEMV(p, T)                                                                                \
  extern "C" void cblas_##p##gemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, T alpha, const T *a, \
                                  int lda, const T *x, int incx, T beta, T *y, int incy) {                       \
    cblas_gemv<T>(layout, trans, m, n, &alpha, a, lda, x, incx, &beta, y, incy);                                 \
  }
#define ORB_CBLAS_COMPLEX_GEMV(p, T)                                                                           \
  extern "C" void cblas_##p##gemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, const void *alpha, \
                                  const void *a, int lda, const void *x, int incx, const void *beta, void *y,  \
                                  int incy) {                                                                  \
    cblas_gemv<T>(layout, trans, m, n, static_cast<const T *>(alpha), static_cast<const T *>(a), lda,          \
                  static_cast<const T *>(x), incx, static_cast<const T *>(beta), static_cast<T *>(y), incy);   \
  }
ORB_CBLAS_REAL_GEMV(s, float)
ORB_CBLAS_REAL_GEMV(d, double)
ORB_CBLAS_COMPLEX_GEMV(c, ORB_Complex8)
ORB_CBLAS_COMPLEX_GEMV(z, ORB_Complex16)
