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

// The whole value of an environment variable, however long (a file name may
// be as long as the system allows); empty when it is absent or empty.
std::string env_text(const char *name) {
  const int len = orb_serv_getenv(name, nullptr, 0);
  if (len <= 0) return {};
  std::string value(static_cast<size_t>(len) + 1, '\0');
  orb_serv_getenv(name, value.data(), len + 1);
  value.resize(std::strlen(value.c_str()));  // the environment may have changed in between
  return value;
}

const CoreSettings &settings() {
  static CoreSettings s;
  static std::once_flag once;
  std::call_once(once, [] {
    std::string cbwr = env_text("ORB_CBWR");
    if (!cbwr.empty()) {
      bool strict = false;
      const auto comma = cbwr.find(',');
      if (comma != std::string::npos) {
        strict = cbwr.compare(comma + 1, std::string::npos, "STRICT") == 0;
        cbwr.resize(comma);
      }
      s.cbwr = cbwr_code(cbwr) | (strict ? ORB_CBWR_STRICT : 0);
    }
    const std::string fast_mm = env_text("ORB_DISABLE_FAST_MM");
    if (!fast_mm.empty() && fast_mm != "0") s.fast_mm_status = 1;
    if (env_text("ORB_VERBOSE") == "1") s.verbose = 1;
    s.verbose_file = env_text("ORB_VERBOSE_OUTPUT_FILE");
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
