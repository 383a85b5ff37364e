// The threaded level-1 drivers: their cut, results in every precision,
// partial norms near overflow, the searches' tie and NaN rules, partial
// results beyond the stack, and reads that stay inside the vectors.
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

//! One kernel call: its length and where x and y start, in elements from the
//! caller's x and y (-1: no y; x -2: a vector of the driver's own, the
//! partial norms that nrm2 combines).
using Piece = std::tuple<ORB_INT, ORB_INT, ORB_INT>;

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

#define ORB_TEST_CALL(body) [](ORB_INT n, double *x, ORB_INT incx, double *y, ORB_INT incy) { (void)y, (void)incy; body; }
const DoubleCall kDot = ORB_TEST_CALL(orb_blas_ddot(&n, x, &incx, y, &incy));
const DoubleCall kAsum = ORB_TEST_CALL(orb_blas_dasum(&n, x, &incx));
const DoubleCall kNrm2 = ORB_TEST_CALL(orb_blas_dnrm2(&n, x, &incx));
const DoubleCall kScal = ORB_TEST_CALL(orb_blas_dscal(&n, &kAlpha, x, &incx));
const DoubleCall kAxpy = ORB_TEST_CALL(orb_blas_daxpy(&n, &kAlpha, x, &incx, y, &incy));
const DoubleCall kAxpyZero = ORB_TEST_CALL(orb_blas_daxpy(&n, &kZero, x, &incx, y, &incy));
const DoubleCall kCopy = ORB_TEST_CALL(orb_blas_dcopy(&n, x, &incx, y, &incy));
const DoubleCall kSwap = ORB_TEST_CALL(orb_blas_dswap(&n, x, &incx, y, &incy));
const DoubleCall kRot = ORB_TEST_CALL(orb_blas_drot(&n, x, &incx, y, &incy, &kAlpha, &kBeta));
const DoubleCall kRotmNone = ORB_TEST_CALL(orb_blas_drotm(&n, x, &incx, y, &incy, kRotmIdentity));
#undef ORB_TEST_CALL

class Level1Cuts : public ::testing::TestWithParam<CutCase> {};

TEST_P(Level1Cuts, OneKernelCallPerRunAtTheRunsOwnElements) {
  const CutCase &c = GetParam();
  const auto length = [&](ORB_INT inc) { return static_cast<size_t>((c.n - 1) * std::abs(inc) + 1); };
  // Where no kernel is to be called, x holds NaN, which must reach nothing.
  std::vector<double> x(length(c.incx), c.pieces.empty() ? NAN : 1.0), y(length(c.incy), 1.0);
  {
    Budget budget(c.budget);
    observe();
    c.call(c.n, x.data(), c.incx, y.data(), c.incy);
  }
  std::vector<Piece> seen;
  for (const Level1Call &k : observed().level1) {
    const double *kx = static_cast<const double *>(k.x);
    const bool callers = kx >= x.data() && kx < x.data() + x.size();
    seen.emplace_back(k.n, callers ? kx - x.data() : -2, k.y ? static_cast<const double *>(k.y) - y.data() : -1);
  }
  std::vector<Piece> expected = c.pieces;
  std::sort(seen.begin(), seen.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(seen, expected);
  if (expected.empty()) {
    EXPECT_EQ(y, std::vector<double>(y.size(), 1.0));
  }
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
        CutCase{"rot_negative_y", kRot, 4096, 1, -1, 8, {{2048, 0, 2048}, {2048, 2048, 0}}},
        CutCase{"asum_8191_stays_whole", kAsum, 8191, 1, 0, 4, {{8191, 0, -1}}},
        CutCase{"nrm2_8192_on_two", kNrm2, 8192, 1, 0, 16, {{4096, 0, -1}, {4096, 4096, -1}, {2, -2, -1}}},
        CutCase{"scal_negative_uneven", kScal, 10000, -1, 0, 3, {{3334, 6666, -1}, {3333, 3333, -1}, {3333, 0, -1}}},
        CutCase{"axpy_alpha_0_calls_nothing", kAxpyZero, 10000, 1, 1, 4, {}},
        CutCase{"rotm_identity_calls_nothing", kRotmNone, 10000, 1, 1, 4, {}}),
    [](const ::testing::TestParamInfo<CutCase> &i) { return std::string(i.param.name); });

