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
