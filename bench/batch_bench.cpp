// `orb-bench batch`: `count` independent products C_i = A_i B_i of size
// n x n x n, the batch a user would otherwise write as a loop of gemm calls.
//
// orb runs the batch as one call of orb_blas_dgemm_batch (one group); the
// serial provider and the threaded peers run the loop a user of theirs would
// write, one dgemm_ per product, each peer on its best kernel set and with
// orb's thread count (libraries.hpp).  Every library computes the same
// products with beta = 0, so each call leaves the same C and the result of
// every library is checked against the serial provider's.  Timing is
// interleaved as for gemm (measure.hpp); the ratios are paired round by round.
#include "batch_bench.hpp"

#include "gemm_bench.hpp"
#include "gemm_problem.hpp"
#include "libraries.hpp"
#include "measure.hpp"

#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <limits>

namespace orb::bench {

namespace {

template <typename I>
using FortranGemm = void (*)(const char *, const char *, const I *, const I *, const I *, const double *,
                             const double *, const I *, const double *, const I *, const double *, double *,
                             const I *, size_t, size_t);

//! The batch: every A, B and C of n x n doubles one after another.
class BatchProblem {
 public:
  BatchProblem(int n, int count) : n_(n), count_(count) {
    const size_t each = static_cast<size_t>(n) * n, all = each * count;
    a_.resize(all), b_.resize(all), c_.assign(all, 0.0);
    uint64_t state = 0x5eed + n;
    for (std::vector<double> *v : {&a_, &b_})
      for (double &x : *v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        x = static_cast<double>(state >> 11) * 0x1.0p-52 - 0.5;
      }
    for (int i = 0; i < count; ++i) {
      ap_.push_back(a_.data() + i * each);
      bp_.push_back(b_.data() + i * each);
      cp_.push_back(c_.data() + i * each);
    }
  }

  //! One batch through `lib`: orb's batch call, or a loop of the library's dgemm_.
  void call(const GemmLibrary &lib) {
    const char no = 'N';
    const double one = 1, zero = 0;
    if (lib.abi == CallAbi::orb) {
      const ORB_INT n = n_, groups = 1, size = count_;
      orb_blas_dgemm_batch(&no, &no, &n, &n, &n, &one, ap_.data(), &n, bp_.data(), &n, &zero, cp_.data(), &n, &groups,
                           &size, 0);
    } else if (lib.abi == CallAbi::fortran_ilp64) {
      loop<int64_t>(lib);
    } else {
      loop<int32_t>(lib);
    }
  }

  double flops() const { return 2.0 * n_ * n_ * n_ * count_; }
  const std::vector<double> &c() const { return c_; }

 private:
  template <typename I>
  void loop(const GemmLibrary &lib) {
    const auto gemm = reinterpret_cast<FortranGemm<I>>(lib.entries.d);
    const char no = 'N';
    const double one = 1, zero = 0;
    const I n = n_;
    for (int i = 0; i < count_; ++i) gemm(&no, &no, &n, &n, &n, &one, ap_[i], &n, bp_[i], &n, &zero, cp_[i], &n, 1, 1);
  }

