// Loading the compared libraries: a missing one is reported, not fatal, and
// the provider's entry points are the 64-bit-integer ones.
#include "libraries.hpp"

#include "gemm_problem.hpp"
#include "naive_gemm.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

namespace orb::bench {
namespace {

TEST(Libraries, MissingFileIsReportedAsUnavailable) {
  const std::string nowhere = "/nonexistent/libnothing.so.0";
  for (const GemmLibrary &lib :
       {serial_provider(nowhere), openblas_pthread(nowhere, 2), blis_pthread(nowhere, 2)}) {
    EXPECT_FALSE(lib.available()) << lib.key;
    EXPECT_NE(lib.missing.find("libnothing"), std::string::npos) << lib.missing;
    EXPECT_EQ(lib.entries.d, nullptr);
  }
}

TEST(Libraries, OnlyThreadedPeersCountAsPeers) {
  const std::string nowhere = "/nonexistent/libnothing.so.0";
  EXPECT_FALSE(serial_provider(nowhere).peer);
  EXPECT_TRUE(openblas_pthread(nowhere, 2).peer);
  EXPECT_TRUE(blis_pthread(nowhere, 2).peer);
  EXPECT_FALSE(orb_library(2).peer);
  EXPECT_EQ(serial_provider(nowhere).threads, 1);
  EXPECT_EQ(blis_pthread(nowhere, 3).threads, 3);
}

class ProviderEntries : public ::testing::TestWithParam<Precision> {};

// The provider takes 64-bit integers: called any other way it would read
// garbage sizes, and its C would not match the plain loop's.
TEST_P(ProviderEntries, MatchAPlainLoop) {
  const std::string path = orb_provider_path();
  if (access(path.c_str(), R_OK) != 0) GTEST_SKIP() << path << " is not installed";
  const GemmLibrary lib = serial_provider(path);
  ASSERT_TRUE(lib.available()) << lib.missing;
  ASSERT_NE(lib.entries.get(GetParam()), nullptr);
  EXPECT_EQ(lib.abi, CallAbi::fortran_ilp64);
  // Opening it again hands back the same library, as the core's own binding does.
  EXPECT_EQ(serial_provider(path).entries.d, lib.entries.d);

  GemmProblem p({GetParam(), 70, 30, 90, "custom"});
  p.call(test::fake_library<test::Orb>(CallAbi::orb));
  p.keep_as_reference();
  p.reset_c();
  p.call(lib);
  EXPECT_LE(p.difference_from_reference(), p.tolerance());
}

INSTANTIATE_TEST_SUITE_P(Precisions, ProviderEntries, ::testing::Values(Precision::s, Precision::d, Precision::z));

TEST(Libraries, PrivateLoadingKeepsNamesApart) {
  EXPECT_EQ(private_dlopen_flags() & RTLD_GLOBAL, 0);
  EXPECT_NE(private_dlopen_flags() & RTLD_NOW, 0);
}

}  // namespace
}  // namespace orb::bench
