// The topology decision on canned /proc/cpuinfo texts, and the APIC ID
// decomposition the probe uses.
#include "service/topology.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <tuple>

namespace orb::thr {
namespace {

auto fields(const CpuinfoCounts &c) { return std::make_tuple(c.opened, c.processors, c.packages, c.cpu_cores, c.siblings); }
auto fields(const Topology &t) { return std::make_tuple(t.packages, t.total_cores, t.logical); }

// `processors` blocks over `packages` packages, each saying `cores` cores and `siblings` logical processors.
std::string cpuinfo_text(int processors, int packages, int cores, int siblings) {
  std::string s;
  for (int p = 0; p < processors; ++p)
    s += "processor\t: " + std::to_string(p) + "\nvendor_id\t: SomeVendor\nphysical id\t: " +
         std::to_string(p / (processors / packages)) + "\nsiblings\t: " + std::to_string(siblings) +
         "\ncpu cores\t: " + std::to_string(cores) + "\n\n";
  return s;
}

// Each text: the first reading's processor lines, and the second reading's
// counts (not looked at when not `opened`).
TEST(CpuinfoFile, BothReadingsCountByTheirRules) {
  const std::tuple<const char *, std::string, int, CpuinfoCounts> cases[] = {
      {"two packages with hyper-threading", cpuinfo_text(32, 2, 8, 16), 32, {true, 32, 2, 8, 16}},
      // Only the first block gives cores and siblings; a line without a colon is never collected.
      {"first block only",
       "processor : 0\nphysical id : 0\ncpu cores : 4\nsiblings : 4\n\n"
       "processor : 1\nphysical id : 0\ncpu cores : 9\nsiblings : 9\n\n"
       "processor : 2\nphysical id : 0\n\nprocessor : 3\nphysical id\nphysical id : 0\n",
       4,
       {true, 4, 1, 4, 4}},
      {"keyword at line start", "processor : 0\n processor : 1\nmodel name : processor X\nprocessor : 2\n", 2, {}}};
  for (const auto &[what, text, processor_lines, want] : cases) {
    char name[] = "/tmp/orb_cpuinfo_XXXXXX";
    const int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    const int lines = count_processor_lines(name);
    const CpuinfoCounts counts = read_cpuinfo_counts(name);
    unlink(name);
    ASSERT_TRUE(written);
    EXPECT_EQ(lines, processor_lines) << what;
    if (want.opened) EXPECT_EQ(fields(counts), fields(want)) << what;
  }
}

TEST(CpuinfoMissing, FirstReadingCountsEightThousandProcessors) {
  EXPECT_EQ(count_processor_lines("/nonexistent/cpuinfo"), 8192);
  EXPECT_FALSE(read_cpuinfo_counts("/nonexistent/cpuinfo").opened);
}

// The file's counts when they are consistent, else the probe's.
TEST(Topology, DecisionPicksTheFileOrTheProbe) {
  const std::tuple<const char *, CpuinfoCounts, ProbeCounts, Topology> cases[] = {
      {"no hyper-threading", {true, 8, 2, 4, 4}, {6, 1, 6}, {2, 8, 8}},
      {"hyper-threading", {true, 32, 2, 8, 16}, {3, 1, 3}, {2, 16, 32}},
      {"inconsistent counts use the probe", {true, 12, 1, 8, 16}, {6, 2, 12}, {2, 6, 12}},
      {"missing cpu cores uses the probe", {true, 4, 1, 0, 4}, {4, 1, 4}, {1, 4, 4}},
      {"unreadable file uses the probe", {false, 0, 0, 0, 0}, {3, 0, 3}, {3, 3, 3}}};
  for (const auto &[what, file, probe, want] : cases) EXPECT_EQ(fields(decide_topology(file, probe)), fields(want)) << what;
}

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
