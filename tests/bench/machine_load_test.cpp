// Other processes' share of the CPUs during a measurement.
#include "machine_load.hpp"

#include <gtest/gtest.h>

namespace orb::bench {
namespace {

TEST(ParseCpuLine, BusyIsEverythingButIdleAndIoWait) {
  double busy = 0, total = 0;
  // user nice system idle iowait irq softirq steal guest guest_nice
  ASSERT_TRUE(parse_cpu_line("cpu  100 5 20 800 10 1 2 3 50 0", busy, total));
  EXPECT_DOUBLE_EQ(total, 941);  // guest time is part of user already
  EXPECT_DOUBLE_EQ(busy, 131);
  ASSERT_TRUE(parse_cpu_line("cpu 1 2 3 4", busy, total));  // old kernels: four fields
  EXPECT_DOUBLE_EQ(busy, 6);
  EXPECT_FALSE(parse_cpu_line("cpu0 1 2 3 4 5", busy, total));
  EXPECT_FALSE(parse_cpu_line("cpu 1 2", busy, total));
  EXPECT_FALSE(parse_cpu_line("", busy, total));
}

TEST(OthersShare, SystemTimeMinusOwnOverWallTimesCpus) {
  // 2 s of wall time on 4 CPUs: 8 CPU-seconds.  The system was busy 5 s of
  // them, 3 of which were this process: others used 2 of 8.
  const CpuSample before{100, 10, 1000, true}, after{105, 13, 1002, true};
  EXPECT_DOUBLE_EQ(others_share(before, after, 4), 0.25);
  // Tick rounding may make own time exceed the system's: never below 0.
  EXPECT_DOUBLE_EQ(others_share(before, {101, 13, 1002, true}, 4), 0.0);
  EXPECT_LT(others_share(before, {105, 13, 1002, false}, 4), 0);
  EXPECT_LT(others_share(before, before, 4), 0);  // no time passed
}

TEST(SampleCpu, ReadsThisMachine) {
  const CpuSample a = sample_cpu();
  ASSERT_TRUE(a.valid);
  volatile double x = 0;
  for (int i = 0; i < 2000000; ++i) x = x + 1e-9 * i;
  const CpuSample b = sample_cpu();
  EXPECT_GE(b.own_s, a.own_s);
  EXPECT_GE(b.system_busy_s, a.system_busy_s);
  EXPECT_GE(b.wall_s, a.wall_s);
}

}  // namespace
}  // namespace orb::bench
