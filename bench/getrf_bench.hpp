// `orb-bench getrf`: orb's threaded LU factorization against the serial
// provider and the threaded peers, at orders 1000 to 8000 in double precision
// and 4000 in single and double complex.
#pragma once

#include "level1_bench.hpp"

#include <string>
#include <vector>

namespace orb::bench {

//! Parses the arguments that follow "getrf" (the options of level1, --n
//! giving an order of dgetrf); without --n the orders are 1000, 2000, 4000,
//! 4999, 5000 and 8000 (2000 and 5000 with --quick).  false with a message
//! in `error`.
bool parse_getrf_options(const std::vector<std::string> &args, Level1Options &options, std::string &error);

//! The usage text of the subcommand.
const char *getrf_usage();

//! The subcommand: loads, measures and prints; the exit status (1 when a
//! library's factorization disagrees with orb's).
int getrf_main(const std::vector<std::string> &args);

}  // namespace orb::bench
