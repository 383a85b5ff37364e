// The verbose report: time units, reproducibility and interface words, the
// output file and its fallback, and the header printed once per process.
//
// Cases that need a fresh header or the environment's output file run the
// probe, which stands in for the core's version record and frequency; the
// others run here, writing to standard output, with the core's
// reproducibility mode and memory manager status interposed.
#include <gtest/gtest.h>
#include <orb/orb_service.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "hooks.hpp"
#include "process.hpp"

namespace {

// What the interposed core services answer; -1: ask the core.
std::atomic<int> forced_cbwr{-1};
std::atomic<int> forced_fast_mm{-1};

}  // namespace

extern "C" int orb_serv_cbwr_get(int what) {
  static const auto core = ORB_TEST_NEXT(orb_serv_cbwr_get);
  const int word = forced_cbwr.load();
  return word < 0 ? core(what) : what == -1 ? word : (word & ~ORB_CBWR_STRICT);
}

extern "C" int orb_serv_get_fast_mm_status(void) {
  static const auto core = ORB_TEST_NEXT(orb_serv_get_fast_mm_status);
  const int status = forced_fast_mm.load();
  return status < 0 ? core() : status;
}

namespace {

using orb::test::lines_with;
using orb::test::OutputCapture;
using orb::test::ProbeResult;
using orb::test::run_probe;

struct LineCase {
  double seconds;
  const char *time;           // as printed
  int cbwr = 1;               // as orb_serv_cbwr_get(-1) answers, strict bit included
  const char *cnr = "OFF";    // as printed
  int fast_mm = 0;            // the memory manager's status
  const char *fast_mm_text = "1";
  const char *text = "CALL";  // the call's description
};
void PrintTo(const LineCase &c, std::ostream *os) { *os << c.time << " CNR:" << c.cnr << " FastMM:" << c.fast_mm_text; }
class VerboseLines : public ::testing::TestWithParam<LineCase> {
 protected:
  static void SetUpTestSuite() {
    // The header belongs to the first report of the process; print it here
    // so that every case below sees its own line only.
    OutputCapture quiet;
    orb_serv_print_verbose_header(1);
  }
  void TearDown() override {
    forced_cbwr = -1;
    forced_fast_mm = -1;
  }
};

TEST_P(VerboseLines, OneReportWritesOneLine) {
  const LineCase &c = GetParam();
  forced_cbwr = c.cbwr;
  forced_fast_mm = c.fast_mm;
  OutputCapture capture;
  orb_serv_print_verbose_info(1, c.text, c.seconds);
  capture.finish();
  EXPECT_EQ(capture.out(), std::string("ORB_VERBOSE ") + (c.text ? c.text : "") + " " + c.time + " CNR:" + c.cnr +
                               " Dyn:1 FastMM:" + c.fast_mm_text + "\n");
  EXPECT_EQ(capture.err(), "");
}

// Each time unit is used while the value in it exceeds 1; a value of exactly 1
// reads in the next smaller unit.
INSTANTIATE_TEST_SUITE_P(Units, VerboseLines,
                         ::testing::Values(LineCase{2.5, "2.50s"}, LineCase{1.0000001, "1.00s"},
                                           LineCase{1.0, "1000.00ms"}, LineCase{0.5, "500.00ms"},
                                           LineCase{0.0015, "1.50ms"}, LineCase{0.0005, "500.00us"},
                                           LineCase{0.0000015, "1.50us"}, LineCase{0.0000005, "500ns"},
                                           LineCase{1e-9, "1ns"}, LineCase{0.0, "0.00s"}, LineCase{-3.0, "0.00s"},
                                           LineCase{-std::numeric_limits<double>::min(), "0.00s"},
                                           LineCase{std::numeric_limits<double>::quiet_NaN(), "0.00s"}));

// The reproducibility branch by name, in hexadecimal where it has none (the
// gaps 5 and 11 among the named codes), and strict mode; the memory manager's
// status 1 (off) prints 0; a null call text prints an empty description.
INSTANTIATE_TEST_SUITE_P(Settings, VerboseLines,
                         ::testing::Values(LineCase{2.5, "2.50s", 2, "AUTO"}, LineCase{2.5, "2.50s", 12, "AVX512"},
                                           LineCase{2.5, "2.50s", 0, "?0"}, LineCase{2.5, "2.50s", 11, "?b"},
                                           LineCase{2.5, "2.50s", ORB_CBWR_STRICT | 10, "AVX2,STRICT"},
                                           LineCase{2.5, "2.50s", ORB_CBWR_STRICT | 5, "?5,STRICT"},
                                           LineCase{2.5, "2.50s", 1, "OFF", 1, "0"},
                                           LineCase{2.5, "2.50s", 1, "OFF", 0, "1", nullptr}));

// A call text too long for the line buffer (399 bytes) is cut; the settings
// after it survive whole.
TEST_F(VerboseLines, LongCallTextIsCutToTheLineBuffer) {
  const std::string text = "DGEMM(" + std::string(1000, 'x') + ")";
  OutputCapture capture;
  orb_serv_print_verbose_info(1, text.c_str(), 2.5);
  capture.finish();
  const std::string tail = " 2.50s CNR:OFF Dyn:1 FastMM:1\n";
  const std::string out = capture.out();
  EXPECT_EQ(out.size(), 398u + 1u);
  EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
  EXPECT_EQ(out.substr(0, 18), "ORB_VERBOSE DGEMM(");
}

TEST(VerboseIfaceWord, UnnamedInterfacesPrintInHexadecimal) {
  EXPECT_STREQ(const_str_iface(0), "");
  EXPECT_STREQ(const_str_iface(3), "iface3");
  EXPECT_STREQ(const_str_iface(255), "ifaceff");
  EXPECT_STREQ(const_str_iface(-2), "ifacefffffffe");
}

// The probe reports version 2.0 of 20240131 at 3.456 GHz (update 0 unless
// its header mode says otherwise), so every header is known to the letter.
const std::string kHeader = "ORB_VERBOSE Orbix 2.0 Patch 1 Product build 20240131 for Linux x86-64, Lnx 3.46GHz";
const std::string kLp64Header = kHeader + " lp64 tsq_thread";

// Printed twice by the probe, the header appears once.  An update number
// above 0 is named; an interface code of 0 names no interface.
TEST(VerboseHeader, IsOneLineOfTheVersionFrequencyAndInterface) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"header", "2", "3"},
       "ORB_VERBOSE Orbix 2.0 Update 3 Patch 1 Product build 20240131 for Linux x86-64, Lnx 3.46GHz ilp64 tsq_thread"},
      {{"header", "0"}, kHeader + " tsq_thread"},
      {{"header", "-1"}, kHeader + " cdecl tsq_thread"}};
  for (const auto &[args, line] : cases) {
    const ProbeResult r = run_probe(args);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(r.out, line + "\n");
    EXPECT_EQ(r.err, "");
  }
}

