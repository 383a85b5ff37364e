// `orb-bench batch`: a batch of many small double-precision products through
// orb's dgemm_batch against a loop of single products through the serial
// provider and through each threaded peer.
#pragma once

#include <string>
#include <vector>

namespace orb::bench {

//! Command-line settings of the batch comparison.
struct BatchOptions {
  bool quick = false;       //!< a shorter time per measurement
  int threads = 0;          //!< --threads N: orb's budget and the peers' count; 0 keeps orb's budget
  int count = 1000;         //!< --count N: products in the batch
  double target_s = 1.0;    //!< --time S: timed seconds per library and size
  int rounds = 10;          //!< --rounds R: least interleaved batches per library
  std::vector<int> sizes;   //!< --size N, repeatable: m = n = k of every product; empty: 64 and 16
};

//! Parses the arguments that follow "batch"; false with a message in `error`.
bool parse_batch_options(const std::vector<std::string> &args, BatchOptions &options, std::string &error);

//! The usage text of the subcommand.
const char *batch_usage();

//! The subcommand: parses, loads, measures and prints; the exit status.
int batch_main(const std::vector<std::string> &args);

}  // namespace orb::bench
