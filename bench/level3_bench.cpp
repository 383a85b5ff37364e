// `orb-bench level3`: dtrsm, dtrmm, dsyrk, dsyr2k, dsymm and dgemmt through
// orb's threaded drivers, the serial provider and the threaded peers, on the
// libraries the gemm comparison loads (each peer on its best kernel set,
// libraries.hpp); and `orb-bench level2`, the same comparison of dsymv, dger,
// dtrmv, dtrsv and dsyr (described beside their table below).
//
// Every routine works on square operands of order n: dtrsm solves
// L X = B (left, lower, no transposition, non-unit) for n right-hand sides,
// n^3 flops; dtrmm forms L B in place of B, n^3 flops; dsyrk updates the
// lower triangle with A A^T, n^3 flops; dsyr2k with A B^T + B A^T, 2 n^3;
// dsymm forms A B with the lower triangle of A, 2 n^3 flops; dgemmt forms the
// lower triangle of A B, n^3 flops.  The table gives GFLOPS from each
// library's best call and the ratios of orb over the serial provider and over
// the fastest peer, paired round by round.  The products on C are timed with
// beta = 0, so every call computes the same C; dtrsm and dtrmm work in place,
// so their triangle is the identity plus entries of 1e-6 / n below the
// diagonal: B changes by a millionth per call and never reaches the slow
// subnormal range nor overflows.  The check: each library's first result,
// from the same operands, against orb's, within a rounding bound.
//
// A library without a routine shows n/a in its row (the provider and the
// threaded OpenBLAS peer have no dgemmt); the serial column of dgemmt is then
// the core's sequential kernel, built on the provider's dgemm.
#include "level3_bench.hpp"

#include "libraries.hpp"
#include "measure.hpp"
#include "routine_table.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iterator>
#include <map>
#include <string>

#pragma weak orb_blas_dtrsm
#pragma weak orb_blas_dtrmm
#pragma weak orb_blas_dsyr2k
#pragma weak orb_blas_dgemmt
#pragma weak orb_blas_xdgemmt
#pragma weak orb_blas_dsyrk
#pragma weak orb_blas_dsymm
#pragma weak orb_blas_dsymv
#pragma weak orb_blas_dger
#pragma weak orb_blas_dtrmv
#pragma weak orb_blas_dtrsv
#pragma weak orb_blas_dsyr

