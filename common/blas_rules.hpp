// The argument rules of the BLAS families, written once in the order of the
// reference routines.  Each check returns the position of the first illegal
// argument, or 0.  Every size, leading dimension, increment and scalar comes by
// reference, as the Fortran names pass them; a null one is illegal at its own
// position, so a C program that passes none gets a report instead of a crash.
// The interface layer (Fortran and CBLAS names), the core's kernels and the
// threaded drivers (through the core's orb_blas_check_*) all ask these.
//
// I is the caller's integer: int for the 32-bit names, int64_t for the rest.
#pragma once

#include <cstdint>

namespace orb::rules {

//! The reference character test: equal ignoring case.
inline bool same_letter(char c, char upper) { return (c & ~0x20) == upper; }

//! 'N', 'T' or 'C' in either case: the operations the standard defines.
inline bool is_operation(const char *c) {
  return c && (same_letter(*c, 'N') || same_letter(*c, 'T') || same_letter(*c, 'C'));
}

inline int64_t at_least_one(int64_t v) { return v > 1 ? v : 1; }

//! GEMM: C := alpha op(A) op(B) + beta C, arguments
//! (transa 1, transb 2, m 3, n 4, k 5, alpha 6, a 7, lda 8, b 9, ldb 10, beta 11, c 12, ldc 13).
template <class I>
int check_gemm(const char *transa, const char *transb, const I *m, const I *n, const I *k, const void *alpha,
               const I *lda, const I *ldb, const void *beta, const I *ldc) {
  if (!is_operation(transa)) return 1;
  if (!is_operation(transb)) return 2;
  if (!m || *m < 0) return 3;
  if (!n || *n < 0) return 4;
  if (!k || *k < 0) return 5;
  if (!alpha) return 6;
  const int64_t rows_a = same_letter(*transa, 'N') ? *m : *k;
  const int64_t rows_b = same_letter(*transb, 'N') ? *k : *n;
  if (!lda || *lda < at_least_one(rows_a)) return 8;
  if (!ldb || *ldb < at_least_one(rows_b)) return 10;
  if (!beta) return 11;
  if (!ldc || *ldc < at_least_one(*m)) return 13;
  return 0;
}

//! GEMV: y := alpha op(A) x + beta y, arguments
//! (trans 1, m 2, n 3, alpha 4, a 5, lda 6, x 7, incx 8, beta 9, y 10, incy 11).
template <class I>
int check_gemv(const char *trans, const I *m, const I *n, const void *alpha, const I *lda, const I *incx,
               const void *beta, const I *incy) {
  if (!is_operation(trans)) return 1;
  if (!m || *m < 0) return 2;
  if (!n || *n < 0) return 3;
  if (!alpha) return 4;
  if (!lda || *lda < at_least_one(*m)) return 6;
  if (!incx || *incx == 0) return 8;
  if (!beta) return 9;
  if (!incy || *incy == 0) return 11;
  return 0;
}

//! The level-1 routines (dot, asum, nrm2, scal, axpy, axpby, copy, swap, rot,
//! rotm, i?amax, i?amin) have no illegal arguments: any size and any
//! increments are a call, which does nothing when n < 1.  A size, increment or
//! scalar not given at all (a null pointer from C) makes the call do nothing
//! and return 0 too, without a report, as there is nothing it could be
//! reported as.
template <class... P>
bool all_present(const P *...p) {
  return ((p != nullptr) && ...);
}

}  // namespace orb::rules
