// The verbose report: time units, reproducibility and interface words, the
// output file and its fallback, and the header printed once per process.
//
// Cases that need a fresh header or the environment's output file run the
// verbose probe; the others run here with the core's reproducibility mode,
// memory manager status and output file name interposed.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orb/orb_service.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>

#include "capture.hpp"
#include "probe.hpp"

namespace {

// What the interposed core services answer; -1 / nullptr: ask the core.
std::atomic<int> forced_cbwr{-1};
std::atomic<int> forced_fast_mm{-1};
std::atomic<const char *> forced_output_file{nullptr};

template <class F>
F next_definition(const char *name) {
  return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int orb_serv_cbwr_get(int what) {
  const int word = forced_cbwr.load();
  if (word < 0) {
    static auto core = next_definition<int (*)(int)>("orb_serv_cbwr_get");
    return core(what);
  }
  return what == -1 ? word : (word & ~ORB_CBWR_STRICT);
}

extern "C" int orb_serv_get_fast_mm_status(void) {
  const int status = forced_fast_mm.load();
  if (status < 0) {
    static auto core = next_definition<int (*)()>("orb_serv_get_fast_mm_status");
    return core();
  }
  return status;
}

extern "C" const char *orb_serv_verbose_output_file_mode(void) {
  const char *name = forced_output_file.load();
  if (!name) {
    static auto core = next_definition<const char *(*)()>("orb_serv_verbose_output_file_mode");
    return core();
  }
  return name;
}

namespace {

using orb::test::lines_with;
using orb::test::OutputCapture;
using orb::test::run_probe;

class VerboseLine : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The header belongs to the first report of the process; print it here
    // so that every case below sees its own line only.
    OutputCapture quiet;
    forced_output_file = "";
    orb_serv_print_verbose_header(1);
    forced_output_file = nullptr;
  }
  void SetUp() override {
    forced_cbwr = 1;
    forced_fast_mm = 0;
    forced_output_file = "";
  }
  void TearDown() override {
    forced_cbwr = -1;
    forced_fast_mm = -1;
    forced_output_file = nullptr;
  }

  // The one line that a single report writes to standard output.
  static std::string report(double seconds, const char *text = "CALL") {
    OutputCapture capture;
    orb_serv_print_verbose_info(1, text, seconds);
    capture.finish();
    EXPECT_EQ(capture.err(), "");
    return capture.out();
  }
};

struct TimeCase {
  double seconds;
  const char *text;
};
void PrintTo(const TimeCase &c, std::ostream *os) { *os << std::setprecision(10) << c.seconds; }

class VerboseTime : public VerboseLine, public ::testing::WithParamInterface<TimeCase> {};

// Each unit is used while the value in it exceeds 1; a value of exactly 1 reads
// in the next smaller unit.
TEST_P(VerboseTime, PrintsTheLargestUnitAboveOne) {
  const TimeCase c = GetParam();
  EXPECT_EQ(report(c.seconds), std::string("ORB_VERBOSE CALL ") + c.text + " CNR:OFF Dyn:1 FastMM:1\n");
}

INSTANTIATE_TEST_SUITE_P(Units, VerboseTime,
                         ::testing::Values(TimeCase{2.5, "2.50s"}, TimeCase{1.0000001, "1.00s"},
                                           TimeCase{1.0, "1000.00ms"}, TimeCase{0.5, "500.00ms"},
                                           TimeCase{0.0015, "1.50ms"}, TimeCase{0.0005, "500.00us"},
                                           TimeCase{0.0000015, "1.50us"}, TimeCase{0.0000005, "500ns"},
                                           TimeCase{1e-9, "1ns"}, TimeCase{0.0, "0.00s"}, TimeCase{-3.0, "0.00s"},
                                           TimeCase{-std::numeric_limits<double>::min(), "0.00s"},
                                           TimeCase{std::numeric_limits<double>::quiet_NaN(), "0.00s"}));

struct CbwrCase {
  int word;  // as orb_serv_cbwr_get(-1) answers, strict bit included
  const char *text;
};
void PrintTo(const CbwrCase &c, std::ostream *os) { *os << c.text; }

class VerboseReproducibility : public VerboseLine, public ::testing::WithParamInterface<CbwrCase> {};

TEST_P(VerboseReproducibility, NamesTheBranchAndStrictMode) {
  forced_cbwr = GetParam().word;
  EXPECT_EQ(report(2.5), std::string("ORB_VERBOSE CALL 2.50s CNR:") + GetParam().text + " Dyn:1 FastMM:1\n");
}

INSTANTIATE_TEST_SUITE_P(Codes, VerboseReproducibility,
                         ::testing::Values(CbwrCase{1, "OFF"}, CbwrCase{2, "AUTO"}, CbwrCase{3, "COMPATIBLE"},
                                           CbwrCase{4, "SSE2"}, CbwrCase{6, "SSSE3"}, CbwrCase{7, "SSE4_1"},
                                           CbwrCase{8, "SSE4_2"}, CbwrCase{9, "AVX"}, CbwrCase{10, "AVX2"},
                                           CbwrCase{12, "AVX512"},
                                           // Codes without a word print in hexadecimal.
                                           CbwrCase{0, "?0"}, CbwrCase{5, "?5"}, CbwrCase{11, "?b"}, CbwrCase{13, "?d"},
                                           CbwrCase{ORB_CBWR_STRICT | 10, "AVX2,STRICT"},
                                           CbwrCase{ORB_CBWR_STRICT | 5, "?5,STRICT"}));

TEST_F(VerboseLine, FastMemoryManagerOffPrintsZero) {
  forced_fast_mm = 1;
  EXPECT_EQ(report(2.5), "ORB_VERBOSE CALL 2.50s CNR:OFF Dyn:1 FastMM:0\n");
}

TEST_F(VerboseLine, NullCallTextPrintsAnEmptyDescription) {
  EXPECT_EQ(report(2.5, nullptr), "ORB_VERBOSE  2.50s CNR:OFF Dyn:1 FastMM:1\n");
}

struct IfaceCase {
  int iface;
  const char *word;
};
void PrintTo(const IfaceCase &c, std::ostream *os) { *os << c.iface; }

class VerboseIfaceWord : public ::testing::TestWithParam<IfaceCase> {};

TEST_P(VerboseIfaceWord, NamesTheIntegerInterface) { EXPECT_STREQ(const_str_iface(GetParam().iface), GetParam().word); }

INSTANTIATE_TEST_SUITE_P(Codes, VerboseIfaceWord,
                         ::testing::Values(IfaceCase{-1, "cdecl"}, IfaceCase{1, "lp64"}, IfaceCase{2, "ilp64"},
                                           IfaceCase{3, "iface3"}, IfaceCase{255, "ifaceff"},
                                           IfaceCase{-2, "ifacefffffffe"}));

// ---- Header, in a fresh process each ----------------------------------

// The header as this machine's version record and frequency make it, with
// `iface_word` (or nothing) before the threading layer's name.
std::string expected_header(const char *iface_word) {
  OrbVersion v = {};
  orb_serv_get_version(&v);
  char line[400];
  std::snprintf(line, sizeof line, "ORB_VERBOSE Orbix %d.%d", v.major, v.minor);
  std::string s = line;
  if (v.update > 0) s += " Update " + std::to_string(v.update);
  std::snprintf(line, sizeof line, " Patch 1 %s build %s for %s %s, Lnx %.2fGHz", v.status, v.build, v.platform,
                v.processor, orb_serv_get_max_cpu_frequency());
  s += line;
  if (iface_word) s += std::string(" ") + iface_word;
  return s + " tsq_thread";
}

class VerboseHeader : public ::testing::TestWithParam<IfaceCase> {};

TEST_P(VerboseHeader, PrintedOnceWithTheInterfaceWord) {
  const auto r = run_probe("verbose_probe", {"header", std::to_string(GetParam().iface)}, {});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, expected_header(GetParam().word) + "\n");
  EXPECT_EQ(r.err, "");
}