namespace orb::bench {

namespace {

//! One routine of one library on order-n operands a, b and c (b changed in
//! place by dtrsm, dtrmv and dtrsv; c is the output of the others).
using RoutineCall = std::function<void(long n, const double *a, double *b, double *c)>;

//! A routine of the comparison: its flops at order n, where its result is,
//! and whether it writes only the lower triangle there.
struct BenchRoutine {
  const char *name;
  double flops_per_n2;  //!< flops / n^2 (level 2) or / n^3 (level 3)
  bool level3, in_b, lower_only;
};
constexpr BenchRoutine kLevel3[] = {{"dtrsm", 1, true, true, false},   {"dtrmm", 1, true, true, false},
                                    {"dsyrk", 1, true, false, true},   {"dsyr2k", 2, true, false, true},
                                    {"dsymm", 2, true, false, false},  {"dgemmt", 1, true, false, true}};
// Level 2 at order n: dsymv y = A x (lower triangle), dger C += x y^T, dtrmv
// and dtrsv with the lower triangle in place on x, dsyr the lower triangle of
// C += x x^T; x and y are the first two columns of B.
constexpr BenchRoutine kLevel2[] = {{"dsymv", 2, false, false, false}, {"dger", 2, false, false, false},
                                    {"dtrmv", 1, false, true, false},  {"dtrsv", 1, false, true, false},
                                    {"dsyr", 1, false, false, true}};

using RoutineEntries = std::map<std::string, RoutineCall>;

//! The routines of a library whose Fortran names take integers of type I.
template <class I>
RoutineEntries fortran_entries(void *handle) {
  using Trsm = void (*)(const char *, const char *, const char *, const char *, const I *, const I *, const double *,
                        const double *, const I *, double *, const I *, size_t, size_t, size_t, size_t);
  using Syrk = void (*)(const char *, const char *, const I *, const I *, const double *, const double *, const I *,
                        const double *, double *, const I *, size_t, size_t);
  using Symm = void (*)(const char *, const char *, const I *, const I *, const double *, const double *, const I *,
                        const double *, const I *, const double *, double *, const I *, size_t, size_t);
  using Syr2k = void (*)(const char *, const char *, const I *, const I *, const double *, const double *,
                         const I *, const double *, const I *, const double *, double *, const I *, size_t, size_t);
  using Gemmt = void (*)(const char *, const char *, const char *, const I *, const I *, const double *,
                         const double *, const I *, const double *, const I *, const double *, double *, const I *,
                         size_t, size_t, size_t);
  using Symv = void (*)(const char *, const I *, const double *, const double *, const I *, const double *, const I *,
                        const double *, double *, const I *, size_t);
  using Ger = void (*)(const I *, const I *, const double *, const double *, const I *, const double *, const I *,
                       double *, const I *);
  using Trmv = void (*)(const char *, const char *, const char *, const I *, const double *, const I *, double *,
                        const I *, size_t, size_t, size_t);
  using Syr = void (*)(const char *, const I *, const double *, const double *, const I *, double *, const I *, size_t);
  static const double one = 1, zero = 0;
  static const I inc = 1;
  RoutineEntries e;
  for (const char *name : {"dtrsm", "dtrmm"})
    if (const auto f = reinterpret_cast<Trsm>(dlsym(handle, (std::string(name) + "_").c_str())))
      e[name] = [=](long n, const double *a, double *b, double *) {
        const I m = static_cast<I>(n);
        f("L", "L", "N", "N", &m, &m, &one, a, &m, b, &m, 1, 1, 1, 1);
      };
  if (const auto f = reinterpret_cast<Syr2k>(dlsym(handle, "dsyr2k_")))
    e["dsyr2k"] = [=](long n, const double *a, double *b, double *c) {
      const I m = static_cast<I>(n);
      f("L", "N", &m, &m, &one, a, &m, b, &m, &zero, c, &m, 1, 1);
    };
  if (const auto f = reinterpret_cast<Gemmt>(dlsym(handle, "dgemmt_")))
    e["dgemmt"] = [=](long n, const double *a, double *b, double *c) {
      const I m = static_cast<I>(n);
      f("L", "N", "N", &m, &m, &one, a, &m, b, &m, &zero, c, &m, 1, 1, 1);
    };
  if (const auto f = reinterpret_cast<Syrk>(dlsym(handle, "dsyrk_")))
    e["dsyrk"] = [=](long n, const double *a, double *, double *c) {
      const I m = static_cast<I>(n);
      f("L", "N", &m, &m, &one, a, &m, &zero, c, &m, 1, 1);
    };
  if (const auto f = reinterpret_cast<Symm>(dlsym(handle, "dsymm_")))
    e["dsymm"] = [=](long n, const double *a, double *b, double *c) {
      const I m = static_cast<I>(n);
      f("L", "L", &m, &m, &one, a, &m, b, &m, &zero, c, &m, 1, 1);
    };
  if (const auto f = reinterpret_cast<Symv>(dlsym(handle, "dsymv_")))
    e["dsymv"] = [=](long n, const double *a, double *b, double *c) {
      const I m = static_cast<I>(n);
      f("L", &m, &one, a, &m, b, &inc, &zero, c, &inc, 1);
    };
  if (const auto f = reinterpret_cast<Ger>(dlsym(handle, "dger_")))
    e["dger"] = [=](long n, const double *, double *b, double *c) {
      const I m = static_cast<I>(n);
      f(&m, &m, &one, b, &inc, b + n, &inc, c, &m);
    };
  for (const char *name : {"dtrmv", "dtrsv"})
    if (const auto f = reinterpret_cast<Trmv>(dlsym(handle, (std::string(name) + "_").c_str())))
      e[name] = [=](long n, const double *a, double *b, double *) {
        const I m = static_cast<I>(n);
        f("L", "N", "N", &m, a, &m, b, &inc, 1, 1, 1);
      };
  if (const auto f = reinterpret_cast<Syr>(dlsym(handle, "dsyr_")))
    e["dsyr"] = [=](long n, const double *, double *b, double *c) {
      const I m = static_cast<I>(n);
      f("L", &m, &one, b, &inc, c, &m, 1);
    };
  return e;
}

RoutineEntries orb_entries() {
  RoutineEntries e;
  static const double one = 1, zero = 0;
  static const ORB_INT inc = 1;
  if (orb_blas_dtrsm && orb_blas_dsyrk && orb_blas_dsymm) {
    e["dtrsm"] = [](long n, const double *a, double *b, double *) {
      const ORB_INT m = n;
      orb_blas_dtrsm("L", "L", "N", "N", &m, &m, &one, a, &m, b, &m);
    };
    e["dsyrk"] = [](long n, const double *a, double *, double *c) {
      const ORB_INT m = n;
      orb_blas_dsyrk("L", "N", &m, &m, &one, a, &m, &zero, c, &m);
    };
    e["dsymm"] = [](long n, const double *a, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dsymm("L", "L", &m, &m, &one, a, &m, b, &m, &zero, c, &m);
    };
  }
  if (orb_blas_dtrmm && orb_blas_dsyr2k && orb_blas_dgemmt) {
    e["dtrmm"] = [](long n, const double *a, double *b, double *) {
      const ORB_INT m = n;
      orb_blas_dtrmm("L", "L", "N", "N", &m, &m, &one, a, &m, b, &m);
    };
    e["dsyr2k"] = [](long n, const double *a, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dsyr2k("L", "N", &m, &m, &one, a, &m, b, &m, &zero, c, &m);
    };
    e["dgemmt"] = [](long n, const double *a, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dgemmt("L", "N", "N", &m, &m, &one, a, &m, b, &m, &zero, c, &m);
    };
  }
  if (orb_blas_dsymv && orb_blas_dger && orb_blas_dtrmv && orb_blas_dtrsv && orb_blas_dsyr) {
    e["dsymv"] = [](long n, const double *a, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dsymv("L", &m, &one, a, &m, b, &inc, &zero, c, &inc);
    };
    e["dger"] = [](long n, const double *, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dger(&m, &m, &one, b, &inc, b + n, &inc, c, &m);
    };
    e["dtrmv"] = [](long n, const double *a, double *b, double *) {
      const ORB_INT m = n;
      orb_blas_dtrmv("L", "N", "N", &m, a, &m, b, &inc);
    };
    e["dtrsv"] = [](long n, const double *a, double *b, double *) {
      const ORB_INT m = n;
      orb_blas_dtrsv("L", "N", "N", &m, a, &m, b, &inc);
    };
    e["dsyr"] = [](long n, const double *, double *b, double *c) {
      const ORB_INT m = n;
      orb_blas_dsyr("L", &m, &one, b, &inc, c, &m);
    };
  }
  return e;
}

//! The routines of every library; a library with none of `routines` gets a
//! reason in `missing`, one that lacks some shows n/a in their rows.
template <size_t N>
std::vector<RoutineEntries> routine_entries(std::vector<GemmLibrary> &libs, const BenchRoutine (&routines)[N]) {
  std::vector<RoutineEntries> entries;
  for (GemmLibrary &lib : libs) {
    RoutineEntries e;
    if (lib.available() && lib.abi == CallAbi::orb) {
      e = orb_entries();
    } else if (lib.available()) {
      // Already open: this hands back the same private copy, set up as the gemm comparison left it.
      void *h = dlopen(lib.path.c_str(), private_dlopen_flags() | RTLD_NOLOAD);
      if (h) e = lib.abi == CallAbi::fortran_ilp64 ? fortran_entries<int64_t>(h) : fortran_entries<int>(h);
    }
    // The provider has no dgemmt: its serial column is the core's kernel on the provider's dgemm.
    if (lib.available() && lib.key == "serial" && !e.count("dgemmt") && orb_blas_xdgemmt)
      e["dgemmt"] = [](long n, const double *a, double *b, double *c) {
        static const double one = 1, zero = 0;
        const ORB_INT m = n;
        orb_blas_xdgemmt("L", "N", "N", &m, &m, &one, a, &m, b, &m, &zero, c, &m);
      };
    if (lib.available() && std::none_of(std::begin(routines), std::end(routines),
                                        [&](const BenchRoutine &r) { return e.count(r.name) != 0; }))
      lib.missing = "none of the routines";
    entries.push_back(e);
  }
  return entries;
}

double flops(const BenchRoutine &r, long n) {
  const double n2 = static_cast<double>(n) * static_cast<double>(n);
  return r.flops_per_n2 * n2 * (r.level3 ? static_cast<double>(n) : 1.0);
}

//! Order-n operands: A as described above (its upper triangle unused by
//! every routine, so it may hold anything), B filled, C zero.
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

template <size_t N>
void measure_order(const char *command, const BenchRoutine (&routines)[N], const Level1Options &o,
                   const std::vector<GemmLibrary> &libs, const std::vector<RoutineEntries> &entries, long n,
                   int &status) {
  for (const BenchRoutine &routine : routines) {
    const std::string name = routine.name;
    // The check: one call per library on fresh operands, its output against orb's.
    std::vector<double> reference;
    for (size_t i = 0; i < libs.size(); ++i) {
      if (!libs[i].available() || !entries[i].count(name)) continue;
      Operands fresh(n);
      entries[i].at(name)(n, fresh.a.data(), fresh.b.data(), fresh.c.data());
      std::vector<double> &out = routine.in_b ? fresh.b : fresh.c;
      if (routine.lower_only)
        for (long j = 0; j < n; ++j)
          for (long r = 0; r < j; ++r) out[static_cast<size_t>(r + j * n)] = 0;
      if (reference.empty()) {
        reference = out;
        continue;
      }
      double worst = 0;
      for (size_t x = 0; x < out.size(); ++x) worst = std::max(worst, std::abs(out[x] - reference[x]));
      if (worst > 1e-10 * static_cast<double>(n)) {
        std::fprintf(stderr, "orb-bench %s: %s %ld: %s differs from orb by %g\n", command, routine.name, n,
                     libs[i].label.c_str(), worst);
        status = 1;
      }
    }
    Operands ops(n);
    std::vector<std::function<void()>> calls(libs.size());
    for (size_t i = 0; i < libs.size(); ++i)
      if (libs[i].available() && entries[i].count(name))
        calls[i] = [&, i] { entries[i].at(name)(n, ops.a.data(), ops.b.data(), ops.c.data()); };
    time_row(libs, calls, routine.name, n, o.target_s, o.rounds, [&](size_t, double best_s) {
      std::printf("  %9.2f GF/s", flops(routine, n) / best_s * 1e-9);
    });
  }
}

template <size_t N>
int routines_main(const char *command, const BenchRoutine (&routines)[N], const std::vector<std::string> &args,
                  bool (*parse)(const std::vector<std::string> &, Level1Options &, std::string &), const char *usage,
                  const char *title) {
  Level1Options o;
  std::vector<GemmLibrary> libs;
  if (!start_subcommand(command, args, o, parse, usage, libs)) return 2;
  const int threads = orb_serv_get_max_threads();
  const std::vector<RoutineEntries> entries = routine_entries(libs, routines);
  std::printf("%s, %d threads; GFLOPS from each library's best call; ratios: orb over\n"
              "the serial provider and over the fastest peer, paired round by round\n\n",
              title, threads);
  print_libraries(libs, "n");
  int status = 0;
  for (long n : o.lengths) measure_order(command, routines, o, libs, entries, n, status);
  return status;
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
  return routines_main("level3", kLevel3, args, parse_level3_options, level3_usage(),
                       "level-3 routines beyond gemm");
}

const char *level2_usage() {
  return "usage: orb-bench level2 [--quick] [--threads N] [--time S] [--rounds R] [--n N]...\n"
         "  --quick        order 2000 only, a shorter time per measurement\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --time S       timed seconds per library, routine and order (default 0.5; 0.1 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n"
         "  --n N          an order to measure, repeatable (default 2000, 4000, 8000)\n";
}

bool parse_level2_options(const std::vector<std::string> &args, Level1Options &o, std::string &error) {
  return parse_order_options(args, o, error, {2000, 4000, 8000}, {2000});
}

int level2_main(const std::vector<std::string> &args) {
  return routines_main("level2", kLevel2, args, parse_level2_options, level2_usage(), "level-2 routines");
}

}  // namespace orb::bench
