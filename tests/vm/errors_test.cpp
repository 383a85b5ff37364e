// What a call does besides its values: math errors (status, IEEE result, the
// callback with the element's index in the whole vector, the error-handling
// bits), bad arguments, strided and backward vectors, per-thread state, and
// the threaded path agreeing with the sequential kernel bit for bit.
#include <orb/orb_vm.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace orb::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

//! What the callback was told, from any thread.
struct Told {
  std::mutex lock;
  std::vector<int64_t> index;
  std::vector<int> status;
  std::vector<double> arg;
  std::string function;
};
Told told;

int record(const orb_vm_error_context *c) {
  std::lock_guard<std::mutex> g(told.lock);
  told.index.push_back(c->index);
  told.status.push_back(c->status);
  told.arg.push_back(c->arg1);
  told.function = c->function;
  return 0;
}

class VmState : public ::testing::Test {
 protected:
  void SetUp() override {
    told.index.clear();
    told.status.clear();
    told.arg.clear();
    orb_vm_set_callback(&record);
    orb_vm_set_mode(0);
  }
  void TearDown() override { orb_vm_set_callback(nullptr); }
};

// One offending element among good ones: its status, its IEEE value, and the
// elements after it still computed.
struct ErrorRow {
  const char *what;
  int (*fn)(int, const double *, const double *, double *);  //!< binary; unary ones ignore b
  double a, b;
  int status;
  double result;  //!< NaN: any NaN
};
int ln2(int n, const double *a, const double *, double *y) { return orb_vm_dln(n, a, y); }
int exp2_(int n, const double *a, const double *, double *y) { return orb_vm_dexp(n, a, y); }
int sqrt2(int n, const double *a, const double *, double *y) { return orb_vm_dsqrt(n, a, y); }
int sin2(int n, const double *a, const double *, double *y) { return orb_vm_dsin(n, a, y); }
int atanh2(int n, const double *a, const double *, double *y) { return orb_vm_datanh(n, a, y); }
int tgamma2(int n, const double *a, const double *, double *y) { return orb_vm_dtgamma(n, a, y); }
int inv2(int n, const double *a, const double *, double *y) { return orb_vm_dinv(n, a, y); }

void PrintTo(const ErrorRow &r, std::ostream *os) { *os << r.what; }
class MathErrors : public VmState, public ::testing::WithParamInterface<ErrorRow> {};

