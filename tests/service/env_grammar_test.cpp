// The environment grammar: counts, the domain list and the dynamic switch,
// on value texts directly (clean numbers are seen through the environment
// cases of stripes and processes per node).
#include "service/env_parse.hpp"

#include <gtest/gtest.h>

#include <array>

namespace orb::thr {
namespace {

struct DigitCase {
  const char *text;
  int fallback;
  int expected;
};
void PrintTo(const DigitCase &c, std::ostream *os) { *os << "\"" << c.text << "\""; }
class AllDigitValue : public ::testing::TestWithParam<DigitCase> {};

TEST_P(AllDigitValue, ReadsOnlyPureDecimals) {
  const auto &c = GetParam();
  EXPECT_EQ(all_digit_value(c.text, c.fallback), c.expected) << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(Counts, AllDigitValue,
                         ::testing::Values(DigitCase{"4", 1, 4}, DigitCase{"0", 1, 0}, DigitCase{"abc", 1, 1},
                                           DigitCase{"-2", 1, 1}, DigitCase{"4 ", 1, 1}, DigitCase{" 4", 1, 1},
                                           DigitCase{"", 1, 1}, DigitCase{"3x", -1, -1},
                                           DigitCase{"99999999999999", 1, 2147483647}));

struct DomainCase {
  const char *text;
  std::array<int, kDomainCount> expected;  // ALL, BLAS, FFT, EWF, KESTREL
};
void PrintTo(const DomainCase &c, std::ostream *os) { *os << "\"" << c.text << "\""; }
class DomainList : public ::testing::TestWithParam<DomainCase> {};

TEST_P(DomainList, SetsOnlyUnsetKnownDomains) {
  const auto &c = GetParam();
  int settings[kDomainCount] = {kUnset, kUnset, kUnset, kUnset, kUnset};
  parse_domain_list(c.text, settings);
  for (int d = 0; d < kDomainCount; ++d) EXPECT_EQ(settings[d], c.expected[d]) << '"' << c.text << "\" domain " << d;
}

constexpr int U = kUnset;
INSTANTIATE_TEST_SUITE_P(
    Grammar, DomainList,
    ::testing::Values(
        DomainCase{"ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4", {2, 4, U, U, U}},
        DomainCase{"=4 ORB_DOMAIN_FFT=2", {U, U, U, U, U}},                     // empty first name ends parsing
        DomainCase{"ORB_DOMAIN_FFT=3;ORB_DOMAIN_FFT=5", {U, U, 3, U, U}},       // the first value stays
        DomainCase{"ORB_DOMAIN_EWF=x ORB_DOMAIN_KESTREL=0", {U, U, U, 1, U}},   // non-digit is 1, 0 sets nothing
        DomainCase{"ORB_DOMAIN_BLAS=", {U, 1, U, U, U}},                        // empty value is 1
        DomainCase{"orb_domain_blas=4 ORB_DOMAIN_X=2 ORB_DOMAIN_KESTREL==  7", {U, U, U, U, 7}},
        // The closing quote ends the name and, being a separator, an empty value (1);
        // the next pair then starts at '=' and has an empty name, which ends parsing.
        DomainCase{"\"ORB_DOMAIN_ALL\"='6':ORB_DOMAIN_FFT 2", {1, U, U, U, U}},
        DomainCase{"  ,;:  ", {U, U, U, U, U}}, DomainCase{"", {U, U, U, U, U}}));

struct DynamicCase {
  const char *text;
  int expected;
};
void PrintTo(const DynamicCase &c, std::ostream *os) { *os << "\"" << c.text << "\""; }
class Dynamic : public ::testing::TestWithParam<DynamicCase> {};

TEST_P(Dynamic, OnlyExactFalseTurnsItOff) { EXPECT_EQ(dynamic_value(GetParam().text), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Spellings, Dynamic,
                         ::testing::Values(DynamicCase{"false", 0}, DynamicCase{"FALSE", 0}, DynamicCase{"False", 1},
                                           DynamicCase{"0", 1}, DynamicCase{" 'false' ", 0},
                                           DynamicCase{"\"FALSE\"x", 0}, DynamicCase{"falsely", 1},
                                           DynamicCase{"", 1}, DynamicCase{"true", 1}));

}  // namespace
}  // namespace orb::thr
