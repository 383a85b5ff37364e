// Products with a symmetric or Hermitian A under test (?symm, ?hemm): A with
// only its stored triangle finite (the other triangle NaN; a Hermitian
// diagonal with an imaginary part the routine must ignore), the full matrix
// it stands for, the check of C := alpha A B + beta C or alpha B A + beta C
// through the shared naive product, and one call per name form.
#pragma once

#include "blas_api.hpp"
#include "dense.hpp"

extern "C" {
#define ORB_TEST_SYMM_NAMES(name, T) \
  ORB_SYMM_DECL(name##_, T, int);    \
  ORB_SYMM_DECL(name##_64_, T, int64_t);
ORB_TEST_SYMM_NAMES(ssymm, float)
ORB_TEST_SYMM_NAMES(dsymm, double)
ORB_TEST_SYMM_NAMES(csymm, ORB_Complex8)
ORB_TEST_SYMM_NAMES(zsymm, ORB_Complex16)
ORB_TEST_SYMM_NAMES(chemm, ORB_Complex8)
ORB_TEST_SYMM_NAMES(zhemm, ORB_Complex16)
#undef ORB_TEST_SYMM_NAMES
}

namespace orb::test {

//! One routine: element type T, Hermitian or symmetric; its names.
template <class T, bool Hermitian>
struct SymmApi;
#define ORB_TEST_SYMM_API(name, T, H, PASS, M)                                                                    \
  template <>                                                                                                     \
  struct SymmApi<T, H> {                                                                                          \
    static constexpr auto f32 = name##_;                                                                          \
    static constexpr auto f64 = name##_64_;                                                                       \
    static constexpr auto driver = orb_blas_##name;                                                               \
    static constexpr auto driver_lp64 = orb_blas_lp64_##name;                                                     \
    static void cblas(CBLAS_LAYOUT l, char side, char uplo, int m, int n, const T *alpha, const T *a, int lda,   \
                      const T *b, int ldb, const T *beta, T *c, int ldc) {                                        \
      cblas_##name(l, cblas_side(side), cblas_uplo(uplo), m, n,                                                   \
                   PASS(alpha), reinterpret_cast<const M *>(a), lda, reinterpret_cast<const M *>(b), ldb,          \
                   PASS(beta), reinterpret_cast<M *>(c), ldc);                                                     \
    }                                                                                                             \
  };
ORB_TEST_SYMM_API(ssymm, float, false, ORB_TEST_BY_VALUE, float)
ORB_TEST_SYMM_API(dsymm, double, false, ORB_TEST_BY_VALUE, double)
ORB_TEST_SYMM_API(csymm, ORB_Complex8, false, ORB_TEST_BY_POINTER, void)
ORB_TEST_SYMM_API(zsymm, ORB_Complex16, false, ORB_TEST_BY_POINTER, void)
ORB_TEST_SYMM_API(chemm, ORB_Complex8, true, ORB_TEST_BY_POINTER, void)
ORB_TEST_SYMM_API(zhemm, ORB_Complex16, true, ORB_TEST_BY_POINTER, void)
#undef ORB_TEST_SYMM_API

//! One product through one name form.
template <class T, bool H>
void call_symm(Form f, char side, char uplo, int m, int n, T alpha, const T *a, int lda, const T *b, int ldb, T beta,
               T *c, int ldc) {
  const int64_t m8 = m, n8 = n, lda8 = lda, ldb8 = ldb, ldc8 = ldc;
  using R = SymmApi<T, H>;
  if (f == Form::Fortran32) return R::f32(&side, &uplo, &m, &n, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
  if (f == Form::Fortran64) return R::f64(&side, &uplo, &m8, &n8, &alpha, a, &lda8, b, &ldb8, &beta, c, &ldc8);
  const CBLAS_LAYOUT l = f == Form::CblasRow ? CblasRowMajor : CblasColMajor;
  R::cblas(l, side, uplo, m, n, &alpha, a, lda, b, ldb, &beta, c, ldc);
}

//! Runs `multiply(alpha, a, lda, b, ldb, beta, c, ldc)` for C (m x n) with a
//! symmetric (Hermitian) A of the side's order whose uplo triangle alone is
//! stored, and checks C against the product with the full A.  beta = 0 fills
//! C with NaN, alpha = 0 A and B.
template <class T, bool Hermitian, class Multiply>
void check_symm(char side, char uplo, ORB_INT m, ORB_INT n, cld alpha, cld beta, ORB_INT pad, Multiply &&multiply) {
  const bool left = (side | 0x20) == 'l', upper = (uplo | 0x20) == 'u';
  const ORB_INT order = left ? m : n;
  const ORB_INT lda = std::max<ORB_INT>(order, 1) + pad, ldb = std::max<ORB_INT>(m, 1) + pad, ldc = ldb;
  std::vector<T> a = random_matrix<T>(order, order, lda, 31), full = a;
  const T nan = narrow<T>(cld(std::nanl(""), std::nanl("")));
  for (ORB_INT j = 0; j < order; ++j)
    for (ORB_INT i = 0; i < order; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      const cld mirror = wide(a[j + i * lda]);
      if (i == j && Hermitian) full[i + j * lda] = narrow<T>(cld(wide(a[i + j * lda]).real()));
      if (!stored) full[i + j * lda] = narrow<T>(Hermitian ? std::conj(mirror) : mirror), a[i + j * lda] = nan;
    }
  std::vector<T> b = random_matrix<T>(m, n, ldb, 32), c0 = random_matrix<T>(m, n, ldc, 33);
  if (alpha == cld(0)) std::fill(a.begin(), a.end(), nan), std::fill(b.begin(), b.end(), nan);
  if (beta == cld(0))
    for (ORB_INT j = 0; j < n; ++j)
      for (ORB_INT i = 0; i < m; ++i) c0[i + j * ldc] = nan;
  std::vector<T> c = c0;
  const T al = narrow<T>(alpha), be = narrow<T>(beta);
  multiply(al, a.data(), lda, b.data(), ldb, be, c.data(), ldc);
  if (alpha == cld(0)) std::fill(full.begin(), full.end(), nan);
  EXPECT_TRUE(left ? matches_gemm(c, c0, 'N', 'N', m, n, order, al, full, lda, b, ldb, be, ldc)
                   : matches_gemm(c, c0, 'N', 'N', m, n, order, al, b, ldb, full, lda, be, ldc));
}

}  // namespace orb::test
