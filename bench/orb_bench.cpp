// orb-bench: compares orb's threaded routines with the serial provider beneath
// them and with the threaded libraries a user could pick instead, in one run
// on one machine.
//
//   orb-bench gemm [options]    matrix products; `orb-bench gemm --help` lists the options
//   orb-bench level1 [options]  ddot, daxpy and dnrm2 from 10^4 to 10^7 elements
//   orb-bench level3 [options]  dtrsm, dsyrk and dsymm at orders 500 to 4000
//   orb-bench level2 [options]  dsymv, dger, dtrmv, dtrsv and dsyr at orders 2000 to 8000
//   orb-bench kernels           the kernel set each peer picks by itself here
//   orb-bench batch [options]   a batch of small products against a loop of gemm calls
//   orb-bench getrf [options]   LU factorization at orders 1000 to 8000
//   orb-bench spmv [options]    sparse y := A x against the sequential kernel, librsb and Eigen
//   orb-bench trsv [options]    sparse triangular solve and Gauss-Seidel, parallel against one part
//   orb-bench syrkd [options]   sparse C := A^T A into a dense C against the sequential kernel
#include "batch_bench.hpp"
#include "gemm_bench.hpp"
#include "getrf_bench.hpp"
#include "kernel_sets.hpp"
#include "level1_bench.hpp"
#include "level3_bench.hpp"
#include "spmv_bench.hpp"
#include "trsv_bench.hpp"
#include "vm_bench.hpp"

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

namespace {

struct Subcommand {
  const char *name;
  int (*main)(const std::vector<std::string> &args);
  const char *(*usage)();
  const char *summary;
};

const Subcommand kSubcommands[] = {
    {"gemm", orb::bench::gemm_main, orb::bench::gemm_usage, "s/d/z gemm against the serial provider and peers"},
    {"level1", orb::bench::level1_main, orb::bench::level1_usage, "ddot/daxpy/dnrm2 against the serial provider and peers"},
    {"level3", orb::bench::level3_main, orb::bench::level3_usage, "dtrsm/dsyrk/dsymm against the serial provider and peers"},
    {"level2", orb::bench::level2_main, orb::bench::level2_usage, "dsymv/dger/dtrmv/dtrsv/dsyr against the serial provider and peers"},
    {"kernels", orb::bench::kernels_main, orb::bench::kernels_usage, "the kernel set each peer picks by itself"},
    {"batch", orb::bench::batch_main, orb::bench::batch_usage, "dgemm_batch against a loop of each library's gemm"},
    {"getrf", orb::bench::getrf_main, orb::bench::getrf_usage, "s/d/z getrf against the serial provider and peers"},
    {"spmv", orb::bench::spmv_main, orb::bench::spmv_usage, "sparse y := A x against the sequential kernel and peers"},
    {"trsv", orb::bench::trsv_main, orb::bench::trsv_usage, "sparse triangular solve and Gauss-Seidel, parallel against one part"},
    {"syrkd", orb::bench::syrkd_main, orb::bench::syrkd_usage, "sparse C := A^T A into a dense C against the sequential kernel"},
    {"vm", orb::bench::vm_main, orb::bench::vm_usage, "exp/ln/sin/pow/erf/sqrt against orb on one thread, SLEEF and libm"},
};

void print_usage(std::FILE *out) {
  std::fprintf(out, "usage: orb-bench SUBCOMMAND [options]\n");
  for (const Subcommand &s : kSubcommands) std::fprintf(out, "  %-8s %s\n", s.name, s.summary);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
    print_usage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  for (const Subcommand &s : kSubcommands) {
    if (std::strcmp(argv[1], s.name) != 0) continue;
    const std::vector<std::string> args(argv + 2, argv + argc);
    for (const std::string &a : args)
      if (a == "--help" || a == "-h") {
        std::fputs(s.usage(), stdout);
        return 0;
      }
    try {
      return s.main(args);
    } catch (const std::exception &e) {  // allocation of the largest operands, mostly
      std::fprintf(stderr, "orb-bench %s: %s\n", s.name, e.what());
      return 2;
    }
  }
  std::fprintf(stderr, "orb-bench: unknown subcommand '%s'\n", argv[1]);
  print_usage(stderr);
  return 2;
}
