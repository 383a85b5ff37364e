// The threaded products with a triangle (SYMV, HEMV, TRMV) and the blocked
// solve (TRSV): results in every precision, triangle, op, diag and increment
// against one call of the sequential kernel; the pieces observed at the core's
// kernels against the worked tables of partition/triangle_matvec.cpp; strict
// reproducibility and a failed scratch allocation leaving one kernel call.
#include "dense.hpp"
#include "interpose.hpp"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace orb::test {
namespace {

template <class T>
struct Triangle;
#define ORB_TEST_TRIANGLE_CALLS(p, sym, T)                                   \
  template <>                                                                \
  struct Triangle<T> {                                                       \
    static constexpr auto symv = &orb_blas_##p##sym, xsymv = &orb_blas_x##p##sym; \
    static constexpr auto trmv = &orb_blas_##p##trmv, xtrmv = &orb_blas_x##p##trmv; \
    static constexpr auto trsv = &orb_blas_##p##trsv, xtrsv = &orb_blas_x##p##trsv; \
  };
ORB_TEST_TRIANGLE_CALLS(s, symv, float)
ORB_TEST_TRIANGLE_CALLS(d, symv, double)
ORB_TEST_TRIANGLE_CALLS(c, hemv, ORB_Complex8)
ORB_TEST_TRIANGLE_CALLS(z, hemv, ORB_Complex16)

//! A vector of n entries with increment inc, random, with its gaps set to 7.
template <class T>
std::vector<T> strided(ORB_INT n, ORB_INT inc, uint64_t seed) {
  return random_matrix<T>(1, n, std::abs(inc), seed);
}

//! got and want agree entry for entry within tol (relative to 1 + |want|);
//! entries that are not the vector's (its gaps) are equal.
template <class T>
void expect_near(const std::vector<T> &got, const std::vector<T> &want, long double tol, const char *what) {
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < got.size(); ++i) {
    const cld g = wide(got[i]), w = wide(want[i]);
    ASSERT_LE(std::abs(g - w), tol * (1 + std::abs(w))) << what << "[" << i << "] " << g << " vs " << w;
  }
}

//! A triangle whose solves are well conditioned: off the diagonal small
//! entries (scaled by 1/n), on it 2 to 3.
template <class T>
std::vector<T> solvable(ORB_INT n, ORB_INT lda, uint64_t seed) {
  std::vector<T> a = random_matrix<T>(n, n, lda, seed);
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < n; ++i) {
      const cld v = wide(a[i + j * lda]);
      a[i + j * lda] = narrow<T>(i == j ? cld(2.5L + v.real() / 2, v.imag() / 2) : v / static_cast<long double>(n));
    }
  return a;
}

constexpr char kOps[] = {'N', 'T', 'C'};

TYPED_TEST(Results, SymvHemvThreaded) {
  using T = TypeParam;
  const ORB_INT n = 1800, lda = n + 5;  // 3 workers of uneven blocks on a budget of 3
  const auto a = random_matrix<T>(n, n, lda, 31);
  const T alpha = narrow<T>(cld(0.75, -0.25));
  const std::tuple<ORB_INT, ORB_INT, cld> cases[] = {{1, 1, cld(0.5, 0.25)}, {2, -3, cld(0, 0)}, {-1, 2, cld(1, 0)}};
  for (const char uplo : {'U', 'l'})
    for (const auto &[incx, incy, b] : cases) {
      SCOPED_TRACE(std::string(1, uplo) + " incx " + std::to_string(incx) + " incy " + std::to_string(incy));
      const T beta = narrow<T>(b);
      const auto x = strided<T>(n, incx, 32);
      auto y = strided<T>(n, incy, 33), want = y;
      if (b == cld(0, 0))  // beta = 0: y is not read
        for (ORB_INT i = 0; i < n; ++i) y[i * std::abs(incy)] = narrow<T>(cld(NAN, NAN));
      Triangle<T>::xsymv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, want.data(), &incy);
      {
        const Budget budget(3);
        Triangle<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
      }
      expect_near(y, want, 4 * n * unit_roundoff<T>(), "y");
    }
}

