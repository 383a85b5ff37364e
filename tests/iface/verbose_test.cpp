// The verbose line of each name form: routine, arguments as the caller wrote
// them, time and settings, after a header naming the integer interface of
// the first call.  Verbose mode is read once per process, so each case runs
// the probe afresh.
#include <gtest/gtest.h>

#include <regex>

#include "process.hpp"

namespace {

using orb::test::lines_with;
using orb::test::run_probe;

struct VerboseCase {
  const char *form;
  const char *iface_word;
  std::vector<std::string> calls;  // the call texts in order, every address written as @
};

void PrintTo(const VerboseCase &c, std::ostream *os) { *os << c.form; }

// The call text of a verbose line with its addresses replaced by @, or ""
// when the rest of the line is not a time and the settings.
std::string call_text(const std::string &line) {
  static const std::regex shape(R"(ORB_VERBOSE (\S+) [0-9.]+[mun]?s CNR:\S+ Dyn:1 FastMM:[01])");
  std::smatch m;
  return std::regex_match(line, m, shape) ? std::regex_replace(m[1].str(), std::regex("0x[0-9a-fA-F]+"), "@") : "";
}

class IfaceVerbose : public ::testing::TestWithParam<VerboseCase> {};

TEST_P(IfaceVerbose, OneLinePerCallAfterTheHeaderAndNoneWhenOff) {
  const VerboseCase &c = GetParam();
  const auto r = run_probe({"calls", c.form}, {"ORB_VERBOSE=1"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const auto lines = lines_with(r.out, "ORB_VERBOSE ");
  ASSERT_EQ(lines.size(), c.calls.size() + 1) << r.out;
  const std::string header_end = std::string(" ") + c.iface_word + " tsq_thread";
  EXPECT_EQ(lines[0].compare(0, 18, "ORB_VERBOSE Orbix "), 0) << lines[0];
  EXPECT_EQ(lines[0].substr(lines[0].size() - header_end.size()), header_end) << lines[0];
  for (size_t i = 0; i < c.calls.size(); ++i) EXPECT_EQ(call_text(lines[i + 1]), c.calls[i]) << lines[i + 1];
  const auto off = run_probe({"calls", c.form});
  ASSERT_EQ(off.exit_code, 0) << off.err;
  EXPECT_EQ(off.out.find("ORB_VERBOSE"), std::string::npos) << off.out;
}

INSTANTIATE_TEST_SUITE_P(
    Forms, IfaceVerbose,
    ::testing::Values(VerboseCase{"fortran32",
                                  "lp64",
                                  {"DGEMM(N,T,2,3,4,1.5,@,2,@,3,0,@,2)", "ZGEMV(C,2,3,(1,-0.5),@,2,@,1,(0,0),@,-1)",
                                   // An illegal call is reported and still described.
                                   "DGEMM(N,T,-1,3,4,1.5,@,2,@,3,0,@,2)"}},
                      VerboseCase{"fortran64", "ilp64", {"DGEMM_64(N,T,2,3,4,1.5,@,2,@,3,0,@,2)"}},
                      VerboseCase{"cblas",
                                  "cdecl",
                                  {"cblas_dgemm(CblasRowMajor,CblasNoTrans,CblasTrans,2,3,4,1.5,@,4,@,4,0,@,3)",
                                   "cblas_zgemv(CblasColMajor,CblasConjTrans,2,3,(1,-0.5),@,2,@,1,(0,0),@,1)"}},
                      // Sparse products: operation, rows, columns, stored entries, (right-hand
                      // sides,) matrix type; a character-descriptor one: operation, kind, sizes.
                      VerboseCase{"sparse",
                                  "lp64",
                                  {"orb_sparse_d_mv(10,2,3,2,20)", "orb_sparse_d_mm(10,2,3,2,2,20)",
                                   "orb_dcsrmv_lp64(N,G,2,3)"}},
                      // Vector math: the function and its length.
                      VerboseCase{"vm", "lp64", {"orb_vm_dexp(3)", "orb_vm_dpowx(2)"}},
                      // The solver's phases: sizes and options, then the status (1: bad input).
                      VerboseCase{"kestrel",
                                  "ilp64",
                                  {"orb_kestrel_analyse(2,0,0,0)", "orb_kestrel_d_factor(@,0)",
                                   "orb_kestrel_d_solve(@,1,2,2,0)", "orb_kestrel_d_solve(@,-1,2,2,1)"}}),
    [](const auto &info) { return std::string(info.param.form); });

}  // namespace
