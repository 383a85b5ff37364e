// The environment grammar: counts, the domain list and the dynamic switch,
// on value texts directly (clean numbers are seen through the environment
// cases of stripes and processes per node).
#include "service/env_parse.hpp"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

namespace orb::thr {
namespace {

TEST(EnvGrammar, CountsReadOnlyPureDecimals) {
  const std::tuple<const char *, int, int> cases[] = {{"4", 1, 4},  {"0", 1, 0},  {"abc", 1, 1},
                                                      {"-2", 1, 1}, {"4 ", 1, 1}, {" 4", 1, 1},
                                                      {"", 1, 1},   {"3x", -1, -1}, {"99999999999999", 1, 2147483647}};
  for (const auto &[text, fallback, want] : cases) EXPECT_EQ(all_digit_value(text, fallback), want) << '"' << text << '"';
}

TEST(EnvGrammar, DomainListSetsOnlyUnsetKnownDomains) {
  constexpr int U = kUnset;
  const std::pair<const char *, std::array<int, kDomainCount>> cases[] = {  // ALL, BLAS, FFT, EWF, KESTREL
      {"ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4", {2, 4, U, U, U}},
      {"=4 ORB_DOMAIN_FFT=2", {U, U, U, U, U}},                    // empty first name ends parsing
      {"ORB_DOMAIN_FFT=3;ORB_DOMAIN_FFT=5", {U, U, 3, U, U}},      // the first value stays
      {"ORB_DOMAIN_EWF=x ORB_DOMAIN_KESTREL=0", {U, U, U, 1, U}},  // non-digit is 1, 0 sets nothing
      {"ORB_DOMAIN_BLAS=", {U, 1, U, U, U}},                       // empty value is 1
      {"orb_domain_blas=4 ORB_DOMAIN_X=2 ORB_DOMAIN_KESTREL==  7", {U, U, U, U, 7}},
      // The closing quote ends the name and, being a separator, an empty value (1);
      // the next pair then starts at '=' and has an empty name, which ends parsing.
      {"\"ORB_DOMAIN_ALL\"='6':ORB_DOMAIN_FFT 2", {1, U, U, U, U}},
      {"  ,;:  ", {U, U, U, U, U}},
      {"", {U, U, U, U, U}}};
  for (const auto &[text, want] : cases) {
    std::array<int, kDomainCount> settings = {U, U, U, U, U};
    parse_domain_list(text, settings.data());
    EXPECT_EQ(settings, want) << '"' << text << '"';
  }
}

TEST(EnvGrammar, OnlyExactFalseTurnsDynamicOff) {
  const std::pair<const char *, int> cases[] = {{"false", 0},       {"FALSE", 0},     {"False", 1},
                                                {"0", 1},           {" 'false' ", 0}, {"\"FALSE\"x", 0},
                                                {"falsely", 1},     {"", 1},          {"true", 1}};
  for (const auto &[text, want] : cases) EXPECT_EQ(dynamic_value(text), want) << '"' << text << '"';
}

}  // namespace
}  // namespace orb::thr
