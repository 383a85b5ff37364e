// Results of gemm and gemv through every name form (32-bit, 64-bit, CBLAS
// column- and row-major) and precision, against naive products computed in
// double-precision complex.  Matrices carry padding beyond their leading
// rows or columns and vectors gaps between elements: those must stay as they were.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orb/orb_service.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "blas_api.hpp"

namespace {

// Scratch requests of the interface layer can be refused, to reach the path
// that needs none.
std::atomic<bool> refuse_scratch{false};

}  // namespace

extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static auto core = reinterpret_cast<void *(*)(int64_t, int)>(dlsym(RTLD_NEXT, "orb_serv_malloc"));
  return refuse_scratch.load() ? nullptr : core(bytes, alignment);
}

namespace {

using orb::test::call_gemm;
using orb::test::call_gemv;
using orb::test::Form;
using orb::test::narrow;
using orb::test::wide;
using cd = std::complex<double>;

const cd kSentinel(777.0, -777.0);
const double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class T>
constexpr bool is_complex() {
  return !std::is_same_v<T, float> && !std::is_same_v<T, double>;
}

template <class T>
double eps() {
  return std::is_same_v<T, float> || std::is_same_v<T, ORB_Complex8> ? 1.2e-7 : 2.3e-16;
}

// A matrix stored column- or row-major with `pad` spare entries per column
// (row); every stored entry starts as the sentinel.
template <class T>
struct Stored {
  int rows, cols, ld;
  bool row_major;
  std::vector<T> v;
  Stored(int r, int c, bool rm, int pad)
      : rows(r),
        cols(c),
        ld((rm ? c : r) + pad),
        row_major(rm),
        v(static_cast<size_t>(ld) * static_cast<size_t>(std::max(rm ? r : c, 1)), narrow<T>(kSentinel)) {}
  size_t index(int i, int j) const { return row_major ? size_t(i) * ld + j : i + size_t(j) * ld; }
  cd get(int i, int j) const { return wide(v[index(i, j)]); }
  void set(int i, int j, cd x) { v[index(i, j)] = narrow<T>(x); }
};

// A vector of n elements `inc` apart, element 0 at the far end when inc < 0.
template <class T>
struct Strided {
  int n, inc;
  std::vector<T> v;
  Strided(int len, int step)
      : n(len), inc(step), v(1 + size_t(std::max(len - 1, 0)) * std::abs(step), narrow<T>(kSentinel)) {}
  size_t index(int i) const { return size_t(inc > 0 ? i : n - 1 - i) * std::abs(inc); }
  cd get(int i) const { return wide(v[index(i)]); }
  void set(int i, cd x) { v[index(i)] = narrow<T>(x); }
};

template <class T>
cd random_value(std::mt19937 &rng) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  return is_complex<T>() ? cd(u(rng), u(rng)) : cd(u(rng), 0.0);
}

cd op_entry(char t, cd x) { return (t == 'C' || t == 'c') ? std::conj(x) : x; }
bool transposed(char t) { return !(t == 'N' || t == 'n'); }

// Checks every entry of `out` against `expected` within a bound scaled by
// the magnitudes that entered it, and every spare entry against the sentinel.
template <class T>
void expect_close(const std::vector<T> &out, const std::vector<cd> &expected, const std::vector<double> &scale,
                  const std::vector<bool> &logical) {
  for (size_t i = 0; i < out.size(); ++i) {
    const cd got = wide(out[i]);
    if (!logical[i]) {
      ASSERT_EQ(got, wide(narrow<T>(kSentinel))) << "spare entry " << i << " was written";
      continue;
    }
    ASSERT_LE(std::abs(got - expected[i]), 16 * eps<T>() * (scale[i] + 1e-30))
        << "entry " << i << ": got " << got << ", expected " << expected[i];
  }
}

struct Scalars {
  cd alpha, beta;
};
// A general pair; alpha = 0 with A and B full of NaN, which must not be read;
// beta = 0 with C full of NaN, which must not be read either.
const Scalars kScalars[] = {{{1.5, -0.5}, {0.5, 0.25}}, {{0.0, 0.0}, {2.0, 0.0}}, {{1.0, 0.5}, {0.0, 0.0}}};

