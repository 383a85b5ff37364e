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

struct Measured {
  bool ran = false;
  Timing timing;
  std::vector<double> round_best;
  double answer = 0;
};

void measure_length(const Level1Options &o, const std::vector<GemmLibrary> &libs,
                    const std::vector<Level1Entries> &entries, long n, int &status) {
  std::vector<double> x(static_cast<size_t>(n)), y(static_cast<size_t>(n));
  for (long i = 0; i < n; ++i) {
    x[static_cast<size_t>(i)] = 1.0 / static_cast<double>(1 + i % 97);
    y[static_cast<size_t>(i)] = 0.5 - 1.0 / static_cast<double>(3 + i % 89);
  }
  for (const std::string routine : kRoutines) {
    std::vector<Measured> m(libs.size());
    std::vector<Contestant> contestants;
    std::vector<size_t> who;
    double settle_s = 0;
    for (size_t i = 0; i < libs.size(); ++i) {
      if (!libs[i].available()) continue;
      const Level1Entries &e = entries[i];
      std::function<void()> call;
      if (routine == "ddot") call = [&, i] { m[i].answer = e.dot(n, x.data(), y.data()); };
      if (routine == "dnrm2") call = [&, i] { m[i].answer = e.nrm2(n, x.data(), y.data()); };
      if (routine == "daxpy") call = [&] { e.axpy(n, 1e-9, x.data(), y.data()); };
      call();  // untimed: pools start, pages settle
      const double t0 = now_s();
      call();
      const double one_call = now_s() - t0;
      contestants.push_back({call, calls_per_round(one_call, o.target_s, o.rounds), {}, {}});
      who.push_back(i);
      settle_s = std::max(settle_s, libs[i].settle_s);
    }
    interleave(contestants, o.rounds, settle_s);
    for (size_t c = 0; c < who.size(); ++c) {
      m[who[c]].ran = true;
      m[who[c]].timing = summarize(contestants[c].seconds);
      m[who[c]].round_best = contestants[c].round_best;
    }
    // orb first, serial provider second (libraries.cpp); the best peer is the fastest one.
    int best = -1;
    for (size_t i = 0; i < libs.size(); ++i)
      if (libs[i].peer && m[i].ran && (best < 0 || m[i].timing.best_s < m[best].timing.best_s))
        best = static_cast<int>(i);
    std::printf("%-6s %9ld", routine.c_str(), n);
    for (size_t i = 0; i < libs.size(); ++i) {
      if (!m[i].ran) {
        std::printf("  %14s", "n/a");
        continue;
      }
      std::printf("  %8.1f GB/s", bytes_moved(routine, n) / m[i].timing.best_s * 1e-9);
      const double scale = std::abs(m[0].answer) * 1e-10 * std::log2(static_cast<double>(n));
      if (routine != "daxpy" && m[0].ran && i > 0 && std::abs(m[i].answer - m[0].answer) > scale) {
        std::fprintf(stderr, "orb-bench level1: %s %ld: %s answers %.17g, orb %.17g\n", routine.c_str(), n,
                     libs[i].label.c_str(), m[i].answer, m[0].answer);
        status = 1;
      }
    }
    const double to_serial = m[0].ran && m[1].ran ? paired_speedup(m[0].round_best, m[1].round_best) : NAN;
    const double to_peer = m[0].ran && best >= 0 ? paired_speedup(m[0].round_best, m[best].round_best) : NAN;
    const auto ratio = [](double r) { std::isnan(r) ? std::printf("  %8s", "n/a") : std::printf("  %7.2fx", r); };
    ratio(to_serial);
    ratio(to_peer);
    std::printf(" %s\n", best >= 0 ? libs[best].label.c_str() : "");
    std::fflush(stdout);
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
  bool time_given = false, rounds_given = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &a = args[i];
    if (a == "--quick") {
      o.quick = true;
      continue;
    }
    if (i + 1 >= args.size()) {
      error = a == "--threads" || a == "--time" || a == "--rounds" || a == "--n" ? a + " wants a value"
                                                                                    : "unknown option " + a;
      return false;
    }
    const std::string &v = args[++i];
    int count = 0;
    if (a == "--threads" && parse_count(v, o.threads)) continue;
    if (a == "--rounds" && parse_count(v, o.rounds)) {
      rounds_given = true;
      continue;
    }
    if (a == "--time" && parse_positive(v, o.target_s)) {
      time_given = true;
      continue;
    }
    if (a == "--n" && parse_count(v, count)) {
      o.lengths.push_back(count);
      continue;
    }
    double big = 0;
    if (a == "--n" && parse_positive(v, big) && big == std::floor(big) && big < 1e10) {
      o.lengths.push_back(static_cast<long>(big));
      continue;
    }
    error = "bad value for " + a + ": " + v;
    return false;
  }
  if (o.lengths.empty())
    o.lengths = o.quick ? std::vector<long>{10000, 1000000} : std::vector<long>{10000, 100000, 1000000, 10000000};
  if (o.quick && !time_given) o.target_s = 0.1;
  if (o.quick && !rounds_given) o.rounds = 5;
  return true;
}

int level1_main(const std::vector<std::string> &args) {
  Level1Options o;
  std::string error;
  if (!parse_level1_options(args, o, error)) {
    std::fprintf(stderr, "orb-bench level1: %s\n%s", error.c_str(), level1_usage());
    return 2;
  }
  if (o.threads > 0) orb_serv_set_num_threads_local(o.threads);
  const int threads = orb_serv_get_max_threads();
  std::vector<GemmLibrary> libs = gemm_libraries(threads);
  const std::vector<Level1Entries> entries = level1_entries(libs);
  std::printf("level-1 routines, %d threads; GB/s from each library's best call; ratios: orb over the serial\n"
              "provider and over the fastest peer, paired round by round\n\n",
              threads);
  for (const GemmLibrary &lib : libs)
    std::printf("  %-16s %s%s%s\n", lib.label.c_str(), lib.available() ? lib.about.c_str() : "n/a: ",
                lib.available() ? "" : lib.missing.c_str(),
                lib.kernels.forced.empty() ? "" : (" [" + lib.kernels.forced + "]").c_str());
  std::printf("\n%-6s %9s", "", "n");
  for (const GemmLibrary &lib : libs) std::printf("  %14s", lib.label.c_str());
  std::printf("  %8s  %8s\n", "/serial", "/peer");
  int status = 0;
  for (long n : o.lengths) measure_length(o, libs, entries, n, status);
  return status;
}

}  // namespace orb::bench
