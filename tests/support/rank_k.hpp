// Updates of one triangle under test: rank-k (?syrk, ?herk), rank-2k (?syr2k,
// ?her2k) and one triangle of a product (?gemmt): the check of a result
// against the naive update, the untouched other triangle and padding
// included, and one call per name form.
#pragma once

#include "blas_api.hpp"
#include "dense.hpp"

extern "C" {
#define ORB_TEST_RANK_K_NAMES(name, name_2k, T, S) \
  ORB_SYRK_DECL(name##_, T, S, int);               \
  ORB_SYRK_DECL(name##_64_, T, S, int64_t);        \
  ORB_SYR2K_DECL(name_2k##_, T, S, int);           \
  ORB_SYR2K_DECL(name_2k##_64_, T, S, int64_t);
ORB_TEST_RANK_K_NAMES(ssyrk, ssyr2k, float, float)
ORB_TEST_RANK_K_NAMES(dsyrk, dsyr2k, double, double)
ORB_TEST_RANK_K_NAMES(csyrk, csyr2k, ORB_Complex8, ORB_Complex8)
ORB_TEST_RANK_K_NAMES(zsyrk, zsyr2k, ORB_Complex16, ORB_Complex16)
ORB_TEST_RANK_K_NAMES(cherk, cher2k, ORB_Complex8, float)
ORB_TEST_RANK_K_NAMES(zherk, zher2k, ORB_Complex16, double)
#undef ORB_TEST_RANK_K_NAMES
#define ORB_TEST_GEMMT_NAMES(p, T)     \
  ORB_GEMMT_DECL(p##gemmt_, T, int); \
  ORB_GEMMT_DECL(p##gemmt_64_, T, int64_t);
ORB_TEST_GEMMT_NAMES(s, float)
ORB_TEST_GEMMT_NAMES(d, double)
ORB_TEST_GEMMT_NAMES(c, ORB_Complex8)
ORB_TEST_GEMMT_NAMES(z, ORB_Complex16)
#undef ORB_TEST_GEMMT_NAMES
}

namespace orb::test {

//! One routine: T the element type, S the scalar type (T for syrk, the real
//! type for herk); its names and its rank-2k twin's (whose alpha is a T),
//! and the transposition letters both take.
template <class T, class S>
struct RankK;
#define ORB_TEST_RANK_K(name, name_2k, T, S, M, PASS, PASS_2K, OPS)                                            \
  template <>                                                                                                  \
  struct RankK<T, S> {                                                                                         \
    static constexpr const char *ops = OPS;                                                                    \
    static constexpr auto f32 = name##_;                                                                       \
    static constexpr auto f64 = name##_64_;                                                                    \
    static constexpr auto driver = orb_blas_##name;                                                            \
    static constexpr auto driver_lp64 = orb_blas_lp64_##name;                                                  \
    static constexpr auto f32_2k = name_2k##_;                                                                 \
    static constexpr auto f64_2k = name_2k##_64_;                                                              \
    static constexpr auto driver_2k = orb_blas_##name_2k;                                                      \
    static constexpr auto driver_2k_lp64 = orb_blas_lp64_##name_2k;                                            \
    static void cblas(CBLAS_LAYOUT l, char uplo, char trans, int n, int k, const S *alpha, const T *a, int lda, \
                      const S *beta, T *c, int ldc) {                                                          \
      cblas_##name(l, cblas_uplo(uplo), cblas_trans(trans), n, k, PASS(alpha),                                    \
                   reinterpret_cast<const M *>(a), lda, PASS(beta), reinterpret_cast<M *>(c), ldc);           \
    }                                                                                                          \
    static void cblas_2k(CBLAS_LAYOUT l, char uplo, char trans, int n, int k, const T *alpha, const T *a,       \
                         int lda, const T *b, int ldb, const S *beta, T *c, int ldc) {                         \
      cblas_##name_2k(l, cblas_uplo(uplo), cblas_trans(trans), n, k, PASS_2K(alpha),                           \
                      reinterpret_cast<const M *>(a), lda, reinterpret_cast<const M *>(b), ldb, PASS(beta),   \
                      reinterpret_cast<M *>(c), ldc);                                                          \
    }                                                                                                          \
  };
ORB_TEST_RANK_K(ssyrk, ssyr2k, float, float, float, ORB_TEST_BY_VALUE, ORB_TEST_BY_VALUE, "NTC")
ORB_TEST_RANK_K(dsyrk, dsyr2k, double, double, double, ORB_TEST_BY_VALUE, ORB_TEST_BY_VALUE, "NTC")
ORB_TEST_RANK_K(csyrk, csyr2k, ORB_Complex8, ORB_Complex8, void, ORB_TEST_BY_POINTER, ORB_TEST_BY_POINTER, "NT")
ORB_TEST_RANK_K(zsyrk, zsyr2k, ORB_Complex16, ORB_Complex16, void, ORB_TEST_BY_POINTER, ORB_TEST_BY_POINTER, "NT")
ORB_TEST_RANK_K(cherk, cher2k, ORB_Complex8, float, void, ORB_TEST_BY_VALUE, ORB_TEST_BY_POINTER, "NC")
ORB_TEST_RANK_K(zherk, zher2k, ORB_Complex16, double, void, ORB_TEST_BY_VALUE, ORB_TEST_BY_POINTER, "NC")
#undef ORB_TEST_RANK_K

//! One update through one name form.
template <class T, class S>
void call_rank_k(Form f, char uplo, char trans, int n, int k, S alpha, const T *a, int lda, S beta, T *c, int ldc) {
  const int64_t n8 = n, k8 = k, lda8 = lda, ldc8 = ldc;
  using R = RankK<T, S>;
  if (f == Form::Fortran32) return R::f32(&uplo, &trans, &n, &k, &alpha, a, &lda, &beta, c, &ldc);
  if (f == Form::Fortran64) return R::f64(&uplo, &trans, &n8, &k8, &alpha, a, &lda8, &beta, c, &ldc8);
  R::cblas(f == Form::CblasRow ? CblasRowMajor : CblasColMajor, uplo, trans, n, k, &alpha, a, lda, &beta, c, ldc);
}

//! Checks c (order n, ld ldc) against the update of c0's uplo triangle by
//! alpha op(X) op(Y)^T (^H and a real diagonal for a Hermitian update) +
//! beta c0, with beta = 0 ignoring c0; the other triangle and the padding
//! must hold c0's entries still.  Both triangles are mirrored into full
//! matrices and checked as a product with the shared gemm check.
template <class T>
::testing::AssertionResult matches_symmetric(const std::vector<T> &c, const std::vector<T> &c0, char uplo, bool hermitian,
                                             bool real_diagonal, char tx, char ty, ORB_INT n, ORB_INT k, T alpha,
                                             const std::vector<T> &x, ORB_INT ldx, const std::vector<T> &y,
                                             ORB_INT ldy, T beta, ORB_INT ldc) {
  const bool upper = (uplo | 0x20) == 'u';
  const auto mirror = [&](T v) { return narrow<T>(hermitian ? std::conj(wide(v)) : wide(v)); };
  std::vector<T> got = c, was = c0;
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < n; ++i)
      if (upper ? i > j : i < j) {
        if (wide(c[i + j * ldc]) != wide(c0[i + j * ldc]))
          return ::testing::AssertionFailure() << "(" << i << "," << j << ") outside the triangle written";
        got[i + j * ldc] = mirror(c[j + i * ldc]), was[i + j * ldc] = mirror(c0[j + i * ldc]);
      } else if (i == j && real_diagonal) {
        if (wide(c[i + i * ldc]).imag() != 0) return ::testing::AssertionFailure() << "diagonal (" << i << ") not real";
        was[i + i * ldc] = narrow<T>(wide(c0[i + i * ldc]).real());
      }
  return matches_gemm(got, was, tx, ty, n, n, k, alpha, x, ldx, y, ldy, beta, ldc);
}

//! The rank-k update: alpha op(A) op(A)^T (^H for herk) + beta c0.
template <class T, class S>
::testing::AssertionResult matches_rank_k(const std::vector<T> &c, const std::vector<T> &c0, char uplo, char trans,
                                          ORB_INT n, ORB_INT k, S alpha, const std::vector<T> &a, ORB_INT lda, S beta,
                                          ORB_INT ldc) {
  constexpr bool hermitian = !std::is_same_v<T, S>;
  const bool plain = (trans | 0x20) == 'n';
  // The standard's early return (alpha or k = 0 and beta = 1) leaves even
  // herk's diagonal as it was; otherwise herk makes it real.
  const bool real_diagonal = hermitian && !((wide(alpha) == cld(0) || k == 0) && wide(beta) == cld(1));
  const char t = hermitian ? 'C' : 'T';
  return matches_symmetric(c, c0, uplo, hermitian, real_diagonal, plain ? 'N' : t, plain ? t : 'N', n, k,
                           narrow<T>(wide(alpha)), a, lda, a, lda, narrow<T>(wide(beta)), ldc);
}

//! The rank-2k update: alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta c0
//! (^H and conj(alpha) on the second term for her2k), checked as one product
//! of inner dimension 2k: [alpha op(A), alpha' op(B)] times [op(B), op(A)]^T.
template <class T, class S>
::testing::AssertionResult matches_rank_2k(const std::vector<T> &c, const std::vector<T> &c0, char uplo, char trans,
                                           ORB_INT n, ORB_INT k, T alpha, const std::vector<T> &a, ORB_INT lda,
                                           const std::vector<T> &b, ORB_INT ldb, S beta, ORB_INT ldc) {
  constexpr bool hermitian = !std::is_same_v<T, S>;
  const bool real_diagonal = hermitian && !((wide(alpha) == cld(0) || k == 0) && wide(beta) == cld(1));
  const char t = (trans | 0x20) == 'n' ? 'N' : 'T';
  const cld al = wide(alpha), al2 = hermitian ? std::conj(al) : al;
  const ORB_INT ld = std::max<ORB_INT>(n, 1);
  std::vector<T> x(ld * 2 * std::max<ORB_INT>(k, 1)), y(x.size());
  // op_at conjugates for 'C'; op(A) of the Hermitian update with trans C is A^H.
  const char op = hermitian && t == 'T' ? 'C' : t;
  for (ORB_INT l = 0; l < k; ++l)
    for (ORB_INT i = 0; i < n; ++i) {
      x[i + l * ld] = narrow<T>(al * op_at(a, lda, op, i, l));
      x[i + (k + l) * ld] = narrow<T>(al2 * op_at(b, ldb, op, i, l));
      y[i + l * ld] = narrow<T>(op_at(b, ldb, op, i, l));
      y[i + (k + l) * ld] = narrow<T>(op_at(a, lda, op, i, l));
    }
  return matches_symmetric(c, c0, uplo, hermitian, real_diagonal, 'N', hermitian ? 'C' : 'T', n, 2 * k,
                           narrow<T>(1), x, ld, y, ld, narrow<T>(wide(beta)), ldc);
}

//! Runs `update(alpha, a, lda, beta, c, ldc)` on fresh operands (padding
//! `pad` rows; beta = 0 fills C with NaN) and checks the result.
template <class T, class S, class Update>
void check_rank_k(char uplo, char trans, ORB_INT n, ORB_INT k, S alpha, S beta, ORB_INT pad, Update &&update) {
  const bool plain = (trans | 0x20) == 'n';
  const ORB_INT rows = plain ? n : k, cols = plain ? k : n;
  const ORB_INT lda = std::max<ORB_INT>(rows, 1) + pad, ldc = std::max<ORB_INT>(n, 1) + pad;
  const std::vector<T> a = random_matrix<T>(rows, cols, lda, 21);
  std::vector<T> c0 = random_matrix<T>(n, n, ldc, 22);
  if (wide(beta) == cld(0))
    for (ORB_INT j = 0; j < n; ++j)
      for (ORB_INT i = 0; i < n; ++i)
        if ((uplo | 0x20) == 'u' ? i <= j : i >= j) c0[i + j * ldc] = narrow<T>(cld(std::nanl(""), 0));
  std::vector<T> c = c0;
  update(alpha, a.data(), lda, beta, c.data(), ldc);
  EXPECT_TRUE((matches_rank_k<T, S>(c, c0, uplo, trans, n, k, alpha, a, lda, beta, ldc)));
}

//! Fills the uplo triangle of c (order n, ld ldc) with NaN: what beta = 0 must overwrite unread.
template <class T>
void nan_triangle(std::vector<T> &c, char uplo, ORB_INT n, ORB_INT ldc) {
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < n; ++i)
      if ((uplo | 0x20) == 'u' ? i <= j : i >= j) c[i + j * ldc] = narrow<T>(cld(std::nanl(""), 0));
}

//! Runs `update(alpha, a, lda, b, ldb, beta, c, ldc)` on fresh operands
//! (padding `pad` rows; beta = 0 fills the triangle with NaN) and checks the
//! rank-2k update.
template <class T, class S, class Update>
void check_rank_2k(char uplo, char trans, ORB_INT n, ORB_INT k, T alpha, S beta, ORB_INT pad, Update &&update) {
  const bool plain = (trans | 0x20) == 'n';
  const ORB_INT rows = plain ? n : k, cols = plain ? k : n;
  const ORB_INT ld = std::max<ORB_INT>(rows, 1) + pad, ldc = std::max<ORB_INT>(n, 1) + pad;
  const std::vector<T> a = random_matrix<T>(rows, cols, ld, 23), b = random_matrix<T>(rows, cols, ld, 24);
  std::vector<T> c0 = random_matrix<T>(n, n, ldc, 25);
  if (wide(beta) == cld(0)) nan_triangle(c0, uplo, n, ldc);
  std::vector<T> c = c0;
  update(alpha, a.data(), ld, b.data(), ld, beta, c.data(), ldc);
  EXPECT_TRUE((matches_rank_2k<T, S>(c, c0, uplo, trans, n, k, alpha, a, ld, b, ld, beta, ldc)));
}

//! One rank-2k update through one name form.
template <class T, class S>
void call_rank_2k(Form f, char uplo, char trans, int n, int k, T alpha, const T *a, int lda, const T *b, int ldb,
                  S beta, T *c, int ldc) {
  const int64_t n8 = n, k8 = k, lda8 = lda, ldb8 = ldb, ldc8 = ldc;
  using R = RankK<T, S>;
  if (f == Form::Fortran32) return R::f32_2k(&uplo, &trans, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
  if (f == Form::Fortran64) return R::f64_2k(&uplo, &trans, &n8, &k8, &alpha, a, &lda8, b, &ldb8, &beta, c, &ldc8);
  R::cblas_2k(f == Form::CblasRow ? CblasRowMajor : CblasColMajor, uplo, trans, n, k, &alpha, a, lda, b, ldb, &beta,
              c, ldc);
}

//! ?gemmt's names.
template <class T>
struct GemmtApi;
#define ORB_TEST_GEMMT_API(p, T, PASS, M)                                                                        \
  template <>                                                                                                    \
  struct GemmtApi<T> {                                                                                           \
    static constexpr auto f32 = p##gemmt_;                                                                       \
    static constexpr auto f64 = p##gemmt_64_;                                                                    \
    static constexpr auto driver = orb_blas_##p##gemmt;                                                          \
    static constexpr auto driver_lp64 = orb_blas_lp64_##p##gemmt;                                                \
    static void cblas(CBLAS_LAYOUT l, char uplo, char ta, char tb, int n, int k, const T *alpha, const T *a,     \
                      int lda, const T *b, int ldb, const T *beta, T *c, int ldc) {                              \
      cblas_##p##gemmt(l, cblas_uplo(uplo), cblas_trans(ta), cblas_trans(tb), n, k, PASS(alpha),                 \
                       reinterpret_cast<const M *>(a), lda, reinterpret_cast<const M *>(b), ldb, PASS(beta),    \
                       reinterpret_cast<M *>(c), ldc);                                                           \
    }                                                                                                            \
  };
ORB_TEST_GEMMT_API(s, float, ORB_TEST_BY_VALUE, float)
ORB_TEST_GEMMT_API(d, double, ORB_TEST_BY_VALUE, double)
ORB_TEST_GEMMT_API(c, ORB_Complex8, ORB_TEST_BY_POINTER, void)
ORB_TEST_GEMMT_API(z, ORB_Complex16, ORB_TEST_BY_POINTER, void)
#undef ORB_TEST_GEMMT_API

//! One product on a triangle through one name form, in the caller's terms
//! (row-major matrices for CblasRow).
template <class T>
void call_gemmt(Form f, char uplo, char ta, char tb, int n, int k, T alpha, const T *a, int lda, const T *b, int ldb,
                T beta, T *c, int ldc) {
  const int64_t n8 = n, k8 = k, lda8 = lda, ldb8 = ldb, ldc8 = ldc;
  using R = GemmtApi<T>;
  if (f == Form::Fortran32) return R::f32(&uplo, &ta, &tb, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
  if (f == Form::Fortran64) return R::f64(&uplo, &ta, &tb, &n8, &k8, &alpha, a, &lda8, b, &ldb8, &beta, c, &ldc8);
  R::cblas(f == Form::CblasRow ? CblasRowMajor : CblasColMajor, uplo, ta, tb, n, k, &alpha, a, lda, b, ldb, &beta, c,
           ldc);
}

//! Runs `call(alpha, a, lda, b, ldb, beta, c, ldc)` on fresh operands of
//! the product op(A) op(B) of order n (leading dimensions padded by pad;
//! beta = 0 fills the triangle with NaN, alpha = 0 A and B), and checks that
//! the uplo triangle alone changed, to the product.  `row` stores the
//! operands row-major, as a CBLAS row-major caller does.
template <class T, class Call>
void check_gemmt(bool row, char uplo, char ta, char tb, ORB_INT n, ORB_INT k, cld al, cld be, ORB_INT pad,
                 Call &&call) {
  const bool a_n = (ta | 0x20) == 'n', b_n = (tb | 0x20) == 'n';
  const T alpha = narrow<T>(al), beta = narrow<T>(be);
  ORB_INT lda, ldb, ldc;
  auto a = operand<T>(row, a_n ? n : k, a_n ? k : n, pad, lda, 26);
  auto b = operand<T>(row, b_n ? k : n, b_n ? n : k, pad, ldb, 27), c0 = operand<T>(row, n, n, pad, ldc, 28);
  if (al == cld(0)) fill_nan(a), fill_nan(b);
  // Read column-major, a row-major C is C^T, its triangle the other one.
  const char stored = row ? ((uplo | 0x20) == 'u' ? 'L' : 'U') : uplo;
  if (be == cld(0)) nan_triangle(c0, stored, n, ldc);
  auto c = c0;
  call(alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc);
  EXPECT_TRUE(row ? matches_gemm(c, c0, tb, ta, n, n, k, alpha, b, ldb, a, lda, beta, ldc, stored)
                  : matches_gemm(c, c0, ta, tb, n, n, k, alpha, a, lda, b, ldb, beta, ldc, stored));
}

}  // namespace orb::test
