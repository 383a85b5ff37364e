// `orb-bench level3`: dtrsm, dsyrk and dsymm through orb's threaded drivers,
// the serial provider and the threaded peers, on the libraries the gemm
// comparison loads (each peer on its best kernel set, libraries.hpp).
//
// Every routine works on square operands of order n: dtrsm solves
// L X = B (left, lower, no transposition, non-unit) for n right-hand sides,
// n^3 flops; dsyrk updates the lower triangle with A A^T, n^3 flops; dsymm
// forms A B with the lower triangle of A, 2 n^3 flops.  The table gives
// GFLOPS from each library's best call and the ratios of orb over the serial
// provider and over the fastest peer, paired round by round.  dsyrk and dsymm
// are timed with beta = 0, so every call computes the same C; dtrsm solves in
// place, so its triangle is the identity plus entries of 1e-6 / n below the
// diagonal: B changes by a millionth per call and never reaches the slow
// subnormal range.  The check: each library's first result, from the same
// operands, against orb's, within a rounding bound.
#include "level3_bench.hpp"

#include "libraries.hpp"
#include "measure.hpp"
#include "routine_table.hpp"

#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

#pragma weak orb_blas_dtrsm
#pragma weak orb_blas_dsyrk
#pragma weak orb_blas_dsymm

