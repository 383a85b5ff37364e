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

//! 'L' or 'R': which side of B a triangular or symmetric matrix stands on.
inline bool is_side(const char *c) { return c && (same_letter(*c, 'L') || same_letter(*c, 'R')); }
//! 'U' or 'L': which triangle of a matrix is referenced.
inline bool is_uplo(const char *c) { return c && (same_letter(*c, 'U') || same_letter(*c, 'L')); }
//! 'U' (unit diagonal, not read) or 'N'.
inline bool is_diag(const char *c) { return c && (same_letter(*c, 'U') || same_letter(*c, 'N')); }

//! TRSM: B := alpha op(A)^-1 B (side L) or alpha B op(A)^-1 (side R), A
//! triangular of order m (side L) or n (side R), arguments
//! (side 1, uplo 2, transa 3, diag 4, m 5, n 6, alpha 7, a 8, lda 9, b 10, ldb 11).
template <class I>
int check_trsm(const char *side, const char *uplo, const char *transa, const char *diag, const I *m, const I *n,
               const void *alpha, const I *lda, const I *ldb) {
  if (!is_side(side)) return 1;
  if (!is_uplo(uplo)) return 2;
  if (!is_operation(transa)) return 3;
  if (!is_diag(diag)) return 4;
  if (!m || *m < 0) return 5;
  if (!n || *n < 0) return 6;
  if (!alpha) return 7;
  const int64_t order = same_letter(*side, 'L') ? *m : *n;
  if (!lda || *lda < at_least_one(order)) return 9;
  if (!ldb || *ldb < at_least_one(*m)) return 11;
  return 0;
}

//! The transposition letters each rank-k update takes: the real SYRK any of
//! N, T and C (C means T), the complex SYRK N or T, HERK N or C.
constexpr const char *kSyrkRealOps = "NTC";
constexpr const char *kSyrkComplexOps = "NT";
constexpr const char *kHerkOps = "NC";

//! SYRK and HERK: C := alpha op(A) op(A)^T + beta C (or ^H), C of order n,
//! only its `uplo` triangle referenced, arguments
//! (uplo 1, trans 2, n 3, k 4, alpha 5, a 6, lda 7, beta 8, c 9, ldc 10);
//! `ops` lists the transposition letters the routine takes.
template <class I>
int check_syrk(const char *uplo, const char *trans, const I *n, const I *k, const void *alpha, const I *lda,
               const void *beta, const I *ldc, const char *ops) {
  if (!is_uplo(uplo)) return 1;
  bool known = false;
  for (const char *op = ops; trans && *op; ++op) known = known || same_letter(*trans, *op);
  if (!known) return 2;
  if (!n || *n < 0) return 3;
  if (!k || *k < 0) return 4;
  if (!alpha) return 5;
  const int64_t rows_a = same_letter(*trans, 'N') ? *n : *k;
  if (!lda || *lda < at_least_one(rows_a)) return 7;
  if (!beta) return 8;
  if (!ldc || *ldc < at_least_one(*n)) return 10;
  return 0;
}

