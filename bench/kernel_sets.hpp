// Which kernel set each library runs, and each peer at its best.
//
// A peer built for many processors picks its kernel set once per process: the
// threaded OpenBLAS when it is loaded (by processor model, or by the name in
// OPENBLAS_CORETYPE), BLIS at its first call (by its own detection, or by the
// configuration number in BLIS_ARCH_TYPE).  Either may land below what the
// processor can run: a model newer than its release, an environment that
// names an older set.  A comparison with a peer held below its best says
// little, so the benchmark asks each peer, in a fresh process started for
// the purpose (`orb-bench kernels`), what it picks by itself here, and when
// that set is written for fewer instructions than the processor has, loads it
// with the best set forced through the peer's own documented setting.  The
// tables say which set each library ran and whether it was forced.
#pragma once

#include "service/processor.hpp"

#include <map>
#include <string>
#include <vector>

namespace orb::bench {

//! The set to force on the threaded OpenBLAS, given its own pick and the
//! processor: the set orb's core gives its provider (the same library) when
//! `own` is written for a lower tier; empty when `own` is as good or unknown.
std::string openblas_set_to_force(const std::string &own, const core::ProcessorFeatures &f);

//! The same for BLIS, by configuration name: the configuration orb's core gives
//! its second provider (blas/provider_kernels.hpp).
std::string blis_config_to_force(const std::string &own, const core::ProcessorFeatures &f);

//! BLIS's number for the configuration `name`, which BLIS_ARCH_TYPE takes, from
//! the BLIS opened at `handle`; -1 when it has no such configuration.
int blis_config_number(void *handle, const std::string &name);

//! What each peer picks by itself in this process's environment, by library
//! key ("openblas", "blis"), as a fresh `orb-bench kernels` reports it; a peer
//! that could not be asked is missing.
std::map<std::string, std::string> own_kernel_sets();

//! `orb-bench kernels`: loads each peer as the environment stands and prints
//! "KEY=SET" for each that names its kernel set.
int kernels_main(const std::vector<std::string> &args);
const char *kernels_usage();

}  // namespace orb::bench