INSTANTIATE_TEST_SUITE_P(Codes, VerboseHeader,
                         ::testing::Values(IfaceCase{1, "lp64"}, IfaceCase{2, "ilp64"}, IfaceCase{-1, "cdecl"},
                                           IfaceCase{0, nullptr}, IfaceCase{7, "iface7"}));

TEST(VerboseHeaderOnce, ConcurrentFirstReportsPrintOneHeaderFirst) {
  constexpr int kThreads = 8;
  const auto r = run_probe("verbose_probe", {"lines", "2", std::to_string(kThreads)}, {"ORB_CBWR=AVX2"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const auto all = lines_with(r.out, "");
  ASSERT_EQ(all.size(), static_cast<size_t>(kThreads + 1)) << r.out;
  EXPECT_EQ(all[0], expected_header("ilp64"));
  for (int i = 0; i < kThreads; ++i) {
    const std::string line = "ORB_VERBOSE CALL" + std::to_string(i) + " 500.00ms CNR:AVX2 Dyn:1 FastMM:";
    EXPECT_EQ(lines_with(r.out, line).size(), 1u) << line;
  }
}

// Header and lines are appended to what the file held, nothing to stdout.
TEST(VerboseHeaderOnce, OutputFileFromTheEnvironmentTakesHeaderAndLines) {
  char name[] = "/tmp/orb_verbose_XXXXXX";
  const int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(write(fd, "earlier\n", 8), 8);
  close(fd);
  const auto r = run_probe("verbose_probe", {"lines", "1", "1"}, {std::string("ORB_VERBOSE_OUTPUT_FILE=") + name});
  std::ifstream in(name);
  std::stringstream file;
  file << in.rdbuf();
  unlink(name);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(file.str(),
            "earlier\n" + expected_header("lp64") + "\nORB_VERBOSE CALL0 500.00ms CNR:OFF Dyn:1 FastMM:1\n");
}

TEST(VerboseHeaderOnce, UnwritableOutputFileWarnsForHeaderAndEachLine) {
  const auto r =
      run_probe("verbose_probe", {"lines", "1", "2"}, {"ORB_VERBOSE_OUTPUT_FILE=/nonexistent-orb-dir/verbose.log"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.err,
            "ORB_VERBOSE WARNING: unable to open output file. Print to STDOUT\n"
            "ORB_VERBOSE WARNING: unable to open output file. Print to STDOUT\n"
            "ORB_VERBOSE WARNING: unable to open output file. Print to STDOUT\n");
  const auto all = lines_with(r.out, "");
  ASSERT_EQ(all.size(), 3u) << r.out;
  EXPECT_EQ(all[0], expected_header("lp64"));
}

}  // namespace