TEST(VerboseHeader, PrintedOnceFirstEvenByConcurrentReports) {
  constexpr int kThreads = 8;
  const auto r = run_probe({"lines", "2", std::to_string(kThreads)}, {"ORB_CBWR=AVX2"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const auto all = lines_with(r.out, "");
  ASSERT_EQ(all.size(), static_cast<size_t>(kThreads + 1)) << r.out;
  EXPECT_EQ(all[0], kHeader + " ilp64 tsq_thread");
  for (int i = 0; i < kThreads; ++i) {
    const std::string line = "ORB_VERBOSE CALL" + std::to_string(i) + " 500.00ms CNR:AVX2 Dyn:1 FastMM:";
    EXPECT_EQ(lines_with(r.out, line).size(), 1u) << line;
  }
}

// An output file name of `bytes` bytes under `root`: directories of 100-byte
// names, then a file name of 100 to 200 bytes, so that every directory but the
// last leaves the name at least 101 bytes longer than itself.
std::string deep_name(const std::string &root, size_t bytes) {
  std::string name = root;
  while (bytes - name.size() > 1 + 200) name += "/" + std::string(100, 'd');
  return name + "/" + std::string(bytes - name.size() - 1, 'v');
}

// The whole name is used, however long (short; past 255 bytes; the longest the
// system takes, PATH_MAX counting the terminator): the header and the line are
// appended to what the file held, nothing goes to the standard streams, and no
// file of a shortened name appears beside it.  A name longer than the system
// takes costs a warning per line, the lines go to standard output, and no file
// appears at all.
TEST(VerboseOutputFile, WholeNameTakesTheLinesOrNothingDoes) {
  const std::string line = "ORB_VERBOSE CALL0 500.00ms CNR:OFF Dyn:1 FastMM:1";
  const std::string warning = "ORB_VERBOSE WARNING: unable to open output file. Print to STDOUT\n";
  for (const size_t bytes : {size_t{60}, size_t{320}, size_t{PATH_MAX - 1}, size_t{PATH_MAX + 100}}) {
    SCOPED_TRACE(bytes);
    const bool accepted = bytes < PATH_MAX;
    char root[] = "/tmp/orb_verbose_XXXXXX";
    ASSERT_NE(mkdtemp(root), nullptr);
    const std::string name = deep_name(root, bytes);
    const std::filesystem::path dir = std::filesystem::path(name).parent_path();
    std::filesystem::create_directories(dir);
    if (accepted) std::ofstream(name) << "earlier\n";
    const auto r = run_probe({"lines", "1", "1"}, {"ORB_VERBOSE_OUTPUT_FILE=" + name});
    std::vector<std::string> beside;
    for (const auto &e : std::filesystem::directory_iterator(dir)) beside.push_back(e.path().filename());
    std::stringstream text;
    text << std::ifstream(name).rdbuf();
    std::filesystem::remove_all(root);
    EXPECT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(name.size(), bytes);
    if (accepted) {
      EXPECT_EQ(text.str(), "earlier\n" + kLp64Header + "\n" + line + "\n");
      EXPECT_EQ(r.out + r.err, "");
      EXPECT_EQ(beside, std::vector<std::string>{std::filesystem::path(name).filename()});
    } else {
      EXPECT_EQ(r.out, kLp64Header + "\n" + line + "\n");
      EXPECT_EQ(r.err, warning + warning);
      EXPECT_EQ(beside, std::vector<std::string>{});
    }
  }
}

}  // namespace