//! The drivers of one precision.
template <class T>
struct L1;
#define ORB_TEST_L1(p, T, R, dotu_, dotc_, norm, rs)           \
  template <>                                                  \
  struct L1<T> {                                               \
    static constexpr auto dotu = orb_blas_##dotu_;             \
    static constexpr auto dotc = orb_blas_##dotc_;             \
    static constexpr auto asum = orb_blas_##norm##asum;        \
    static constexpr auto nrm2 = orb_blas_##norm##nrm2;        \
    static constexpr auto scal = orb_blas_##p##scal;           \
    static constexpr auto rscal = orb_blas_##rs##scal;         \
    static constexpr auto axpy = orb_blas_##p##axpy;           \
    static constexpr auto axpby = orb_blas_##p##axpby;         \
    static constexpr auto copy = orb_blas_##p##copy;           \
    static constexpr auto swap = orb_blas_##p##swap;           \
    static constexpr auto rot = orb_blas_##rs##rot;            \
    static constexpr auto iamax = orb_blas_i##p##amax;         \
    static constexpr auto iamin = orb_blas_i##p##amin;         \
  };
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_TEST_L1)
#undef ORB_TEST_L1

//! A dot product by value, whether the routine returns it or stores it.
template <class T, class F>
T dot(F f, ORB_INT n, const T *x, ORB_INT incx, const T *y, ORB_INT incy) {
  if constexpr (is_complex_v<T>) {
    T r{};
    f(&r, &n, x, &incx, y, &incy);
    return r;
  } else {
    return f(&n, x, &incx, y, &incy);
  }
}

//! Where logical element j of a vector of n elements with increment inc lives.
inline size_t at(ORB_INT n, ORB_INT inc, ORB_INT j) {
  return static_cast<size_t>(inc >= 0 ? j * inc : (n - 1 - j) * -inc);
}

struct Shape {
  ORB_INT n, incx, incy;
  int budget;
};

const Shape kShapes[] = {{9001, 1, 1, 3}, {9001, -2, 3, 4}, {20000, 3, -1, 2}, {50, -1, -2, 4}};

template <class T>
void expect_near(const T &got, cld want, long double scale, const char *what) {
  EXPECT_LE(std::abs(wide(got) - want), 8 * unit_roundoff<T>() * scale) << what;
}

