// The kernel providers: which of the first one's kernel sets the core asks
// for, by processor; binding it, in a fresh process each time; the routing
// rule for the second, which products reach it (the tests' stand-in, named in
// ORB_PROVIDER2, counts them), the first doing everything without it, the
// caller's BLIS_ARCH_TYPE given back, and the real one's products right from
// several threads at once.
#include "blas/gemm_route.hpp"
#include "blas/provider_kernels.hpp"
#include "dense.hpp"
#include "process.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_service.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace orb::test {
namespace {

using core::GemmProvider, core::IsaTier, core::ProcessorFeatures;

// Processors by what they can do, from an x86-64 without SSE3 up; each adds to the one before.
ProcessorFeatures sse3() { ProcessorFeatures f; f.sse3 = true; return f; }
ProcessorFeatures ssse3() { auto f = sse3(); f.ssse3 = true; return f; }
ProcessorFeatures sse4_2() { auto f = ssse3(); f.sse4_2 = true; return f; }
ProcessorFeatures avx() { auto f = sse4_2(); f.avx = true; return f; }
ProcessorFeatures avx2() { auto f = avx(); f.avx2 = f.fma = true; return f; }
ProcessorFeatures avx512() { auto f = avx2(); f.avx512f = f.avx512dq = f.avx512bw = f.avx512vl = true; return f; }
ProcessorFeatures bf16() { auto f = avx512(); f.avx512bf16 = true; return f; }
ProcessorFeatures amd(ProcessorFeatures f) { f.amd = true; return f; }
ProcessorFeatures without(ProcessorFeatures f, bool ProcessorFeatures::*flag) { f.*flag = false; return f; }

struct ChoiceCase {
  const char *processor;
  ProcessorFeatures features;
  const char *kernels;  // null: none
};
void PrintTo(const ChoiceCase &c, std::ostream *os) { *os << c.processor; }
class ProviderKernelChoice : public ::testing::TestWithParam<ChoiceCase> {};

TEST_P(ProviderKernelChoice, IsTheBestSetTheProcessorRuns) {
  const char *chosen = core::provider_kernels_for(GetParam().features);
  EXPECT_STREQ(chosen ? chosen : "none", GetParam().kernels ? GetParam().kernels : "none");
}

INSTANTIATE_TEST_SUITE_P(
    Processors, ProviderKernelChoice,
    ::testing::Values(
        ChoiceCase{"AVX-512 with bfloat16 (family 6 model 207)", bf16(), "Cooperlake"},
        ChoiceCase{"AVX-512 without bfloat16", avx512(), "SkylakeX"},
        // AVX-512 foundation alone (no DQ, BW, VL) does not run the AVX-512 sets.
        ChoiceCase{"AVX-512 foundation only", without(without(avx512(), &ProcessorFeatures::avx512dq),
                                                      &ProcessorFeatures::avx512bw), "Haswell"},
        ChoiceCase{"bfloat16 without AVX-512 VL", without(bf16(), &ProcessorFeatures::avx512vl), "Haswell"},
        ChoiceCase{"AMD with AVX-512 and bfloat16", amd(bf16()), "Cooperlake"},
        ChoiceCase{"AMD with AVX2", amd(avx2()), "Zen"},
        ChoiceCase{"AVX2", avx2(), "Haswell"},
        ChoiceCase{"AVX2 without FMA", without(avx2(), &ProcessorFeatures::fma), "Sandybridge"},
        ChoiceCase{"AVX", avx(), "Sandybridge"},
        ChoiceCase{"AMD with AVX", amd(avx()), "Sandybridge"},
        ChoiceCase{"SSE4.2", sse4_2(), "Nehalem"},
        ChoiceCase{"SSSE3", ssse3(), "Core2"},
        ChoiceCase{"SSE3", sse3(), "Prescott"},
        ChoiceCase{"x86-64 without SSE3", ProcessorFeatures{}, nullptr},
        ChoiceCase{"AVX-512 without SSE3", without(bf16(), &ProcessorFeatures::sse3), nullptr}));

TEST(ProviderKernelTier, ReadsTheProvidersNamesInAnyCase) {
  IsaTier tier = IsaTier::baseline;
  ASSERT_TRUE(core::provider_kernel_tier("haswell", tier));
  EXPECT_EQ(tier, IsaTier::avx2);
  ASSERT_TRUE(core::provider_kernel_tier("COOPERLAKE", tier));
  EXPECT_EQ(tier, IsaTier::avx512_bf16);
  EXPECT_FALSE(core::provider_kernel_tier("Bulldozer", tier));
  EXPECT_FALSE(core::provider_kernel_tier(nullptr, tier));
}

TEST(Provider, BindsOnFirstUseAndStartsNoThread) {
  const ProbeResult r = run_probe({"provider"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(field(r.out, "path_before"), "none");
  EXPECT_NE(field(r.out, "path_after"), "none");
  EXPECT_EQ(field(r.out, "threads_after"), field(r.out, "threads_before"));
  EXPECT_EQ(field(r.out, "product_ok"), "1");
  EXPECT_EQ(field(r.out, "openblas_threads_env"), "unset");
  // The same file named through the environment binds the same way, holds the
  // provider to one thread whatever the caller asked of it, and gives the
  // caller's setting back.
  const std::string path = field(r.out, "path_after");
  const ProbeResult named = run_probe({"provider"}, {"ORB_PROVIDER=" + path, "OPENBLAS_NUM_THREADS=4"});
  EXPECT_EQ(named.exit_code, 0) << named.err;
  EXPECT_EQ(field(named.out, "path_after"), path);
  EXPECT_EQ(field(named.out, "threads_after"), field(named.out, "threads_before"));
  EXPECT_EQ(field(named.out, "openblas_threads_env"), "4");
}

// The caller's OPENBLAS_CORETYPE never chooses orb's kernel set and is given
// back untouched; ORB_PROVIDER_CORETYPE does choose it, and an empty one
// leaves the choice to the core.  Prescott and Sandybridge stand for sets
// below the best of any processor that runs AVX2 or AVX-512.
struct KernelCase {
  std::vector<std::string> env;
  const char *kernels;        // expected set; null: the core's choice for this processor
  const char *caller_value;   // OPENBLAS_CORETYPE afterwards
};

void PrintTo(const KernelCase &c, std::ostream *os) {
  for (const auto &e : c.env) *os << e << ' ';
}
class ProviderKernels : public ::testing::TestWithParam<KernelCase> {};

TEST_P(ProviderKernels, AreOrbsChoiceAndLeaveTheCallersVariableAlone) {
  const KernelCase &c = GetParam();
  const char *best = core::provider_kernels_for(core::this_processor());
  if (!best && !c.kernels) GTEST_SKIP() << "this processor runs none of the provider's kernel sets";
  const ProbeResult r = run_probe({"provider"}, c.env);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(field(r.out, "product_ok"), "1");
  if (field(r.out, "kernel_set").empty()) GTEST_SKIP() << "the provider does not name its kernel set";
  EXPECT_STRCASEEQ(field(r.out, "kernel_set").c_str(), c.kernels ? c.kernels : best);
  EXPECT_EQ(field(r.out, "openblas_coretype_env"), c.caller_value);
}

INSTANTIATE_TEST_SUITE_P(
    Environments, ProviderKernels,
    ::testing::Values(KernelCase{{}, nullptr, "unset"},
                      KernelCase{{"OPENBLAS_CORETYPE=Haswell"}, nullptr, "Haswell"},
                      KernelCase{{"OPENBLAS_CORETYPE=Prescott"}, nullptr, "Prescott"},
                      KernelCase{{"ORB_PROVIDER_CORETYPE=", "OPENBLAS_CORETYPE=Prescott"}, nullptr, "Prescott"},
                      KernelCase{{"ORB_PROVIDER_CORETYPE=Prescott", "OPENBLAS_CORETYPE=Haswell"}, "Prescott", "Haswell"},
                      KernelCase{{"ORB_PROVIDER_CORETYPE=Sandybridge"}, "Sandybridge", "unset"}));

struct Broken {
  const char *provider, *message;
};

void PrintTo(const Broken &b, std::ostream *os) { *os << b.provider; }
class BrokenProvider : public ::testing::TestWithParam<Broken> {};

TEST_P(BrokenProvider, PrintsWhyAndExitsWithStatus69) {
  const ProbeResult r = run_probe({"provider"}, {std::string("ORB_PROVIDER=") + GetParam().provider});
  EXPECT_EQ(r.exit_code, 69);
  EXPECT_NE(r.err.find(GetParam().message), std::string::npos) << r.err;
  EXPECT_EQ(field(r.out, "product_ok"), "");
}

INSTANTIATE_TEST_SUITE_P(Files, BrokenProvider,
                         ::testing::Values(Broken{"/nonexistent/libblas.so", "cannot load the kernel provider /nonexistent/libblas.so"},
                                           Broken{"libm.so.6", "libm.so.6 lacks the routine sgemm_"}));



struct RouteCase {
  core::GemmRouteCase c;
  GemmProvider expected;
};
class GemmRoute : public ::testing::TestWithParam<RouteCase> {};

TEST_P(GemmRoute, SendsEachProductToTheProviderMeasuredFaster) {
  EXPECT_EQ(core::gemm_provider_for(GetParam().c), GetParam().expected);
}

constexpr auto kFirst = GemmProvider::first;
constexpr auto kSecond = GemmProvider::second;
constexpr auto kRealForm = GemmProvider::second_real_form;
// precision, transposed, m, n, k, on cache lines, strict, second provider on AVX-512 kernels
INSTANTIATE_TEST_SUITE_P(Shallow, GemmRoute,
                         ::testing::Values(RouteCase{{'d', false, 125, 125, 64, true, false, false}, kSecond},
                                           RouteCase{{'d', false, 1000, 1000, 1, true, false, false}, kSecond},
                                           RouteCase{{'d', false, 32, 32, 16, true, false, false}, kSecond},
                                           RouteCase{{'d', false, 32, 32, 15, true, false, false}, kFirst},
                                           RouteCase{{'d', false, 1000, 1000, 65, true, false, false}, kFirst},
                                           RouteCase{{'d', true, 1000, 1000, 32, true, false, false}, kFirst},
                                           RouteCase{{'d', false, 1000, 1000, 32, false, false, false}, kFirst},
                                           RouteCase{{'d', false, 1000, 1000, 32, true, true, false}, kFirst},
                                           RouteCase{{'s', false, 1000, 1000, 32, true, false, false}, kFirst},
                                           RouteCase{{'z', false, 1000, 1000, 32, true, false, false}, kFirst}));
TEST(Level3Route, FollowsTheWideRuleOutsideStrictMode) {
  EXPECT_TRUE(core::level3_goes_to_second(6.1e6, false, true));
  EXPECT_FALSE(core::level3_goes_to_second(6e6, false, true));
  EXPECT_FALSE(core::level3_goes_to_second(1e9, true, true));
  EXPECT_FALSE(core::level3_goes_to_second(1e9, false, false));
}

INSTANTIATE_TEST_SUITE_P(Wide, GemmRoute,
                         ::testing::Values(RouteCase{{'d', true, 2000, 2000, 2000, false, false, true}, kSecond},
                                           RouteCase{{'d', false, 200, 200, 151, true, false, true}, kSecond},
                                           RouteCase{{'d', false, 200, 200, 150, true, false, true}, kFirst},
                                           RouteCase{{'d', false, 4000, 64, 4000, true, false, true}, kFirst},
                                           RouteCase{{'d', false, 65, 4000, 4000, true, false, true}, kSecond},
                                           RouteCase{{'z', true, 1000, 1000, 1000, false, false, true}, kRealForm},
                                           RouteCase{{'z', false, 320, 320, 320, true, false, true}, kRealForm},
                                           RouteCase{{'z', false, 300, 300, 300, true, false, true}, kFirst},
                                           RouteCase{{'z', false, 64, 4000, 4000, true, false, true}, kFirst},
                                           RouteCase{{'z', false, 1000, 1000, 1000, true, true, true}, kFirst},
                                           RouteCase{{'s', false, 2000, 2000, 2000, true, false, true}, kFirst},
                                           RouteCase{{'c', false, 1000, 1000, 1000, true, false, true}, kFirst},
                                           RouteCase{{'d', false, 2000, 2000, 2000, true, true, true}, kFirst}));

// The probe's four products in a fresh process: one the rule routes, one too
// deep, one transposed, one off the cache lines.
struct ProbeCase {
  std::vector<std::string> env;
  const char *routed_calls;  // calls of the routed product that reached the stand-in; "-1": it is not loaded
  const char *path;          // the second provider's path; null: the real one, where installed
  const char *message;       // on the error stream; "": nothing
};
void PrintTo(const ProbeCase &c, std::ostream *os) {
  for (const auto &e : c.env) *os << e << ' ';
}
class Provider2 : public ::testing::TestWithParam<ProbeCase> {};

TEST_P(Provider2, ReceivesTheRoutedProductAloneOrNothing) {
  const ProbeCase &c = GetParam();
  const ProbeResult r = run_probe({"provider2"}, c.env);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  // The stand-in runs the core's configuration for this processor, so which
  // rule applies follows from it.
  IsaTier tier = IsaTier::baseline;
  const bool wide = core::provider2_config_tier(field(r.out, "config").c_str(), tier) && tier >= IsaTier::avx512;
  for (const char *p : {"shallow", "deep", "transposed", "off_lines", "large"}) {
    const bool routed = std::string(p) == (wide ? "large" : "shallow");
    EXPECT_EQ(field(r.out, std::string(p) + "_ok"), "1") << p;
    EXPECT_EQ(field(r.out, std::string(p) + "_calls"), routed || *c.routed_calls == '-' ? c.routed_calls : "0") << p;
  }
  EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  if (!*c.message) {
    EXPECT_EQ(r.err, "");
  }
  if (c.path) {
    EXPECT_EQ(field(r.out, "path"), c.path);
  }
  if (field(r.out, "path") == "none") return;
  // Whatever the caller's BLIS_ARCH_TYPE (given back), the core's configuration
  // runs: the stand-in lists its own in another order, and runs the one whose
  // number it saw at bli_init.
  EXPECT_EQ(field(r.out, "config"), core::provider2_config_for(core::this_processor()));
  EXPECT_EQ(field(r.out, "blis_arch_env"), "4");
}

const std::string kFake = std::string("ORB_PROVIDER2=") + ORB_FAKE_PROVIDER2;
INSTANTIATE_TEST_SUITE_P(
    Environments, Provider2,
    ::testing::Values(ProbeCase{{kFake, "BLIS_ARCH_TYPE=4"}, "1", ORB_FAKE_PROVIDER2, ""},
                      ProbeCase{{kFake, "BLIS_ARCH_TYPE=4", "ORB_CBWR=AUTO,STRICT"}, "0", ORB_FAKE_PROVIDER2, ""},
                      ProbeCase{{"BLIS_ARCH_TYPE=4"}, "-1", nullptr, ""},
                      ProbeCase{{"ORB_PROVIDER2=none"}, "-1", "none", ""},
                      ProbeCase{{"ORB_PROVIDER2=/nonexistent/libblis.so"}, "-1", "none",
                                "second kernel provider /nonexistent/libblis.so is not used: it cannot be loaded"},
                      ProbeCase{{"ORB_PROVIDER2=libm.so.6"}, "-1", "none",
                                "libm.so.6 is not used: it lacks the routine dgemm_"}));

// A 64-byte-aligned copy of an operand, for the products the rule routes.
struct Aligned {
  explicit Aligned(const std::vector<double> &v)
      : p(static_cast<double *>(std::aligned_alloc(64, (v.size() * sizeof(double) + 63) / 64 * 64)), &std::free) {
    std::copy(v.begin(), v.end(), p.get());
  }
  std::unique_ptr<double, decltype(&std::free)> p;
};

// C = alpha op(A) B + beta C through the core's kernel, against the naive product.
template <class T, class Kernel>
void wide_product(int t, char ta, ORB_INT m, ORB_INT n, ORB_INT k, Kernel kernel) {
  const ORB_INT lda = (ta == 'N' ? m : k) + t, ldb = k + t, ldc = m + t;
  const auto a = random_matrix<T>(ta == 'N' ? m : k, ta == 'N' ? k : m, lda, 40 + t),
             b = random_matrix<T>(k, n, ldb, 50), c0 = random_matrix<T>(m, n, ldc, 60);
  auto c = c0;
  const T alpha = narrow<T>(cld(1.5, 0.25)), beta = narrow<T>(-0.5);
  const char tb = 'N';
  kernel(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  EXPECT_TRUE(matches_gemm(c, c0, ta, 'N', m, n, k, alpha, a, lda, b, ldb, beta, ldc)) << m << 'x' << n << 'x' << k;
}

// The double level-3 kernels at a size the AVX-512 rule routes (240^3), each
// against the same result built from products: a solve undone by the
// triangular product, a rank-k and rank-2k update and a symmetric product
// against gemm on the full matrices.
TEST(Provider2Real, RoutedLevel3KernelsAgreeWithProducts) {
  const ORB_INT n = 240;
  auto a = random_matrix<double>(n, n, n, 71);
  for (ORB_INT i = 0; i < n; ++i) a[i + i * n] += 8;  // a well-conditioned triangle
  const auto b = random_matrix<double>(n, n, n, 72);
  const double one = 1, zero = 0;
  const auto close = [n](const std::vector<double> &x, const std::vector<double> &y, bool lower_only) {
    double worst = 0;
    for (ORB_INT j = 0; j < n; ++j)
      for (ORB_INT i = lower_only ? j : 0; i < n; ++i) worst = std::max(worst, std::fabs(x[i + j * n] - y[i + j * n]));
    return worst < 1e-10;
  };
  auto x = b;
  orb_blas_xdtrsm("L", "L", "N", "N", &n, &n, &one, a.data(), &n, x.data(), &n);
  orb_blas_xdtrmm("L", "L", "N", "N", &n, &n, &one, a.data(), &n, x.data(), &n);
  EXPECT_TRUE(close(x, b, false)) << "trsm then trmm";
  // The full symmetric matrix whose lower triangle a holds.
  auto full = a;
  for (ORB_INT j = 0; j < n; ++j)
    for (ORB_INT i = 0; i < j; ++i) full[i + j * n] = a[j + i * n];
  std::vector<double> got(n * n), want(n * n);
  orb_blas_xdsymm("L", "L", &n, &n, &one, a.data(), &n, b.data(), &n, &zero, got.data(), &n);
  orb_blas_xdgemm("N", "N", &n, &n, &n, &one, full.data(), &n, b.data(), &n, &zero, want.data(), &n);
  EXPECT_TRUE(close(got, want, false)) << "symm";
  orb_blas_xdsyrk("L", "N", &n, &n, &one, b.data(), &n, &zero, got.data(), &n);
  orb_blas_xdgemm("N", "T", &n, &n, &n, &one, b.data(), &n, b.data(), &n, &zero, want.data(), &n);
  EXPECT_TRUE(close(got, want, true)) << "syrk";
  orb_blas_xdsyr2k("L", "N", &n, &n, &one, a.data(), &n, b.data(), &n, &zero, got.data(), &n);
  orb_blas_xdgemm("N", "T", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, want.data(), &n);
  orb_blas_xdgemm("N", "T", &n, &n, &n, &one, b.data(), &n, a.data(), &n, &one, want.data(), &n);
  EXPECT_TRUE(close(got, want, true)) << "syr2k";
}

// Routed products (depth up to 64, operands starting on cache lines) from four
// threads at once on the real second provider, each against the naive product.
TEST(Provider2Real, RoutedProductsAreRightFromConcurrentCallers) {
  if (!orb_serv_provider2_path()) GTEST_SKIP() << "no second provider: not installed (scripts/setup.sh), or an AddressSanitizer build";
  const auto caller = [](int t) {
    for (ORB_INT k : {1, 17, 64})
      for (ORB_INT m : {8 * t + 5, 96}) {
        const ORB_INT n = 40 + t, ld = std::max(m, k) + t;  // columns need not start on cache lines
        const std::vector<double> a = random_matrix<double>(m, k, ld, 10 + t), b = random_matrix<double>(k, n, ld, 20),
                                  c0 = random_matrix<double>(m, n, ld, 30);
        Aligned pa(a), pb(b), pc(c0);
        const double alpha = 1.5, beta = -0.5;
        orb_blas_xdgemm("N", "N", &m, &n, &k, &alpha, pa.p.get(), &ld, pb.p.get(), &ld, &beta, pc.p.get(), &ld);
        const std::vector<double> c(pc.p.get(), pc.p.get() + c0.size());
        EXPECT_TRUE(matches_gemm(c, c0, 'N', 'N', m, n, k, alpha, a, ld, b, ld, beta, ld)) << m << 'x' << n << 'x' << k;
      }
    // Products that go to a second provider on AVX-512 kernels.
    wide_product<double>(t, 'T', 200, 210, 160, orb_blas_xdgemm);
    wide_product<ORB_Complex16>(t, 'C', 100, 100, 100, orb_blas_xzgemm);
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) threads.emplace_back(caller, t);
  for (auto &th : threads) th.join();
}

}  // namespace
}  // namespace orb::test
