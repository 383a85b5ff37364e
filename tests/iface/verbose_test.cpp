// The verbose line of each name form: routine, arguments as the caller wrote
// them, time and settings, after a header naming the integer interface of
// the first call.  Verbose mode is read once per process, so each case runs
// the probe afresh.
#include <gtest/gtest.h>

#include <ostream>
#include <regex>
#include <string>

#include "probe.hpp"

namespace {

using orb::test::run_probe;

struct VerboseCase {
  const char *form;
  const char *iface_word;
  std::vector<std::string> calls;  // patterns of the call texts, in order
};

void PrintTo(const VerboseCase &c, std::ostream *os) { *os << c.form; }

class IfaceVerbose : public ::testing::TestWithParam<VerboseCase> {};

TEST_P(IfaceVerbose, OneLinePerCallAfterTheHeader) {
  const VerboseCase &c = GetParam();
  const auto r = run_probe("iface_verbose_probe", {c.form}, {"ORB_VERBOSE=1"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  std::string pattern = "ORB_VERBOSE Orbix [^\n]* " + std::string(c.iface_word) + " tsq_thread\n";
  for (const std::string &call : c.calls)
    pattern += "(?:[^\n]*\n)*?ORB_VERBOSE " + call + " [0-9.]+(?:s|ms|us|ns) CNR:[^ ]+ Dyn:1 FastMM:[01]\n";
  EXPECT_TRUE(std::regex_search(r.out, std::regex(pattern))) << r.out;
}

TEST_P(IfaceVerbose, SilentWhenVerboseModeIsOff) {
  const auto r = run_probe("iface_verbose_probe", {GetParam().form}, {});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out.find("ORB_VERBOSE"), std::string::npos) << r.out;
}

const std::string P = "0x[0-9a-f]+";

INSTANTIATE_TEST_SUITE_P(
    Forms, IfaceVerbose,
    ::testing::Values(
        VerboseCase{"fortran32",
                    "lp64",
                    {"DGEMM\\(N,T,2,3,4,1\\.5," + P + ",2," + P + ",3,0," + P + ",2\\)",
                     "ZGEMV\\(C,2,3,\\(1,-0\\.5\\)," + P + ",2," + P + ",1,\\(0,0\\)," + P + ",-1\\)",
                     // An illegal call is reported and still described.
                     "DGEMM\\(N,T,-1,3,4,1\\.5," + P + ",2," + P + ",3,0," + P + ",2\\)"}},
        VerboseCase{"fortran64", "ilp64", {"DGEMM_64\\(N,T,2,3,4,1\\.5," + P + ",2," + P + ",3,0," + P + ",2\\)"}},
        VerboseCase{
            "cblas",
            "cdecl",
            {"cblas_dgemm\\(CblasRowMajor,CblasNoTrans,CblasTrans,2,3,4,1\\.5," + P + ",4," + P + ",4,0," + P + ",3\\)",
             "cblas_zgemv\\(CblasColMajor,CblasConjTrans,2,3,\\(1,-0\\.5\\)," + P + ",2," + P + ",1,\\(0,0\\)," + P +
                 ",1\\)"}}),
    [](const auto &info) { return std::string(info.param.form); });

}  // namespace
