// The numbered message catalogue and the small print helpers around it.
//
// Every message the library prints to a user comes from this table, so that
// wording lives in one place.  A message names how many arguments it takes;
// orb_serv_print refuses a call whose count does not match rather than read
// arguments that were never passed.
#include <orb/orb_service.h>

#include "report_ids.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

struct Message {
  int number;
  int nargs;
  const char *format;
};

// Message 0 opens every argument report; the one after it says what was wrong.
constexpr Message kCatalogue[] = {
    {orb::kMsgReportHeader, 0, "\norb: error report\n"},
    {orb::kMsgIllegalArgument, 2, "  parameter %d was incorrect on entry to %s\n"},
    {orb::kMsgInternalError, 2, "  internal error %d was reported by %s\n"},
    {orb::kMsgNoMemory, 1, "  not enough memory to run %s\n"},
    {orb::kMsgThreadSetting, 1, "  %s cannot run with the thread setting in force\n"},
    {orb::kMsgEwfNoHandle, 0, "orb: the vector-function threader was given no core library to load from\n"},
    {orb::kMsgEwfEntryMissing, 1, "orb: the core library lacks the vector-math entry point %s\n"},
    {orb::kMsgProviderNotLoaded, 1, "orb: cannot load the kernel provider %s\n"},
    {orb::kMsgProviderLacks, 2, "orb: the kernel provider %s lacks the routine %s\n"},
    {orb::kMsgProvider2Unused, 2, "orb: the second kernel provider %s is not used: %s\n"},
    {orb::kMsgNullPointer, 1, "  a required pointer argument (%s) is null\n"},
    {orb::kMsgTooLarge32, 1, "  %s: a size exceeds the 32-bit interface; call the 64-bit interface\n"},
};

const Message *find(int number) {
  for (const auto &m : kCatalogue)
    if (m.number == number) return &m;
  return nullptr;
}

FILE *stream_of(int stream) { return stream == 1 ? stderr : stdout; }

}  // namespace

extern "C" int orb_serv_print(int stream, int number, int nargs, ...) {
  const Message *m = find(number);
  if (!m || m->nargs != nargs) return -1;
  va_list ap;
  va_start(ap, nargs);
  FILE *f = stream_of(stream);
  const int n = std::vfprintf(f, m->format, ap);
  va_end(ap);
  std::fflush(f);
  return n;
}

extern "C" int orb_serv_printf_stream(int stream, const char *format, ...) {
  if (!format) return -1;
  va_list ap;
  va_start(ap, format);
  FILE *f = stream_of(stream);
  const int n = std::vfprintf(f, format, ap);
  va_end(ap);
  std::fflush(f);
  return n;
}

extern "C" FILE *orb_serv_fopen(const char *name, const char *mode) {
  return (name && mode) ? std::fopen(name, mode) : nullptr;
}

extern "C" int orb_serv_fclose(FILE *file) { return file ? std::fclose(file) : -1; }

extern "C" int orb_serv_fprintf(FILE *file, const char *format, ...) {
  if (!file || !format) return -1;
  va_list ap;
  va_start(ap, format);
  const int n = std::vfprintf(file, format, ap);
  va_end(ap);
  return n;
}

extern "C" int orb_serv_append_format(char *buf, size_t size, const char *format, ...) {
  if (!buf || size == 0) return 0;
  size_t len = strnlen(buf, size);
  if (len >= size) {  // not terminated: terminate at the end and append nothing
    buf[size - 1] = '\0';
    return static_cast<int>(size - 1);
  }
  if (format) {
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(buf + len, size - len, format, ap);
    va_end(ap);
  }
  return static_cast<int>(strnlen(buf, size));
}

extern "C" int orb_serv_strncpy_s(char *dst, size_t size, const char *src, size_t n) {
  if (!dst || size == 0) return -1;
  if (!src) {
    dst[0] = '\0';
    return -1;
  }
  size_t len = strnlen(src, n);
  if (len > size - 1) len = size - 1;
  std::memcpy(dst, src, len);
  dst[len] = '\0';
  return 0;
}
