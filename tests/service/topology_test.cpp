// The topology decision on canned /proc/cpuinfo texts, and the APIC ID
// decomposition the probe uses.
#include "service/topology.hpp"

#include <gtest/gtest.h>

#include <ostream>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace orb::thr {
namespace {

// A cpuinfo text of `packages` packages with `cores` cores and `siblings`
// logical processors each, `processors` blocks in all.
std::string cpuinfo_text(int processors, int packages, int cores, int siblings) {
  std::string s;
  for (int p = 0; p < processors; ++p) {
    const int per_package = processors / packages;
    s += "processor\t: " + std::to_string(p) + "\n";
    s += "vendor_id\t: SomeVendor\n";
    s += "physical id\t: " + std::to_string(p / per_package) + "\n";
    s += "siblings\t: " + std::to_string(siblings) + "\n";
    s += "cpu cores\t: " + std::to_string(cores) + "\n\n";
  }
  return s;
}

class CpuinfoFile : public ::testing::Test {
 protected:
  std::string path_;
  void write(const std::string &text) {
    char name[] = "/tmp/orb_cpuinfo_XXXXXX";
    const int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(fd);
    path_ = name;
  }
  void TearDown() override {
    if (!path_.empty()) unlink(path_.c_str());
  }
};

TEST_F(CpuinfoFile, TwoPackagesWithHyperThreadingGiveSixteenCores) {
  write(cpuinfo_text(32, 2, 8, 16));
  EXPECT_EQ(count_processor_lines(path_.c_str()), 32);
  const CpuinfoCounts c = read_cpuinfo_counts(path_.c_str());
  EXPECT_EQ(c.processors, 32);
  EXPECT_EQ(c.packages, 2);
  EXPECT_EQ(c.cpu_cores, 8);
  EXPECT_EQ(c.siblings, 16);
  const Topology t = decide_topology(c, ProbeCounts{3, 1, 3});  // the probe is not consulted
  EXPECT_EQ(t.packages, 2);
  EXPECT_EQ(t.total_cores, 16);
  EXPECT_EQ(t.logical, 32);
  // The budget is packages x cores per package, with hyper-threading seen.
  EXPECT_EQ(t.packages * (t.total_cores / t.packages), 16);
  EXPECT_NE(t.total_cores, t.logical);
}

TEST_F(CpuinfoFile, OnlyTheFirstBlockGivesCoresAndSiblings) {
  write("processor : 0\nphysical id : 0\ncpu cores : 4\nsiblings : 4\n\n"
        "processor : 1\nphysical id : 0\ncpu cores : 9\nsiblings : 9\n\n"
        "processor : 2\nphysical id : 0\n\nprocessor : 3\nphysical id\nphysical id : 0\n");
  const CpuinfoCounts c = read_cpuinfo_counts(path_.c_str());
  EXPECT_EQ(c.processors, 4);
  EXPECT_EQ(c.packages, 1);  // the line without a colon is never collected
  EXPECT_EQ(c.cpu_cores, 4);
  EXPECT_EQ(c.siblings, 4);
  const Topology t = decide_topology(c, ProbeCounts{});
  EXPECT_EQ(t.total_cores, 4);
  EXPECT_EQ(t.logical, 4);
}

TEST_F(CpuinfoFile, LinesMustStartWithTheKeyword) {
  write("processor : 0\n processor : 1\nmodel name : processor X\nprocessor : 2\n");
  EXPECT_EQ(count_processor_lines(path_.c_str()), 2);
}

TEST(CpuinfoMissing, FirstReadingCountsEightThousandProcessors) {
  EXPECT_EQ(count_processor_lines("/nonexistent/cpuinfo"), 8192);
  EXPECT_FALSE(read_cpuinfo_counts("/nonexistent/cpuinfo").opened);
}

struct DecisionCase {
  const char *what;
  CpuinfoCounts file;
  ProbeCounts probe;
  Topology expected;
};
void PrintTo(const DecisionCase &c, std::ostream *os) { *os << c.what; }

class Decision : public ::testing::TestWithParam<DecisionCase> {};

TEST_P(Decision, PicksTheFileOrTheProbe) {
  const auto &c = GetParam();
  const Topology t = decide_topology(c.file, c.probe);
  EXPECT_EQ(t.packages, c.expected.packages) << c.what;
  EXPECT_EQ(t.total_cores, c.expected.total_cores) << c.what;
  EXPECT_EQ(t.logical, c.expected.logical) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    ThreeWays, Decision,
    ::testing::Values(
        DecisionCase{"no hyper-threading", {true, 8, 2, 4, 4}, {6, 1, 6}, {2, 8, 8}},
        DecisionCase{"hyper-threading", {true, 16, 1, 8, 16}, {6, 1, 6}, {1, 8, 16}},
        DecisionCase{"inconsistent counts use the probe", {true, 12, 1, 8, 16}, {6, 2, 12}, {2, 6, 12}},
        DecisionCase{"missing cpu cores uses the probe", {true, 4, 1, 0, 4}, {4, 1, 4}, {1, 4, 4}},
        DecisionCase{"unreadable file uses the probe", {false, 0, 0, 0, 0}, {3, 0, 3}, {3, 3, 3}}));

TEST(ApicDecomposition, SplitsThreadCoreAndPackageBits) {
  EXPECT_EQ(id_width(1), 0);
  EXPECT_EQ(id_width(2), 1);
  EXPECT_EQ(id_width(8), 3);
  EXPECT_EQ(id_width(9), 4);
  // 2 threads per core, 8 cores, 16 logical per package: APIC 0b1'0011 is
  // thread 1 of core 1 (bits 1-3) of package 1 (bits 4 and up).
  EXPECT_EQ(core_id_of(0x13, 2, 8), 0x2u);
  EXPECT_EQ(package_id_of(0x13, 16), 0x10u);
  // One thread and one core per package: the core ID is empty and the package
  // ID is the whole APIC ID, so every processor counts as a core of its own.
  EXPECT_EQ(core_id_of(0x5, 1, 1), 0u);
  EXPECT_EQ(package_id_of(0x5, 1), 0x5u);
}

}  // namespace
}  // namespace orb::thr
