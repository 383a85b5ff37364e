// Triangular solves and products under test (?trsm, ?trmm): well-conditioned
// triangles whose unused entries are NaN (a call that reads them fails),
// every side, triangle, operation and diagonal, the residual check of a
// solution, the check of a product, and one call per name form.
#pragma once

#include "blas_api.hpp"
#include "dense.hpp"

extern "C" {
#define ORB_TEST_TRSM_NAMES(p, T)     \
  ORB_TRSM_DECL(p##trsm_, T, int);     \
  ORB_TRSM_DECL(p##trsm_64_, T, int64_t); \
  ORB_TRSM_DECL(p##trmm_, T, int);     \
  ORB_TRSM_DECL(p##trmm_64_, T, int64_t);
ORB_TEST_TRSM_NAMES(s, float)
ORB_TEST_TRSM_NAMES(d, double)
ORB_TEST_TRSM_NAMES(c, ORB_Complex8)
ORB_TEST_TRSM_NAMES(z, ORB_Complex16)
#undef ORB_TEST_TRSM_NAMES
}

namespace orb::test {

//! One solve's letters.
struct TrsmOps {
  char side, uplo, trans, diag;
};

//! Every combination of side, triangle, operation and diagonal (24).
inline std::vector<TrsmOps> every_trsm_ops() {
  std::vector<TrsmOps> v;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'})
        for (char diag : {'N', 'U'}) v.push_back({side, uplo, trans, diag});
  return v;
}

inline std::string trsm_ops_name(const TrsmOps &o) { return {o.side, o.uplo, o.trans, o.diag}; }

inline bool same(char c, char upper) { return (c & ~0x20) == upper; }

//! A triangle of `order` with leading dimension ld: the referenced entries
//! off the diagonal in [-1, 1) / order, the diagonal 2 + [-1, 1) / order
//! (so that every solve is well conditioned), everything not referenced NaN:
//! the other triangle, the diagonal of a unit triangle and the padding.
template <class T>
std::vector<T> triangle(ORB_INT order, ORB_INT ld, char uplo, char diag, uint64_t seed) {
  std::vector<T> a = random_matrix<T>(order, order, ld, seed);
  const T nan = narrow<T>(cld(std::nanl(""), std::nanl("")));
  for (ORB_INT j = 0; j < order; ++j)
    for (ORB_INT i = 0; i < ld; ++i) {
      T &x = a[i + j * ld];
      const bool referenced = i < order && (same(uplo, 'U') ? i < j : i > j);
      if (i == j)
        x = same(diag, 'U') ? nan : narrow<T>(wide(x) / cld(order) + cld(2));
      else
        x = referenced ? narrow<T>(wide(x) / cld(order)) : nan;
    }
  return a;
}

//! Checks that x (m x n, ld ldb) solves op(A) X = alpha B0 (side L) or
//! X op(A) = alpha B0 (side R): alpha B0 must match the product of x with the
//! triangle A stands for, and x's padding rows must still hold B0's.
template <class T>
::testing::AssertionResult solves_trsm(const std::vector<T> &x, const std::vector<T> &b0, const TrsmOps &o, ORB_INT m,
                                       ORB_INT n, T alpha, const std::vector<T> &a, ORB_INT lda, ORB_INT ldb) {
  const ORB_INT order = same(o.side, 'L') ? m : n;
  const T zero = narrow<T>(0), one = narrow<T>(1);
  std::vector<T> full(a.size(), zero), want = x;
  for (ORB_INT j = 0; j < order; ++j)
    for (ORB_INT i = 0; i < order; ++i)
      if (i == j || same(o.uplo, 'U') == (i < j))
        full[i + j * lda] = i == j && same(o.diag, 'U') ? one : a[i + j * lda];
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < m; ++i) want[i + j * ldb] = narrow<T>(wide(alpha) * wide(b0[i + j * ldb]));
  return same(o.side, 'L') ? matches_gemm(want, b0, o.trans, 'N', m, n, m, one, full, lda, x, ldb, zero, ldb)
                           : matches_gemm(want, b0, 'N', o.trans, m, n, n, one, x, ldb, full, lda, zero, ldb);
}

//! Checks that x (m x n, ld ldb) is alpha op(A) B0 (side L) or alpha B0
//! op(A) (side R), and that its padding rows still hold B0's.
template <class T>
::testing::AssertionResult multiplies_trmm(const std::vector<T> &x, const std::vector<T> &b0, const TrsmOps &o,
                                           ORB_INT m, ORB_INT n, T alpha, const std::vector<T> &a, ORB_INT lda,
                                           ORB_INT ldb) {
  const ORB_INT order = same(o.side, 'L') ? m : n;
  const T zero = narrow<T>(0), one = narrow<T>(1);
  std::vector<T> full(a.size(), zero);
  for (ORB_INT j = 0; j < order; ++j)
    for (ORB_INT i = 0; i < order; ++i)
      if (i == j || same(o.uplo, 'U') == (i < j))
        full[i + j * lda] = i == j && same(o.diag, 'U') ? one : a[i + j * lda];
  return same(o.side, 'L') ? matches_gemm(x, b0, o.trans, 'N', m, n, m, alpha, full, lda, b0, ldb, zero, ldb)
                           : matches_gemm(x, b0, 'N', o.trans, m, n, n, alpha, b0, ldb, full, lda, zero, ldb);
}

//! Runs `solve(alpha, a, lda, b, ldb)` on a fresh triangle and B (ldb = m +
//! pad) and checks the solution, or the product when `multiply` holds.
template <class T, class Solve>
void check_trsm(const TrsmOps &o, ORB_INT m, ORB_INT n, cld alpha, ORB_INT pad, Solve &&solve, bool multiply = false) {
  const ORB_INT order = same(o.side, 'L') ? m : n;
  const ORB_INT lda = std::max<ORB_INT>(order, 1) + pad, ldb = std::max<ORB_INT>(m, 1) + pad;
  const std::vector<T> a = triangle<T>(order, lda, o.uplo, o.diag, 11);
  const std::vector<T> b0 = random_matrix<T>(m, n, ldb, 12);
  std::vector<T> b = b0;
  const T al = narrow<T>(alpha);
  solve(al, a.data(), lda, b.data(), ldb);
  EXPECT_TRUE(multiply ? multiplies_trmm(b, b0, o, m, n, al, a, lda, ldb)
                       : solves_trsm(b, b0, o, m, n, al, a, lda, ldb));
}

template <class T>
struct TrsmApi;
#define ORB_TEST_TRSM_API(p, T, PASS)                                                                          \
  template <>                                                                                                  \
  struct TrsmApi<T> {                                                                                          \
    static constexpr auto f32 = p##trsm_;                                                                      \
    static constexpr auto f64 = p##trsm_64_;                                                                   \
    static constexpr auto driver = orb_blas_##p##trsm;                                                         \
    static constexpr auto driver_lp64 = orb_blas_lp64_##p##trsm;                                               \
    static constexpr auto mm32 = p##trmm_;                                                                     \
    static constexpr auto mm64 = p##trmm_64_;                                                                  \
    static constexpr auto mm_driver = orb_blas_##p##trmm;                                                      \
    static constexpr auto mm_driver_lp64 = orb_blas_lp64_##p##trmm;                                            \
    static void cblas(CBLAS_LAYOUT l, const TrsmOps &o, int m, int n, const T *alpha, const T *a, int lda, T *b, \
                      int ldb, bool multiply = false) {                                                        \
      (multiply ? cblas_##p##trmm : cblas_##p##trsm)(l, cblas_side(o.side), cblas_uplo(o.uplo),               \
                                                     cblas_trans(o.trans), cblas_diag(o.diag), m, n,          \
                                                     PASS(alpha), a, lda, b, ldb);                            \
    }                                                                                                          \
  };
ORB_TEST_TRSM_API(s, float, ORB_TEST_BY_VALUE)
ORB_TEST_TRSM_API(d, double, ORB_TEST_BY_VALUE)
ORB_TEST_TRSM_API(c, ORB_Complex8, ORB_TEST_BY_POINTER)
ORB_TEST_TRSM_API(z, ORB_Complex16, ORB_TEST_BY_POINTER)
#undef ORB_TEST_TRSM_API

//! One solve (product when `multiply` holds) through one name form, in the
//! caller's terms (row-major matrices for CblasRow).
template <class T>
void call_trsm(Form form, const TrsmOps &o, int m, int n, const T &alpha, const T *a, int lda, T *b, int ldb,
               bool multiply = false) {
  using R = TrsmApi<T>;
  const int64_t m8 = m, n8 = n, lda8 = lda, ldb8 = ldb;
  switch (form) {
    case Form::Fortran32:
      (multiply ? R::mm32 : R::f32)(&o.side, &o.uplo, &o.trans, &o.diag, &m, &n, &alpha, a, &lda, b, &ldb);
      break;
    case Form::Fortran64:
      (multiply ? R::mm64 : R::f64)(&o.side, &o.uplo, &o.trans, &o.diag, &m8, &n8, &alpha, a, &lda8, b, &ldb8);
      break;
    case Form::CblasColumn:
    case Form::CblasRow:
      R::cblas(form == Form::CblasRow ? CblasRowMajor : CblasColMajor, o, m, n, &alpha, a, lda, b, ldb, multiply);
      break;
  }
}

}  // namespace orb::test