  int n_, count_;
  std::vector<double> a_, b_, c_;
  std::vector<const double *> ap_, bp_;
  std::vector<double *> cp_;
};

//! Measures one size on every available library and prints its table.
void measure_size(const BatchOptions &o, const std::vector<GemmLibrary> &libs, int n) {
  BatchProblem problem(n, o.count);
  std::vector<size_t> order;
  double settle_s = 0;
  for (size_t i = 0; i < libs.size(); ++i)
    if (libs[i].available()) order.push_back(i), settle_s = std::max(settle_s, libs[i].settle_s);
  // The serial provider first: its C is the reference.
  std::stable_partition(order.begin(), order.end(), [&](size_t i) { return libs[i].key == "serial"; });
  // As for a single product of inner dimension n (gemm_problem.cpp).
  const double tolerance = 4 * std::max(n, 16) * std::numeric_limits<double>::epsilon();
  std::vector<double> reference;
  std::vector<std::string> checks(libs.size());
  std::vector<Contestant> contestants;
  for (size_t i : order) {
    problem.call(libs[i]);  // warms caches and thread pools
    const double t0 = now_s();
    problem.call(libs[i]);
    const double call_s = now_s() - t0;
    if (reference.empty()) {
      reference = problem.c();
      checks[i] = "reference";
    } else {
      const double diff = max_relative_difference(problem.c().data(), reference.data(), reference.size());
      checks[i] = diff <= tolerance ? "ok" : "MISMATCH";
    }
    contestants.push_back({[&problem, &lib = libs[i]] { problem.call(lib); },
                           calls_per_round(call_s, o.target_s, o.rounds), {}, {}, {}});
    pause_s(settle_s);
  }
  interleave(contestants, o.rounds, settle_s);

  std::printf("\ndgemm_batch: %d products of %d x %d x %d\n", o.count, n, n, n);
  std::printf("  %-16s %10s %10s %9s %12s  %s\n", "library", "best ms", "median ms", "GFLOPS", "orb speed-up", "check");
  size_t orb_at = order.size();
  for (size_t c = 0; c < order.size(); ++c)
    if (libs[order[c]].abi == CallAbi::orb) orb_at = c;
  double best_peer_ratio = NAN;
  for (size_t c = 0; c < order.size(); ++c) {
    const GemmLibrary &lib = libs[order[c]];
    const Timing t = summarize(contestants[c].seconds);
    const double ratio = orb_at < order.size() && c != orb_at
                             ? paired_speedup(contestants[orb_at].round_best, contestants[c].round_best)
                             : NAN;
    if (lib.peer && !(ratio >= best_peer_ratio)) best_peer_ratio = ratio;
    char speedup[16] = "-";
    if (!std::isnan(ratio)) std::snprintf(speedup, sizeof speedup, "%.2fx", ratio);
    std::printf("  %-16s %10.3f %10.3f %9.2f %12s  %s\n", lib.label.c_str(), t.best_s * 1e3, t.median_s * 1e3,
                t.best_s > 0 ? problem.flops() / t.best_s * 1e-9 : 0.0, speedup, checks[order[c]].c_str());
  }
  if (!std::isnan(best_peer_ratio))
    std::printf("  orb against the best peer's loop: %.2fx\n", best_peer_ratio);
}

}  // namespace

const char *batch_usage() {
  return "usage: orb-bench batch [--quick] [--threads N] [--count N] [--size N]... [--time S] [--rounds R]\n"
         "  --quick        a shorter time per library (for a first look)\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --count N      products in the batch (default 1000)\n"
         "  --size N       m = n = k of every product, repeatable (default: 64 and 16)\n"
         "  --time S       timed seconds per library and size (default 1; 0.15 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 6 with --quick)\n";
}

bool parse_batch_options(const std::vector<std::string> &args, BatchOptions &o, std::string &error) {
  o = BatchOptions{};
  const auto own = [&o](const std::string &a, const std::string &v) {
    int size = 0;
    if (a == "--count") return parse_count(v, o.count);
    if (a != "--size" || !parse_count(v, size) || size > 4096) return false;
    o.sizes.push_back(size);
    return true;
  };
  if (!parse_routine_options(args, o, 0.15, 6, {"--count", "--size"}, own, error)) return false;
  if (o.sizes.empty()) o.sizes = {64, 16};
  return true;
}

int batch_main(const std::vector<std::string> &args) {
  BatchOptions o;
  std::vector<GemmLibrary> libs;
  if (!start_subcommand("batch", args, o, parse_batch_options, batch_usage(), libs)) return 2;
  const int threads = orb_serv_get_max_threads();
  std::printf("orb-bench batch: %d threads\n", threads);
  for (const GemmLibrary &lib : libs)
    if (!lib.available()) std::printf("  %s: n/a (%s)\n", lib.label.c_str(), lib.missing.c_str());
  for (const int n : o.sizes) measure_size(o, libs, n);
  return 0;
}

}  // namespace orb::bench
