// Environment-driven services of the core library: the raw lookup every layer
// uses, and the few settings the core itself reads once per process
// (reproducibility mode, fast memory manager, verbose mode and file).
//
// Policies that live here:
//   ORB_CBWR                 reproducibility branch: OFF (default), AUTO, COMPATIBLE,
//                            SSE2, SSSE3, SSE4_1, SSE4_2, AVX, AVX2, AVX512, each
//                            optionally followed by ",STRICT".  Unknown words read as OFF.
//   ORB_DISABLE_FAST_MM      any value other than "0" turns the fast memory manager off.
//   ORB_VERBOSE              "1" turns the per-call verbose report on.
//   ORB_VERBOSE_OUTPUT_FILE  file the verbose report is appended to instead of stdout.
#include <orb/orb_service.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

extern "C" int orb_serv_getenv(const char *name, char *buf, int size) {
  if (!name) return 0;
  const char *v = std::getenv(name);
  if (!v) return 0;
  const size_t len = std::strlen(v);
  if (buf && size > 0) {
    const size_t n = len < static_cast<size_t>(size - 1) ? len : static_cast<size_t>(size - 1);
    std::memcpy(buf, v, n);
    buf[n] = '\0';
  }
  // An empty value is present but has no characters: report it as length 0,
  // which callers treat the same as absent.
  return static_cast<int>(len > 0x7fffffff ? 0x7fffffff : len);
}

namespace {

struct CoreSettings {
  int cbwr = 1;  // OFF
  int fast_mm_status = 0;
  int verbose = 0;
  std::string verbose_file;
};

int cbwr_code(const std::string &word) {
  static const struct { const char *word; int code; } table[] = {
      {"OFF", 1},  {"AUTO", 2},   {"COMPATIBLE", 3}, {"SSE2", 4}, {"SSSE3", 6},
      {"SSE4_1", 7}, {"SSE4_2", 8}, {"AVX", 9},       {"AVX2", 10}, {"AVX512", 12}};
  for (const auto &e : table)
    if (word == e.word) return e.code;
  return 1;
}

const CoreSettings &settings() {
  static CoreSettings s;
  static std::once_flag once;
  std::call_once(once, [] {
    char buf[256];
    if (orb_serv_getenv("ORB_CBWR", buf, sizeof buf) > 0) {
      std::string v(buf);
      bool strict = false;
      const auto comma = v.find(',');
      if (comma != std::string::npos) {
        strict = v.compare(comma + 1, std::string::npos, "STRICT") == 0;
        v.resize(comma);
      }
      s.cbwr = cbwr_code(v) | (strict ? ORB_CBWR_STRICT : 0);
    }
    if (orb_serv_getenv("ORB_DISABLE_FAST_MM", buf, sizeof buf) > 0 && std::strcmp(buf, "0") != 0)
      s.fast_mm_status = 1;
    if (orb_serv_getenv("ORB_VERBOSE", buf, sizeof buf) > 0 && std::strcmp(buf, "1") == 0)
      s.verbose = 1;
    if (orb_serv_getenv("ORB_VERBOSE_OUTPUT_FILE", buf, sizeof buf) > 0) s.verbose_file = buf;
  });
  return s;
}

}  // namespace

extern "C" int orb_serv_cbwr_get(int what) {
  const int word = settings().cbwr;
  return what == -1 ? word : (word & ~ORB_CBWR_STRICT);
}

extern "C" int orb_serv_get_fast_mm_status(void) { return settings().fast_mm_status; }

extern "C" int orb_serv_verbose_mode(void) { return settings().verbose; }

extern "C" const char *orb_serv_verbose_output_file_mode(void) {
  return settings().verbose_file.c_str();
}
