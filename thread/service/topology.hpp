// Processor topology: how many packages, physical cores and logical
// processors this process can use.
//
// Two sources are combined.  The APIC probe (apic_probe.cpp) pins the calling
// thread to each processor of the affinity mask in turn and decodes its APIC
// ID; the second reading of /proc/cpuinfo (cpuinfo.cpp) gives the kernel's own
// counts.  The decision between them is the three-way rule of
// decide_topology() (topology.cpp); the environment reader runs the steps in
// their fixed order.  The readers take the file path as a parameter so the
// decision is tested on canned texts.
#pragma once

#include <cstdint>

namespace orb::thr {

//! Processor count of the first reading: lines whose first 9 characters are
//! "processor"; 8192 when the file cannot be opened.
int count_processor_lines(const char *path);

//! What the second reading of /proc/cpuinfo found.
struct CpuinfoCounts {
  bool opened = false;
  int processors = 0;  //!< "processor" lines
  int packages = 0;    //!< distinct "physical id" values (at most 4096)
  int cpu_cores = 0;   //!< "cpu cores" of the first processor's block
  int siblings = 0;    //!< "siblings" of the first processor's block
};
CpuinfoCounts read_cpuinfo_counts(const char *path);

//! What the APIC probe found.
struct ProbeCounts {
  int physical_cores = 0;     //!< distinct (core ID | package ID) byte values
  int distinct_packages = 0;  //!< distinct package IDs
  int probed = 0;             //!< processors probed
};

//! The machine as the budget sees it.
struct Topology {
  int packages = 1;
  int total_cores = 1;
  int logical = 1;
};

//! Three-way decision:
//!   all four file counts >= 1, cores x packages = processors, cores = siblings
//!       -> no hyper-threading: total cores = processors;
//!   all four >= 1, siblings x packages = processors, cores != siblings
//!       -> total cores = cores x packages;
//!   otherwise the probe: packages = distinct packages (or the physical count
//!       when none), total = physical cores, logical = processors probed.
//! Example: 2 packages, 8 cpu cores, 16 siblings, 32 processors -> second case,
//! 16 cores, 32 logical processors.
Topology decide_topology(const CpuinfoCounts &file, const ProbeCounts &probe);

//! Bits needed to number x values, i.e. for x - 1 (0 for x <= 1).
int id_width(int x);

//! Core ID: the APIC ID bits [width(threads per core), +width(cores per package)).
unsigned core_id_of(unsigned apic, int threads_per_core, int cores_per_package);
//! Package ID: the APIC ID with its low width(logical per package) bits cleared.
unsigned package_id_of(unsigned apic, int logical_per_package);

//! The affinity probe: walks the process's affinity mask, pinning the calling
//! thread to each of the first `processors` processors in turn to read its
//! APIC ID, then restores the mask.  Attempted once per process: false, for
//! the single-core fallback, when it was attempted before, when an affinity
//! call fails or when its scratch cannot be allocated.  The caller serialises.
bool probe_apic_ids(int processors, ProbeCounts &probe);

}  // namespace orb::thr
