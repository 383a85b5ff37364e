// Highest processor frequency, as the verbose header reports it.
#include <orb/orb_service.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

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
