// `orb-bench getrf`: the LU factorization with partial pivoting through orb's
// threaded driver, the serial provider and the threaded peers (each peer on
// its best kernel set, libraries.hpp); a peer without LAPACK shows "n/a".
//
// Every call factors the same random matrix (entries in [-0.5, 0.5)),
// restored untimed before each call; GFLOPS count 2/3 n^3 real operations
// (four times that for the complex type).  dgetrf runs at every order asked
// for, sgetrf and zgetrf at 4000 (not with --quick or --n).  The orders 4999
// and 5000 sit on both sides of orb's switch from the look-ahead scheme to
// the task graph.  The check: each library's first factorization of the
// matrix against orb's by info and the logarithm of |det A| = sum log |u_ii|,
// which pivoting choices between near-equal candidates do not change.
#include "getrf_bench.hpp"

#include "libraries.hpp"
#include "measure.hpp"
#include "routine_table.hpp"

#include <orb/orb_lapack.h>
#include <orb/orb_service.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <functional>

#pragma weak orb_lapack_sgetrf
#pragma weak orb_lapack_dgetrf
#pragma weak orb_lapack_zgetrf

namespace orb::bench {

namespace {

//! One factorization of an order-n matrix a (elements of the precision's
//! size) with pivots of the library's integer width in ipiv; returns info.
using GetrfCall = std::function<long(long n, void *a, void *ipiv)>;

struct GetrfEntries {
  GetrfCall s, d, z;
  const GetrfCall &get(Precision p) const { return p == Precision::s ? s : p == Precision::d ? d : z; }
};

template <class I, class T>
GetrfCall fortran_getrf(void *handle, const char *symbol) {
  using Fn = void (*)(const I *, const I *, T *, const I *, I *, I *);
  const auto f = reinterpret_cast<Fn>(dlsym(handle, symbol));
  if (!f) return {};
  return [f](long n, void *a, void *ipiv) {
    const I m = static_cast<I>(n);
    I info = 0;
    f(&m, &m, static_cast<T *>(a), &m, static_cast<I *>(ipiv), &info);
    return static_cast<long>(info);
  };
}

template <class I>
GetrfEntries fortran_entries(void *handle) {
  return {fortran_getrf<I, float>(handle, "sgetrf_"), fortran_getrf<I, double>(handle, "dgetrf_"),
          fortran_getrf<I, std::complex<double>>(handle, "zgetrf_")};
}

template <class T>
GetrfCall orb_getrf(void (*f)(const ORB_INT *, const ORB_INT *, T *, const ORB_INT *, ORB_INT *, ORB_INT *)) {
  if (!f) return {};
  return [f](long n, void *a, void *ipiv) {
    const ORB_INT m = n;
    ORB_INT info = 0;
    f(&m, &m, static_cast<T *>(a), &m, static_cast<ORB_INT *>(ipiv), &info);
    return static_cast<long>(info);
  };
}

std::vector<GetrfEntries> getrf_entries(std::vector<GemmLibrary> &libs) {
  std::vector<GetrfEntries> entries;
  for (GemmLibrary &lib : libs) {
    GetrfEntries e;
    if (lib.available() && lib.abi == CallAbi::orb) {
      e = {orb_getrf(orb_lapack_sgetrf), orb_getrf(orb_lapack_dgetrf), orb_getrf(orb_lapack_zgetrf)};
    } else if (lib.available()) {
      // Already open: the same private copy the gemm comparison set up.
      void *h = dlopen(lib.path.c_str(), private_dlopen_flags() | RTLD_NOLOAD);
      if (h) e = lib.abi == CallAbi::fortran_ilp64 ? fortran_entries<int64_t>(h) : fortran_entries<int>(h);
    }
    if (lib.available() && !(e.s && e.d && e.z)) lib.missing = "no sgetrf_, dgetrf_ or zgetrf_";
    entries.push_back(e);
  }
  return entries;
}

size_t element_bytes(Precision p) { return p == Precision::s ? 4 : p == Precision::d ? 8 : 16; }
const char *routine_name(Precision p) { return p == Precision::s ? "sgetrf" : p == Precision::d ? "dgetrf" : "zgetrf"; }

//! An order-n matrix of the precision, its pristine copy, and room for pivots.
struct Operands {
  Precision p;
  long n;
  std::vector<unsigned char> pristine, work;
  std::vector<int64_t> ipiv;

