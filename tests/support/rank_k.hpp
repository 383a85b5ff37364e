// Rank-k updates of one triangle under test (?syrk, ?herk): the check of a
// result against the naive update, the untouched other triangle and padding
// included, and one call per name form.
#pragma once

#include "blas_api.hpp"
#include "dense.hpp"

extern "C" {
#define ORB_TEST_RANK_K_NAMES(name, T, S) \
  ORB_SYRK_DECL(name##_, T, S, int);      \
  ORB_SYRK_DECL(name##_64_, T, S, int64_t);
ORB_TEST_RANK_K_NAMES(ssyrk, float, float)
ORB_TEST_RANK_K_NAMES(dsyrk, double, double)
ORB_TEST_RANK_K_NAMES(csyrk, ORB_Complex8, ORB_Complex8)
ORB_TEST_RANK_K_NAMES(zsyrk, ORB_Complex16, ORB_Complex16)
ORB_TEST_RANK_K_NAMES(cherk, ORB_Complex8, float)
ORB_TEST_RANK_K_NAMES(zherk, ORB_Complex16, double)
#undef ORB_TEST_RANK_K_NAMES
}

namespace orb::test {

//! One routine: T the element type, S the scalar type (T for syrk, the real
//! type for herk); its names, and the transposition letters it takes.
template <class T, class S>
struct RankK;
#define ORB_TEST_RANK_K(name, T, S, M, PASS, OPS)                                                              \
  template <>                                                                                                  \
  struct RankK<T, S> {                                                                                         \
    static constexpr const char *ops = OPS;                                                                    \
    static constexpr auto f32 = name##_;                                                                       \
    static constexpr auto f64 = name##_64_;                                                                    \
    static constexpr auto driver = orb_blas_##name;                                                            \
    static constexpr auto driver_lp64 = orb_blas_lp64_##name;                                                  \
    static void cblas(CBLAS_LAYOUT l, char uplo, char trans, int n, int k, const S *alpha, const T *a, int lda, \
                      const S *beta, T *c, int ldc) {                                                          \
      cblas_##name(l, cblas_uplo(uplo), cblas_trans(trans), n, k, PASS(alpha),                                    \
                   reinterpret_cast<const M *>(a), lda, PASS(beta), reinterpret_cast<M *>(c), ldc);           \
    }                                                                                                          \
  };
ORB_TEST_RANK_K(ssyrk, float, float, float, ORB_TEST_BY_VALUE, "NTC")
ORB_TEST_RANK_K(dsyrk, double, double, double, ORB_TEST_BY_VALUE, "NTC")
ORB_TEST_RANK_K(csyrk, ORB_Complex8, ORB_Complex8, void, ORB_TEST_BY_POINTER, "NT")
ORB_TEST_RANK_K(zsyrk, ORB_Complex16, ORB_Complex16, void, ORB_TEST_BY_POINTER, "NT")
ORB_TEST_RANK_K(cherk, ORB_Complex8, float, void, ORB_TEST_BY_VALUE, "NC")
ORB_TEST_RANK_K(zherk, ORB_Complex16, double, void, ORB_TEST_BY_VALUE, "NC")
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
//! alpha op(A) op(A)^T (^H and a real diagonal for herk) + beta c0, with
//! beta = 0 ignoring c0; the other triangle and the padding must hold c0's
//! entries still.  Both triangles are mirrored into full matrices and checked
//! as a product with the shared gemm check.
template <class T, class S>
::testing::AssertionResult matches_rank_k(const std::vector<T> &c, const std::vector<T> &c0, char uplo, char trans,
                                          ORB_INT n, ORB_INT k, S alpha, const std::vector<T> &a, ORB_INT lda, S beta,
                                          ORB_INT ldc) {
  constexpr bool hermitian = !std::is_same_v<T, S>;
  const bool upper = (uplo | 0x20) == 'u', plain = (trans | 0x20) == 'n';
  // The standard's early return (alpha or k = 0 and beta = 1) leaves even
  // herk's diagonal as it was; otherwise herk makes it real.
  const bool real_diagonal = hermitian && !((wide(alpha) == cld(0) || k == 0) && wide(beta) == cld(1));
  const auto mirror = [](T v) { return narrow<T>(hermitian ? std::conj(wide(v)) : wide(v)); };
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
  const char t = hermitian ? 'C' : 'T';
  return matches_gemm(got, was, plain ? 'N' : t, plain ? t : 'N', n, n, k, narrow<T>(wide(alpha)), a, lda, a, lda,
                      narrow<T>(wide(beta)), ldc);
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

}  // namespace orb::test