// TRMV on 3 workers and the blocked TRSV (8 blocks of 256, one of 52).
TYPED_TEST(Results, TrmvAndTrsvThreaded) {
  using T = TypeParam;
  const ORB_INT n = 2100, lda = n + 1;
  const auto a = solvable<T>(n, lda, 41);
  for (const bool solve : {false, true})
    for (const char uplo : {'U', 'L'})
      for (const char op : kOps)
        for (const char diag : {'N', 'u'})
          for (const ORB_INT incx : {1, -2}) {
            SCOPED_TRACE((std::string{solve ? 'S' : 'M', uplo, op, diag} + " incx " + std::to_string(incx)));
            auto x = strided<T>(n, incx, 42), want = x;
            (solve ? Triangle<T>::xtrsv : Triangle<T>::xtrmv)(&uplo, &op, &diag, &n, a.data(), &lda, want.data(), &incx);
            {
              const Budget budget(3);
              (solve ? Triangle<T>::trsv : Triangle<T>::trmv)(&uplo, &op, &diag, &n, a.data(), &lda, x.data(), &incx);
            }
            expect_near(x, want, (solve ? 64 : 4 * n) * unit_roundoff<T>(), "x");
          }
}

// n = 2000 on 2 workers: the diagonal blocks and rectangles (lower blocks of
// 586 and 1414 columns, partition/triangle.cpp's rule).
struct PieceCase {
  char uplo, op;
  std::vector<std::tuple<ORB_INT, ORB_INT>> diagonal;  //!< first row and column, order
  std::vector<std::tuple<ORB_INT, ORB_INT, ORB_INT, ORB_INT>> rectangle;  //!< first row, column, rows, columns
};

