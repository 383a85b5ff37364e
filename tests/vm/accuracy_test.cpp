// Accuracy of the real functions in every precision and both accuracy modes:
// the largest error in ulps over points spread across each function's domain,
// against a reference computed in long double (11 bits more than double),
// stays within the mode's bound.  Results that overflow or fall below the
// smallest normal number of the precision are left to the error tests.
#include <orb/orb_vm.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace orb::test {
namespace {

//! A real type's size: significand digits, smallest normal exponent, largest finite value.
struct Format {
  int digits, emin;
  long double max;
};
constexpr Format kHalf{11, -14, 65504.0L}, kSingle{24, -126, 3.40282346638528859812e+38L},
    kDouble{53, -1022, 1.79769313486231570815e+308L};

long double ulp_at(long double r, const Format &f) {
  int e = r == 0 ? f.emin : ilogbl(r);
  if (e < f.emin) e = f.emin;
  return ldexpl(1.0L, e - (f.digits - 1));
}

ORB_Half to_half(float f) {
  const _Float16 v = static_cast<_Float16>(f);
  ORB_Half h;
  std::memcpy(&h, &v, sizeof h);
  return h;
}
float from_half(ORB_Half h) {
  _Float16 v;
  std::memcpy(&v, &h, sizeof v);
  return static_cast<float>(v);
}

using Ref1 = long double (*)(long double);
using Ref2 = long double (*)(long double, long double);

//! Where a function is sampled: uniformly, or log-uniformly on a positive range.
struct Domain {
  long double lo, hi;
  bool log = false;
};

struct UnaryCase {
  const char *name;
  int (*h)(int, const ORB_Half *, ORB_Half *, unsigned);
  int (*s)(int, const float *, float *, unsigned);
  int (*d)(int, const double *, double *, unsigned);
  Ref1 ref;
  Domain wide, narrow;  //!< double; single and half
  double ha, la;        //!< bounds in ulps
};

void PrintTo(const UnaryCase &c, std::ostream *os) { *os << c.name; }

std::vector<long double> sample(const Domain &dom, int count, unsigned seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<long double> v(count);
  for (int i = 0; i < count; ++i) {
    const long double t = u(gen);
    v[i] = dom.log ? expl(logl(dom.lo) + t * (logl(dom.hi) - logl(dom.lo))) : dom.lo + t * (dom.hi - dom.lo);
  }
  return v;
}

//! The largest error of y against ref(x) over the points whose reference is a
//! normal number of the format; `worst` names where it was.
double max_error(const std::vector<long double> &x, const std::vector<long double> &y, Ref1 ref, const Format &f,
                 std::string &worst) {
  double m = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const long double r = ref(x[i]);
    if (!std::isfinite(r) || fabsl(r) > f.max || (r != 0 && ilogbl(r) < f.emin)) continue;
    const double e = static_cast<double>(fabsl(y[i] - r) / ulp_at(r, f));
    if (e > m) {
      m = e;
      worst = "x = " + std::to_string(static_cast<double>(x[i]));
    }
  }
  return m;
}

constexpr int kPoints = 20000;

class UnaryAccuracy : public ::testing::TestWithParam<UnaryCase> {};

