// Parsing rules of the thread-control environment variables.
//
// Pure functions over a value text, so the grammar is tested directly.  Bad
// values are never reported: a non-numeric count reads as 1 or is ignored, as
// each variable's rule says.
#pragma once

namespace orb::thr {

//! Sentinel of a setting nobody has written.
constexpr int kUnset = -1;

//! The value as a decimal count when every character is a digit 0-9 (and there
//! is at least one); otherwise `fallback`.  Counts beyond int are clamped.
int all_digit_value(const char *text, int fallback);

//! The domains of the domain list, in the order of their settings.
enum Domain { kDomainAll, kDomainBlas, kDomainFft, kDomainEwf, kDomainKestrel, kDomainCount };

//! Applies a domain list such as "ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4" to
//! `settings`: a pair whose name is a known domain and whose value is 1 or more
//! sets that domain if it is still unset.  An empty name ends parsing.
void parse_domain_list(const char *text, int settings[kDomainCount]);

//! The dynamic setting for a present value: 0 only for a first token that is
//! exactly "FALSE" or "false" (leading spaces and quotes skipped), else 1.
int dynamic_value(const char *text);

//! True when the whole text converts as a decimal integer (optional sign,
//! nothing after it); the value goes to *value.
bool clean_number(const char *text, long *value);

}  // namespace orb::thr
