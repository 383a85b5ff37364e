// `orb-bench vm`: orb's threaded vector math against its own sequential
// kernel, SLEEF called directly on one thread and the C library's scalar
// functions in a loop, for exp, ln, sin, pow, erf and sqrt of doubles, and
// complex products of doubles against a plain loop.
#pragma once

#include <string>
#include <vector>

namespace orb::bench {

//! The usage text of the subcommand.
const char *vm_usage();

//! The subcommand: measures and prints; the exit status (1 when a result
//! differs from the C library's by more than the modes allow).
int vm_main(const std::vector<std::string> &args);

}  // namespace orb::bench
