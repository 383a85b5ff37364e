// The threaded level-1 drivers: how they cut a vector (observed by
// interposing the core's kernels), their results against a naive reference
// in every precision and for negative increments, the combination of partial
// norms near overflow, quick returns that must touch nothing, the index
// searches' tie and NaN rules, and partial results beyond the stack.
#include "dense.hpp"
#include "interpose.hpp"

#include "precision.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <tuple>

#include <sys/mman.h>
#include <unistd.h>

namespace orb::test {
namespace {

// ---- The cut, observed -------------------------------------------------------

//! One kernel call: its length and where x and y start, in elements from the
//! caller's x and y (-1: no y; x -2: a vector of the driver's own, the
//! partial norms that nrm2 combines).
struct Piece {
  ORB_INT n, x, y;
  bool operator<(const Piece &o) const { return std::tie(n, x, y) < std::tie(o.n, o.x, o.y); }
  bool operator==(const Piece &o) const { return std::tie(n, x, y) == std::tie(o.n, o.x, o.y); }
};

using DoubleCall = std::function<void(ORB_INT n, double *x, ORB_INT incx, double *y, ORB_INT incy)>;

struct CutCase {
  const char *name;
  DoubleCall call;
  ORB_INT n, incx, incy;
  int budget;
  std::vector<Piece> pieces;
};

void PrintTo(const CutCase &c, std::ostream *os) { *os << c.name; }

const double kAlpha = 1.5, kBeta = 0.5;
const double kRotmIdentity[5] = {-2.0, 1.0, 2.0, 3.0, 4.0};
const double kZero = 0.0;

// Each routine as a DoubleCall; unused operands are ignored.
#define ORB_TEST_CALL(body) [](ORB_INT n, double *x, ORB_INT incx, double *y, ORB_INT incy) { (void)y, (void)incy; body; }
const DoubleCall kDot = ORB_TEST_CALL(orb_blas_ddot(&n, x, &incx, y, &incy));
const DoubleCall kAsum = ORB_TEST_CALL(orb_blas_dasum(&n, x, &incx));
const DoubleCall kNrm2 = ORB_TEST_CALL(orb_blas_dnrm2(&n, x, &incx));
const DoubleCall kScal = ORB_TEST_CALL(orb_blas_dscal(&n, &kAlpha, x, &incx));
const DoubleCall kAxpy = ORB_TEST_CALL(orb_blas_daxpy(&n, &kAlpha, x, &incx, y, &incy));
const DoubleCall kAxpyZero = ORB_TEST_CALL(orb_blas_daxpy(&n, &kZero, x, &incx, y, &incy));
const DoubleCall kAxpby = ORB_TEST_CALL(orb_blas_daxpby(&n, &kAlpha, x, &incx, &kBeta, y, &incy));
const DoubleCall kCopy = ORB_TEST_CALL(orb_blas_dcopy(&n, x, &incx, y, &incy));
const DoubleCall kSwap = ORB_TEST_CALL(orb_blas_dswap(&n, x, &incx, y, &incy));
const DoubleCall kRot = ORB_TEST_CALL(orb_blas_drot(&n, x, &incx, y, &incy, &kAlpha, &kBeta));
const DoubleCall kRotmNone = ORB_TEST_CALL(orb_blas_drotm(&n, x, &incx, y, &incy, kRotmIdentity));
#undef ORB_TEST_CALL

class Level1Cuts : public ::testing::TestWithParam<CutCase> {};

TEST_P(Level1Cuts, OneKernelCallPerRunAtTheRunsOwnElements) {
  const CutCase &c = GetParam();
  const auto length = [&](ORB_INT inc) { return static_cast<size_t>((c.n - 1) * std::abs(inc) + 1); };
  std::vector<double> x(length(c.incx), 1.0), y(length(c.incy), 1.0);
  {
    Budget budget(c.budget);
    observe();
    c.call(c.n, x.data(), c.incx, y.data(), c.incy);
  }
  std::vector<Piece> seen;
  for (const Level1Call &k : observed().level1) {
    const double *kx = static_cast<const double *>(k.x);
    const bool callers = kx >= x.data() && kx < x.data() + x.size();
    seen.push_back({k.n, callers ? kx - x.data() : -2, k.y ? static_cast<const double *>(k.y) - y.data() : -1});
  }
  std::vector<Piece> expected = c.pieces;
  std::sort(seen.begin(), seen.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(seen, expected);
}

// Offsets of negative increments count from the far end: with incx = -1 the
// first run of elements is stored last (partition/level1.cpp).
INSTANTIATE_TEST_SUITE_P(
    Table, Level1Cuts,
    ::testing::Values(
        CutCase{"dot_4096_on_4", kDot, 4096, 1, 1, 4, {{2048, 0, 0}, {2048, 2048, 2048}}},
        CutCase{"dot_4095_stays_whole", kDot, 4095, 1, 1, 4, {{4095, 0, 0}}},
        CutCase{"dot_budget_1", kDot, 100000, 1, 1, 1, {{100000, 0, 0}}},
        CutCase{"copy_broadcasts_x0", kCopy, 10000, 0, 1, 4,
                {{2500, 0, 0}, {2500, 0, 2500}, {2500, 0, 5000}, {2500, 0, 7500}}},
        CutCase{"copy_to_incy_0_stays_whole", kCopy, 5000, 1, 0, 4, {{5000, 0, 0}}},
        CutCase{"swap_incx_0_stays_whole", kSwap, 4096, 0, 1, 4, {{4096, 0, 0}}},
        CutCase{"axpy_negative_x", kAxpy, 5000, -1, 2, 2, {{2500, 2500, 0}, {2500, 0, 5000}}},
        CutCase{"axpby_three_runs", kAxpby, 6000, 1, 1, 4, {{2000, 0, 0}, {2000, 2000, 2000}, {2000, 4000, 4000}}},
        CutCase{"rot_negative_y", kRot, 4096, 1, -1, 8, {{2048, 0, 2048}, {2048, 2048, 0}}},
        CutCase{"asum_8191_stays_whole", kAsum, 8191, 1, 0, 4, {{8191, 0, -1}}},
        CutCase{"nrm2_8192_on_two", kNrm2, 8192, 1, 0, 16, {{4096, 0, -1}, {4096, 4096, -1}, {2, -2, -1}}},
        CutCase{"scal_negative_uneven", kScal, 10000, -1, 0, 3, {{3334, 6666, -1}, {3333, 3333, -1}, {3333, 0, -1}}},
        CutCase{"axpy_alpha_0_calls_nothing", kAxpyZero, 10000, 1, 1, 4, {}},
        CutCase{"rotm_identity_calls_nothing", kRotmNone, 10000, 1, 1, 4, {}}),
    [](const ::testing::TestParamInfo<CutCase> &i) { return std::string(i.param.name); });

// ---- Results against the naive reference -------------------------------------

//! The drivers of one precision under one set of names.
template <class T>
struct L1;
#define ORB_TEST_L1(p, T, R, dotu_, dotc_, norm, rs)                                                 \
  template <>                                                                                        \
  struct L1<T> {                                                                                     \
    static T dot(bool conj, ORB_INT n, const T *x, ORB_INT incx, const T *y, ORB_INT incy) {         \
      return ORB_TEST_DOT_##p(conj, n, x, incx, y, incy);                                            \
    }                                                                                                \
    static R asum(ORB_INT n, const T *x, ORB_INT incx) { return orb_blas_##norm##asum(&n, x, &incx); } \
    static R nrm2(ORB_INT n, const T *x, ORB_INT incx) { return orb_blas_##norm##nrm2(&n, x, &incx); } \
    static void scal(ORB_INT n, T a, T *x, ORB_INT incx) { orb_blas_##p##scal(&n, &a, x, &incx); }   \
    static void rscal(ORB_INT n, R a, T *x, ORB_INT incx) { orb_blas_##rs##scal(&n, &a, x, &incx); } \
    static void axpy(ORB_INT n, T a, const T *x, ORB_INT incx, T *y, ORB_INT incy) {                 \
      orb_blas_##p##axpy(&n, &a, x, &incx, y, &incy);                                                \
    }                                                                                                \
    static void axpby(ORB_INT n, T a, const T *x, ORB_INT incx, T b, T *y, ORB_INT incy) {           \
      orb_blas_##p##axpby(&n, &a, x, &incx, &b, y, &incy);                                           \
    }                                                                                                \
    static void copy(ORB_INT n, const T *x, ORB_INT incx, T *y, ORB_INT incy) {                      \
      orb_blas_##p##copy(&n, x, &incx, y, &incy);                                                    \
    }                                                                                                \
    static void swap(ORB_INT n, T *x, ORB_INT incx, T *y, ORB_INT incy) {                            \
      orb_blas_##p##swap(&n, x, &incx, y, &incy);                                                    \
    }                                                                                                \
    static void rot(ORB_INT n, T *x, ORB_INT incx, T *y, ORB_INT incy, R c, R s) {                   \
      orb_blas_##rs##rot(&n, x, &incx, y, &incy, &c, &s);                                            \
    }                                                                                                \
    static ORB_INT iamax(ORB_INT n, const T *x, ORB_INT incx) { return orb_blas_i##p##amax(&n, x, &incx); } \
    static ORB_INT iamin(ORB_INT n, const T *x, ORB_INT incx) { return orb_blas_i##p##amin(&n, x, &incx); } \
  };
#define ORB_TEST_DOT_s(conj, n, x, incx, y, incy) ((void)conj, orb_blas_sdot(&n, x, &incx, y, &incy))
#define ORB_TEST_DOT_d(conj, n, x, incx, y, incy) ((void)conj, orb_blas_ddot(&n, x, &incx, y, &incy))
#define ORB_TEST_DOT_c(conj, n, x, incx, y, incy) complex_dot(conj, orb_blas_cdotc, orb_blas_cdotu, n, x, incx, y, incy)
#define ORB_TEST_DOT_z(conj, n, x, incx, y, incy) complex_dot(conj, orb_blas_zdotc, orb_blas_zdotu, n, x, incx, y, incy)

template <class T, class F>
T complex_dot(bool conj, F dotc, F dotu, ORB_INT n, const T *x, ORB_INT incx, const T *y, ORB_INT incy) {
  T r{};
  (conj ? dotc : dotu)(&r, &n, x, &incx, y, &incy);
  return r;
}
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_TEST_L1)
#undef ORB_TEST_L1

//! Where logical element j of a vector of n elements with increment inc lives.
inline size_t at(ORB_INT n, ORB_INT inc, ORB_INT j) {
  return static_cast<size_t>(inc >= 0 ? j * inc : (n - 1 - j) * -inc);
}

//! A vector of n elements with increment inc; the gaps between them hold 7.
template <class T>
std::vector<T> strided(ORB_INT n, ORB_INT inc, uint64_t seed) {
  const ORB_INT step = std::max<ORB_INT>(std::abs(inc), 1);
  return random_matrix<T>(1, n, step, seed);
}

struct Shape {
  ORB_INT n, incx, incy;
  int budget;
};

const Shape kShapes[] = {{9001, 1, 1, 3}, {9001, -2, 3, 4}, {20000, 3, -1, 2}, {50, -1, -2, 4}};

//! |a - b| within `tol` times `scale`, for real or complex values.
template <class T>
void expect_near(const T &got, cld want, long double scale, const char *what) {
  EXPECT_LE(std::abs(wide(got) - want), 8 * unit_roundoff<T>() * scale) << what;
}

TYPED_TEST(Results, Level1DriversMatchTheNaiveReference) {
  using T = TypeParam;
  using R = typename precision<T>::real_type;
  using K = L1<T>;
  for (const Shape &s : kShapes) {
    SCOPED_TRACE(::testing::Message() << "n " << s.n << " incx " << s.incx << " incy " << s.incy);
    const Budget budget(s.budget);
    const std::vector<T> x0 = strided<T>(s.n, s.incx, 1), y0 = strided<T>(s.n, s.incy, 2);
    const auto xa = [&](ORB_INT j) { return wide(x0[at(s.n, s.incx, j)]); };
    const auto ya = [&](ORB_INT j) { return wide(y0[at(s.n, s.incy, j)]); };
    cld dotu = 0, dotc = 0, asum = 0, sq = 0, dscale = 0;
    for (ORB_INT j = 0; j < s.n; ++j) {
      dotu += xa(j) * ya(j);
      dotc += std::conj(xa(j)) * ya(j);
      asum += std::abs(xa(j).real()) + std::abs(xa(j).imag());
      sq += std::norm(xa(j));
      dscale += std::abs(xa(j)) * std::abs(ya(j));
    }
    expect_near(K::dot(false, s.n, x0.data(), s.incx, y0.data(), s.incy), dotu, s.n * dscale.real(), "dotu");
    expect_near(K::dot(true, s.n, x0.data(), s.incx, y0.data(), s.incy), dotc, s.n * dscale.real(), "dotc");
    // asum and scal, like the standard routines, do nothing for an increment below 1.
    const bool forward = s.incx > 0;
    expect_near(K::asum(s.n, x0.data(), s.incx), forward ? asum : 0, s.n * asum.real(), "asum");
    expect_near(K::nrm2(s.n, x0.data(), s.incx), std::sqrt(sq.real()), s.n * std::sqrt(sq.real()), "nrm2");

    // Each update: the expected vectors, element by element, and the gaps untouched.
    const cld a(0.75, -0.5), b(-1.25, 0.25);
    const R c = R(0.6), sn = R(0.8);
    const auto check = [&](const char *what, const std::vector<T> &got, ORB_INT inc, const std::vector<T> &start,
                           auto want) {
      SCOPED_TRACE(what);
      int wrong = 0;
      for (ORB_INT j = 0; j < s.n && wrong < 3; ++j) {
        const cld w = want(j);
        if (std::abs(wide(got[at(s.n, inc, j)]) - w) > 8 * unit_roundoff<T>() * (1 + std::abs(w))) {
          ADD_FAILURE() << what << " element " << j;
          ++wrong;
        }
      }
      for (size_t i = 0; i < got.size(); ++i) {
        if (std::abs(inc) > 1 && i % std::abs(inc) != 0) {
          ASSERT_EQ(wide(got[i]), wide(start[i])) << "gap " << i;
        }
      }
    };
    std::vector<T> x = x0, y = y0;
    K::scal(s.n, narrow<T>(a), x.data(), s.incx);
    check("scal", x, s.incx, x0, [&](ORB_INT j) { return forward ? wide(narrow<T>(a)) * xa(j) : xa(j); });
    x = x0;
    K::rscal(s.n, R(-2), x.data(), s.incx);
    check("rscal", x, s.incx, x0, [&](ORB_INT j) { return forward ? cld(-2) * xa(j) : xa(j); });
    K::axpy(s.n, narrow<T>(a), x0.data(), s.incx, y.data(), s.incy);
    check("axpy", y, s.incy, y0, [&](ORB_INT j) { return wide(narrow<T>(a)) * xa(j) + ya(j); });
    y = y0;
    K::axpby(s.n, narrow<T>(a), x0.data(), s.incx, narrow<T>(b), y.data(), s.incy);
    check("axpby", y, s.incy, y0, [&](ORB_INT j) { return wide(narrow<T>(a)) * xa(j) + wide(narrow<T>(b)) * ya(j); });
    y = y0;
    K::copy(s.n, x0.data(), s.incx, y.data(), s.incy);
    check("copy", y, s.incy, y0, xa);
    x = x0, y = y0;
    K::swap(s.n, x.data(), s.incx, y.data(), s.incy);
    check("swap x", x, s.incx, x0, ya);
    check("swap y", y, s.incy, y0, xa);
    x = x0, y = y0;
    K::rot(s.n, x.data(), s.incx, y.data(), s.incy, c, sn);
    check("rot x", x, s.incx, x0, [&](ORB_INT j) { return cld(c) * xa(j) + cld(sn) * ya(j); });
    check("rot y", y, s.incy, y0, [&](ORB_INT j) { return cld(c) * ya(j) - cld(sn) * xa(j); });

    if (s.incx > 0) {
      ORB_INT best = 0, least = 0;
      for (ORB_INT j = 1; j < s.n; ++j) {
        const auto m = [&](ORB_INT i) { return std::abs(xa(i).real()) + std::abs(xa(i).imag()); };
        if (m(j) > m(best)) best = j;
        if (m(j) < m(least)) least = j;
      }
      EXPECT_EQ(K::iamax(s.n, x0.data(), s.incx), best + 1);
      EXPECT_EQ(K::iamin(s.n, x0.data(), s.incx), least + 1);
    }
  }
}

TEST(Level1Rotm, MatchesTheModifiedRotationInBothDirections) {
  // The full matrix form (flag -1): x' = h11 x + h12 y, y' = h21 x + h22 y.
  const double param[5] = {-1.0, 0.5, -0.25, 2.0, 1.5};
  const ORB_INT n = 6000, incx = -1, incy = 2;
  std::vector<double> x = strided<double>(n, incx, 3), y = strided<double>(n, incy, 4);
  const std::vector<double> x0 = x, y0 = y;
  const Budget budget(3);
  orb_blas_drotm(&n, x.data(), &incx, y.data(), &incy, param);
  for (ORB_INT j = 0; j < n; ++j) {
    const double xj = x0[at(n, incx, j)], yj = y0[at(n, incy, j)];
    ASSERT_DOUBLE_EQ(x[at(n, incx, j)], 0.5 * xj + 2.0 * yj) << j;
    ASSERT_DOUBLE_EQ(y[at(n, incy, j)], -0.25 * xj + 1.5 * yj) << j;
  }
}

// ---- Combination, quick returns, searches, partial results -------------------

// Four runs of 5000 elements of 1e300 have partial norms near 7e301, whose
// squares overflow; the serial norm of the partial norms does not.
TEST(Level1Nrm2, PartialNormsNearTheLargestDoubleDoNotOverflow) {
  const ORB_INT n = 20000, inc = 1;
  const std::vector<double> x(n, 1e300);
  const Budget budget(4);
  observe();
  const double norm = orb_blas_dnrm2(&n, x.data(), &inc);
  EXPECT_EQ(observed().level1.size(), 5u);  // four runs, then the combination
  ASSERT_TRUE(std::isfinite(norm));
  EXPECT_NEAR(norm / (1e300 * std::sqrt(20000.0)), 1.0, 1e-14);
}

TEST(Level1QuickReturns, AxpyWithAlphaZeroReadsNoXEvenNaN) {
  const ORB_INT n = 10000, inc = 1;
  const std::vector<double> x(n, std::numeric_limits<double>::quiet_NaN());
  std::vector<double> y(n, 3.0);
  const double zero = 0.0;
  const Budget budget(4);
  observe();
  orb_blas_daxpy(&n, &zero, x.data(), &inc, y.data(), &inc);
  const ORB_Complex16 zzero{0.0, 0.0};
  std::vector<ORB_Complex16> zx(n, {NAN, NAN}), zy(n, {3.0, 1.0});
  orb_blas_zaxpy(&n, &zzero, zx.data(), &inc, zy.data(), &inc);
  EXPECT_TRUE(observed().level1.empty());
  EXPECT_TRUE(std::all_of(y.begin(), y.end(), [](double v) { return v == 3.0; }));
  EXPECT_TRUE(std::all_of(zy.begin(), zy.end(), [](ORB_Complex16 v) { return v.real == 3.0 && v.imag == 1.0; }));
}

struct SearchCase {
  const char *name;
  std::vector<double> values;
  ORB_INT incx, largest, smallest;
};

void PrintTo(const SearchCase &c, std::ostream *os) { *os << c.name; }

class Level1Search : public ::testing::TestWithParam<SearchCase> {};

TEST_P(Level1Search, TiesKeepTheFirstAndNaNAnswersAtOnce) {
  const SearchCase &c = GetParam();
  const ORB_INT n = static_cast<ORB_INT>(c.values.size()) / std::max<ORB_INT>(c.incx, 1);
  // The same values as complex numbers (value, 0) give the same answers.
  std::vector<ORB_Complex16> z;
  for (double v : c.values) z.push_back({v, 0.0});
  observe();
  EXPECT_EQ(orb_blas_idamax(&n, c.values.data(), &c.incx), c.largest);
  EXPECT_EQ(orb_blas_idamin(&n, c.values.data(), &c.incx), c.smallest);
  EXPECT_EQ(orb_blas_izamax(&n, z.data(), &c.incx), c.largest);
  EXPECT_EQ(orb_blas_izamin(&n, z.data(), &c.incx), c.smallest);
  EXPECT_TRUE(observed().level1.empty());  // up to 20 elements, no kernel call
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(Table, Level1Search,
                         ::testing::Values(SearchCase{"tie_keeps_first", {1, -3, 3}, 1, 2, 1},
                                           SearchCase{"first_nan", {kNaN, 5}, 1, 1, 1},
                                           SearchCase{"later_nan_ends_walk", {2, kNaN, 7, 0}, 1, 2, 2},
                                           SearchCase{"equal_ends", {4, 1, -1, -4}, 1, 1, 2},
                                           SearchCase{"strided", {1, 9, -5, 9, 2, 9}, 2, 2, 1},
                                           SearchCase{"one_element", {-8}, 1, 1, 1},
                                           SearchCase{"empty", {}, 1, 0, 0},
                                           SearchCase{"incx_0", {1, 2}, 0, 0, 0}),
                         [](const ::testing::TestParamInfo<SearchCase> &i) { return std::string(i.param.name); });

TEST(Level1Search, ComplexMagnitudeIsTheSumOfAbsoluteParts) {
  // |3 + 4i| = 7 by this measure, above |-6 + 0.5i| = 6.5, though its modulus 5 is not.
  const std::vector<ORB_Complex8> v = {{-6.0f, 0.5f}, {3.0f, 4.0f}};
  const ORB_INT n = 2, inc = 1;
  EXPECT_EQ(orb_blas_icamax(&n, v.data(), &inc), 2);
  EXPECT_EQ(orb_blas_icamin(&n, v.data(), &inc), 1);
  // Longer vectors go to the kernel, once.
  std::vector<float> longer(21, 1.0f);
  longer[17] = -2.0f;
  const ORB_INT n21 = 21;
  observe();
  EXPECT_EQ(orb_blas_isamax(&n21, longer.data(), &inc), 18);
  EXPECT_EQ(observed().level1.size(), 1u);
}

// 600 workers need their partial results on the heap; without it the driver
// computes the whole vector at once.
TEST(Level1Partials, BeyondTheStackOnTheHeapOrWhole) {
  const ORB_INT n = 600 * 2048, inc = 1;
  const std::vector<double> x(n, 1.0), y(n, 0.5);
  const Budget budget(600);
  for (const bool fail : {false, true}) {
    SCOPED_TRACE(fail ? "allocation fails" : "allocation succeeds");
    observe(fail);
    EXPECT_EQ(orb_blas_ddot(&n, x.data(), &inc, y.data(), &inc), 0.5 * n);
    const Observed o = observed();
    ASSERT_EQ(o.alloc_bytes.size(), 1u);
    EXPECT_EQ(o.alloc_bytes[0], 600 * 8);
    EXPECT_EQ(o.alloc_alignment[0], 128);
    EXPECT_EQ(o.deallocations, fail ? 0 : 1);
    EXPECT_EQ(o.level1.size(), fail ? 1u : 600u);
  }
  // 512 workers keep them on the stack.
  const ORB_INT n512 = 512 * 2048;
  const Budget at_most(512);
  observe();
  EXPECT_EQ(orb_blas_ddot(&n512, x.data(), &inc, y.data(), &inc), 0.5 * n512);
  EXPECT_TRUE(observed().alloc_bytes.empty());
}

// The kernels the provider answers by value, complex ones included: what the
// core reads back is the product itself.
TEST(Level1Kernels, ProviderValuesComeBackWhole) {
  const ORB_INT n = 2, inc = 1;
  const ORB_Complex16 zx[2] = {{1, 2}, {3, 4}}, zy[2] = {{5, 6}, {7, 8}};
  ORB_Complex16 z{};
  orb_blas_xzdotu(&z, &n, zx, &inc, zy, &inc);
  EXPECT_EQ(wide(z), cld(-18, 68));
  orb_blas_xzdotc(&z, &n, zx, &inc, zy, &inc);
  EXPECT_EQ(wide(z), cld(70, -8));
  const ORB_Complex8 cx[2] = {{1, 2}, {3, 4}}, cy[2] = {{5, 6}, {7, 8}};
  ORB_Complex8 c{};
  orb_blas_xcdotu(&c, &n, cx, &inc, cy, &inc);
  EXPECT_EQ(wide(c), cld(-18, 68));
  const float sx[2] = {1.5f, -2.0f};
  EXPECT_EQ(orb_blas_xsdot(&n, sx, &inc, sx, &inc), 6.25f);
  EXPECT_EQ(orb_blas_xsasum(&n, sx, &inc), 3.5f);
  EXPECT_EQ(orb_blas_xscasum(&n, cx, &inc), 10.0f);
  EXPECT_EQ(orb_blas_xisamax(&n, sx, &inc), 2);
}

// A vector that starts a page, after a page that may not be read: a complex
// dot product with a negative increment reads exactly its own elements.
TEST(Level1Kernels, ComplexDotsWithNegativeIncrementsStayInsideTheVectors) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const ORB_INT n = 3000, inc = -2, unit = 1;
  const size_t bytes = page + (static_cast<size_t>(n) * 2 * sizeof(ORB_Complex16) / page + 1) * page;
  void *map = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(map, MAP_FAILED);
  ASSERT_EQ(mprotect(map, page, PROT_NONE), 0);
  auto *x = reinterpret_cast<ORB_Complex16 *>(static_cast<char *>(map) + page);
  std::vector<ORB_Complex16> y(n, {1.0, 0.0});
  for (ORB_INT j = 0; j < n; ++j) x[2 * j] = {static_cast<double>(j), 1.0};
  ORB_Complex16 dot{};
  orb_blas_xzdotc(&dot, &n, x, &inc, y.data(), &unit);
  EXPECT_EQ(wide(dot), cld(n * (n - 1) / 2.0, -n));
  orb_blas_xzdotu(&dot, &n, y.data(), &unit, x, &inc);
  EXPECT_EQ(wide(dot), cld(n * (n - 1) / 2.0, n));
  munmap(map, bytes);
}

}  // namespace
}  // namespace orb::test