TEST_P(UnaryAccuracy, WithinTheModesBoundInEveryPrecision) {
  const UnaryCase c = GetParam();
  for (const unsigned mode : {ORB_VM_HA, ORB_VM_LA}) {
    const double bound = (mode == ORB_VM_HA ? c.ha : c.la) + 0.01;
    std::string worst;
    {  // double
      const auto xs = sample(c.wide, kPoints, 1);
      std::vector<double> x(xs.begin(), xs.end()), y(kPoints);
      ASSERT_EQ(c.d(kPoints, x.data(), y.data(), mode | ORB_VM_ERRMODE_IGNORE), 0);
      const std::vector<long double> xl(x.begin(), x.end()), yl(y.begin(), y.end());
      EXPECT_LE(max_error(xl, yl, c.ref, kDouble, worst), bound) << "d" << c.name << " mode " << mode << " " << worst;
    }
    {  // single
      const auto xs = sample(c.narrow, kPoints, 2);
      std::vector<float> x(xs.begin(), xs.end()), y(kPoints);
      ASSERT_EQ(c.s(kPoints, x.data(), y.data(), mode | ORB_VM_ERRMODE_IGNORE), 0);
      const std::vector<long double> xl(x.begin(), x.end()), yl(y.begin(), y.end());
      EXPECT_LE(max_error(xl, yl, c.ref, kSingle, worst), bound) << "s" << c.name << " mode " << mode << " " << worst;
    }
    {  // half
      const auto xs = sample(c.narrow, kPoints, 3);
      std::vector<ORB_Half> x(kPoints), y(kPoints);
      std::vector<long double> xl(kPoints), yl(kPoints);
      for (int i = 0; i < kPoints; ++i) {
        x[i] = to_half(static_cast<float>(xs[i]));
        xl[i] = from_half(x[i]);
      }
      ASSERT_EQ(c.h(kPoints, x.data(), y.data(), mode | ORB_VM_ERRMODE_IGNORE), 0);
      for (int i = 0; i < kPoints; ++i) yl[i] = from_half(y[i]);
      EXPECT_LE(max_error(xl, yl, c.ref, kHalf, worst), bound) << "h" << c.name << " mode " << mode << " " << worst;
    }
  }
}

long double inv_ref(long double x) { return 1.0L / x; }
long double invsqrt_ref(long double x) { return 1.0L / sqrtl(x); }
long double sqr_ref(long double x) { return x * x; }

#define ORB_CASE(f) #f, &orb_vm_h##f##_mode, &orb_vm_s##f##_mode, &orb_vm_d##f##_mode
const Domain kPositive{1e-300L, 1e300L, true}, kPositiveNarrow{1e-4L, 6e4L, true};

INSTANTIATE_TEST_SUITE_P(
    Vm, UnaryAccuracy,
    ::testing::Values(UnaryCase{ORB_CASE(exp), expl, {-700, 700}, {-10, 10}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(exp2), exp2l, {-1000, 1000}, {-14, 15}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(exp10), exp10l, {-300, 300}, {-4, 4}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(expm1), expm1l, {-700, 700}, {-10, 10}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(ln), logl, kPositive, kPositiveNarrow, 1.0, 4.0},
                      UnaryCase{ORB_CASE(log2), log2l, kPositive, kPositiveNarrow, 1.0, 4.0},
                      UnaryCase{ORB_CASE(log10), log10l, kPositive, kPositiveNarrow, 1.0, 4.0},
                      UnaryCase{ORB_CASE(log1p), log1pl, {-0.99L, 100}, {-0.99L, 100}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(sqrt), sqrtl, kPositive, kPositiveNarrow, 0.5, 4.0},
                      UnaryCase{ORB_CASE(cbrt), cbrtl, kPositive, kPositiveNarrow, 1.0, 4.0},
                      UnaryCase{ORB_CASE(invsqrt), invsqrt_ref, kPositive, kPositiveNarrow, 1.0, 1.0},
                      UnaryCase{ORB_CASE(sin), sinl, {-100, 100}, {-100, 100}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(cos), cosl, {-100, 100}, {-100, 100}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(tan), tanl, {-100, 100}, {-100, 100}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(asin), asinl, {-1, 1}, {-1, 1}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(acos), acosl, {-1, 1}, {-1, 1}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(atan), atanl, {-100, 100}, {-100, 100}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(sinh), sinhl, {-700, 700}, {-10, 10}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(cosh), coshl, {-700, 700}, {-10, 10}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(tanh), tanhl, {-20, 20}, {-10, 10}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(asinh), asinhl, {-1e6L, 1e6L}, {-1e4L, 1e4L}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(acosh), acoshl, {1, 1e6L}, {1, 1e4L}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(atanh), atanhl, {-0.999L, 0.999L}, {-0.999L, 0.999L}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(erf), erfl, {-6, 6}, {-6, 6}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(erfc), erfcl, {-5, 26}, {-3, 9}, 1.5, 4.0},
                      UnaryCase{ORB_CASE(lgamma), lgammal, {2.5L, 1e3L}, {2.5L, 1e3L}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(tgamma), tgammal, {0.1L, 170}, {0.1L, 30}, 1.0, 4.0},
                      UnaryCase{ORB_CASE(floor), floorl, {-1e6L, 1e6L}, {-1e3L, 1e3L}, 0.0, 0.0},
                      UnaryCase{ORB_CASE(ceil), ceill, {-1e6L, 1e6L}, {-1e3L, 1e3L}, 0.0, 0.0},
                      UnaryCase{ORB_CASE(round), roundl, {-1e6L, 1e6L}, {-1e3L, 1e3L}, 0.0, 0.0},
                      UnaryCase{ORB_CASE(trunc), truncl, {-1e6L, 1e6L}, {-1e3L, 1e3L}, 0.0, 0.0},
                      UnaryCase{ORB_CASE(inv), inv_ref, kPositive, kPositiveNarrow, 0.5, 0.5},
                      UnaryCase{ORB_CASE(sqr), sqr_ref, {-1e100L, 1e100L}, {-200, 200}, 0.5, 0.5},
                      UnaryCase{ORB_CASE(abs), fabsl, {-1e300L, 1e300L}, {-6e4L, 6e4L}, 0.0, 0.0}),
    [](const ::testing::TestParamInfo<UnaryCase> &info) { return std::string(info.param.name); });