template <class T>
void gemm_case(Form form, char ta, char tb, int m, int n, int k, Scalars s, std::mt19937 &rng) {
  const bool row = form == Form::CblasRow;
  const T alpha = narrow<T>(s.alpha), beta = narrow<T>(s.beta);
  Stored<T> a(transposed(ta) ? k : m, transposed(ta) ? m : k, row, 2);
  Stored<T> b(transposed(tb) ? n : k, transposed(tb) ? k : n, row, 1);
  Stored<T> c(m, n, row, 3);
  for (auto *x : {&a, &b})
    for (int i = 0; i < x->rows; ++i)
      for (int j = 0; j < x->cols; ++j) x->set(i, j, wide(alpha) == 0.0 ? cd(kNaN, kNaN) : random_value<T>(rng));
  std::vector<cd> expected(c.v.size());
  std::vector<double> scale(c.v.size());
  std::vector<bool> logical(c.v.size(), false);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) {
      c.set(i, j, wide(beta) == 0.0 ? cd(kNaN, kNaN) : random_value<T>(rng));
      cd sum = 0.0;
      double mag = 0.0;
      for (int l = 0; l < k && wide(alpha) != 0.0; ++l) {
        const cd x = op_entry(ta, transposed(ta) ? a.get(l, i) : a.get(i, l));
        const cd y = op_entry(tb, transposed(tb) ? b.get(j, l) : b.get(l, j));
        sum += x * y;
        mag += std::abs(x) * std::abs(y);
      }
      const cd old = wide(beta) == 0.0 ? 0.0 : c.get(i, j);
      const size_t at = c.index(i, j);
      expected[at] = wide(alpha) * sum + wide(beta) * old;
      scale[at] = std::abs(wide(alpha)) * mag + std::abs(wide(beta)) * std::abs(old);
      logical[at] = true;
    }
  call_gemm<T>(form, ta, tb, m, n, k, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta, c.v.data(), c.ld);
  expect_close(c.v, expected, scale, logical);
}

template <class T>
void gemv_case(Form form, char t, int m, int n, int incx, int incy, Scalars s, std::mt19937 &rng) {
  const T alpha = narrow<T>(s.alpha), beta = narrow<T>(s.beta);
  Stored<T> a(m, n, form == Form::CblasRow, 2);
  const int xlen = transposed(t) ? m : n, ylen = transposed(t) ? n : m;
  Strided<T> x(xlen, incx), y(ylen, incy);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) a.set(i, j, wide(alpha) == 0.0 ? cd(kNaN, kNaN) : random_value<T>(rng));
  for (int i = 0; i < xlen; ++i) x.set(i, wide(alpha) == 0.0 ? cd(kNaN, kNaN) : random_value<T>(rng));
  std::vector<cd> expected(y.v.size());
  std::vector<double> scale(y.v.size());
  std::vector<bool> logical(y.v.size(), false);
  // When op(A) is empty (m or n is 0 with nothing to sum), y := beta y still
  // holds unless the other length is 0 too: the standard returns at once if
  // m = 0 or n = 0, leaving y as it was.
  const bool untouched = m == 0 || n == 0;
  for (int i = 0; i < ylen; ++i) {
    y.set(i, wide(beta) == 0.0 && !untouched ? cd(kNaN, kNaN) : random_value<T>(rng));
    cd sum = 0.0;
    double mag = 0.0;
    for (int l = 0; l < xlen && wide(alpha) != 0.0; ++l) {
      const cd e = op_entry(t, transposed(t) ? a.get(l, i) : a.get(i, l));
      sum += e * x.get(l);
      mag += std::abs(e) * std::abs(x.get(l));
    }
    const size_t at = y.index(i);
    const cd old = wide(beta) == 0.0 && !untouched ? 0.0 : y.get(i);
    expected[at] = untouched ? old : wide(alpha) * sum + wide(beta) * old;
    scale[at] = std::abs(wide(alpha)) * mag + std::abs(wide(beta)) * std::abs(old);
    logical[at] = true;
  }
  call_gemv<T>(form, t, m, n, alpha, a.v.data(), a.ld, x.v.data(), incx, beta, y.v.data(), incy);
  expect_close(y.v, expected, scale, logical);
}

