// `orb-bench level1`: ddot, daxpy and dnrm2 through orb's threaded drivers,
// the serial provider and the threaded peers, on the libraries the gemm
// comparison loads (each peer on its best kernel set, libraries.hpp).
//
// These routines stream their vectors once, so from 10^6 elements on they
// are bound by memory bandwidth, and the table gives GB/s (bytes read and
// written per call over its best time) beside the ratios.  Each length is a
// fresh pair of vectors, written once before timing so that its pages exist.
// daxpy is timed with alpha = 1e-9, so that y changes little over thousands
// of calls.  orb's answers are the check: a ddot or dnrm2 of a library that
// differs from orb's by more than the rounding of the sum is a mismatch.
#include "level1_bench.hpp"

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
#include <limits>

#pragma weak orb_blas_ddot
#pragma weak orb_blas_daxpy
#pragma weak orb_blas_dnrm2

namespace orb::bench {

namespace {

const char *const kRoutines[] = {"ddot", "daxpy", "dnrm2"};

//! One library's three routines, as calls on the benchmark's vectors.
struct Level1Entries {
  std::function<double(long n, const double *x, double *y)> dot, nrm2;
  std::function<void(long n, double alpha, const double *x, double *y)> axpy;
  bool complete() const { return dot && axpy && nrm2; }
};

//! The routines of a library with Fortran names taking integers of type I.
template <class I>
Level1Entries fortran_entries(void *handle) {
  using Dot = double (*)(const I *, const double *, const I *, const double *, const I *);
  using Axpy = void (*)(const I *, const double *, const double *, const I *, double *, const I *);
  using Nrm2 = double (*)(const I *, const double *, const I *);
  const auto dot = reinterpret_cast<Dot>(dlsym(handle, "ddot_"));
  const auto axpy = reinterpret_cast<Axpy>(dlsym(handle, "daxpy_"));
  const auto nrm2 = reinterpret_cast<Nrm2>(dlsym(handle, "dnrm2_"));
  Level1Entries e;
  const I one = 1;
  if (dot) e.dot = [=](long n, const double *x, double *y) { const I m = static_cast<I>(n); return dot(&m, x, &one, y, &one); };
  if (nrm2) e.nrm2 = [=](long n, const double *x, double *) { const I m = static_cast<I>(n); return nrm2(&m, x, &one); };
  if (axpy)
    e.axpy = [=](long n, double alpha, const double *x, double *y) {
      const I m = static_cast<I>(n);
      axpy(&m, &alpha, x, &one, y, &one);
    };
  return e;
}

Level1Entries orb_entries() {
  Level1Entries e;
  if (!orb_blas_ddot || !orb_blas_daxpy || !orb_blas_dnrm2) return e;
  const ORB_INT one = 1;
  e.dot = [=](long n, const double *x, double *y) { const ORB_INT m = n; return orb_blas_ddot(&m, x, &one, y, &one); };
  e.nrm2 = [=](long n, const double *x, double *) { const ORB_INT m = n; return orb_blas_dnrm2(&m, x, &one); };
  e.axpy = [=](long n, double alpha, const double *x, double *y) {
    const ORB_INT m = n;
    orb_blas_daxpy(&m, &alpha, x, &one, y, &one);
  };
  return e;
}

//! The level-1 routines of every library; a library without them gets a reason in `missing`.
std::vector<Level1Entries> level1_entries(std::vector<GemmLibrary> &libs) {
  std::vector<Level1Entries> entries;
  for (GemmLibrary &lib : libs) {
    Level1Entries e;
    if (lib.available() && lib.abi == CallAbi::orb) {
      e = orb_entries();
    } else if (lib.available()) {
      // Already open: this hands back the same private copy, set up as the gemm comparison left it.
      void *h = dlopen(lib.path.c_str(), private_dlopen_flags() | RTLD_NOLOAD);
      if (h) e = lib.abi == CallAbi::fortran_ilp64 ? fortran_entries<int64_t>(h) : fortran_entries<int>(h);
    }
    if (lib.available() && !e.complete()) lib.missing = "no ddot_, daxpy_ or dnrm2_";
    entries.push_back(e);
  }
  return entries;
}

//! Bytes a call moves: x and y read, y written for daxpy.
double bytes_moved(const std::string &routine, long n) {
  const double per = routine == "daxpy" ? 24 : routine == "ddot" ? 16 : 8;
  return per * static_cast<double>(n);
}

void measure_length(const Level1Options &o, const std::vector<GemmLibrary> &libs,
                    const std::vector<Level1Entries> &entries, long n, int &status) {
  std::vector<double> x(static_cast<size_t>(n)), y(static_cast<size_t>(n));
  for (long i = 0; i < n; ++i) {
    x[static_cast<size_t>(i)] = 1.0 / static_cast<double>(1 + i % 97);
    y[static_cast<size_t>(i)] = 0.5 - 1.0 / static_cast<double>(3 + i % 89);
  }
  for (const std::string routine : kRoutines) {
    std::vector<double> answer(libs.size(), 0.0);
    std::vector<std::function<void()>> calls(libs.size());
    for (size_t i = 0; i < libs.size(); ++i) {
      if (!libs[i].available()) continue;
      const Level1Entries &e = entries[i];
      if (routine == "ddot") calls[i] = [&, i] { answer[i] = e.dot(n, x.data(), y.data()); };
      if (routine == "dnrm2") calls[i] = [&, i] { answer[i] = e.nrm2(n, x.data(), y.data()); };
      if (routine == "daxpy") calls[i] = [&] { e.axpy(n, 1e-9, x.data(), y.data()); };
    }
    time_row(libs, calls, routine.c_str(), n, o.target_s, o.rounds, [&](size_t i, double best_s) {
      std::printf("  %8.1f GB/s", bytes_moved(routine, n) / best_s * 1e-9);
      const double scale = std::abs(answer[0]) * 1e-10 * std::log2(static_cast<double>(n));
      if (routine != "daxpy" && calls[0] && i > 0 && std::abs(answer[i] - answer[0]) > scale) {
        std::fprintf(stderr, "orb-bench level1: %s %ld: %s answers %.17g, orb %.17g\n", routine.c_str(), n,
                     libs[i].label.c_str(), answer[i], answer[0]);
        status = 1;
      }
    });
  }
}

}  // namespace

const char *level1_usage() {
  return "usage: orb-bench level1 [--quick] [--threads N] [--time S] [--rounds R] [--n N]...\n"
         "  --quick        10^4 and 10^6 elements, a shorter time per measurement\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --time S       timed seconds per library, routine and length (default 0.5; 0.1 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n"
         "  --n N          a vector length to measure, repeatable (default 10^4, 10^5, 10^6, 10^7)\n";
}

bool parse_level1_options(const std::vector<std::string> &args, Level1Options &o, std::string &error) {
  const auto length = [&o](const std::string &a, const std::string &v) {
    int count = 0;
    double big = 0;
    if (a != "--n") return false;
    if (parse_count(v, count))
      o.lengths.push_back(count);
    else if (parse_positive(v, big) && big == std::floor(big) && big < 1e10)
      o.lengths.push_back(static_cast<long>(big));
    else
      return false;
    return true;
  };
  if (!parse_routine_options(args, o, 0.1, 5, {"--n"}, length, error)) return false;
  if (o.lengths.empty())
    o.lengths = o.quick ? std::vector<long>{10000, 1000000} : std::vector<long>{10000, 100000, 1000000, 10000000};
  return true;
}

int level1_main(const std::vector<std::string> &args) {
  Level1Options o;
  std::vector<GemmLibrary> libs;
  if (!start_subcommand("level1", args, o, parse_level1_options, level1_usage(), libs)) return 2;
  const int threads = orb_serv_get_max_threads();
  const std::vector<Level1Entries> entries = level1_entries(libs);
  std::printf("level-1 routines, %d threads; GB/s from each library's best call; ratios: orb over the serial\n"
              "provider and over the fastest peer, paired round by round\n\n",
              threads);
  print_libraries(libs, "n");
  int status = 0;
  for (long n : o.lengths) measure_length(o, libs, entries, n, status);
  return status;
}

bool parse_order_options(const std::vector<std::string> &args, Level1Options &o, std::string &error,
                         const std::vector<long> &full, const std::vector<long> &quick) {
  const bool orders_given = std::find(args.begin(), args.end(), "--n") != args.end();
  if (!parse_level1_options(args, o, error)) return false;
  if (!orders_given) o.lengths = o.quick ? quick : full;
  return true;
}

}  // namespace orb::bench
