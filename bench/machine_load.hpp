// How much of the machine other processes used while a measurement ran.
//
// The system's CPU time (from /proc/stat) minus this process's own (all its
// threads: orb's workers and every peer's pool alike), over the wall time
// times the number of CPUs.  0 means the measurement had the machine to
// itself; 0.5 on 2 CPUs means one CPU's worth of other work ran beside it,
// and the figures of that shape say more about the neighbours than about
// the libraries.
#pragma once

#include <string>

namespace orb::bench {

//! CPU time of the whole system and of this process at one moment.
struct CpuSample {
  double system_busy_s = 0;  //!< non-idle time summed over all CPUs since boot
  double own_s = 0;          //!< CPU time of this process, all threads
  double wall_s = 0;         //!< monotonic clock
  bool valid = false;        //!< false when /proc/stat could not be read
};

//! Reads the current sample.
CpuSample sample_cpu();

//! Parses the aggregate "cpu" line of /proc/stat into busy and total ticks; false if malformed.
bool parse_cpu_line(const std::string &line, double &busy_ticks, double &total_ticks);

//! Share of all CPUs that other processes used between `before` and `after`,
//! clamped to [0, 1]; negative when either sample is invalid.
double others_share(const CpuSample &before, const CpuSample &after, int cpus);

}  // namespace orb::bench
