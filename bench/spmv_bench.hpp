// `orb-bench spmv`: orb's analysed sparse product against its sequential
// kernel, the threaded librsb and Eigen's sequential product.
#pragma once

#include <string>
#include <vector>

namespace orb::bench {

//! Command-line settings of the sparse comparison.
struct SpmvOptions {
  bool quick = false;     //!< matrices of 10^5 rows and a shorter time per measurement
  int threads = 0;        //!< --threads N: orb's budget and the threaded peer's count; 0 keeps orb's budget
  double target_s = 1.0;  //!< --time S: timed seconds per library and matrix
  int rounds = 10;        //!< --rounds R: interleaved batches per library
};

//! Parses the arguments that follow "spmv"; false with a message in `error`.
bool parse_spmv_options(const std::vector<std::string> &args, SpmvOptions &options, std::string &error);

//! The usage text of the subcommand.
const char *spmv_usage();

//! The subcommand: builds the matrices, measures and prints; the exit status
//! (1 when a library's y differs from the sequential kernel's).
int spmv_main(const std::vector<std::string> &args);

//! `orb-bench syrkd`: C := A^T A through orb's handle against its sequential
//! kernel, with the options of spmv (the threaded peer has no such product).
const char *syrkd_usage();
int syrkd_main(const std::vector<std::string> &args);

}  // namespace orb::bench