  Operands(Precision prec, long order)
      : p(prec), n(order), pristine(static_cast<size_t>(order * order) * element_bytes(prec)), work(pristine.size()),
        ipiv(static_cast<size_t>(order)) {
    uint64_t state = 0x2545f4914f6cdd1dull;
    const size_t reals = pristine.size() / (p == Precision::s ? 4 : 8);
    for (size_t i = 0; i < reals; ++i) {
      state ^= state << 13, state ^= state >> 7, state ^= state << 17;
      const double v = static_cast<double>(state >> 11) * 0x1.0p-53 - 0.5;
      if (p == Precision::s)
        reinterpret_cast<float *>(pristine.data())[i] = static_cast<float>(v);
      else
        reinterpret_cast<double *>(pristine.data())[i] = v;
    }
  }
  void restore() { std::memcpy(work.data(), pristine.data(), work.size()); }

  //! sum log |u_ii| of the factored work matrix.
  double log_det() const {
    double sum = 0;
    for (long i = 0; i < n; ++i) {
      const size_t at = static_cast<size_t>(i + i * n);
      if (p == Precision::s) sum += std::log(std::abs(reinterpret_cast<const float *>(work.data())[at]));
      if (p == Precision::d) sum += std::log(std::abs(reinterpret_cast<const double *>(work.data())[at]));
      if (p == Precision::z) sum += std::log(std::abs(reinterpret_cast<const std::complex<double> *>(work.data())[at]));
    }
    return sum;
  }
};

void measure(const Level1Options &o, const std::vector<GemmLibrary> &libs, const std::vector<GetrfEntries> &entries,
             Precision p, long n, int &status) {
  Operands ops(p, n);
  // The check: one factorization per library, against orb's.
  long orb_info = 0;
  double orb_log_det = 0;
  for (size_t i = 0; i < libs.size(); ++i) {
    if (!libs[i].available()) continue;
    ops.restore();
    const long info = entries[i].get(p)(n, ops.work.data(), ops.ipiv.data());
    const double log_det = ops.log_det();
    if (i == 0) {
      orb_info = info, orb_log_det = log_det;
    } else if (info != orb_info || std::abs(log_det - orb_log_det) > 1e-3 * std::max(1.0, std::abs(orb_log_det))) {
      std::fprintf(stderr, "orb-bench getrf: %s %ld: %s gives info %ld, log|det| %.6f; orb %ld, %.6f\n",
                   routine_name(p), n, libs[i].label.c_str(), info, log_det, orb_info, orb_log_det);
      status = 1;
    }
  }
  std::vector<std::function<void()>> calls(libs.size());
  for (size_t i = 0; i < libs.size(); ++i)
    if (libs[i].available()) calls[i] = [&, i] { entries[i].get(p)(n, ops.work.data(), ops.ipiv.data()); };
  const double flops = (p == Precision::z ? 8.0 : 2.0) / 3.0 * static_cast<double>(n) * static_cast<double>(n) *
                       static_cast<double>(n);
  time_row(
      libs, calls, routine_name(p), n, o.target_s, o.rounds,
      [&](size_t, double best_s) { std::printf("  %9.1f GF/s", flops / best_s * 1e-9); }, [&] { ops.restore(); });
}

}  // namespace

const char *getrf_usage() {
  return "usage: orb-bench getrf [--quick] [--threads N] [--time S] [--rounds R] [--n N]...\n"
         "  --quick        dgetrf at orders 2000 and 5000 only, a shorter time per measurement\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --time S       timed seconds per library and order (default 0.5; 0.1 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n"
         "  --n N          an order of dgetrf to measure, repeatable (default 1000, 2000, 4000,\n"
         "                 4999, 5000, 8000, then sgetrf and zgetrf at 4000)\n";
}

bool parse_getrf_options(const std::vector<std::string> &args, Level1Options &o, std::string &error) {
  return parse_order_options(args, o, error, {1000, 2000, 4000, 4999, 5000, 8000}, {2000, 5000});
}

int getrf_main(const std::vector<std::string> &args) {
  Level1Options o;
  std::vector<GemmLibrary> libs;
  if (!start_subcommand("getrf", args, o, parse_getrf_options, getrf_usage(), libs)) return 2;
  const bool orders_given = std::find(args.begin(), args.end(), "--n") != args.end();
  const std::vector<GetrfEntries> entries = getrf_entries(libs);
  std::printf("LU factorization, %d threads; GFLOPS from each library's best call; ratios: orb over the serial\n"
              "provider and over the fastest peer, paired round by round\n\n",
              orb_serv_get_max_threads());
  print_libraries(libs, "n");
  int status = 0;
  for (long n : o.lengths) measure(o, libs, entries, Precision::d, n, status);
  if (!o.quick && !orders_given) {
    measure(o, libs, entries, Precision::s, 4000, status);
    measure(o, libs, entries, Precision::z, 4000, status);
  }
  return status;
}

}  // namespace orb::bench