TEST(Level2TriangleCuts, SymvPiecesFollowTheTriangleBlocks) {
  const ORB_INT n = 2000, lda = n, one = 1;
  const auto a = random_matrix<double>(n, n, lda, 61), x = strided<double>(n, 1, 62);
  const double alpha = 1, beta = 0;
  const PieceCase cases[] = {{'L', 'N', {{0, 586}, {586, 1414}}, {{586, 0, 1414, 586}}},
                             {'U', 'N', {{0, 1414}, {1414, 586}}, {{0, 1414, 1414, 586}}}};
  for (const PieceCase &c : cases) {
    SCOPED_TRACE(c.uplo);
    std::vector<double> y(n);
    observe();
    {
      const Budget budget(2);
      orb_blas_dsymv(&c.uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
    }
    const Observed seen = observed();
    std::vector<Block> diagonal, rectangle;
    for (const auto &[at, order] : c.diagonal) diagonal.emplace_back(a.data() + at + at * lda, order, order);
    for (const auto &[r, k, rows, cols] : c.rectangle) rectangle.emplace_back(a.data() + r + k * lda, rows, cols);
    EXPECT_EQ(blocks(seen.symv), diagonal);
    EXPECT_EQ(blocks(seen.symv_rect), rectangle);
    // The two private vectors of n entries, released again.
    EXPECT_EQ(seen.alloc_bytes, std::vector<long>{2 * n * 8});
    EXPECT_EQ(seen.deallocations, 1);
  }
}

// Each worker's entries of the table in sub-blocks of 128, a diagonal TRMV
// each; the GEMV calls beside them read the rest of the triangle once.
TEST(Level2TriangleCuts, TrmvPiecesFollowTheTable) {
  const ORB_INT n = 2000, lda = n, one = 1;
  const auto a = random_matrix<ORB_Complex16>(n, n, lda, 71);
  const PieceCase cases[] = {{'L', 'N', {{0, 1414}, {1414, 586}}, {}},
                             {'L', 'C', {{0, 586}, {586, 1414}}, {}},
                             {'U', 'N', {{0, 586}, {586, 1414}}, {}},
                             {'U', 'T', {{0, 1414}, {1414, 586}}, {}}};
  for (const PieceCase &c : cases) {
    SCOPED_TRACE((std::string{c.uplo, c.op}));
    auto x = strided<ORB_Complex16>(n, 1, 72);
    observe();
    {
      const Budget budget(2);
      orb_blas_ztrmv(&c.uplo, &c.op, "N", &n, a.data(), &lda, x.data(), &one);
    }
    const Observed seen = observed();
    std::vector<Block> diagonal;
    long inside = 0;
    for (const auto &[start, order] : c.diagonal)
      for (ORB_INT s = start; s < start + order; s += 128) {
        const ORB_INT size = std::min<ORB_INT>(128, start + order - s);
        diagonal.emplace_back(a.data() + s + s * lda, size, size);
        inside += static_cast<long>(size) * size;
      }
    EXPECT_EQ(blocks(seen.trmv), diagonal);
    long covered = 0;
    for (const GemvCall &g : seen.gemv) {
      EXPECT_EQ(g.trans, c.op);
      covered += static_cast<long>(g.m) * g.n;
    }
    EXPECT_EQ(covered, (static_cast<long>(n) * n - inside) / 2);
    EXPECT_EQ(seen.alloc_bytes, std::vector<long>{n * 16});  // the copy of x
  }
}

// The blocked solve reads every entry of the triangle once: diagonal blocks
// of 256 (the last of what remains) solved by the kernel, and GEMV pieces
// that together cover the rest of the triangle exactly.
TEST(Level2TriangleCuts, TrsvBlocksCoverTheTriangleOnce) {
  const ORB_INT n = 2100, lda = n, inc = -1;
  const auto a = solvable<double>(n, lda, 81);
  for (const char uplo : {'L', 'U'})
    for (const char op : {'N', 'T'}) {
      SCOPED_TRACE((std::string{uplo, op}));
      auto x = strided<double>(n, inc, 82);
      observe();
      {
        const Budget budget(2);
        orb_blas_dtrsv(&uplo, &op, "N", &n, a.data(), &lda, x.data(), &inc);
      }
      const Observed seen = observed();
      std::vector<ORB_INT> orders;
      for (const BlockCall &b : seen.trsv) orders.push_back(b.n);
      std::vector<ORB_INT> want(8, 256);
      if ((uplo == 'L') == (op == 'N')) want.push_back(52);  // forward: the short block comes last
      else want.insert(want.begin(), 52);
      EXPECT_EQ(orders, want);
      long covered = 0;
      for (const GemvCall &g : seen.gemv) covered += static_cast<long>(g.m) * g.n;
      EXPECT_EQ(covered, (static_cast<long>(n) * n - 8 * 256 * 256 - 52 * 52) / 2);
    }
}

// Strict reproducibility keeps one kernel call; so does a failed allocation,
// with the same result.
TEST(Level2TriangleCuts, StrictModeAndFailedScratchRunWhole) {
  const ORB_INT n = 2100, lda = n, one = 1;
  const auto a = solvable<double>(n, lda, 91);
  const double alpha = 0.5, beta = 2;
  for (const bool strict : {true, false}) {
    SCOPED_TRACE(strict ? "strict" : "no scratch");
    const auto x = strided<double>(n, 1, 92);
    auto y = x, want_y = x, t = x, want_t = x, s = x;
    orb_blas_xdsymv("L", &n, &alpha, a.data(), &lda, x.data(), &one, &beta, want_y.data(), &one);
    orb_blas_xdtrmv("U", "T", "N", &n, a.data(), &lda, want_t.data(), &one);
    observe(!strict, strict);
    {
      const Budget budget(2);
      orb_blas_dsymv("L", &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
      orb_blas_dtrmv("U", "T", "N", &n, a.data(), &lda, t.data(), &one);
      if (strict) orb_blas_dtrsv("L", "N", "N", &n, a.data(), &lda, s.data(), &one);
    }
    const Observed seen = observed();
    EXPECT_EQ(blocks(seen.symv), std::vector<Block>{Block(a.data(), n, n)});
    EXPECT_EQ(blocks(seen.trmv), std::vector<Block>{Block(a.data(), n, n)});
    EXPECT_TRUE(seen.symv_rect.empty());
    if (strict) {
      EXPECT_EQ(blocks(seen.trsv), std::vector<Block>{Block(a.data(), n, n)});
    }
    EXPECT_EQ(seen.deallocations, 0);
    EXPECT_EQ(y, want_y);
    EXPECT_EQ(t, want_t);
  }
}

}  // namespace
}  // namespace orb::test