// Functions of two arguments, in double: the largest error over pairs.
struct BinaryCase {
  const char *name;
  int (*d)(int, const double *, const double *, double *, unsigned);
  Ref2 ref;
  Domain a, b;
  double ha, la;
};
void PrintTo(const BinaryCase &c, std::ostream *os) { *os << c.name; }
class BinaryAccuracy : public ::testing::TestWithParam<BinaryCase> {};

TEST_P(BinaryAccuracy, WithinTheModesBound) {
  const BinaryCase c = GetParam();
  const auto as = sample(c.a, kPoints, 4), bs = sample(c.b, kPoints, 5);
  std::vector<double> a(as.begin(), as.end()), b(bs.begin(), bs.end()), y(kPoints);
  for (const unsigned mode : {ORB_VM_HA, ORB_VM_LA}) {
    ASSERT_EQ(c.d(kPoints, a.data(), b.data(), y.data(), mode | ORB_VM_ERRMODE_IGNORE), 0);
    double m = 0;
    for (int i = 0; i < kPoints; ++i) {
      const long double r = c.ref(a[i], b[i]);
      if (!std::isfinite(r) || fabsl(r) > kDouble.max || (r != 0 && ilogbl(r) < kDouble.emin)) continue;
      m = std::max(m, static_cast<double>(fabsl(y[i] - r) / ulp_at(r, kDouble)));
    }
    EXPECT_LE(m, (mode == ORB_VM_HA ? c.ha : c.la) + 0.01) << c.name << " mode " << mode;
  }
}

long double add_ref(long double a, long double b) { return a + b; }
long double div_ref(long double a, long double b) { return a / b; }

INSTANTIATE_TEST_SUITE_P(
    Vm, BinaryAccuracy,
    ::testing::Values(BinaryCase{"pow", &orb_vm_dpow_mode, powl, {0.1L, 10}, {-30, 30}, 1.0, 4.0},
                      BinaryCase{"atan2", &orb_vm_datan2_mode, atan2l, {-10, 10}, {-10, 10}, 1.0, 4.0},
                      BinaryCase{"hypot", &orb_vm_dhypot_mode, hypotl, {-1e150L, 1e150L}, {-1e150L, 1e150L}, 1.0, 4.0},
                      BinaryCase{"add", &orb_vm_dadd_mode, add_ref, {-1e6L, 1e6L}, {-1e6L, 1e6L}, 0.5, 0.5},
                      BinaryCase{"div", &orb_vm_ddiv_mode, div_ref, {-1e6L, 1e6L}, {1e-3L, 1e3L}, 0.5, 0.5}),
    [](const ::testing::TestParamInfo<BinaryCase> &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orb::test
