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

#include <cstddef>
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

//! TRMM: B := alpha op(A) B (side L) or alpha B op(A) (side R), the argument
//! list of TRSM under the same rules.
template <class I>
int check_trmm(const char *side, const char *uplo, const char *transa, const char *diag, const I *m, const I *n,
               const void *alpha, const I *lda, const I *ldb) {
  return check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb);
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

//! SYR2K and HER2K: C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C
//! (HER2K: ^H, and conj(alpha) on the second term), C of order n, only its
//! `uplo` triangle referenced, arguments (uplo 1, trans 2, n 3, k 4, alpha 5,
//! a 6, lda 7, b 8, ldb 9, beta 10, c 11, ldc 12); `ops` as for SYRK (the
//! rank-2k updates take the letters of their rank-k twins).
template <class I>
int check_syr2k(const char *uplo, const char *trans, const I *n, const I *k, const void *alpha, const I *lda,
                const I *ldb, const void *beta, const I *ldc, const char *ops) {
  // SYRK's rules at SYRK's positions up to lda; then B's, beta and C's moved on by two.
  const int rank_k = check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, ops);
  if (rank_k != 0 && rank_k <= 7) return rank_k;
  const int64_t rows = same_letter(*trans, 'N') ? *n : *k;
  if (!ldb || *ldb < at_least_one(rows)) return 9;
  return rank_k == 0 ? 0 : rank_k + 2;
}

//! GEMMT: C := alpha op(A) op(B) + beta C, C of order n with only its `uplo`
//! triangle referenced and updated, arguments (uplo 1, transa 2, transb 3,
//! n 4, k 5, alpha 6, a 7, lda 8, b 9, ldb 10, beta 11, c 12, ldc 13): GEMM's
//! rules with m = n, every position moved on by one behind uplo.
template <class I>
int check_gemmt(const char *uplo, const char *transa, const char *transb, const I *n, const I *k, const void *alpha,
                const I *lda, const I *ldb, const void *beta, const I *ldc) {
  if (!is_uplo(uplo)) return 1;
  const int gemm = check_gemm(transa, transb, n, n, k, alpha, lda, ldb, beta, ldc);
  // GEMM's m (3) and n (4) are GEMMT's n alone (4); no position is skipped.
  return gemm == 0 ? 0 : gemm <= 3 ? gemm + 1 : gemm == 4 ? 4 : gemm;
}

//! Two positions of a CBLAS routine that a row-major call exchanges when it
//! is checked as the column-major call that computes it.
struct PositionSwap {
  int a, b;
};

//! GEMMT's row-major call is the column-major one of the transposed product,
//! C^T = op(B)^T op(A)^T, on the other triangle: the two matrices change
//! places with their leading dimensions (CBLAS positions a 8, lda 9, b 10,
//! ldb 11; the transpositions are checked before they change places).
constexpr PositionSwap kGemmtRowMajorSwaps[] = {{8, 10}, {9, 11}};

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

