// Binding the kernel provider, in a fresh process each time.
#include "process.hpp"

#include <gtest/gtest.h>

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

// On AMD family 19h parts the provider is asked for its AVX2 kernels for AMD,
// unless the caller named a kernel set; either way the environment is given
// back as it was.
TEST(Provider, KernelSetIsOursUnlessTheCallerChoseOne) {
  const ProbeResult plain = run_probe({"provider"});
  ASSERT_EQ(plain.exit_code, 0) << plain.err;
  EXPECT_EQ(field(plain.out, "openblas_coretype_env"), "unset");
  if (field(plain.out, "kernel_set").empty()) GTEST_SKIP() << "the provider does not name its kernel set";
  __builtin_cpu_init();
  if (__builtin_cpu_is("amdfam19h")) {
    EXPECT_EQ(field(plain.out, "kernel_set"), "Zen");
  }
  const ProbeResult chosen = run_probe({"provider"}, {"OPENBLAS_CORETYPE=Haswell"});
  ASSERT_EQ(chosen.exit_code, 0) << chosen.err;
  EXPECT_EQ(field(chosen.out, "kernel_set"), "Haswell");
  EXPECT_EQ(field(chosen.out, "openblas_coretype_env"), "Haswell");
}

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