//! SYMM and HEMM: C := alpha A B + beta C (side L, A of order m) or alpha B A
//! + beta C (side R, A of order n), A symmetric or Hermitian with only its
//! uplo triangle referenced, arguments
//! (side 1, uplo 2, m 3, n 4, alpha 5, a 6, lda 7, b 8, ldb 9, beta 10, c 11, ldc 12).
template <class I>
int check_symm(const char *side, const char *uplo, const I *m, const I *n, const void *alpha, const I *lda,
               const I *ldb, const void *beta, const I *ldc) {
  if (!is_side(side)) return 1;
  if (!is_uplo(uplo)) return 2;
  if (!m || *m < 0) return 3;
  if (!n || *n < 0) return 4;
  if (!alpha) return 5;
  const int64_t order = same_letter(*side, 'L') ? *m : *n;
  if (!lda || *lda < at_least_one(order)) return 7;
  if (!ldb || *ldb < at_least_one(*m)) return 9;
  if (!beta) return 10;
  if (!ldc || *ldc < at_least_one(*m)) return 12;
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

//! GEMM_BATCH: GEMM's arguments as arrays with one entry per group (positions
//! 1 to 13 as GEMM's), then (group_count 14, group_size 15).  group_count
//! comes first, since without it there are no groups to read; then each group
//! in order, GEMM's rules on its entries before its size.  A missing array is
//! illegal at its own position in group 0.  T is the element type of the
//! alpha and beta arrays.
template <class I, class T>
int check_gemm_batch(const char *transa, const char *transb, const I *m, const I *n, const I *k, const T *alpha,
                     const I *lda, const I *ldb, const T *beta, const I *ldc, const I *group_count,
                     const I *group_size) {
  if (!group_count || *group_count < 0) return 14;
  for (int64_t g = 0; g < *group_count; ++g) {
    const auto at = [g](auto *array) { return array ? array + g : nullptr; };
    if (const int info = check_gemm(at(transa), at(transb), at(m), at(n), at(k), at(alpha), at(lda), at(ldb),
                                    at(beta), at(ldc)))
      return info;
    if (!group_size || group_size[g] < 0) return 15;
  }
  return 0;
}

//! GEMM_BATCH_STRIDED: GEMM's arguments with a stride after each matrix,
//! (transa 1, transb 2, m 3, n 4, k 5, alpha 6, a 7, lda 8, stridea 9, b 10,
//! ldb 11, strideb 12, beta 13, c 14, ldc 15, stridec 16, batch_size 17).
//! Strides are not negative (A and B may be shared, stride 0), and the C of
//! consecutive products must not overlap: stridec >= ldc (n - 1) + m.
template <class I>
int check_gemm_batch_strided(const char *transa, const char *transb, const I *m, const I *n, const I *k,
                             const void *alpha, const I *lda, const I *stridea, const I *ldb, const I *strideb,
                             const void *beta, const I *ldc, const I *stridec, const I *batch_size) {
  // GEMM's positions 10, 11 and 13 (ldb, beta, ldc) move behind the strides.
  const int gemm = check_gemm(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc);
  int first = gemm <= 8 ? gemm : gemm == 10 ? 11 : gemm == 11 ? 13 : 15;
  const auto illegal_at = [&first](int position, bool illegal) {
    if (illegal && (first == 0 || position < first)) first = position;
  };
  illegal_at(9, !stridea || *stridea < 0);
  illegal_at(12, !strideb || *strideb < 0);
  if (!stridec || *stridec < 0) {
    illegal_at(16, true);
  } else if (first == 0 && batch_size && *batch_size > 1 && *m > 0 && *n > 0) {
    int64_t span = 0;  // ldc (n - 1) + m: the elements one C covers
    const bool huge = __builtin_mul_overflow(static_cast<int64_t>(*ldc), static_cast<int64_t>(*n - 1), &span) ||
                      __builtin_add_overflow(span, static_cast<int64_t>(*m), &span);
    illegal_at(16, huge || *stridec < span);
  }
  illegal_at(17, !batch_size || *batch_size < 0);
  return first;
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

//! GETRF (and GETF2): the LU factorization of an m x n A in place, arguments
//! (m 1, n 2, a 3, lda 4, ipiv 5, info 6): the standard's tests of the sizes,
//! then, for a C caller, the pointers (A and the pivots only when there is
//! something to factor).
template <class I>
int check_getrf(const I *m, const I *n, const void *a, const I *lda, const void *ipiv, const void *info) {
  if (!m || *m < 0) return 1;
  if (!n || *n < 0) return 2;
  if (!lda || *lda < at_least_one(*m)) return 4;
  const bool work = *m > 0 && *n > 0;
  if (work && !a) return 3;
  if (work && !ipiv) return 5;
  if (!info) return 6;
  return 0;
}

}  // namespace orb::rules