// ---- Level 2 ----------------------------------------------------------------
//
// The level-2 routines (matrix-vector products, triangular products and
// solves, rank-1 and rank-2 updates) as data: each argument list is a row of
// argument kinds in the order of the reference routine, and one walker over a
// row checks a call, names its missing operands, and lets every layer build,
// forward and describe the call without a line written per routine.
//
// Twelve argument lists serve the 62 routines (ORB_LEVEL2_ROUTINES in
// orb_blas.h names each routine's list):
//
//   Gbmv  trans m n kl ku alpha a lda x incx beta y incy   lda >= kl + ku + 1
//   Symv  uplo n alpha a lda x incx beta y incy            lda >= max(1, n)
//   Sbmv  uplo n k alpha a lda x incx beta y incy          lda >= k + 1
//   Spmv  uplo n alpha ap x incx beta y incy
//   Trmv  uplo trans diag n a lda x incx                   lda >= max(1, n)
//   Tbmv  uplo trans diag n k a lda x incx                 lda >= k + 1
//   Tpmv  uplo trans diag n ap x incx
//   Ger   m n alpha x incx y incy a lda                    lda >= max(1, m)
//   Syr   uplo n alpha x incx a lda                        lda >= max(1, n)
//   Spr   uplo n alpha x incx ap
//   Syr2  uplo n alpha x incx y incy a lda                 lda >= max(1, n)
//   Spr2  uplo n alpha x incx y incy ap
//
// A letter must be one the standard allows, a size at least 0, an increment
// not 0, a scalar present; the first that is not is the report, counted from 1.
namespace level2 {
//! What an argument of a level-2 routine is (unscoped, so that the lists
//! below read as the reference's own).
enum Arg : unsigned char { uplo, trans, diag, m, n, kl, ku, k, alpha, a, lda, ap, x, incx, beta, y, incy };

//! What a routine does with its vectors: y := alpha op(A) x + beta y (product),
//! x := op(A) x or op(A)^-1 x (triangle), A := A + alpha x y' (update).
enum class Level2Kind : unsigned char { product, triangle, update };

//! How lda is bounded: by m, by the order n, by the band kl + ku + 1, by k + 1.
enum class Lead : unsigned char { none, rows, order, band, half_band };

#define ORB_LEVEL2_SHAPE(Name, kind_, lead_, ...)            \
  struct Name {                                              \
    static constexpr Arg args[] = {__VA_ARGS__};             \
    static constexpr size_t count = sizeof args / sizeof *args; \
    static constexpr Level2Kind kind = Level2Kind::kind_;    \
    static constexpr Lead lead = Lead::lead_;                \
  };
ORB_LEVEL2_SHAPE(Gbmv, product, band, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Symv, product, order, uplo, n, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Sbmv, product, half_band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Spmv, product, none, uplo, n, alpha, ap, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Trmv, triangle, order, uplo, trans, diag, n, a, lda, x, incx)
ORB_LEVEL2_SHAPE(Tbmv, triangle, half_band, uplo, trans, diag, n, k, a, lda, x, incx)
ORB_LEVEL2_SHAPE(Tpmv, triangle, none, uplo, trans, diag, n, ap, x, incx)
ORB_LEVEL2_SHAPE(Ger, update, rows, m, n, alpha, x, incx, y, incy, a, lda)
ORB_LEVEL2_SHAPE(Syr, update, order, uplo, n, alpha, x, incx, a, lda)
ORB_LEVEL2_SHAPE(Spr, update, none, uplo, n, alpha, x, incx, ap)
ORB_LEVEL2_SHAPE(Syr2, update, order, uplo, n, alpha, x, incx, y, incy, a, lda)
ORB_LEVEL2_SHAPE(Spr2, update, none, uplo, n, alpha, x, incx, y, incy, ap)
#undef ORB_LEVEL2_SHAPE
}  // namespace level2
using level2::Arg;
using level2::Lead;
using level2::Level2Kind;
using level2::Gbmv;
using level2::Symv;
using level2::Sbmv;
using level2::Spmv;
using level2::Trmv;
using level2::Tbmv;
using level2::Tpmv;
using level2::Ger;
using level2::Syr;
using level2::Spr;
using level2::Syr2;
using level2::Spr2;

//! The position (from 0) of `what` in the list of Shape, or -1.
template <class Shape>
constexpr int where(Arg what) {
  for (size_t i = 0; i < Shape::count; ++i)
    if (Shape::args[i] == what) return static_cast<int>(i);
  return -1;
}

//! One call seen through its argument list: slot[i] points to argument i as
//! the caller passed it (integers of type I).
template <class Shape, class I>
struct Level2View {
  const void *const *slot;