TEST_P(MathErrors, SetTheStatusAndTellTheCallbackWithoutStopping) {
  const ErrorRow r = GetParam();
  std::vector<double> a(300, 0.5), b(300, 2.0), y(300, -7.0);
  a[211] = r.a;
  b[211] = r.b;
  EXPECT_EQ(r.fn(300, a.data(), b.data(), y.data()), r.status) << r.what;
  EXPECT_EQ(orb_vm_get_status(), r.status);
  if (std::isnan(r.result))
    EXPECT_TRUE(std::isnan(y[211])) << r.what;
  else
    EXPECT_EQ(y[211], r.result) << r.what;
  EXPECT_NE(y[299], -7.0);  // computed past the error
  if (r.status == 0) {
    EXPECT_TRUE(told.index.empty());
  } else {
    ASSERT_EQ(told.index.size(), 1u) << r.what;
    EXPECT_EQ(told.index[0], 211);
    EXPECT_EQ(told.status[0], r.status);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Vm, MathErrors,
    ::testing::Values(ErrorRow{"ln(-1)", ln2, -1, 0, ORB_VM_STATUS_ERRDOM, kNaN},
                      ErrorRow{"ln(0)", ln2, 0, 0, ORB_VM_STATUS_SING, -kInf},
                      ErrorRow{"ln(nan)", ln2, kNaN, 0, 0, kNaN}, ErrorRow{"ln(inf)", ln2, kInf, 0, 0, kInf},
                      ErrorRow{"exp(1000)", exp2_, 1000, 0, ORB_VM_STATUS_OVERFLOW, kInf},
                      ErrorRow{"exp(inf)", exp2_, kInf, 0, 0, kInf}, ErrorRow{"exp(-inf)", exp2_, -kInf, 0, 0, 0.0},
                      ErrorRow{"sqrt(-1)", sqrt2, -1, 0, ORB_VM_STATUS_ERRDOM, kNaN},
                      ErrorRow{"sin(inf)", sin2, kInf, 0, ORB_VM_STATUS_ERRDOM, kNaN},
                      ErrorRow{"atanh(1)", atanh2, 1, 0, ORB_VM_STATUS_SING, kInf},
                      ErrorRow{"tgamma(0)", tgamma2, 0, 0, ORB_VM_STATUS_SING, kInf},
                      ErrorRow{"inv(0)", inv2, 0, 0, ORB_VM_STATUS_SING, kInf},
                      ErrorRow{"pow(-2, 0.5)", orb_vm_dpow, -2, 0.5, ORB_VM_STATUS_ERRDOM, kNaN},
                      ErrorRow{"pow(0, -1)", orb_vm_dpow, 0, -1, ORB_VM_STATUS_SING, kInf},
                      ErrorRow{"pow(10, 400)", orb_vm_dpow, 10, 400, ORB_VM_STATUS_OVERFLOW, kInf},
                      ErrorRow{"pow(-8, 3)", orb_vm_dpow, -8, 3, 0, -512},
                      ErrorRow{"div(1, 0)", orb_vm_ddiv, 1, 0, ORB_VM_STATUS_SING, kInf},
                      ErrorRow{"div(0, 0)", orb_vm_ddiv, 0, 0, ORB_VM_STATUS_ERRDOM, kNaN},
                      ErrorRow{"mul(1e200, 1e200)", orb_vm_dmul, 1e200, 1e200, ORB_VM_STATUS_OVERFLOW, kInf}));

TEST_F(VmState, HalfPrecisionOverflowsAtItsOwnLimit) {
  const _Float16 x12 = 12, x11 = 11;  // e^12 = 162755 > 65504 > e^11 = 59874
  ORB_Half x[2], y[2];
  std::memcpy(&x[0], &x11, 2);
  std::memcpy(&x[1], &x12, 2);
  EXPECT_EQ(orb_vm_hexp(2, x, y), ORB_VM_STATUS_OVERFLOW);
  ASSERT_EQ(told.index.size(), 1u);
  EXPECT_EQ(told.index[0], 1);
  EXPECT_EQ(told.function, "hexp");
}

TEST_F(VmState, TheCallbackNamesTheGlobalIndexOnEveryThread) {
  const int n = 300000;
  std::vector<double> x(n, 2.0), y(n);
  x[123457] = -1;
  x[n - 1] = -3;
  EXPECT_EQ(orb_vm_dln(n, x.data(), y.data()), ORB_VM_STATUS_ERRDOM);
  ASSERT_EQ(told.index.size(), 2u);
  std::vector<int64_t> idx = told.index;
  std::sort(idx.begin(), idx.end());
  EXPECT_EQ(idx[0], 123457);
  EXPECT_EQ(idx[1], n - 1);
  EXPECT_EQ(told.function, "dln");
  // Strided: the index counts elements of the vector, not memory.
  told.index.clear();
  std::vector<double> xs(2 * n, 2.0);
  xs[2 * 1001] = -1;
  EXPECT_EQ(orb_vm_dln_strided(n, xs.data(), 2, y.data(), 1), ORB_VM_STATUS_ERRDOM);
  ASSERT_EQ(told.index.size(), 1u);
  EXPECT_EQ(told.index[0], 1001);
}

TEST_F(VmState, ErrorHandlingBitsChooseStatusCallbackOrNeither) {
  const double x[3] = {1, -1, 0};
  double y[3];
  struct Row {
    unsigned mode;
    int status;
    size_t calls;
  };
  for (const Row r : {Row{ORB_VM_ERRMODE_IGNORE, 0, 0}, Row{ORB_VM_ERRMODE_STATUS, ORB_VM_STATUS_SING, 0},
                      Row{ORB_VM_ERRMODE_CALLBACK, 0, 2}, Row{0, ORB_VM_STATUS_SING, 2}}) {
    told.index.clear();
    EXPECT_EQ(orb_vm_dln_mode(3, x, y, r.mode), r.status) << r.mode;
    EXPECT_EQ(told.index.size(), r.calls) << r.mode;
    EXPECT_EQ(orb_vm_get_mode(), 0u);  // the mode of one call only
  }
}

TEST_F(VmState, BadArgumentsGiveAStatusAndWriteNothing) {
  double x[4] = {1, 2, 3, 4}, y[4] = {9, 9, 9, 9};
  EXPECT_EQ(orb_vm_dexp(-1, x, y), ORB_VM_STATUS_BADSIZE);
  EXPECT_EQ(orb_vm_dexp(4, nullptr, y), ORB_VM_STATUS_BADMEM);
  EXPECT_EQ(orb_vm_dadd(4, x, nullptr, y), ORB_VM_STATUS_BADMEM);
  EXPECT_EQ(orb_vm_dexp_strided(4, x, 0, y, 1), ORB_VM_STATUS_BADSTRIDE);
  EXPECT_EQ(orb_vm_dexp_strided_64(4, x, 1, y, int64_t{1} << 33), ORB_VM_STATUS_BADSTRIDE);
  EXPECT_EQ(orb_vm_get_status(), ORB_VM_STATUS_BADSTRIDE);
  for (double v : y) EXPECT_EQ(v, 9.0);
  EXPECT_EQ(orb_vm_dexp(0, nullptr, nullptr), 0);
  EXPECT_EQ(orb_vm_dexp_64(-5, x, y), ORB_VM_STATUS_BADSIZE);
}

TEST_F(VmState, StridesStepThroughMemoryBackwardsToo) {
  const int n = 1000;
  std::vector<double> x(3 * n), y(2 * n, -1.0);
  for (int i = 0; i < 3 * n; ++i) x[i] = 0.001 * i;
  ASSERT_EQ(orb_vm_dexp_strided(n, x.data(), 3, y.data(), 2), 0);
  std::vector<double> ref(n);
  std::vector<double> xs(n);
  for (int i = 0; i < n; ++i) xs[i] = x[3 * i];
  orb_vm_dexp(n, xs.data(), ref.data());
  for (int i = 0; i < n; ++i) {
    ASSERT_EQ(y[2 * i], ref[i]) << i;
    ASSERT_EQ(y[2 * i + 1], -1.0) << i;  // untouched between strides
  }
  // From the last element backwards.
  std::vector<double> back(n);
  ASSERT_EQ(orb_vm_dexp_strided(n, xs.data() + n - 1, -1, back.data(), 1), 0);
  for (int i = 0; i < n; ++i) ASSERT_EQ(back[i], ref[n - 1 - i]) << i;
}

TEST_F(VmState, InPlaceEqualsOutOfPlace) {
  const int n = 5000;
  std::vector<float> x(n), y(n);
  for (int i = 0; i < n; ++i) x[i] = 0.01f * i - 20;
  ASSERT_EQ(orb_vm_stanh(n, x.data(), y.data()), 0);
  ASSERT_EQ(orb_vm_stanh(n, x.data(), x.data()), 0);
  EXPECT_EQ(x, y);
}

TEST_F(VmState, ModeAndCallbackBelongToTheThread) {
  orb_vm_set_mode(ORB_VM_LA);
  std::thread([] {
    EXPECT_EQ(orb_vm_get_mode(), 0u);
    EXPECT_EQ(orb_vm_get_callback(), nullptr);
    EXPECT_EQ(orb_vm_set_status(5), 0);
    EXPECT_EQ(orb_vm_get_status(), 5);
  }).join();
  EXPECT_EQ(orb_vm_get_mode(), ORB_VM_LA);
  EXPECT_EQ(orb_vm_get_callback(), &record);
  orb_vm_set_mode(0);
}

// A long vector computed through the threaders equals the sequential kernel
// (vectors of at most 99 elements run on the caller) bit for bit.
struct SameRow {
  const char *name;
  int (*fn)(int, const double *, const double *, double *);
};
int exp_(int n, const double *a, const double *, double *y) { return orb_vm_dexp(n, a, y); }
int erf_(int n, const double *a, const double *, double *y) { return orb_vm_derf(n, a, y); }
int sqrt_(int n, const double *a, const double *, double *y) { return orb_vm_dsqrt(n, a, y); }
int powx_(int n, const double *a, const double *, double *y) { return orb_vm_dpowx(n, a, 1.7, y); }
int sin_(int n, const double *a, const double *, double *y) { return orb_vm_dsin(n, a, y); }
int cmul_(int n, const double *a, const double *b, double *y) {
  return orb_vm_zmul(n / 2, reinterpret_cast<const ORB_Complex16 *>(a), reinterpret_cast<const ORB_Complex16 *>(b),
                     reinterpret_cast<ORB_Complex16 *>(y));
}
void PrintTo(const SameRow &r, std::ostream *os) { *os << r.name; }
class ThreadedEqualsSequential : public VmState, public ::testing::WithParamInterface<SameRow> {};

TEST_P(ThreadedEqualsSequential, BitForBit) {
  const int n = 200000;
  std::vector<double> a(n), b(n), threaded(n), sequential(n);
  for (int i = 0; i < n; ++i) {
    a[i] = 1e-4 * (i % 77777) + 0.001;
    b[i] = 3.0 - 1e-5 * i;
  }
  ASSERT_EQ(GetParam().fn(n, a.data(), b.data(), threaded.data()), 0);
  for (int i = 0; i < n; i += 98) {
    const int m = std::min(98, n - i);
    GetParam().fn(m, a.data() + i, b.data() + i, sequential.data() + i);
  }
  EXPECT_EQ(std::memcmp(threaded.data(), sequential.data(), sizeof(double) * n), 0);
}

INSTANTIATE_TEST_SUITE_P(Vm, ThreadedEqualsSequential,
                         ::testing::Values(SameRow{"exp", exp_}, SameRow{"ln", ln2}, SameRow{"sin", sin_},
                                           SameRow{"pow", orb_vm_dpow}, SameRow{"powx", powx_}, SameRow{"erf", erf_},
                                           SameRow{"sqrt", sqrt_}, SameRow{"zmul", cmul_}),
                         [](const ::testing::TestParamInfo<SameRow> &info) { return std::string(info.param.name); });

TEST_F(VmState, ComplexValuesAgainstLongDouble) {
  const int n = 2000;
  std::vector<ORB_Complex16> a(n), b(n), y(n);
  std::vector<double> m(n);
  for (int i = 0; i < n; ++i) {
    a[i] = {std::sin(i * 0.37) * 50, std::cos(i * 0.11) * 3};
    b[i] = {1 + std::cos(i * 0.07), std::sin(i * 0.5) * 1e3};
  }
  const auto close = [](long double got, long double want) {
    return fabsl(got - want) <= 4 * std::numeric_limits<double>::epsilon() * (fabsl(want) + 1e-300L);
  };
  ASSERT_EQ(orb_vm_zmul(n, a.data(), b.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) {
    const long double re = (long double)a[i].real * b[i].real - (long double)a[i].imag * b[i].imag;
    const long double abs_ab = hypotl(a[i].real, a[i].imag) * hypotl(b[i].real, b[i].imag);
    ASSERT_LE(fabsl(y[i].real - re), 4 * std::numeric_limits<double>::epsilon() * abs_ab) << i;
  }
  ASSERT_EQ(orb_vm_zdiv(n, a.data(), b.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) {
    const long double d = (long double)b[i].real * b[i].real + (long double)b[i].imag * b[i].imag;
    const long double re = ((long double)a[i].real * b[i].real + (long double)a[i].imag * b[i].imag) / d;
    const long double im = ((long double)a[i].imag * b[i].real - (long double)a[i].real * b[i].imag) / d;
    const long double scale = sqrtl(re * re + im * im);
    ASSERT_LE(fabsl(y[i].real - re), 4 * std::numeric_limits<double>::epsilon() * scale) << i;
    ASSERT_LE(fabsl(y[i].imag - im), 4 * std::numeric_limits<double>::epsilon() * scale) << i;
  }
  ASSERT_EQ(orb_vm_zabs(n, a.data(), m.data()), 0);
  for (int i = 0; i < n; ++i) ASSERT_TRUE(close(m[i], hypotl(a[i].real, a[i].imag))) << i;
  ASSERT_EQ(orb_vm_zexp(n, a.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) {
    const long double e = expl(a[i].real);
    ASSERT_LE(fabsl(y[i].real - e * cosl(a[i].imag)), 4 * std::numeric_limits<double>::epsilon() * e) << i;
  }
  // Logarithm, root and power, normwise against long double.
  using L = std::complex<long double>;
  const auto near = [](ORB_Complex16 got, L want) {
    return std::abs(L(got.real, got.imag) - want) <= 4 * std::numeric_limits<double>::epsilon() * std::abs(want);
  };
  std::vector<ORB_Complex16> e(n);
  for (int i = 0; i < n; ++i) e[i] = {0.3 * std::cos(i * 0.3), 0.2 * std::sin(i * 0.7)};
  ASSERT_EQ(orb_vm_zln(n, a.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) ASSERT_TRUE(near(y[i], std::log(L(a[i].real, a[i].imag)))) << i;
  ASSERT_EQ(orb_vm_zsqrt(n, a.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) ASSERT_TRUE(near(y[i], std::sqrt(L(a[i].real, a[i].imag)))) << i;
  ASSERT_EQ(orb_vm_zpow(n, a.data(), e.data(), y.data()), 0);
  for (int i = 0; i < n; ++i) ASSERT_TRUE(near(y[i], std::pow(L(a[i].real, a[i].imag), L(e[i].real, e[i].imag)))) << i;
  const ORB_Complex16 zero{0, 0}, one{1, 0}, minus_one{-1, 0};
  ORB_Complex16 q;
  EXPECT_EQ(orb_vm_zdiv(1, &one, &zero, &q), ORB_VM_STATUS_SING);
  EXPECT_EQ(orb_vm_zln(1, &zero, &q), ORB_VM_STATUS_SING);
  EXPECT_EQ(orb_vm_zpow(1, &zero, &minus_one, &q), ORB_VM_STATUS_SING);
}

TEST_F(VmState, SineAndCosineAtOnceMatchEachAlone) {
  const int n = 3001;
  std::vector<double> x(n), s(n), c(n), s1(n), c1(n);
  for (int i = 0; i < n; ++i) x[i] = 0.01 * i - 15;
  ASSERT_EQ(orb_vm_dsincos(n, x.data(), s.data(), c.data()), 0);
  orb_vm_dsin(n, x.data(), s1.data());
  orb_vm_dcos(n, x.data(), c1.data());
  for (int i = 0; i < n; ++i) {
    ASSERT_NEAR(s[i], s1[i], 2e-16 * (1 + std::fabs(s1[i]))) << i;
    ASSERT_NEAR(c[i], c1[i], 2e-16 * (1 + std::fabs(c1[i]))) << i;
  }
}

TEST_F(VmState, LinearFractionAndItsPole) {
  const double a[3] = {1, 2, 3}, b[3] = {1, -2, 5};
  double y[3];
  // (2a + 1) / (0.5 b + 1): the second denominator is zero.
  EXPECT_EQ(orb_vm_dlinearfrac(3, a, b, 2, 1, 0.5, 1, y), ORB_VM_STATUS_SING);
  EXPECT_EQ(y[0], 3 / 1.5);
  EXPECT_TRUE(std::isinf(y[1]));
  EXPECT_EQ(y[2], 7 / 3.5);
  ASSERT_EQ(told.index.size(), 1u);
  EXPECT_EQ(told.index[0], 1);
}

}  // namespace
}  // namespace orb::test
