// Results of gemm and gemv through every name form (32-bit, 64-bit, CBLAS
// column- and row-major) and precision, against the shared naive reference.
// This layer adds the argument order, the integer widening and the row-major
// mapping, so small shapes with every transposition and the special scalars
// suffice here; the threaded paths are swept below it.  Matrices carry padding
// and vectors gaps between elements: those must stay as they were.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "blas_api.hpp"
#include "dense.hpp"
#include "hooks.hpp"

namespace {

// Scratch requests of the interface layer can be refused, to reach the path
// that needs none.
std::atomic<bool> refuse_scratch{false};

}  // namespace

extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static const auto core = ORB_TEST_NEXT(orb_serv_malloc);
  return refuse_scratch.load() ? nullptr : core(bytes, alignment);
}

namespace orb::test {
namespace {

struct Scalars {
  cld alpha, beta;
};
// A general pair; alpha = 0 with A and B (A and x) full of NaN, which must not
// be read; beta = 0 with C (y) full of NaN, which must not be read either.
const Scalars kScalars[] = {{{1.5, -0.5}, {0.5, 0.25}}, {{0.0, 0.0}, {2.0, 0.0}}, {{1.0, 0.5}, {0.0, 0.0}}};

template <class T>
void fill_nan(std::vector<T> &v, size_t step = 1) {
  for (size_t i = 0; i < v.size(); i += step) v[i] = narrow<T>(cld(NAN, NAN));
}

// A row-major matrix is stored as the column-major one of its transpose.
template <class T>
std::vector<T> stored(bool row, int rows, int cols, int pad, int &ld, uint64_t seed) {
  if (row) std::swap(rows, cols);
  ld = std::max(rows, 1) + pad;
  return random_matrix<T>(rows, cols, ld, seed);
}

template <class T>
void gemm_case(Form form, char ta, char tb, int m, int n, int k, Scalars s) {
  const bool row = form == Form::CblasRow, a_n = (ta | 0x20) == 'n', b_n = (tb | 0x20) == 'n';
  const T alpha = narrow<T>(s.alpha), beta = narrow<T>(s.beta);
  int lda, ldb, ldc;
  auto a = stored<T>(row, a_n ? m : k, a_n ? k : m, 2, lda, 1), b = stored<T>(row, b_n ? k : n, b_n ? n : k, 1, ldb, 2);
  auto c0 = stored<T>(row, m, n, 3, ldc, 3);
  if (s.alpha == cld(0)) fill_nan(a), fill_nan(b);
  for (int j = 0; j < (row ? m : n) && s.beta == cld(0); ++j)
    for (int i = 0; i < (row ? n : m); ++i) c0[i + j * ldc] = narrow<T>(cld(NAN, NAN));
  auto c = c0;
  call_gemm<T>(form, ta, tb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc);
  EXPECT_TRUE(row ? matches_gemm(c, c0, tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, ldc)
                  : matches_gemm(c, c0, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, ldc));
}

template <class T>
void gemv_case(Form form, char t, int m, int n, int incx, int incy, Scalars s) {
  const bool row = form == Form::CblasRow, as_stored = (t | 0x20) == 'n';
  const T alpha = narrow<T>(s.alpha), beta = narrow<T>(s.beta);
  const int lenx = as_stored ? n : m, leny = as_stored ? m : n;
  int lda;
  auto a = stored<T>(row, m, n, 2, lda, 4);
  auto x = random_matrix<T>(1, lenx, std::abs(incx), 5), y0 = random_matrix<T>(1, leny, std::abs(incy), 6);
  if (s.alpha == cld(0)) fill_nan(a), fill_nan(x, std::abs(incx));
  if (s.beta == cld(0) && m > 0 && n > 0) fill_nan(y0, std::abs(incy));  // m or n of 0 leaves y alone
  auto y = y0;
  call_gemv<T>(form, t, m, n, alpha, a.data(), lda, x.data(), incx, beta, y.data(), incy);
  // Read column-major, a row-major A is A^T: N and T exchange, C is conj(A^T) untransposed.
  const char flipped = (t | 0x20) == 'n' ? 'T' : (t | 0x20) == 't' ? 'N' : 'R';
  EXPECT_TRUE(row ? matches_gemv(y, y0, flipped, n, m, alpha, a, lda, x, incx, beta, incy)
                  : matches_gemv(y, y0, t, m, n, alpha, a, lda, x, incx, beta, incy));
}

class Products : public ::testing::TestWithParam<Form> {};

TEST_P(Products, GemmMatchesNaiveProduct) {
  // n = 1 is a matrix-vector product inside; 65 x 33 spans several tiles.
  const int shapes[][3] = {{5, 4, 3}, {1, 1, 1}, {7, 1, 6}, {0, 3, 2}, {4, 3, 0}, {65, 33, 70}};
  for_each_precision([&](auto type) {
    for (const char *t : {"NN", "NT", "TN", "TT", "CN", "NC", "CT", "nt"})
      for (const auto &sh : shapes)
        for (const Scalars &s : kScalars) {
          SCOPED_TRACE(letter_v<decltype(type)> + std::string(" ") + t + " m=" + std::to_string(sh[0]) + " n=" +
                       std::to_string(sh[1]) + " k=" + std::to_string(sh[2]) +
                       " alpha=" + std::to_string(double(s.alpha.real())));
          gemm_case<decltype(type)>(GetParam(), t[0], t[1], sh[0], sh[1], sh[2], s);
        }
  });
}

TEST_P(Products, GemvMatchesNaiveProduct) {
  const int shapes[][2] = {{5, 4}, {1, 1}, {0, 3}, {3, 0}, {67, 45}}, incs[][2] = {{1, 1}, {2, -3}, {-1, 2}};
  for_each_precision([&](auto type) {
    for (char t : {'N', 'T', 'C', 't'})
      for (const auto &sh : shapes)
        for (const auto &inc : incs)
          for (const Scalars &s : kScalars) {
            SCOPED_TRACE(letter_v<decltype(type)> + std::string(" ") + t + " m=" + std::to_string(sh[0]) + " n=" +
                         std::to_string(sh[1]) + " incx=" + std::to_string(inc[0]) + " incy=" + std::to_string(inc[1]) +
                         " alpha=" + std::to_string(double(s.alpha.real())));
            gemv_case<decltype(type)>(GetParam(), t, sh[0], sh[1], inc[0], inc[1], s);
          }
  });
}

INSTANTIATE_TEST_SUITE_P(Forms, Products,
                         ::testing::Values(Form::Fortran32, Form::Fortran64, Form::CblasColumn, Form::CblasRow),
                         [](const auto &info) { return std::string(form_name(info.param)); });

// The conjugate transpose of a row-major complex matrix needs conj(x) in
// scratch; refused, it runs in blocks from a small buffer on the stack, which
// 600 elements of x span three times.
TEST(RowMajorConjugateGemv, SameResultWhenScratchIsRefused) {
  for (bool refuse : {false, true}) {
    SCOPED_TRACE(refuse ? "scratch refused" : "scratch granted");
    refuse_scratch = refuse;
    gemv_case<ORB_Complex16>(Form::CblasRow, 'C', 600, 40, -2, 3, kScalars[0]);
    gemv_case<ORB_Complex8>(Form::CblasRow, 'C', 600, 40, 1, 1, kScalars[2]);
    refuse_scratch = false;
  }
}

}  // namespace
}  // namespace orb::test
