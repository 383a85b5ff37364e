#include "service/env_parse.hpp"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace orb::thr {

int all_digit_value(const char *text, int fallback) {
  if (!text || !*text) return fallback;
  long long v = 0;
  for (const char *p = text; *p; ++p) {
    if (*p < '0' || *p > '9') return fallback;
    if (v < INT_MAX) v = v * 10 + (*p - '0');
  }
  return v > INT_MAX ? INT_MAX : static_cast<int>(v);
}

namespace {

// Characters that separate pairs: space, both quotes, comma, colon, semicolon.
bool is_separator(char c) { return c && std::strchr(" \"',:;", c) != nullptr; }
// A name ends at a space, a quote or an equals sign.
bool ends_name(char c) { return c && std::strchr(" \"'=", c) != nullptr; }

constexpr const char *kDomainNames[kDomainCount] = {
    "ORB_DOMAIN_ALL", "ORB_DOMAIN_BLAS", "ORB_DOMAIN_FFT", "ORB_DOMAIN_EWF", "ORB_DOMAIN_KESTREL"};

}  // namespace

// Walk of "ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4":
//   skip separators -> name "ORB_DOMAIN_ALL" -> skip '=' -> value "2" (ends at ',')
//   resume after ',' -> skip ' ' -> name "ORB_DOMAIN_BLAS" -> skip ' ' -> value "4"
// and of "=4 ORB_DOMAIN_FFT=2": '=' is no separator, so the first name is empty
// and parsing ends with nothing set.
void parse_domain_list(const char *text, int settings[kDomainCount]) {
  if (!text) return;
  const char *p = text;
  for (;;) {
    while (is_separator(*p)) ++p;
    if (!*p) return;
    const char *name = p;
    while (*p && !ends_name(*p)) ++p;
    const size_t name_len = static_cast<size_t>(p - name);
    if (name_len == 0) return;
    while (*p == '=' || *p == ' ') ++p;
    const char *value = p;
    while (*p && !is_separator(*p)) ++p;
    const size_t value_len = static_cast<size_t>(p - value);

    int v = 1;  // an empty or non-numeric value counts as 1
    if (value_len > 0) {
      char buf[256];
      const size_t n = value_len < sizeof buf - 1 ? value_len : sizeof buf - 1;
      std::memcpy(buf, value, n);
      buf[n] = '\0';
      v = all_digit_value(buf, 1);
    }
    for (int d = 0; d < kDomainCount; ++d) {
      if (std::strlen(kDomainNames[d]) == name_len && std::strncmp(kDomainNames[d], name, name_len) == 0) {
        if (v >= 1 && settings[d] == kUnset) settings[d] = v;
        break;
      }
    }
    if (!*p) return;
    ++p;  // the next pair starts one character after the value's end
  }
}

int dynamic_value(const char *text) {
  if (!text) return 1;
  auto quote_or_space = [](char c) { return c == ' ' || c == '"' || c == '\''; };
  const char *p = text;
  while (*p && quote_or_space(*p)) ++p;
  const char *start = p;
  while (*p && !quote_or_space(*p)) ++p;
  const size_t len = static_cast<size_t>(p - start);
  if ((len == 5 && std::strncmp(start, "FALSE", 5) == 0) || (len == 5 && std::strncmp(start, "false", 5) == 0))
    return 0;
  return 1;
}

bool clean_number(const char *text, long *value) {
  if (!text || !*text) return false;
  char *end = nullptr;
  errno = 0;
  const long v = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || errno == ERANGE) return false;
  if (value) *value = v;
  return true;
}

}  // namespace orb::thr
