// The threaded LU factorization: residuals of both schemes, pivots and info as
// the standard defines them, the sequential result where the drivers promise
// it, and every allocation failing in turn.
#include "../blas/interpose.hpp"

#include <orb/internal/orb_lapack_kernels.h>
#include <orb/orb_lapack.h>

#include <gtest/gtest.h>

#include "dense.hpp"
#include "hooks.hpp"
#include "precision.hpp"

#include <atomic>
#include <complex>
#include <cstring>
#include <thread>

// Tests may turn the crossover answer non-zero.
namespace {
std::atomic<long> forced_crossover{0};
}
extern "C" ORB_INT orb_lapack_ilaenv(const ORB_INT *ispec, const char *name, const char *opts, const ORB_INT *n1,
                                     const ORB_INT *n2, const ORB_INT *n3, const ORB_INT *n4) {
  static const auto real = ORB_TEST_NEXT(orb_lapack_ilaenv);
  if (*ispec == 3 && forced_crossover) return forced_crossover;
  return real(ispec, name, opts, n1, n2, n3, n4);
}

namespace orb::test {
namespace {

using dc = std::complex<double>;
inline double as_dc(float v) { return v; }
inline double as_dc(double v) { return v; }
inline dc as_dc(ORB_Complex8 v) { return {v.real, v.imag}; }
inline dc as_dc(ORB_Complex16 v) { return {v.real, v.imag}; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

//! One factorization: the matrix before and after, pivots and info.
template <class T>
struct Lu {
  ORB_INT m, n, lda;
  std::vector<T> a, before;
  std::vector<ORB_INT> ipiv;
  ORB_INT info = -99;

  Lu(ORB_INT rows, ORB_INT cols, uint64_t seed, std::initializer_list<ORB_INT> zero_columns = {})
      : m(rows), n(cols), lda(rows + 3), a(random_matrix<T>(rows, cols, rows + 3, seed)),
        ipiv(static_cast<size_t>(std::max<ORB_INT>(std::min(rows, cols), 1)), -7) {
    for (ORB_INT j : zero_columns)
      for (ORB_INT i = 0; i < m; ++i) a[i + j * lda] = T{};
    before = a;
  }
  ORB_INT mn() const { return std::min(m, n); }
};

#define ORB_TEST_GETRF(p, P, T)                                                                       \
  void threaded(Lu<T> &f) { orb_lapack_##p##getrf(&f.m, &f.n, f.a.data(), &f.lda, f.ipiv.data(), &f.info); } \
  void sequential(Lu<T> &f) { orb_lapack_x##p##getrf(&f.m, &f.n, f.a.data(), &f.lda, f.ipiv.data(), &f.info); } \
  void lp64(Lu<T> &f) {                                                                               \
    const int m = static_cast<int>(f.m), n = static_cast<int>(f.n), lda = static_cast<int>(f.lda);    \
    std::vector<int> piv(f.ipiv.size());                                                              \
    int info = -99;                                                                                   \
    orb_lapack_lp64_##p##getrf(&m, &n, f.a.data(), &lda, piv.data(), &info);                          \
    std::copy(piv.begin(), piv.end(), f.ipiv.begin());                                                \
    f.info = info;                                                                                    \
  }
ORB_FOR_EACH_PRECISION(ORB_TEST_GETRF)
#undef ORB_TEST_GETRF

//! Checks a finished factorization: every pivot global, 1-based and at or
//! below its row; and P A x = L (U x) for a random x, to within
//! 10 n eps ||A|| ||x|| (the factors are read from f.a, A from f.before).
template <class T>
void check_factors(const Lu<T> &f) {
  const ORB_INT mn = f.mn();
  for (ORB_INT i = 0; i < mn; ++i) {
    ASSERT_GE(f.ipiv[i], i + 1) << "row " << i;
    ASSERT_LE(f.ipiv[i], f.m) << "row " << i;
  }
  using W = decltype(as_dc(T{}));  // double, or complex<double>
  const auto at = [&](const std::vector<T> &v, ORB_INT i, ORB_INT j) { return as_dc(v[i + j * f.lda]); };
  std::vector<double> row_sums(f.m, 0.0);
  for (ORB_INT j = 0; j < f.n; ++j)
    for (ORB_INT i = 0; i < f.m; ++i) row_sums[i] += std::abs(at(f.before, i, j));
  const double norm_a = *std::max_element(row_sums.begin(), row_sums.end());
  for (uint64_t seed : {11u}) {
    const std::vector<T> xs = random_matrix<T>(f.n, 1, f.n, seed);
    std::vector<W> x(f.n), ux(mn, 0.0), lux(f.m, 0.0), ax(f.m, 0.0);
    for (ORB_INT j = 0; j < f.n; ++j) x[j] = as_dc(xs[j]);
    for (ORB_INT j = 0; j < f.n; ++j)
      for (ORB_INT i = 0; i <= std::min(j, mn - 1); ++i) ux[i] += at(f.a, i, j) * x[j];
    for (ORB_INT j = 0; j < mn; ++j) {
      lux[j] += ux[j];
      for (ORB_INT i = j + 1; i < f.m; ++i) lux[i] += at(f.a, i, j) * ux[j];
    }
    for (ORB_INT j = 0; j < f.n; ++j)
      for (ORB_INT i = 0; i < f.m; ++i) ax[i] += at(f.before, i, j) * x[j];
    for (ORB_INT i = 0; i < mn; ++i) std::swap(ax[i], ax[f.ipiv[i] - 1]);
    double err = 0;
    for (ORB_INT i = 0; i < f.m; ++i) err = std::max(err, std::abs(ax[i] - lux[i]));
    const double bound = 10.0 * static_cast<double>(f.n) * static_cast<double>(unit_roundoff<T>()) * norm_a;
    ASSERT_LE(err, bound) << f.m << " x " << f.n;
  }
}

TYPED_TEST(Results, GetrfFactorsSquareWideAndTall) {
  using T = TypeParam;
  const Budget two(2);
  for (const auto &[m, n] : {std::pair<ORB_INT, ORB_INT>{300, 300}, {1000, 700}, {640, 1000}, {50, 40}}) {
    Lu<T> f(m, n, 5);
    threaded(f);
    EXPECT_EQ(f.info, 0);
    check_factors(f);
    Lu<T> g(m, n, 5);
    lp64(g);
    EXPECT_EQ(g.info, 0);
    EXPECT_EQ(g.ipiv, f.ipiv);
  }
}

// Both sides of the crossover to the task graph, square and rectangular; a
// zero column in the graph's trailing block (nb 256, 19 panels) is its info.
struct Large {
  ORB_INT m, n, zero_column;
};
class GetrfLarge : public ::testing::TestWithParam<Large> {};

TEST_P(GetrfLarge, FactorsWithGlobalPivotsAndInfo) {
  if (kSanitized) GTEST_SKIP() << "too slow under the sanitizers";
  const Large c = GetParam();
  Lu<double> f(c.m, c.n, 7, c.zero_column < 0 ? std::initializer_list<ORB_INT>{} : std::initializer_list<ORB_INT>{c.zero_column});
  threaded(f);
  EXPECT_EQ(f.info, c.zero_column + 1);
  check_factors(f);
}

INSTANTIATE_TEST_SUITE_P(Sizes, GetrfLarge,
                         ::testing::Values(Large{4999, 4999, -1}, Large{5000, 5000, 256 * 19 + 2},
                                           Large{5000, 5300, -1}, Large{5600, 5000, -1}));

// info is the first zero pivot, in global numbering, wherever it lies: 1000
// columns of 64 are 15 panels and a trailing block from column 960.
struct ZeroPivot {
  std::vector<ORB_INT> zero_columns;
  ORB_INT info;
};
class GetrfInfo : public ::testing::TestWithParam<ZeroPivot> {};

TEST_P(GetrfInfo, IsTheFirstZeroPivot) {
  const Budget two(2);
  Lu<double> f(1000, 1000, 3);
  for (ORB_INT j : GetParam().zero_columns)
    for (ORB_INT i = 0; i < f.m; ++i) f.a[i + j * f.lda] = f.before[i + j * f.lda] = 0;
  threaded(f);
  EXPECT_EQ(f.info, GetParam().info);
  check_factors(f);
}

INSTANTIATE_TEST_SUITE_P(Places, GetrfInfo,
                         ::testing::Values(ZeroPivot{{5}, 6}, ZeroPivot{{500}, 501}, ZeroPivot{{970}, 971},
                                           ZeroPivot{{970, 500}, 501}));

TEST(Getrf, EmptyMatrixTouchesNothing) {
  for (const auto &[m, n] : {std::pair<ORB_INT, ORB_INT>{0, 5}, {5, 0}, {0, 0}}) {
    std::vector<double> a(30, 7.0);
    std::vector<ORB_INT> ipiv(5, -7);
    ORB_INT lda = 6, info = 99;
    orb_lapack_dgetrf(&m, &n, a.data(), &lda, ipiv.data(), &info);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(a, std::vector<double>(30, 7.0));
    EXPECT_EQ(ipiv, std::vector<ORB_INT>(5, -7));
  }
}

TEST(Getrf, IllegalCallIsReportedAndWritesNothing) {
  const Reports reports;
  std::vector<double> a(30, 7.0);
  std::vector<ORB_INT> ipiv(5, -7);
  ORB_INT m = 5, n = 5, lda = 4, info = 0;
  orb_lapack_dgetrf(&m, &n, a.data(), &lda, ipiv.data(), &info);
  EXPECT_EQ(info, -4);
  EXPECT_EQ(Reports::taken(), (Reports::Log{{"DGETRF", 4}}));
  EXPECT_EQ(a, std::vector<double>(30, 7.0));
}

// Every block column right of panel s receives step s's product exactly once,
// whichever thread's job it was: per step, the columns of the products with
// that step's rows add up to the columns right of its panel (1000 x 1000,
// nb 64: 15 steps).
TEST(Getrf, EachColumnGetsEachStepOnce) {
  const Budget two(2);
  Lu<double> f(1000, 1000, 6);
  observe();
  threaded(f);
  const Observed o = observed();
  const ORB_INT nb = 64, last = 15;
  for (ORB_INT s = 0; s < last; ++s) {
    const ORB_INT rows = f.m - (s + 1) * nb;
    ORB_INT columns = 0;
    for (const GemmCall &c : o.gemm)
      if (c.m == rows && c.k == nb) columns += c.n;
    EXPECT_EQ(columns, f.n - (s + 1) * nb) << "step " << s;
  }
  check_factors(f);
}

// Callers on several threads at once, each with its own matrix.
TEST(Getrf, ConcurrentCallersEachGetTheirFactorization) {
  std::vector<Lu<double>> fs;
  for (uint64_t i = 0; i < 3; ++i) fs.emplace_back(600 + 50 * static_cast<ORB_INT>(i), 600, 20 + i);
  std::vector<std::thread> callers;
  for (Lu<double> &f : fs)
    callers.emplace_back([&f] {
      const Budget two(2);
      threaded(f);
    });
  for (std::thread &t : callers) t.join();
  for (const Lu<double> &f : fs) {
    EXPECT_EQ(f.info, 0);
    check_factors(f);
  }
}

// Where the drivers factor sequentially, the result is the core routine's,
// bit for bit: a budget of 1, or a non-zero crossover answer.
TYPED_TEST(Results, GetrfSequentialWhereAskedIsTheCoreRoutineBitForBit) {
  using T = TypeParam;
  for (const bool by_budget : {true, false}) {
    Lu<T> f(700, 600, 9), g(700, 600, 9);
    {
      const Budget budget(by_budget ? 1 : 2);
      forced_crossover = by_budget ? 0 : 700;
      threaded(f);
      forced_crossover = 0;
    }
    sequential(g);
    EXPECT_EQ(f.info, g.info);
    EXPECT_EQ(f.ipiv, g.ipiv);
    EXPECT_EQ(std::memcmp(f.a.data(), g.a.data(), f.a.size() * sizeof(T)), 0) << (by_budget ? "budget 1" : "crossover");
  }
}

// Every allocation the one-dimensional scheme makes fails in turn: the
// sequential routine (or, for the 32-bit pivots' scratch, the blocked form
// without scratch) factors the matrix instead.
TEST(Getrf, EachAllocationFailingInTurnStillFactors) {
  const Budget two(2);
  for (const bool narrow : {false, true}) {
    observe();
    Lu<double> f(600, 600, 4, {450});
    narrow ? lp64(f) : threaded(f);
    const size_t count = observed().alloc_bytes.size();
    ASSERT_GE(count, narrow ? 4u : 3u);
    for (size_t k = 0; k < count; ++k) {
      SCOPED_TRACE(testing::Message() << (narrow ? "lp64, " : "") << "allocation " << k << " of " << count);
      Lu<double> g(600, 600, 4, {450});
      observe(false, false, static_cast<long>(k));
      narrow ? lp64(g) : threaded(g);
      const Observed o = observed();
      EXPECT_EQ(o.leaked, 0);
      EXPECT_EQ(g.info, 451);
      check_factors(g);
    }
  }
}

// The graph's allocations (nb 256: 19 steps, 209 tasks): its task array
// first, then its successor lists, sink and tasks, then the first panel's own
// graph, whose task array is allocation 212.  The first failure leaves the
// matrix to the sequential routine, the second the panel.
TEST(Getrf, GraphAllocationFailuresStillFactor) {
  if (kSanitized) GTEST_SKIP() << "too slow under the sanitizers";
  const Budget two(2);
  for (const long k : {0L, 212L}) {
    SCOPED_TRACE(testing::Message() << "allocation " << k);
    Lu<double> f(5000, 5000, 8, {4200});
    observe(false, false, k);
    threaded(f);
    const Observed o = observed();
    EXPECT_EQ(o.leaked, 0);
    EXPECT_EQ(f.info, 4201);
    check_factors(f);
  }
}

}  // namespace
}  // namespace orb::test
