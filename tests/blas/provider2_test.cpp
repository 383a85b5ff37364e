// The second kernel provider: the routing rule, which products reach it (the
// tests' stand-in, named in ORB_PROVIDER2, counts them), the first provider
// doing everything without it, the caller's BLIS_ARCH_TYPE given back, and the
// real one's products right from several threads at once.
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

using core::GemmProvider;

struct RouteCase {
  core::GemmRouteCase c;
  GemmProvider expected;
};
class GemmRoute : public ::testing::TestWithParam<RouteCase> {};

TEST_P(GemmRoute, SendsOnlyShallowAlignedUntransposedDoubleProductsToTheSecond) {
  EXPECT_EQ(core::gemm_provider_for(GetParam().c), GetParam().expected);
}

// precision, transposed, k, m n k, on cache lines, strict
INSTANTIATE_TEST_SUITE_P(Products, GemmRoute,
                         ::testing::Values(RouteCase{{'d', false, 64, 1e6, true, false}, GemmProvider::second},
                                           RouteCase{{'d', false, 1, 1e6, true, false}, GemmProvider::second},
                                           RouteCase{{'d', false, 16, 16384, true, false}, GemmProvider::second},
                                           RouteCase{{'d', false, 16, 16383, true, false}, GemmProvider::first},
                                           RouteCase{{'d', false, 65, 1e6, true, false}, GemmProvider::first},
                                           RouteCase{{'d', true, 32, 1e6, true, false}, GemmProvider::first},
                                           RouteCase{{'d', false, 32, 1e6, false, false}, GemmProvider::first},
                                           RouteCase{{'d', false, 32, 1e6, true, true}, GemmProvider::first},
                                           RouteCase{{'s', false, 32, 1e6, true, false}, GemmProvider::first},
                                           RouteCase{{'z', false, 32, 1e6, true, false}, GemmProvider::first}));

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
  for (const char *p : {"routed", "deep", "transposed", "off_lines"}) {
    EXPECT_EQ(field(r.out, std::string(p) + "_ok"), "1") << p;
    EXPECT_EQ(field(r.out, std::string(p) + "_calls"), *p == 'r' || *c.routed_calls == '-' ? c.routed_calls : "0") << p;
  }
  EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  if (!*c.message) EXPECT_EQ(r.err, "");
  if (c.path) EXPECT_EQ(field(r.out, "path"), c.path);
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
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) threads.emplace_back(caller, t);
  for (auto &th : threads) th.join();
}

}  // namespace
}  // namespace orb::test
