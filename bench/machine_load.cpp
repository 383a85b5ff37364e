// Other processes' share of the machine during a measurement (see machine_load.hpp).
#include "machine_load.hpp"

#include "measure.hpp"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace orb::bench {

bool parse_cpu_line(const std::string &line, double &busy_ticks, double &total_ticks) {
  // cpu  user nice system idle iowait irq softirq steal guest guest_nice
  // guest time is already counted in user and nice, so only the first eight add up.
  std::istringstream in(line);
  std::string label;
  in >> label;
  if (label != "cpu") return false;
  double v[8] = {};
  int read = 0;
  while (read < 8 && in >> v[read]) ++read;
  if (read < 4) return false;  // idle is the fourth field
  total_ticks = 0;
  for (double x : v) total_ticks += x;
  busy_ticks = total_ticks - v[3] - v[4];  // idle and waiting for I/O
  return true;
}

CpuSample sample_cpu() {
  CpuSample s;
  s.wall_s = now_s();
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  s.own_s = static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
  std::ifstream in("/proc/stat");
  std::string line;
  double busy = 0, total = 0;
  const long hz = sysconf(_SC_CLK_TCK);
  if (std::getline(in, line) && parse_cpu_line(line, busy, total) && hz > 0) {
    s.system_busy_s = busy / static_cast<double>(hz);
    s.valid = true;
  }
  return s;
}

double others_share(const CpuSample &before, const CpuSample &after, int cpus) {
  const double wall = after.wall_s - before.wall_s;
  if (!before.valid || !after.valid || cpus < 1 || !(wall > 0)) return -1;
  const double others = (after.system_busy_s - before.system_busy_s) - (after.own_s - before.own_s);
  return std::clamp(others / (wall * cpus), 0.0, 1.0);
}

}  // namespace orb::bench
