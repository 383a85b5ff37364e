// Argument reports and the verbose line of the interface layer.
#include "report.hpp"

#include <orb/orb_cblas.h>

#include <cctype>
#include <cstdio>
#include <cstring>

namespace orb::iface {

int verbose_state = -1;

int read_verbose_state() {
  const int s = orb_serv_verbose_mode() ? 1 : 0;
  __atomic_store_n(&verbose_state, s, __ATOMIC_RELAXED);
  return s;
}

void report_fortran(const char *name, int info) { orb_serv_xerbla(name, &info, static_cast<int>(std::strlen(name))); }

namespace {
//! The exchanges of the row-major report under way on this thread.
thread_local const RowMajorExchange *pending_exchanges = nullptr;
thread_local int pending_count = 0;
}  // namespace

void report_cblas(const char *name, int info, bool row_major, const RowMajorExchange *exchanges, int count) {
  pending_exchanges = exchanges;
  pending_count = count;
  __atomic_store_n(&RowMajorStrg, row_major ? 1 : 0, __ATOMIC_RELAXED);
  cblas_xerbla(info, name, "");
  __atomic_store_n(&RowMajorStrg, 0, __ATOMIC_RELAXED);
  pending_exchanges = nullptr;
  pending_count = 0;
}

int row_major_position(int info) {
  for (int i = 0; i < pending_count; ++i) {
    const RowMajorExchange &e = pending_exchanges[i];
    if (info == e.a) return e.b;
    if (info == e.b) return e.a;
  }
  return info;
}

RoutineName routine_name(char upper_letter, const char *family, bool int64) {
  RoutineName r = {};
  // Standard routine names are reported blank-padded to six characters.
  std::snprintf(r.report, sizeof r.report, "%c%-5s", upper_letter, family);
  std::snprintf(r.upper, sizeof r.upper, "%c%s%s", upper_letter, family, int64 ? "_64" : "");
  std::snprintf(r.cblas, sizeof r.cblas, "cblas_%c", std::tolower(static_cast<unsigned char>(upper_letter)));
  for (size_t i = std::strlen(r.cblas); *family && i + 1 < sizeof r.cblas; ++i, ++family)
    r.cblas[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(*family)));
  return r;
}

CallText &CallText::routine(const char *name) {
  buf_[0] = '\0';
  orb_serv_append_format(buf_, kBytes, "%s(", name);
  first_ = true;
  return *this;
}

void CallText::separate() {
  if (!first_) orb_serv_append_format(buf_, kBytes, ",");
  first_ = false;
}

CallText &CallText::character(const char *c) {
  separate();
  if (!c)
    orb_serv_append_format(buf_, kBytes, "NULL");
  else if (std::isgraph(static_cast<unsigned char>(*c)))
    orb_serv_append_format(buf_, kBytes, "%c", *c);
  else
    orb_serv_append_format(buf_, kBytes, "\\x%02x", static_cast<unsigned char>(*c));
  return *this;
}

CallText &CallText::integer(const int *v) { return v ? integer(static_cast<int64_t>(*v)) : word("NULL"); }

CallText &CallText::integer(const int64_t *v) { return v ? integer(*v) : word("NULL"); }

CallText &CallText::integer(int64_t v) {
  separate();
  orb_serv_append_format(buf_, kBytes, "%lld", static_cast<long long>(v));
  return *this;
}

CallText &CallText::address(const void *p) {
  separate();
  if (p)
    orb_serv_append_format(buf_, kBytes, "%p", p);
  else
    orb_serv_append_format(buf_, kBytes, "NULL");
  return *this;
}

CallText &CallText::word(const char *w) {
  separate();
  orb_serv_append_format(buf_, kBytes, "%s", w);
  return *this;
}

CallText &CallText::real_value(double v) {
  separate();
  orb_serv_append_format(buf_, kBytes, "%g", v);
  return *this;
}

CallText &CallText::complex_value(double re, double im) {
  separate();
  orb_serv_append_format(buf_, kBytes, "(%g,%g)", re, im);
  return *this;
}

const char *CallText::text() {
  orb_serv_append_format(buf_, kBytes, ")");
  return buf_;
}

}  // namespace orb::iface
