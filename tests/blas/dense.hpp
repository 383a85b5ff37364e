// Column-major test operands in the four precisions and a naive reference
// product, computed in long double.
#pragma once

#include <orb/orb_blas.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace orb::test {

using cld = std::complex<long double>;

inline cld wide(float v) { return v; }
inline cld wide(double v) { return v; }
inline cld wide(ORB_Complex8 v) { return {v.real, v.imag}; }
inline cld wide(ORB_Complex16 v) { return {v.real, v.imag}; }

template <class T>
T narrow(cld v) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>)
    return static_cast<T>(v.real());
  else
    return {static_cast<decltype(T::real)>(v.real()), static_cast<decltype(T::real)>(v.imag())};
}

template <class T>
constexpr long double unit_roundoff() {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, ORB_Complex8>) return std::numeric_limits<float>::epsilon();
  return std::numeric_limits<double>::epsilon();
}

//! A rows x cols matrix with leading dimension ld; entries in [-1, 1), padding rows hold 7.
template <class T>
std::vector<T> random_matrix(ORB_INT rows, ORB_INT cols, ORB_INT ld, uint64_t seed) {
  uint64_t state = seed * 0x9e3779b97f4a7c15ull;
  const auto next = [&state] {  // splitmix64: cheap and good enough for test data
    uint64_t z = (state += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1.0p-52 - 1.0;
  };
  std::vector<T> x(static_cast<size_t>(std::max<ORB_INT>(ld * cols, 1)), narrow<T>(7.0L));
  for (ORB_INT j = 0; j < cols; ++j)
    for (ORB_INT i = 0; i < rows; ++i) {
      const double re = next();
      x[i + j * ld] = narrow<T>(cld(re, next()));
    }
  return x;
}

//! Entry (i, l) of op(X) for the operation character t.
template <class T>
cld op_at(const std::vector<T> &x, ORB_INT ld, char t, ORB_INT i, ORB_INT l) {
  t |= 0x20;
  const cld v = wide(t == 'n' ? x[i + l * ld] : x[l + i * ld]);
  return t == 'c' ? std::conj(v) : v;
}

//! Checks c (m x n, ld ldc) against alpha op(A) op(B) + beta c0 (beta = 0 ignores c0),
//! and that the padding rows of c still hold c0's.  The reference sums in
//! double over rows of op(A) and columns of op(B) copied out contiguously; the
//! tolerance is a multiple of k unit roundoffs of the sum of magnitudes.
template <class T>
::testing::AssertionResult matches_gemm(const std::vector<T> &c, const std::vector<T> &c0, char ta, char tb,
                                        ORB_INT m, ORB_INT n, ORB_INT k, T alpha, const std::vector<T> &a,
                                        ORB_INT lda, const std::vector<T> &b, ORB_INT ldb, T beta, ORB_INT ldc) {
  const cld al = wide(alpha), be = wide(beta);
  std::vector<double> ar(m * k), ai(m * k), br(n * k), bi(n * k);
  for (ORB_INT l = 0; l < k; ++l) {
    for (ORB_INT i = 0; i < m; ++i) {
      const cld v = op_at(a, lda, ta, i, l);
      ar[i * k + l] = static_cast<double>(v.real());
      ai[i * k + l] = static_cast<double>(v.imag());
    }
    for (ORB_INT j = 0; j < n; ++j) {
      const cld v = op_at(b, ldb, tb, l, j);
      br[j * k + l] = static_cast<double>(v.real());
      bi[j * k + l] = static_cast<double>(v.imag());
    }
  }
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < ldc; ++i) {
      const cld got = wide(c[i + j * ldc]);
      if (i >= m) {
        if (got != wide(c0[i + j * ldc])) return ::testing::AssertionFailure() << "padding (" << i << "," << j << ") written";
        continue;
      }
      double re = 0, im = 0, scale = 0;
      if (al != cld(0))
        for (ORB_INT l = 0; l < k; ++l) {
          const double xr = ar[i * k + l], xi = ai[i * k + l], yr = br[j * k + l], yi = bi[j * k + l];
          re += xr * yr - xi * yi;
          im += xr * yi + xi * yr;
          scale += (std::fabs(xr) + std::fabs(xi)) * (std::fabs(yr) + std::fabs(yi));
        }
      // |x| is taken as |re| + |im| throughout: cheap, and within a factor 2 of the modulus.
      const auto norm1 = [](cld v) { return std::fabs(v.real()) + std::fabs(v.imag()); };
      cld ref = al * cld(re, im);
      long double bound = norm1(al) * scale;
      if (be != cld(0)) {
        const cld c0ij = wide(c0[i + j * ldc]);
        ref += be * c0ij;
        bound += norm1(be) * norm1(c0ij);
      }
      const long double tol = 16 * (k + 2) * unit_roundoff<T>() * bound + std::numeric_limits<float>::min();
      if (!(norm1(got - ref) <= tol))
        return ::testing::AssertionFailure() << "C(" << i << "," << j << ") = " << got.real() << "," << got.imag()
                                             << " expected " << ref.real() << "," << ref.imag();
    }
  return ::testing::AssertionSuccess();
}

// The threaded drivers by element type, 64-bit and lp64 integers.
#define ORB_TEST_DRIVERS(p, T)                                                                              \
  inline void gemm(const char *ta, const char *tb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k,    \
                   const T *al, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *be,\
                   T *c, const ORB_INT *ldc) {                                                              \
    orb_blas_##p##gemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);                                    \
  }                                                                                                         \
  inline void gemm(const char *ta, const char *tb, const int *m, const int *n, const int *k, const T *al,   \
                   const T *a, const int *lda, const T *b, const int *ldb, const T *be, T *c,               \
                   const int *ldc) {                                                                        \
    orb_blas_lp64_##p##gemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);                               \
  }                                                                                                         \
  inline void gemv(const char *t, const ORB_INT *m, const ORB_INT *n, const T *al, const T *a,              \
                   const ORB_INT *lda, const T *x, const ORB_INT *incx, const T *be, T *y,                  \
                   const ORB_INT *incy) {                                                                   \
    orb_blas_##p##gemv(t, m, n, al, a, lda, x, incx, be, y, incy);                                          \
  }
ORB_TEST_DRIVERS(s, float)
ORB_TEST_DRIVERS(d, double)
ORB_TEST_DRIVERS(c, ORB_Complex8)
ORB_TEST_DRIVERS(z, ORB_Complex16)
#undef ORB_TEST_DRIVERS

}  // namespace orb::test
