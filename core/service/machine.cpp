// Facts about the machine and the library: instruction-set level, processor
// frequency, version record, and two small helpers the drivers share.
#include <orb/orb_service.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int orb_serv_cpu_detect(void) {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) return 4;
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return 3;
  if (__builtin_cpu_supports("avx")) return 2;
  if (__builtin_cpu_supports("sse4.2")) return 1;
  return 0;
}

// The kernel's cpufreq limit when the machine exposes one; otherwise the
// highest "cpu MHz" that /proc/cpuinfo reports (virtual machines often have
// no cpufreq directory).  Read once.
extern "C" double orb_serv_get_max_cpu_frequency(void) {
  static double ghz = [] {
    double best = 0.0;
    if (FILE *f = std::fopen("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "r")) {
      long khz = 0;
      if (std::fscanf(f, "%ld", &khz) == 1 && khz > 0) best = khz / 1e6;
      std::fclose(f);
    }
    if (best > 0.0) return best;
    if (FILE *f = std::fopen("/proc/cpuinfo", "r")) {
      char line[512];
      while (std::fgets(line, sizeof line, f)) {
        if (std::strncmp(line, "cpu MHz", 7) != 0) continue;
        const char *colon = std::strchr(line, ':');
        if (!colon) continue;
        const double mhz = std::atof(colon + 1);
        if (mhz / 1000.0 > best) best = mhz / 1000.0;
      }
      std::fclose(f);
    }
    return best;
  }();
  return ghz;
}

extern "C" void orb_serv_get_version(OrbVersion *v) {
  if (!v) return;
  v->major = ORB_VERSION_MAJOR;
  v->minor = ORB_VERSION_MINOR;
  v->update = ORB_VERSION_UPDATE;
  v->status = "Product";
  v->build = "20261122";
  v->processor = "x86-64";
  v->platform = "Linux";
}

extern "C" const char *orb_serv_get_version_string(char *buf, int size) {
  if (!buf || size <= 0) return buf;
  std::snprintf(buf, static_cast<size_t>(size), "%d.%d.%d", ORB_VERSION_MAJOR, ORB_VERSION_MINOR,
                ORB_VERSION_UPDATE);
  return buf;
}

// n items over nthr workers, the remainder going one each to the first workers:
//   n = 10, nthr = 4  ->  [0,3) [3,6) [6,8) [8,10)
//   n = 2,  nthr = 4  ->  [0,1) [1,2) [2,2) [2,2)
extern "C" void orb_serv_divbythreadsnb(ORB_INT n, ORB_INT nthr, ORB_INT ithr, ORB_INT *first,
                                        ORB_INT *count) {
  ORB_INT f = 0, c = 0;
  if (n > 0 && nthr > 0 && ithr >= 0 && ithr < nthr) {
    const ORB_INT base = n / nthr, rest = n % nthr;
    c = base + (ithr < rest ? 1 : 0);
    f = ithr * base + (ithr < rest ? ithr : rest);
  }
  if (first) *first = f;
  if (count) *count = c;
}

extern "C" int orb_serv_lsame(const char *a, const char *b) {
  if (!a || !b) return 0;
  return std::toupper(static_cast<unsigned char>(*a)) == std::toupper(static_cast<unsigned char>(*b));
}

extern "C" OrbMpiWrappers *orb_serv_get_mpi_wrappers(void) {
  static OrbMpiWrappers table{};
  return &table;
}
