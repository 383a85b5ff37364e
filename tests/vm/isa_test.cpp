// The 256- and 128-bit SLEEF sets, which this machine's processor would not
// pick, held in place by ORB_VM_ISA in a process of their own: the same
// accuracy as the widest set.
#include "process.hpp"

#include <gtest/gtest.h>

#include <string>

namespace orb::test {
namespace {

class VmIsa : public ::testing::TestWithParam<const char *> {};

TEST_P(VmIsa, EverySetKeepsTheOneUlpBound) {
  const ProbeResult r = run_probe({"vm-isa"}, {std::string("ORB_VM_ISA=") + GetParam()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::string worst = field(r.out, "max_ulps");
  ASSERT_FALSE(worst.empty()) << r.out;
  EXPECT_LE(std::stod(worst), 1.0) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Vm, VmIsa, ::testing::Values("avx2", "sse2", "widest"),
                         [](const auto &info) { return std::string(info.param); });

}  // namespace
}  // namespace orb::test