namespace orb::bench {

namespace {

const char *const kRoutines[] = {"dtrsm", "dsyrk", "dsymm"};

//! One routine of one library on order-n operands a, b and c (b solved in place for dtrsm).
using Level3Call = std::function<void(long n, const double *a, double *b, double *c)>;

struct Level3Entries {
  Level3Call trsm, syrk, symm;
  bool complete() const { return trsm && syrk && symm; }
  const Level3Call &get(const std::string &routine) const {
    return routine == "dtrsm" ? trsm : routine == "dsyrk" ? syrk : symm;
  }
};

//! The routines of a library whose Fortran names take integers of type I.
template <class I>
Level3Entries fortran_entries(void *handle) {
  using Trsm = void (*)(const char *, const char *, const char *, const char *, const I *, const I *, const double *,
                        const double *, const I *, double *, const I *, size_t, size_t, size_t, size_t);
  using Syrk = void (*)(const char *, const char *, const I *, const I *, const double *, const double *, const I *,
                        const double *, double *, const I *, size_t, size_t);
  using Symm = void (*)(const char *, const char *, const I *, const I *, const double *, const double *, const I *,
                        const double *, const I *, const double *, double *, const I *, size_t, size_t);
  const auto trsm = reinterpret_cast<Trsm>(dlsym(handle, "dtrsm_"));
  const auto syrk = reinterpret_cast<Syrk>(dlsym(handle, "dsyrk_"));
  const auto symm = reinterpret_cast<Symm>(dlsym(handle, "dsymm_"));
  Level3Entries e;
  static const double one = 1, zero = 0;
  if (trsm)
    e.trsm = [=](long n, const double *a, double *b, double *) {
      const I m = static_cast<I>(n);
      trsm("L", "L", "N", "N", &m, &m, &one, a, &m, b, &m, 1, 1, 1, 1);
    };
  if (syrk)
    e.syrk = [=](long n, const double *a, double *, double *c) {
      const I m = static_cast<I>(n);
      syrk("L", "N", &m, &m, &one, a, &m, &zero, c, &m, 1, 1);
    };
  if (symm)
    e.symm = [=](long n, const double *a, double *b, double *c) {
      const I m = static_cast<I>(n);
      symm("L", "L", &m, &m, &one, a, &m, b, &m, &zero, c, &m, 1, 1);
    };
  return e;
}

Level3Entries orb_entries() {
  Level3Entries e;
  if (!orb_blas_dtrsm || !orb_blas_dsyrk || !orb_blas_dsymm) return e;
  static const double one = 1, zero = 0;
  e.trsm = [](long n, const double *a, double *b, double *) {
    const ORB_INT m = n;
    orb_blas_dtrsm("L", "L", "N", "N", &m, &m, &one, a, &m, b, &m);
  };
  e.syrk = [](long n, const double *a, double *, double *c) {
    const ORB_INT m = n;
    orb_blas_dsyrk("L", "N", &m, &m, &one, a, &m, &zero, c, &m);
  };
  e.symm = [](long n, const double *a, double *b, double *c) {
    const ORB_INT m = n;
    orb_blas_dsymm("L", "L", &m, &m, &one, a, &m, b, &m, &zero, c, &m);
  };
  return e;
}

//! The level-3 routines of every library; a library without them gets a reason in `missing`.
std::vector<Level3Entries> level3_entries(std::vector<GemmLibrary> &libs) {
  std::vector<Level3Entries> entries;
  for (GemmLibrary &lib : libs) {
    Level3Entries e;
    if (lib.available() && lib.abi == CallAbi::orb) {
      e = orb_entries();
    } else if (lib.available()) {
      // Already open: this hands back the same private copy, set up as the gemm comparison left it.
      void *h = dlopen(lib.path.c_str(), private_dlopen_flags() | RTLD_NOLOAD);
      if (h) e = lib.abi == CallAbi::fortran_ilp64 ? fortran_entries<int64_t>(h) : fortran_entries<int>(h);
    }
    if (lib.available() && !e.complete()) lib.missing = "no dtrsm_, dsyrk_ or dsymm_";
    entries.push_back(e);
  }
  return entries;
}

double flops(const std::string &routine, long n) {
  const double cube = static_cast<double>(n) * static_cast<double>(n) * static_cast<double>(n);
  return routine == "dsymm" ? 2 * cube : cube;
}

//! Order-n operands: A as described above (its upper triangle unused by
//! every routine, so it may hold anything), B and C filled.
struct Operands {
  std::vector<double> a, b, c;
  explicit Operands(long n) : a(static_cast<size_t>(n * n)), b(a.size()), c(a.size()) {
    for (long j = 0; j < n; ++j)
      for (long i = 0; i < n; ++i) {
        const size_t at = static_cast<size_t>(i + j * n);
        a[at] = i == j ? 1.0 : 1e-6 / static_cast<double>(n) * (0.5 - static_cast<double>((i * 7 + j * 13) % 17) / 17);
        b[at] = 0.5 - static_cast<double>((i * 3 + j * 5) % 23) / 23;
      }
  }
};

void measure_order(const Level1Options &o, const std::vector<GemmLibrary> &libs,
                   const std::vector<Level3Entries> &entries, long n, int &status) {
  for (const std::string routine : kRoutines) {
    // The check: one call per library on fresh operands, its output against orb's.
    std::vector<double> reference;
    for (size_t i = 0; i < libs.size(); ++i) {
      if (!libs[i].available()) continue;
      Operands fresh(n);
      entries[i].get(routine)(n, fresh.a.data(), fresh.b.data(), fresh.c.data());
      std::vector<double> &out = routine == "dtrsm" ? fresh.b : fresh.c;
      if (routine == "dsyrk")  // only the lower triangle is written
        for (long j = 0; j < n; ++j)
          for (long r = 0; r < j; ++r) out[static_cast<size_t>(r + j * n)] = 0;
      if (reference.empty()) {
        reference = out;
        continue;
      }
      double worst = 0;
      for (size_t x = 0; x < out.size(); ++x) worst = std::max(worst, std::abs(out[x] - reference[x]));
      if (worst > 1e-10 * static_cast<double>(n)) {
        std::fprintf(stderr, "orb-bench level3: %s %ld: %s differs from orb by %g\n", routine.c_str(), n,
                     libs[i].label.c_str(), worst);
        status = 1;
      }
    }
    Operands ops(n);
    std::vector<std::function<void()>> calls(libs.size());
    for (size_t i = 0; i < libs.size(); ++i)
      if (libs[i].available())
        calls[i] = [&, i] { entries[i].get(routine)(n, ops.a.data(), ops.b.data(), ops.c.data()); };
    time_row(libs, calls, routine.c_str(), n, o.target_s, o.rounds, [&](size_t, double best_s) {
      std::printf("  %9.1f GF/s", flops(routine, n) / best_s * 1e-9);
    });
  }
}

}  // namespace

const char *level3_usage() {
  return "usage: orb-bench level3 [--quick] [--threads N] [--time S] [--rounds R] [--n N]...\n"
         "  --quick        order 1000 only, a shorter time per measurement\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --time S       timed seconds per library, routine and order (default 0.5; 0.1 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n"
         "  --n N          an order to measure, repeatable (default 500, 1000, 2000, 4000)\n";
}

bool parse_level3_options(const std::vector<std::string> &args, Level1Options &o, std::string &error) {
  return parse_order_options(args, o, error, {500, 1000, 2000, 4000}, {1000});
}

int level3_main(const std::vector<std::string> &args) {
  Level1Options o;
  std::vector<GemmLibrary> libs;
  if (!start_subcommand("level3", args, o, parse_level3_options, level3_usage(), libs)) return 2;
  const int threads = orb_serv_get_max_threads();
  const std::vector<Level3Entries> entries = level3_entries(libs);
  std::printf("level-3 routines beyond gemm, %d threads; GFLOPS from each library's best call; ratios: orb over\n"
              "the serial provider and over the fastest peer, paired round by round\n\n",
              threads);
  print_libraries(libs, "n");
  int status = 0;
  for (long n : o.lengths) measure_order(o, libs, entries, n, status);
  return status;
}

}  // namespace orb::bench
