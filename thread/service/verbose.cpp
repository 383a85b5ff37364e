// The verbose report: one header line per process, then one line per call.
//
// The interface layer describes each call it serves (routine name and
// arguments) and hands that text here with the measured time; this file adds
// the time in a readable unit and the settings that change results or speed
// (reproducibility branch, dynamic threading, fast memory manager):
//
//   ORB_VERBOSE Orbix 2.0 Patch 1 Product build 20261122 for Linux x86-64, Lnx 3.10GHz lp64 tsq_thread
//   ORB_VERBOSE DGEMM(N,N,1000,...) 12.34ms CNR:OFF Dyn:1 FastMM:1
//
// Lines go to the verbose output file when the core names one (opened for
// append, one line at a time, so several processes may share it), otherwise
// to standard output.  A file that cannot be opened costs a warning on the
// error stream and the line goes to standard output instead.
#include <orb/orb_service.h>

#include <cstdio>
#include <cstring>

namespace {

// Every line is built on the caller's stack in a buffer of this size; the
// append service truncates rather than overrun it.
constexpr size_t kLineBytes = 399;

constexpr const char *kOpenFailed = "unable to open output file. Print to STDOUT";

// Set once the header has been written (or has fallen back to standard
// output); read without the lock first so that every later call pays one load.
int verbose_header_printed = 0;
volatile int verbose_header_lock = 0;
volatile int verbose_stdout_lock = 0;

// Words for codes outside the tables.  Shared and unlocked: concurrent calls
// with different unknown codes may see each other's word, never a torn
// terminator, since every write leaves the buffer terminated.
char unknown_iface_word[32];
char unknown_cbwr_word[32];

const char *cbwr_word(int code) {
  switch (code) {
    case 1: return "OFF";
    case 2: return "AUTO";
    case 3: return "COMPATIBLE";
    case 4: return "SSE2";
    case 6: return "SSSE3";
    case 7: return "SSE4_1";
    case 8: return "SSE4_2";
    case 9: return "AVX";
    case 10: return "AVX2";
    case 12: return "AVX512";
    default:
      std::snprintf(unknown_cbwr_word, sizeof unknown_cbwr_word, "?%x", static_cast<unsigned>(code));
      return unknown_cbwr_word;
  }
}

void warn_open_failed() { orb_serv_printf_stream(1, "ORB_VERBOSE WARNING: %s\n", kOpenFailed); }

// Appends one line, `format` applied to up to two texts, to the named file;
// false when the file cannot be opened.
bool append_to_file(const char *file_name, const char *format, const char *a, const char *b) {
  FILE *f = orb_serv_fopen(file_name, "a");
  if (!f) return false;
  orb_serv_fprintf(f, format, a, b);
  orb_serv_fclose(f);
  return true;
}

// "0.00s" for no time at all, then the largest unit in which the value
// exceeds 1: 2.5 -> "2.50s", 0.5 -> "500.00ms", 0.0005 -> "500.00us",
// 0.0000005 -> "500ns".  Exactly 1 of a unit reads in the next smaller one
// (1.0 -> "1000.00ms").
void append_time(char *buf, double t) {
  if (!(t > 0.0))
    orb_serv_append_format(buf, kLineBytes, "%.2fs", 0.0);
  else if (t > 1.0)
    orb_serv_append_format(buf, kLineBytes, "%.2fs", t);
  else if (t * 1000.0 > 1.0)
    orb_serv_append_format(buf, kLineBytes, "%.2fms", t * 1000.0);
  else if (t * 1000000.0 > 1.0)
    orb_serv_append_format(buf, kLineBytes, "%.2fus", t * 1000000.0);
  else
    orb_serv_append_format(buf, kLineBytes, "%.0fns", t * 1000000000.0);
}

}  // namespace

extern "C" {

const char *const_str_iface(int iface) {
  switch (iface) {
    case 0: return "";
    case -1: return "cdecl";
    case 1: return "lp64";
    case 2: return "ilp64";
    default:
      std::snprintf(unknown_iface_word, sizeof unknown_iface_word, "iface%x", static_cast<unsigned>(iface));
      return unknown_iface_word;
  }
}

void orb_serv_print_verbose_header(int iface) {
  if (__atomic_load_n(&verbose_header_printed, __ATOMIC_ACQUIRE)) return;

  OrbVersion v = {};
  orb_serv_get_version(&v);
  char line[kLineBytes] = "";
  orb_serv_append_format(line, kLineBytes, "ORB_VERBOSE Orbix %d.%d", v.major, v.minor);
  if (v.update > 0) orb_serv_append_format(line, kLineBytes, " Update %d", v.update);
  orb_serv_append_format(line, kLineBytes, " Patch %d", 1);
  orb_serv_append_format(line, kLineBytes, " %s build %s for %s %s", v.status ? v.status : "", v.build ? v.build : "",
                         v.platform ? v.platform : "", v.processor ? v.processor : "");
  orb_serv_append_format(line, kLineBytes, ", %s", "Lnx");
  orb_serv_append_format(line, kLineBytes, " %.2fGHz", orb_serv_get_max_cpu_frequency());
  if (iface != 0) orb_serv_append_format(line, kLineBytes, " %s", const_str_iface(iface));
  orb_serv_append_format(line, kLineBytes, " %s", "tsq_thread");

  orb_serv_lock(&verbose_header_lock);
  if (!__atomic_load_n(&verbose_header_printed, __ATOMIC_RELAXED)) {
    const char *file_name = orb_serv_verbose_output_file_mode();
    bool written = false;
    if (file_name && file_name[0] != '\0') {
      written = append_to_file(file_name, "%s\n", line, "");
      if (!written) warn_open_failed();
    }
    if (!written) orb_serv_printf_stream(0, "%s\n", line);
    __atomic_store_n(&verbose_header_printed, 1, __ATOMIC_RELEASE);
  }
  orb_serv_unlock(&verbose_header_lock);
}

void orb_serv_print_verbose_info(int iface, const char *call_text, double seconds) {
  char settings[kLineBytes] = "";
  append_time(settings, seconds);
  orb_serv_append_format(settings, kLineBytes, " CNR:%s", cbwr_word(orb_serv_cbwr_get(1)));
  if (orb_serv_cbwr_get(-1) & ORB_CBWR_STRICT) orb_serv_append_format(settings, kLineBytes, ",STRICT");
  orb_serv_append_format(settings, kLineBytes, " Dyn:%d", orb_serv_get_dynamic());
  orb_serv_append_format(settings, kLineBytes, " FastMM:%d", orb_serv_get_fast_mm_status() == 0 ? 1 : 0);

  orb_serv_print_verbose_header(iface);

  // The line never outgrows its buffer: a long call text is cut, the
  // settings after it are always there.
  static constexpr char kPrefix[] = "ORB_VERBOSE ";
  const int room = static_cast<int>(kLineBytes - 1 - (sizeof kPrefix - 1) - 1 - std::strlen(settings));
  char line[kLineBytes] = "";
  orb_serv_append_format(line, kLineBytes, "%s%.*s %s", kPrefix, room, call_text ? call_text : "", settings);
  const char *file_name = orb_serv_verbose_output_file_mode();
  if (file_name && file_name[0] != '\0') {
    // No lock: each line opens, appends and closes the file by itself.
    if (append_to_file(file_name, "%s%s\n", line, "")) return;
    warn_open_failed();
  }
  orb_serv_lock(&verbose_stdout_lock);
  orb_serv_printf_stream(0, "%s\n", line);
  orb_serv_unlock(&verbose_stdout_lock);
}

}  // extern "C"
