// The topology rules: the decision between the kernel's counts and the APIC
// probe, and how an APIC ID splits into core and package IDs.  Pure functions
// of their inputs, tested directly on worked examples.
#include "service/topology.hpp"

namespace orb::thr {

Topology decide_topology(const CpuinfoCounts &f, const ProbeCounts &probe) {
  Topology t;
  const bool all_known = f.opened && f.processors >= 1 && f.packages >= 1 && f.cpu_cores >= 1 && f.siblings >= 1;
  if (all_known && f.cpu_cores * f.packages == f.processors && f.cpu_cores == f.siblings) {
    t.total_cores = f.processors;
  } else if (all_known && f.siblings * f.packages == f.processors && f.cpu_cores != f.siblings) {
    t.total_cores = f.cpu_cores * f.packages;
  } else {
    t.packages = probe.distinct_packages >= 1 ? probe.distinct_packages : probe.physical_cores;
    t.total_cores = probe.physical_cores;
    t.logical = probe.probed;
    return t;
  }
  t.logical = f.processors;
  t.packages = f.packages;
  return t;
}

int id_width(int x) {
  int w = 0;
  for (unsigned v = x > 1 ? static_cast<unsigned>(x - 1) : 0u; v; v >>= 1) ++w;
  return w;
}

unsigned core_id_of(unsigned apic, int threads_per_core, int cores_per_package) {
  const int lo = id_width(threads_per_core);
  const int bits = id_width(cores_per_package);
  const unsigned mask = bits >= 32 ? ~0u : ((1u << bits) - 1u) << lo;
  return apic & mask;
}

unsigned package_id_of(unsigned apic, int logical_per_package) {
  const int w = id_width(logical_per_package);
  return w >= 32 ? 0u : apic & ~((1u << w) - 1u);
}

}  // namespace orb::thr