TYPED_TEST(Results, Level1DriversMatchTheNaiveReference) {
  using T = TypeParam;
  using R = typename Precision<T>::real_type;
  using K = L1<T>;
  const T a = narrow<T>(cld(0.75, -0.5)), b = narrow<T>(cld(-1.25, 0.25));
  const R c = R(0.6), sn = R(0.8), minus2 = R(-2);
  for (const Shape &s : kShapes) {
    SCOPED_TRACE(::testing::Message() << "n " << s.n << " incx " << s.incx << " incy " << s.incy);
    const Budget budget(s.budget);
    const ORB_INT *n = &s.n, *incx = &s.incx, *incy = &s.incy;
    // n elements at increment inc, the gaps between them holding 7.
    const auto vector = [&](ORB_INT inc, uint64_t seed) { return random_matrix<T>(1, s.n, std::abs(inc), seed); };
    const std::vector<T> x0 = vector(s.incx, 1), y0 = vector(s.incy, 2);
    const auto xa = [&](ORB_INT j) { return wide(x0[at(s.n, s.incx, j)]); };
    const auto ya = [&](ORB_INT j) { return wide(y0[at(s.n, s.incy, j)]); };
    const auto magnitude = [&](ORB_INT j) { return std::abs(xa(j).real()) + std::abs(xa(j).imag()); };
    cld dotu = 0, dotc = 0, asum = 0, sq = 0, dscale = 0;
    ORB_INT best = 0, least = 0;
    for (ORB_INT j = 0; j < s.n; ++j) {
      dotu += xa(j) * ya(j);
      dotc += std::conj(xa(j)) * ya(j);
      asum += magnitude(j);
      sq += std::norm(xa(j));
      dscale += std::abs(xa(j)) * std::abs(ya(j));
      best = magnitude(j) > magnitude(best) ? j : best;
      least = magnitude(j) < magnitude(least) ? j : least;
    }
    expect_near(dot(K::dotu, s.n, x0.data(), s.incx, y0.data(), s.incy), dotu, s.n * dscale.real(), "dotu");
    expect_near(dot(K::dotc, s.n, x0.data(), s.incx, y0.data(), s.incy), dotc, s.n * dscale.real(), "dotc");
    // asum, scal and the searches, like the standard routines, do nothing for an increment below 1.
    const bool forward = s.incx > 0;
    expect_near(K::asum(n, x0.data(), incx), forward ? asum : 0, s.n * asum.real(), "asum");
    expect_near(K::nrm2(n, x0.data(), incx), std::sqrt(sq.real()), s.n * std::sqrt(sq.real()), "nrm2");
    EXPECT_EQ(K::iamax(n, x0.data(), incx), forward ? best + 1 : 0);
    EXPECT_EQ(K::iamin(n, x0.data(), incx), forward ? least + 1 : 0);

    // Each update: the expected vectors, element by element, and the gaps untouched.
    const auto check = [&](const char *what, const std::vector<T> &got, ORB_INT inc, const std::vector<T> &start,
                           auto want) {
      SCOPED_TRACE(what);
      for (ORB_INT j = 0, wrong = 0; j < s.n && wrong < 3; ++j) {
        const cld w = want(j);
        if (std::abs(wide(got[at(s.n, inc, j)]) - w) > 8 * unit_roundoff<T>() * (1 + std::abs(w)))
          ADD_FAILURE() << what << " element " << j, ++wrong;
      }
      for (size_t i = 0; i < got.size(); ++i)
        if (std::abs(inc) > 1 && i % std::abs(inc) != 0) {
          ASSERT_EQ(wide(got[i]), wide(start[i])) << "gap " << i;
        }
    };
    std::vector<T> x = x0, y = y0;
    K::scal(n, &a, x.data(), incx);
    check("scal", x, s.incx, x0, [&](ORB_INT j) { return forward ? wide(a) * xa(j) : xa(j); });
    x = x0;
    K::rscal(n, &minus2, x.data(), incx);
    check("rscal", x, s.incx, x0, [&](ORB_INT j) { return forward ? cld(-2) * xa(j) : xa(j); });
    K::axpy(n, &a, x0.data(), incx, y.data(), incy);
    check("axpy", y, s.incy, y0, [&](ORB_INT j) { return wide(a) * xa(j) + ya(j); });
    y = y0;
    K::axpby(n, &a, x0.data(), incx, &b, y.data(), incy);
    check("axpby", y, s.incy, y0, [&](ORB_INT j) { return wide(a) * xa(j) + wide(b) * ya(j); });
    y = y0;
    K::copy(n, x0.data(), incx, y.data(), incy);
    check("copy", y, s.incy, y0, xa);
    x = x0, y = y0;
    K::swap(n, x.data(), incx, y.data(), incy);
    check("swap x", x, s.incx, x0, ya);
    check("swap y", y, s.incy, y0, xa);
    x = x0, y = y0;
    K::rot(n, x.data(), incx, y.data(), incy, &c, &sn);
    check("rot x", x, s.incx, x0, [&](ORB_INT j) { return cld(c) * xa(j) + cld(sn) * ya(j); });
    check("rot y", y, s.incy, y0, [&](ORB_INT j) { return cld(c) * ya(j) - cld(sn) * xa(j); });
    if constexpr (!is_complex_v<T>) {  // the full modified rotation (flag -1)
      const T h[5] = {-1, 0.5, -0.25, 2, 1.5};
      x = x0, y = y0;
      if constexpr (std::is_same_v<T, float>) orb_blas_srotm(n, x.data(), incx, y.data(), incy, h);
      if constexpr (std::is_same_v<T, double>) orb_blas_drotm(n, x.data(), incx, y.data(), incy, h);
      check("rotm x", x, s.incx, x0, [&](ORB_INT j) { return 0.5L * xa(j) + 2.0L * ya(j); });
      check("rotm y", y, s.incy, y0, [&](ORB_INT j) { return -0.25L * xa(j) + 1.5L * ya(j); });
    }
  }
}

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
  std::vector<ORB_Complex16> z;  // the same values as (value, 0)
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
                                           SearchCase{"empty", {}, 1, 0, 0},
                                           SearchCase{"incx_0", {1, 2}, 0, 0, 0}),
                         [](const ::testing::TestParamInfo<SearchCase> &i) { return std::string(i.param.name); });

// Short vectors, searched without the kernel, measure |3 + 4i| as 7, above
// |-6 + 0.5i| = 6.5, though its modulus 5 is not.
TEST(Level1Search, ComplexMagnitudeIsTheSumOfAbsoluteParts) {
  const std::vector<ORB_Complex8> v = {{-6.0f, 0.5f}, {3.0f, 4.0f}};
  const ORB_INT n = 2, inc = 1;
  EXPECT_EQ(orb_blas_icamax(&n, v.data(), &inc), 2);
  EXPECT_EQ(orb_blas_icamin(&n, v.data(), &inc), 1);
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
