// Binding the kernel provider, in a fresh process each time.
#include "blas/provider_kernels.hpp"
#include "process.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orb::test {
namespace {

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
  const char *best = orb::core::provider_kernels_for(orb::core::this_processor());
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

}  // namespace
}  // namespace orb::test
