// Test operands in the four precisions and one naive reference for the
// matrix products of every layer.
#pragma once

#include <orb/orb_types.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <type_traits>

namespace orb::test {

using cld = std::complex<long double>;

inline cld wide(float v) { return v; }
inline cld wide(double v) { return v; }
inline cld wide(ORB_Complex8 v) { return {v.real, v.imag}; }
inline cld wide(ORB_Complex16 v) { return {v.real, v.imag}; }

template <class T>
constexpr bool is_complex_v = !std::is_arithmetic_v<T>;

template <class T>
T narrow(cld v) {
  if constexpr (is_complex_v<T>)
    return {static_cast<decltype(T::real)>(v.real()), static_cast<decltype(T::real)>(v.imag())};
  else
    return static_cast<T>(v.real());
}

//! The letter of an element type in the routines' names.
template <class T>
constexpr char letter_v = std::is_same_v<T, float>    ? 's'
                          : std::is_same_v<T, double> ? 'd'
                          : sizeof(T) == 8            ? 'c'
                                                      : 'z';

//! The results fixture of every layer, typed over the four element types:
//! TYPED_TEST(Results, Family) runs once per precision, named by its letter.
template <class T>
class Results : public ::testing::Test {};
struct PrecisionLetter {
  template <class T>
  static std::string GetName(int) { return {letter_v<T>}; }
};
using Precisions = ::testing::Types<float, double, ORB_Complex8, ORB_Complex16>;
TYPED_TEST_SUITE(Results, Precisions, PrecisionLetter);

template <class T>
constexpr long double unit_roundoff() {
  return letter_v<T> == 's' || letter_v<T> == 'c' ? std::numeric_limits<float>::epsilon()
                                                  : std::numeric_limits<double>::epsilon();
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

//! Entry (i, l) of op(X) for the operation letter t: N, T, C, or R (conjugate, not transposed).
template <class T>
cld op_at(const std::vector<T> &x, ORB_INT ld, char t, ORB_INT i, ORB_INT l) {
  t |= 0x20;
  const cld v = wide(t == 'n' || t == 'r' ? x[i + l * ld] : x[l + i * ld]);
  return t == 'c' || t == 'r' ? std::conj(v) : v;
}

//! Checks column-major c (m x n, ld ldc) against alpha op(A) op(B) + beta c0
//! (beta = 0 ignores c0, alpha = 0 ignores A and B), and that the padding rows
//! of c still hold c0's.  The tolerance is a multiple of k unit roundoffs of
//! the sum of magnitudes.  A row-major product is the column-major one of the
//! transposes: pass (tb, ta, n, m, k, alpha, b, ldb, a, lda, ...).  With
//! `triangle` 'U' or 'L' only that triangle of C is the product; the other
//! must hold c0's entries, like the padding.
template <class T>
::testing::AssertionResult matches_gemm(const std::vector<T> &c, const std::vector<T> &c0, char ta, char tb,
                                        ORB_INT m, ORB_INT n, ORB_INT k, T alpha, const std::vector<T> &a,
                                        ORB_INT lda, const std::vector<T> &b, ORB_INT ldb, T beta, ORB_INT ldc,
                                        char triangle = 0) {
  const cld al = wide(alpha), be = wide(beta);
  const auto norm1 = [](cld v) { return std::fabs(v.real()) + std::fabs(v.imag()); };  // within 2x of |v|
  // Rows of op(A) and columns of op(B) copied out contiguously, in double: long k stays quick.
  std::vector<std::complex<double>> ar(m * k), bc(n * k);
  for (ORB_INT l = 0; l < k; ++l) {
    for (ORB_INT i = 0; i < m; ++i) ar[i * k + l] = std::complex<double>(op_at(a, lda, ta, i, l));
    for (ORB_INT j = 0; j < n; ++j) bc[j * k + l] = std::complex<double>(op_at(b, ldb, tb, l, j));
  }
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < ldc; ++i) {
      const cld got = wide(c[i + j * ldc]);
      const bool outside = (triangle | 0x20) == 'u' ? i > j : (triangle | 0x20) == 'l' ? i < j : false;
      if (i >= m || outside) {
        if (got != wide(c0[i + j * ldc]))
          return ::testing::AssertionFailure() << (i < m ? "other triangle (" : "padding (") << i << "," << j
                                               << ") written";
        continue;
      }
      double re = 0, im = 0, scale = 0;
      for (ORB_INT l = 0; l < k && al != cld(0); ++l) {
        const double xr = ar[i * k + l].real(), xi = ar[i * k + l].imag(), yr = bc[j * k + l].real(),
                     yi = bc[j * k + l].imag();
        re += xr * yr - xi * yi;
        im += xr * yi + xi * yr;
        scale += (std::fabs(xr) + std::fabs(xi)) * (std::fabs(yr) + std::fabs(yi));
      }
      const cld sum(re, im);
      cld ref = al * sum;
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

//! Checks y (entries incy apart, reversed for a negative incy) against
//! alpha op(A) x + beta y0 as a product of columns, and that the entries
//! between the strides kept y0's.  m or n of 0 leaves y as it was.
template <class T>
::testing::AssertionResult matches_gemv(const std::vector<T> &y, const std::vector<T> &y0, char t, ORB_INT m,
                                        ORB_INT n, T alpha, const std::vector<T> &a, ORB_INT lda,
                                        const std::vector<T> &x, ORB_INT incx, T beta, ORB_INT incy) {
  const bool as_stored = (t | 0x20) == 'n' || (t | 0x20) == 'r';
  const ORB_INT lenx = as_stored ? n : m, leny = as_stored ? m : n;
  const auto column = [](const std::vector<T> &v, ORB_INT len, ORB_INT inc) {
    std::vector<T> out(static_cast<size_t>(std::max<ORB_INT>(len, 1)));
    for (ORB_INT i = 0; i < len; ++i) out[i] = v[(inc > 0 ? i : len - 1 - i) * std::abs(inc)];
    return out;
  };
  for (size_t i = 0; i < y.size(); ++i)
    if (i % std::abs(incy) != 0 && wide(y[i]) != wide(y0[i]))
      return ::testing::AssertionFailure() << "y[" << i << "] between the strides written";
  if (m == 0 || n == 0) alpha = narrow<T>(0), beta = narrow<T>(1);
  return matches_gemm(column(y, leny, incy), column(y0, leny, incy), t, 'N', leny, 1, lenx, alpha, a, lda,
                      column(x, lenx, incx), std::max<ORB_INT>(lenx, 1), beta, std::max<ORB_INT>(leny, 1));
}

template <class T>
void fill_nan(std::vector<T> &v, size_t step = 1) {
  for (size_t i = 0; i < v.size(); i += step) v[i] = narrow<T>(cld(NAN, NAN));
}

//! A rows x cols operand as the caller stores it (a row-major one as the
//! column-major one of its transpose), its leading dimension padded by pad.
template <class T>
std::vector<T> operand(bool row, ORB_INT rows, ORB_INT cols, ORB_INT pad, ORB_INT &ld, uint64_t seed) {
  if (row) std::swap(rows, cols);
  ld = std::max<ORB_INT>(rows, 1) + pad;
  return random_matrix<T>(rows, cols, ld, seed);
}

//! Runs call(alpha, a, lda, b, ldb, beta, c, ldc) on seeded operands of
//! op(A) op(B), m x n x k, with the leading dimensions padded by pad, and
//! checks C.  alpha = 0 fills A and B with NaN, beta = 0 the entries of C:
//! neither may then be read.
template <class T, class Call>
void check_gemm(bool row, char ta, char tb, ORB_INT m, ORB_INT n, ORB_INT k, cld al, cld be,
                const ORB_INT (&pad)[3], Call &&call) {
  const bool a_n = (ta | 0x20) == 'n', b_n = (tb | 0x20) == 'n';
  const T alpha = narrow<T>(al), beta = narrow<T>(be);
  ORB_INT lda, ldb, ldc;
  auto a = operand<T>(row, a_n ? m : k, a_n ? k : m, pad[0], lda, 1);
  auto b = operand<T>(row, b_n ? k : n, b_n ? n : k, pad[1], ldb, 2), c0 = operand<T>(row, m, n, pad[2], ldc, 3);
  if (al == cld(0)) fill_nan(a), fill_nan(b);
  for (ORB_INT j = 0; j < (row ? m : n) && be == cld(0); ++j)
    for (ORB_INT i = 0; i < (row ? n : m); ++i) c0[i + j * ldc] = narrow<T>(cld(NAN, NAN));
  auto c = c0;
  call(alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc);
  EXPECT_TRUE(row ? matches_gemm(c, c0, tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, ldc)
                  : matches_gemm(c, c0, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, ldc));
}

//! The same for y := alpha op(A) x + beta y: call(alpha, a, lda, x, beta, y),
//! A padded by 2, x and y with gaps between their entries.
template <class T, class Call>
void check_gemv(bool row, char t, ORB_INT m, ORB_INT n, ORB_INT incx, ORB_INT incy, cld al, cld be, Call &&call) {
  const bool as_stored = (t | 0x20) == 'n';
  const T alpha = narrow<T>(al), beta = narrow<T>(be);
  const ORB_INT lenx = as_stored ? n : m, leny = as_stored ? m : n;
  ORB_INT lda;
  auto a = operand<T>(row, m, n, 2, lda, 4);
  auto x = random_matrix<T>(1, lenx, std::abs(incx), 5), y0 = random_matrix<T>(1, leny, std::abs(incy), 6);
  if (al == cld(0)) fill_nan(a), fill_nan(x, std::abs(incx));
  if (be == cld(0) && m > 0 && n > 0) fill_nan(y0, std::abs(incy));  // m or n of 0 leaves y alone
  auto y = y0;
  call(alpha, a.data(), lda, x.data(), beta, y.data());
  // Read column-major, a row-major A is A^T: N and T exchange, C is conj(A^T) untransposed.
  const char flipped = as_stored ? 'T' : (t | 0x20) == 't' ? 'N' : 'R';
  EXPECT_TRUE(row ? matches_gemv(y, y0, flipped, n, m, alpha, a, lda, x, incx, beta, incy)
                  : matches_gemv(y, y0, t, m, n, alpha, a, lda, x, incx, beta, incy));
}

}  // namespace orb::test