  const void *at(Arg what) const {
    const int i = where<Shape>(what);
    return i < 0 ? nullptr : slot[i];
  }
  //! An integer argument's value; 0 for one the routine does not take.
  int64_t integer(Arg what) const {
    const void *p = at(what);
    return p ? *static_cast<const I *>(p) : 0;
  }
  char letter(Arg what) const {
    const void *p = at(what);
    return p ? static_cast<char>(*static_cast<const char *>(p) & ~0x20) : 0;
  }
  //! The order of a square matrix, or the columns of Gbmv and Ger.
  int64_t n() const { return integer(Arg::n); }
  int64_t m() const { return where<Shape>(Arg::m) < 0 ? n() : integer(Arg::m); }
  //! Entries of y (products) or of x (triangles): Gbmv's y has m entries unless A is transposed.
  int64_t y_length() const { return letter(Arg::trans) == 'N' || where<Shape>(Arg::trans) < 0 ? m() : n(); }
};

//! The standard's test of the call: position of the first illegal argument
//! (from 1), or 0.
template <class Shape, class I>
int check_level2(const void *const *slot) {
  const Level2View<Shape, I> v{slot};
  for (size_t i = 0; i < Shape::count; ++i) {
    const void *p = slot[i];
    const int position = static_cast<int>(i) + 1;
    const auto *c = static_cast<const char *>(p);
    const auto *value = static_cast<const I *>(p);
    switch (Shape::args[i]) {
      case Arg::uplo:
        if (!is_uplo(c)) return position;
        break;
      case Arg::trans:
        if (!is_operation(c)) return position;
        break;
      case Arg::diag:
        if (!is_diag(c)) return position;
        break;
      case Arg::m:
      case Arg::n:
      case Arg::kl:
      case Arg::ku:
      case Arg::k:
        if (!value || *value < 0) return position;
        break;
      case Arg::alpha:
      case Arg::beta:
        if (!p) return position;
        break;
      case Arg::incx:
      case Arg::incy:
        if (!value || *value == 0) return position;
        break;
      case Arg::lda: {
        int64_t least = 1;
        switch (Shape::lead) {
          case Lead::rows: least = at_least_one(v.m()); break;
          case Lead::order: least = at_least_one(v.n()); break;
          case Lead::band: least = v.integer(Arg::kl) + v.integer(Arg::ku) + 1; break;
          case Lead::half_band: least = v.integer(Arg::k) + 1; break;
          case Lead::none: break;
        }
        if (!value || *value < least) return position;
        break;
      }
      case Arg::a:
      case Arg::ap:
      case Arg::x:
      case Arg::y:
        break;
    }
  }
  return 0;
}

//! Whether a legal call leaves every operand as it is: no entry to compute,
//! or (products) alpha = 0 and beta = 1, or (updates) alpha = 0.  `alpha_zero`
//! and `beta_one` are the caller's exact tests of its scalars.
template <class Shape, class I>
bool level2_does_nothing(const void *const *slot, bool alpha_zero, bool beta_one) {
  const Level2View<Shape, I> v{slot};
  if (v.m() == 0 || v.n() == 0) return true;
  if constexpr (Shape::kind == Level2Kind::product) return alpha_zero && beta_one;
  if constexpr (Shape::kind == Level2Kind::update) return alpha_zero;
  return false;
}

//! After the standard's test, a call with something to do must give every
//! operand it reads or writes (a product reads A and x only when alpha != 0):
//! the position of the first one missing, or 0.
template <class Shape, class I>
int missing_operand(const void *const *slot, bool alpha_zero, bool beta_one) {
  if (level2_does_nothing<Shape, I>(slot, alpha_zero, beta_one)) return 0;
  for (size_t i = 0; i < Shape::count; ++i) {
    const Arg what = Shape::args[i];
    const bool read_by_product = Shape::kind != Level2Kind::product || !alpha_zero || what == Arg::y;
    if ((what == Arg::a || what == Arg::ap || what == Arg::x || what == Arg::y) && read_by_product && !slot[i])
      return static_cast<int>(i) + 1;
  }
  return 0;
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