class Products : public ::testing::TestWithParam<std::tuple<Form, char>> {
 protected:
  template <class T>
  void gemm_all() {
    std::mt19937 rng(7);
    struct Shape {
      int m, n, k;
    };
    // n = 1 is a matrix-vector product inside; 65 x 33 spans several tiles.
    const Shape shapes[] = {{5, 4, 3}, {1, 1, 1}, {7, 1, 6}, {0, 3, 2}, {4, 3, 0}, {65, 33, 70}};
    for (const char *t : {"NN", "NT", "TN", "TT", "CN", "NC", "CT", "nt"})
      for (const Shape &sh : shapes)
        for (const Scalars &s : kScalars) {
          SCOPED_TRACE(std::string(t) + " m=" + std::to_string(sh.m) + " n=" + std::to_string(sh.n) +
                       " k=" + std::to_string(sh.k) + " alpha=" + std::to_string(s.alpha.real()) +
                       " beta=" + std::to_string(s.beta.real()));
          gemm_case<T>(std::get<0>(GetParam()), t[0], t[1], sh.m, sh.n, sh.k, s, rng);
          if (HasFatalFailure()) return;
        }
  }
  template <class T>
  void gemv_all() {
    std::mt19937 rng(11);
    const int shapes[][2] = {{5, 4}, {1, 1}, {0, 3}, {3, 0}, {67, 45}};
    const int incs[][2] = {{1, 1}, {2, -3}, {-1, 2}};
    for (char t : {'N', 'T', 'C', 't'})
      for (const auto &sh : shapes)
        for (const auto &inc : incs)
          for (const Scalars &s : kScalars) {
            SCOPED_TRACE(std::string(1, t) + " m=" + std::to_string(sh[0]) + " n=" + std::to_string(sh[1]) +
                         " incx=" + std::to_string(inc[0]) + " incy=" + std::to_string(inc[1]) +
                         " alpha=" + std::to_string(s.alpha.real()) + " beta=" + std::to_string(s.beta.real()));
            gemv_case<T>(std::get<0>(GetParam()), t, sh[0], sh[1], inc[0], inc[1], s, rng);
            if (HasFatalFailure()) return;
          }
  }
  template <class F>
  void by_precision(F &&f) {
    switch (std::get<1>(GetParam())) {
      case 's': f(float{}); break;
      case 'd': f(double{}); break;
      case 'c': f(ORB_Complex8{}); break;
      case 'z': f(ORB_Complex16{}); break;
    }
  }
};

TEST_P(Products, GemmMatchesNaiveProduct) {
  by_precision([this](auto tag) { gemm_all<decltype(tag)>(); });
}

TEST_P(Products, GemvMatchesNaiveProduct) {
  by_precision([this](auto tag) { gemv_all<decltype(tag)>(); });
}

INSTANTIATE_TEST_SUITE_P(Forms, Products,
                         ::testing::Combine(::testing::Values(Form::Fortran32, Form::Fortran64, Form::CblasColumn,
                                                              Form::CblasRow),
                                            ::testing::Values('s', 'd', 'c', 'z')),
                         [](const auto &info) {
                           return std::string(orb::test::form_name(std::get<0>(info.param))) + std::get<1>(info.param);
                         });

// The conjugate transpose of a row-major complex matrix needs conj(x) in
// scratch; refused, it runs in blocks from a small buffer on the stack, which
// 600 elements of x span three times.
TEST(RowMajorConjugateGemv, SameResultWhenScratchIsRefused) {
  for (bool refuse : {false, true}) {
    SCOPED_TRACE(refuse ? "scratch refused" : "scratch granted");
    std::mt19937 rng(3);
    refuse_scratch = refuse;
    gemv_case<ORB_Complex16>(Form::CblasRow, 'C', 600, 40, -2, 3, kScalars[0], rng);
    gemv_case<ORB_Complex8>(Form::CblasRow, 'C', 600, 40, 1, 1, kScalars[2], rng);
    refuse_scratch = false;
  }
}

}  // namespace
