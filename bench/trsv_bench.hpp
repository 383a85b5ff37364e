// `orb-bench trsv`: orb's analysed sparse triangular solve and Gauss-Seidel
// sweep pair, in parallel and as one part.
#pragma once

#include <string>
#include <vector>

namespace orb::bench {

//! Command-line settings of the sparse solve comparison.
struct TrsvOptions {
  bool quick = false;     //!< matrices of 10^5 rows and a shorter time per measurement
  int threads = 0;        //!< --threads N: orb's budget; 0 keeps it
  double target_s = 1.0;  //!< --time S: timed seconds per contestant and matrix
  int rounds = 10;        //!< --rounds R: interleaved batches per contestant
};

//! Parses the arguments that follow "trsv"; false with a message in `error`.
bool parse_trsv_options(const std::vector<std::string> &args, TrsvOptions &options, std::string &error);

//! The usage text of the subcommand.
const char *trsv_usage();

//! The subcommand: builds the matrices, measures and prints; the exit status
//! (1 when the parallel and one-part answers differ).
int trsv_main(const std::vector<std::string> &args);

}  // namespace orb::bench
