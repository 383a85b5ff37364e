// Sequential GEMMT kernels: C := alpha op(A) op(B) + beta C on one triangle
// of C (order n), in s, d, c and z.  The provider has no such routine, so the
// core builds it of its own GEMM (gemm.hpp), and every entry of the triangle
// is computed by exactly one GEMM call with the whole of k, the caller's alpha
// and beta, as a product of C would compute it.
//
// The triangle of order n is cut in two halves: the square between them is
// one GEMM call (rows h..n by columns 0..h of the lower triangle, rows 0..h
// by columns h..n of the upper one), and each half is a triangle of its own,
// cut the same way, down to diagonal blocks of at most 32.  A diagonal block
// goes through a copy: its triangle is copied into a 32 x 32 block on the
// stack (the other triangle zero), one GEMM call updates the whole block,
// and the triangle is copied back, so the caller's other triangle is never
// read or written, not even for a moment.  The squares hold all but n x 16
// entries of the triangle (for n = 2000, 98 %), at GEMM's speed on operands
// of half, a quarter, ... of the order; the diagonal blocks cost twice their
// triangle.
//
//   n = 100, lower: square rows 50..99 x cols 0..49; halves of 50 each:
//   squares rows 25..49 x 0..24 and 75..99 x 50..74; four diagonal blocks of
//   25 through the copy.
//
// Like the other kernels it checks its arguments in the standard order and
// reports the first illegal one without touching C; it returns at once when
// n is 0, or when alpha or k is 0 and beta is 1; when alpha or k is 0 it only
// scales the triangle, reading neither A nor B.
#include "blas/gemm.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "blas_rules.hpp"
#include "precision.hpp"

namespace orb::core {

namespace {

//! The largest diagonal block computed through the copy.
constexpr ORB_INT kDiagonalBlock = 32;

//! One call's operands: rows r.. of op(A), columns c.. of op(B), entry (i, j) of C.
template <class T>
struct GemmtCall {
  const char *transa, *transb;
  const ORB_INT *k;
  const T *alpha, *a;
  const ORB_INT *lda;
  const T *b;
  const ORB_INT *ldb;
  const T *beta;
  T *c;
  ORB_INT ldc;
  bool upper;

  const T *rows_of_op_a(ORB_INT r) const { return (*transa | 0x20) == 'n' ? a + r : a + r * *lda; }
  const T *cols_of_op_b(ORB_INT j) const { return (*transb | 0x20) == 'n' ? b + j * *ldb : b + j; }
  T *at(ORB_INT i, ORB_INT j) const { return c + i + j * ldc; }

  //! C(r0:r0+rows, c0:c0+cols), all of it, by one GEMM call.
  void square(ORB_INT r0, ORB_INT rows, ORB_INT c0, ORB_INT cols) const {
    const ORB_INT ld = ldc;
    gemm_legal(transa, transb, &rows, &cols, k, alpha, rows_of_op_a(r0), lda, cols_of_op_b(c0), ldb, beta,
               at(r0, c0), &ld);
  }

  //! The triangle of the diagonal block C(j0:j0+w, j0:j0+w), w <= kDiagonalBlock.
  void diagonal(ORB_INT j0, ORB_INT w) const {
    T block[kDiagonalBlock * kDiagonalBlock];
    const auto inside = [&](ORB_INT i, ORB_INT j) { return upper ? i <= j : i >= j; };
    for (ORB_INT j = 0; j < w; ++j)
      for (ORB_INT i = 0; i < w; ++i) block[i + j * w] = inside(i, j) ? *at(j0 + i, j0 + j) : T{};
    const ORB_INT ld = w;
    gemm_legal(transa, transb, &w, &w, k, alpha, rows_of_op_a(j0), lda, cols_of_op_b(j0), ldb, beta, block, &ld);
    for (ORB_INT j = 0; j < w; ++j)
      for (ORB_INT i = 0; i < w; ++i)
        if (inside(i, j)) *at(j0 + i, j0 + j) = block[i + j * w];
  }

  //! The triangle of C(j0:j0+w, j0:j0+w): two halves and the square between them.
  void triangle(ORB_INT j0, ORB_INT w) const {
    if (w <= kDiagonalBlock) {
      diagonal(j0, w);
      return;
    }
    const ORB_INT h = w / 2;
    triangle(j0, h);
    if (upper)
      square(j0, h, j0 + h, w - h);
    else
      square(j0 + h, w - h, j0, h);
    triangle(j0 + h, w - h);
  }
};

template <class T>
void xgemmt(const char *uplo, const char *transa, const char *transb, const ORB_INT *n, const ORB_INT *k,
            const T *alpha, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
            const ORB_INT *ldc) {
  const int info = rules::check_gemmt(uplo, transa, transb, n, k, alpha, lda, ldb, beta, ldc);
  if (info != 0) {
    report_xerbla(Precision<T>::routine("GEMMT").c_str(), info);
    return;
  }
  const bool upper = rules::same_letter(*uplo, 'U');
  if (*n == 0 || ((is_zero(*alpha) || *k == 0) && is_one(*beta))) return;
  if (is_zero(*alpha) || *k == 0) {
    scale_triangle(*beta, c, *n, *ldc, upper, false);
    return;
  }
  const GemmtCall<T> call{transa, transb, k, alpha, a, lda, b, ldb, beta, c, *ldc, upper};
  call.triangle(0, *n);
}

}  // namespace

}  // namespace orb::core

#define ORB_XGEMMT(p, P, T)                                                                       \
  extern "C" ORB_GEMMT_DECL(orb_blas_x##p##gemmt, T, ORB_INT) {                                  \
    orb::core::xgemmt<T>(uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc);       \
  }
ORB_FOR_EACH_PRECISION(ORB_XGEMMT)
