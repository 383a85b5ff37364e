// Each peer at its best: which sets the benchmark forces, and that forcing
// reaches the real peers while the caller's environment stays as it was.
#include "kernel_sets.hpp"
#include "libraries.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace orb::bench {
namespace {

using core::ProcessorFeatures;

ProcessorFeatures avx() {
  ProcessorFeatures f;
  f.sse3 = f.ssse3 = f.sse4_2 = f.avx = true;
  return f;
}
ProcessorFeatures avx2(bool amd = false) {
  ProcessorFeatures f = avx();
  f.avx2 = f.fma = true;
  f.amd = amd;
  return f;
}
ProcessorFeatures avx512_bf16(bool amd = false) {
  ProcessorFeatures f = avx2(amd);
  f.avx512f = f.avx512dq = f.avx512bw = f.avx512vl = f.avx512bf16 = true;
  return f;
}

struct ForceCase {
  const char *peer;  // "openblas" or "blis"
  const char *own;
  ProcessorFeatures processor;
  const char *forced;  // "" for none
};
void PrintTo(const ForceCase &c, std::ostream *os) { *os << c.peer << " picking \"" << c.own << '"'; }
class PeerForcing : public ::testing::TestWithParam<ForceCase> {};

TEST_P(PeerForcing, OnlyWhereTheOwnPickIsWrittenForFewerInstructions) {
  const ForceCase &c = GetParam();
  const std::string peer = c.peer;
  EXPECT_EQ(peer == "blis" ? blis_config_to_force(c.own, c.processor) : openblas_set_to_force(c.own, c.processor),
            c.forced);
}

INSTANTIATE_TEST_SUITE_P(
    Picks, PeerForcing,
    ::testing::Values(
        // The processor of this report (family 6 model 207): OpenBLAS falls back to SSE3,
        // BLIS to AVX2 (it cannot tell how many AVX-512 units the part has).
        ForceCase{"openblas", "Prescott", avx512_bf16(), "Cooperlake"},
        ForceCase{"blis", "haswell", avx512_bf16(), "skx"},
        // An environment naming a lesser set, and the best ones.
        ForceCase{"openblas", "Haswell", avx512_bf16(), "Cooperlake"},
        ForceCase{"openblas", "SkylakeX", avx512_bf16(), "Cooperlake"},
        ForceCase{"openblas", "cooperlake", avx512_bf16(), ""}, ForceCase{"blis", "skx", avx512_bf16(), ""},
        // An AMD part newer than BLIS's release gets generic kernels; ones it knows, its own zen sets.
        ForceCase{"blis", "generic", avx512_bf16(true), "skx"}, ForceCase{"blis", "zen3", avx2(true), ""},
        ForceCase{"openblas", "Zen", avx2(true), ""}, ForceCase{"openblas", "Haswell", avx2(true), ""},
        ForceCase{"blis", "sandybridge", avx2(), "haswell"}, ForceCase{"openblas", "Sandybridge", avx(), ""},
        ForceCase{"blis", "penryn", avx(), "sandybridge"},
        // Unknown names and an unknown pick are left alone: nothing says they are less.
        ForceCase{"openblas", "Bulldozer", avx2(), ""}, ForceCase{"openblas", "", avx512_bf16(), ""},
        ForceCase{"blis", "", avx512_bf16(), ""}, ForceCase{"blis", "armsve", avx512_bf16(), ""}));

// Why a peer cannot show forcing in this process, or "" when it can: it must
// be installed and not yet loaded (a loaded peer has fixed its kernel set).
std::string unusable(const char *path) {
  if (access(path, R_OK) != 0) return std::string(path) + " is not installed (bench/setup.sh installs the peers)";
  if (void *loaded = dlopen(path, RTLD_LAZY | RTLD_LOCAL | RTLD_NOLOAD)) {
    dlclose(loaded);
    return std::string(path) + " is already loaded";
  }
  return "";
}

// Loads a peer the way the benchmark does, pretending it picked `own` by
// itself, with the caller's environment holding `callers_value` (the peer's
// name for `own`) in `variable`; checks what the peer ran and that the
// caller's value is back afterwards.
template <class Load>
void check_forcing(const char *variable, const std::string &callers_value, const std::string &own,
                   const std::string &best, Load load) {
  if (best.empty()) GTEST_SKIP() << "no better set than " << own << " on this processor";
  setenv(variable, callers_value.c_str(), 1);
  const GemmLibrary lib = load(own);
  const char *after = std::getenv(variable);
  EXPECT_EQ(after ? after : "unset", callers_value);
  unsetenv(variable);
  ASSERT_TRUE(lib.available()) << lib.missing;
  EXPECT_EQ(lib.kernels.ran, best);
  EXPECT_EQ(lib.kernels.own, own);
  EXPECT_NE(lib.kernels.forced.find(variable), std::string::npos) << lib.kernels.forced;
}

TEST(PeerForcing, ReachesTheThreadedOpenBlasAndGivesTheVariableBack) {
  const std::string why = unusable(kOpenBlasPthreadPath);
  if (!why.empty()) GTEST_SKIP() << why;
  check_forcing("OPENBLAS_CORETYPE", "Prescott", "Prescott", openblas_set_to_force("Prescott", core::this_processor()),
                [](const std::string &own) { return openblas_pthread(kOpenBlasPthreadPath, 1, own); });
}

TEST(PeerForcing, ReachesBlisAndGivesTheVariableBack) {
  const std::string why = unusable(kBlisPthreadPath);
  if (!why.empty()) GTEST_SKIP() << why;
  // Opening it does not initialise it; its first call does, and reads the variable then.
  // It takes its configurations by number and ends the process on one it was not built with.
  const int generic = blis_config_number(dlopen(kBlisPthreadPath, RTLD_LAZY | RTLD_LOCAL), "generic");
  ASSERT_GE(generic, 0);
  check_forcing("BLIS_ARCH_TYPE", std::to_string(generic), "generic",
                blis_config_to_force("generic", core::this_processor()),
                [](const std::string &own) { return blis_pthread(kBlisPthreadPath, 1, own); });
}

}  // namespace
}  // namespace orb::bench
