// `orb-bench level3`: orb's threaded dtrsm, dsyrk and dsymm against the serial
// provider and the threaded peers, at orders 500 to 4000.
#pragma once

#include "level1_bench.hpp"

#include <string>
#include <vector>

namespace orb::bench {

//! Parses the arguments that follow "level3" (the options of level1, --n
//! giving an order); orders default to 500, 1000, 2000, 4000, or 1000 with
//! --quick.  false with a message in `error`.
bool parse_level3_options(const std::vector<std::string> &args, Level1Options &options, std::string &error);

//! The usage text of the subcommand.
const char *level3_usage();

//! The subcommand: loads, measures and prints; the exit status (1 when a
//! library's answer differs from orb's).
int level3_main(const std::vector<std::string> &args);

//! `orb-bench level2`: dsymv, dger, dtrmv, dtrsv and dsyr at orders 2000 to
//! 8000, the same way (orders default to 2000, 4000, 8000, or 2000 with --quick).
bool parse_level2_options(const std::vector<std::string> &args, Level1Options &options, std::string &error);
const char *level2_usage();
int level2_main(const std::vector<std::string> &args);

}  // namespace orb::bench
