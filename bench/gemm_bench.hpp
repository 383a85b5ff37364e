// `orb-bench gemm`: orb's threaded gemm against the serial provider and the
// threaded peers, shape by shape, in one run on one machine.
#pragma once

#include "gemm_shapes.hpp"
#include "libraries.hpp"
#include "measure.hpp"

#include <string>
#include <vector>

namespace orb::bench {

//! Command-line settings of the gemm comparison.
struct GemmOptions {
  bool quick = false;               //!< the short list and a shorter time per measurement
  std::string csv_path;             //!< --csv FILE: one row per shape and library
  std::string json_path;            //!< --json FILE: everything, for bench/report.py
  int threads = 0;                  //!< --threads N: orb's budget and the peers' count; 0 keeps orb's budget
  double target_s = 1.0;            //!< --time S: timed seconds per library and shape
  int rounds = 10;                  //!< --rounds R: least interleaved batches per library (also the least calls)
  std::vector<GemmShape> shapes;    //!< --shape SHAPE, repeatable; empty: the full or quick list
  std::vector<std::string> only;    //!< --only KEY,...: measure just these libraries
};

//! Parses the arguments that follow "gemm"; false with a message in `error`.
bool parse_gemm_options(const std::vector<std::string> &args, GemmOptions &options, std::string &error);

//! The usage text of the subcommand.
const char *gemm_usage();

//! What became of one library on one shape.
struct LibraryResult {
  bool measured = false;    //!< false: the library or its entry for this precision is missing ("n/a")
  Timing timing;            //!< timed calls after the first
  std::vector<double> round_best_s;  //!< best call of each round, for the paired ratios
  double first_call_s = 0;  //!< the untimed first call, which is also the first checked one
  double difference = -1;   //!< largest relative difference of its checked calls from the reference C
  std::string check;        //!< "reference", "ok", "MISMATCH", or empty when not measured
};

//! All libraries on one shape, in the order of GemmRun::libraries.
struct ShapeResult {
  GemmShape shape;
  double tolerance = 0;
  int rounds = 0;            //!< interleaved rounds actually run (rounds_for in gemm_bench.cpp)
  double others_share = -1;  //!< share of the CPUs other processes used meanwhile (machine_load.hpp); <0 unknown
  std::vector<LibraryResult> libs;
};

//! A whole comparison: settings, the machine's state, the libraries, the results.
struct GemmRun {
  GemmOptions options;
  int threads = 1;
  int cpus = 1;            //!< online CPUs
  std::string date;        //!< local time at the start, ISO 8601
  std::string load_start;  //!< /proc/loadavg at the start and the end: a busy machine shows here
  std::string load_end;
  std::vector<GemmLibrary> libraries;
  std::vector<ShapeResult> shapes;
};

//! GFLOPS of library `lib` on `r` from its best (or median) call; 0 when not measured.
double gflops(const ShapeResult &r, size_t lib, bool median = false);

//! How many times faster library `ours` ran than library `other` on `r`,
//! paired round by round (measure.hpp); NaN when either was not measured.
double speedup(const ShapeResult &r, int ours, int other);

//! Index of the peer orb compares worst against on `r` (by GFLOPS when orb
//! was not measured), or -1 when no peer was measured.
int best_peer(const GemmRun &run, const ShapeResult &r);

//! orb's speed-up over the serial provider and over the best peer, and the
//! best peer's own over the serial provider; NaN when one is missing.
double ratio_to_serial(const GemmRun &run, const ShapeResult &r);
double ratio_to_best_peer(const GemmRun &run, const ShapeResult &r);
double peer_to_serial(const GemmRun &run, const ShapeResult &r);

//! Index of the library with this key, or -1.
int library_index(const GemmRun &run, const std::string &key);

//! Measures every shape of `run.options` on every library of `run.libraries`,
//! printing each shape's table as it completes.
void measure_gemm(GemmRun &run);

//! The subcommand: parses, loads, measures, prints and writes; the exit status.
int gemm_main(const std::vector<std::string> &args);

}  // namespace orb::bench
