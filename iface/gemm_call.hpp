// One general matrix product as the interface layer checks it: the call in
// the column-major argument order of the standard routine, the standard's
// early return, and the tests orb adds to the standard's (blas_rules.hpp) for
// the operands a call reads and writes.  The single product (gemm.cpp) and
// the batches (gemm_batch.cpp) check each product with these.
#pragma once

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

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

// Reports follow the C interface's convention: the number handed to
// cblas_xerbla is one more than the standard routine's (the layout is
// argument 1) for the column-major call actually checked, and cblas_xerbla,
// told that the call was row-major, exchanges m and n, lda and ldb back to
// their places in the caller's list.  A and B, which only orb checks (for
// being present), are exchanged here so that the same rule places them.
//! m and n, lda and ldb: what a row-major call exchanges.
constexpr RowMajorExchange kGemmRowMajorExchanges[] = {{4, 5}, {9, 11}};

//! The layout and transpositions of a CBLAS product: their letters, whether
//! the product is row-major, and the first illegal one among them (1 to 3), or 0.
struct CblasProduct {
  char ta, tb;
  bool row;
  int info;
};
inline CblasProduct cblas_product(int layout, int transa, int transb) {
  const char ta = transpose_letter(transa), tb = transpose_letter(transb);
  return {ta, tb, layout == CblasRowMajor, !known_layout(layout) ? 1 : !ta ? 2 : !tb ? 3 : 0};
}

//! The column-major call that computes a CBLAS product: a row-major one is
//! C^T = op(B)^T op(A)^T, with A and B, m and n exchanged.
template <class T>
GemmCall<T> column_major_call(bool row, char ta, char tb, int64_t m, int64_t n, int64_t k, const T *alpha,
                              const T *a, int64_t lda, const T *b, int64_t ldb, const T *beta, T *c,
                              int64_t ldc) {
  return row ? GemmCall<T>{tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, c, ldc}
             : GemmCall<T>{ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc};
}

//! The CBLAS position of the first illegal argument of g, the column-major
//! call of a CBLAS product with legal layout and transpositions, or 0.
template <class T>
int check_cblas_call(const GemmCall<T> &g, bool row) {
  if (const int standard =
          rules::check_gemm(&g.transa, &g.transb, &g.m, &g.n, &g.k, g.alpha, &g.lda, &g.ldb, g.beta, &g.ldc))
    return standard + 1;
  if (const int missing = check_operands(g)) return row ? swap_positions(missing + 1, 8, 10) : missing + 1;
  return 0;
}

}  // namespace orb::iface
