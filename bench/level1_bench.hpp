// `orb-bench level1`: orb's threaded ddot, daxpy and dnrm2 against the serial
// provider and the threaded peers, from 10^4 to 10^7 elements.
#pragma once

#include <string>
#include <vector>

namespace orb::bench {

//! Command-line settings of the level-1 comparison.
struct Level1Options {
  bool quick = false;          //!< two lengths and a shorter time per measurement
  int threads = 0;             //!< --threads N: orb's budget and the peers' count; 0 keeps orb's budget
  double target_s = 0.5;       //!< --time S: timed seconds per library, routine and length
  int rounds = 10;             //!< --rounds R: interleaved batches per library
  std::vector<long> lengths;   //!< --n N, repeatable; empty: the full or quick list
};

//! Parses the arguments that follow "level1"; false with a message in `error`.
bool parse_level1_options(const std::vector<std::string> &args, Level1Options &options, std::string &error);

//! The options of a routine benchmark measured at orders (level3, getrf):
//! those of level1, the orders `full`, or `quick` with --quick, unless --n
//! gave them.  false with a message in `error`.
bool parse_order_options(const std::vector<std::string> &args, Level1Options &options, std::string &error,
                         const std::vector<long> &full, const std::vector<long> &quick);

//! The usage text of the subcommand.
const char *level1_usage();

//! The subcommand: loads, measures and prints; the exit status (1 when a
//! library's answer differs from orb's).
int level1_main(const std::vector<std::string> &args);

}  // namespace orb::bench
