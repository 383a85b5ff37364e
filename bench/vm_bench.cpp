// `orb-bench vm`: y = f(x) over 10^3 to 10^7 doubles, in both accuracy
// modes (and complex products z = a b), four ways in one run: orb (its threaders over every core), orb's
// kernel on one thread (an arena of one), SLEEF's widest kernels called
// directly over the same vector on one thread, and the C library's scalar
// function in a loop.  Elements per second from each one's best call, and
// orb's ratios over the other three, paired round by round.
//
// liborb is opened privately (its standard BLAS names would otherwise
// shadow the peers of the other subcommands); the SLEEF loops are the core's
// own, built into this program, so they are the very kernels orb runs.
#include "vm_bench.hpp"

#include "level1_bench.hpp"
#include "libraries.hpp"
#include "measure.hpp"

#include "vm/blocks.hpp"

#include <orb/orb_vm.h>

#include <oneapi/tbb/task_arena.h>

#include <dlfcn.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>

namespace orb::bench {

namespace {

using VmUnary = int (*)(int64_t, const double *, double *, unsigned);

//! One function: orb's name, how its inputs are spread, the C library's and SLEEF's forms.
struct VmFunction {
  const char *name;
  const char *orb_name;  //!< the _mode_64 form
  double lo, hi;
  double (*libm)(double);
  int sleef;  //!< the core's function number; -1: pow, with exponent 1.7
};

double pow17(double x) { return std::pow(x, 1.7); }

const VmFunction kFunctions[] = {
    {"exp", "orb_vm_dexp_mode_64", -50, 50, [](double x) { return std::exp(x); }, vm::k_exp},
    {"ln", "orb_vm_dln_mode_64", 1e-3, 1e3, [](double x) { return std::log(x); }, vm::k_ln},
    {"sin", "orb_vm_dsin_mode_64", -100, 100, [](double x) { return std::sin(x); }, vm::k_sin},
    {"pow", "orb_vm_dpowx_mode_64", 0.01, 100, pow17, -1},
    {"erf", "orb_vm_derf_mode_64", -5, 5, [](double x) { return std::erf(x); }, vm::k_erf},
    {"sqrt", "orb_vm_dsqrt_mode_64", 0, 1e6, [](double x) { return std::sqrt(x); }, vm::k_sqrt},
};

//! orb's function as a call over n elements in `mode`.
std::function<void(long, const double *, double *)> orb_call(void *liborb, const VmFunction &f, unsigned mode) {
  if (f.sleef < 0) {
    using Powx = int (*)(int64_t, const double *, double, double *, unsigned);
    const auto fn = reinterpret_cast<Powx>(dlsym(liborb, f.orb_name));
    if (!fn) return {};
    return [=](long n, const double *x, double *y) { fn(n, x, 1.7, y, mode); };
  }
  const auto fn = reinterpret_cast<VmUnary>(dlsym(liborb, f.orb_name));
  if (!fn) return {};
  return [=](long n, const double *x, double *y) { fn(n, x, y, mode); };
}

//! SLEEF's kernel of `f` at accuracy `acc` (0 high, 1 low) over n elements.
std::function<void(long, const double *, double *)> sleef_call(const VmFunction &f, int acc) {
  const vm::SleefBlocks<double> &b = vm::blocks().d;
  if (f.sleef < 0) {
    const auto pow = b.binary[vm::k_pow][acc];
    return [=](long n, const double *x, double *y) {
      static thread_local std::vector<double> e;
      if (static_cast<long>(e.size()) < n) e.assign(n, 1.7);
      pow(x, e.data(), y, n);
    };
  }
  const auto fn = b.unary[f.sleef][acc];
  return [=](long n, const double *x, double *y) { fn(x, y, n); };
}

void measure(const Level1Options &o, void *liborb, const VmFunction &f, unsigned mode, long n, int &status) {
  std::vector<double> x(n), y(n), ref(n);
  for (long i = 0; i < n; ++i) x[i] = f.lo + (f.hi - f.lo) * ((i * 7919) % n + 0.5) / n;
  const auto orb = orb_call(liborb, f, mode);
  if (!orb) {
    std::printf("%-5s %s %9ld   orb lacks %s\n", f.name, mode == ORB_VM_HA ? "HA" : "LA", n, f.orb_name);
    return;
  }
  const auto sleef = sleef_call(f, mode == ORB_VM_HA ? 0 : 1);
  tbb::task_arena one(1);
  std::vector<Contestant> c(4);
  c[0].call = [&] { orb(n, x.data(), y.data()); };
  c[1].call = [&] { one.execute([&] { orb(n, x.data(), y.data()); }); };
  c[2].call = [&] { sleef(n, x.data(), y.data()); };
  c[3].call = [&] {
    for (long i = 0; i < n; ++i) y[i] = f.libm(x[i]);
  };
  for (Contestant &k : c) {
    const double t0 = now_s();
    k.call();
    k.per_round = calls_per_round(std::max(now_s() - t0, 1e-7), o.target_s, o.rounds);
  }
  for (long i = 0; i < n; ++i) ref[i] = f.libm(x[i]);
  orb(n, x.data(), y.data());
  const double allowed = mode == ORB_VM_HA ? 2.5 : 5.0;  // ulps, with the C library's own error
  for (long i = 0; i < n; ++i) {
    const double e = std::fabs(y[i] - ref[i]) / (std::nextafter(std::fabs(ref[i]), INFINITY) - std::fabs(ref[i]));
    if (ref[i] != y[i] && e > allowed) {
      std::fprintf(stderr, "orb-bench vm: %s(%.17g) = %.17g, the C library says %.17g\n", f.name, x[i], y[i], ref[i]);
      status = 1;
      break;
    }
  }
  interleave(c, o.rounds);
  double eps[4];
  for (int k = 0; k < 4; ++k) eps[k] = n / summarize(c[k].seconds).best_s;
  std::printf("%-5s %s %9ld  %10.3g %10.3g %10.3g %10.3g   %6.2f %6.2f %6.2f\n", f.name,
              mode == ORB_VM_HA ? "HA" : "LA", n, eps[0], eps[1], eps[2], eps[3],
              paired_speedup(c[0].round_best, c[1].round_best), paired_speedup(c[0].round_best, c[2].round_best),
              paired_speedup(c[0].round_best, c[3].round_best));
  std::fflush(stdout);
}

//! Complex products z = a b of doubles: orb against its kernel on one thread
//! and a plain loop of the C library's complex type (SLEEF has none).
void measure_zmul(const Level1Options &o, void *liborb, long n, int &status) {
  using Zmul = int (*)(int64_t, const ORB_Complex16 *, const ORB_Complex16 *, ORB_Complex16 *);
  const auto zmul = reinterpret_cast<Zmul>(dlsym(liborb, "orb_vm_zmul_64"));
  if (!zmul) {
    std::printf("zmul     %9ld   orb lacks orb_vm_zmul_64\n", n);
    return;
  }
  std::vector<std::complex<double>> a(n), b(n), z(n);
  for (long i = 0; i < n; ++i) {
    a[i] = {std::sin(0.001 * i), std::cos(0.003 * i)};
    b[i] = {1.5 - 1e-7 * i, 0.25 + 1e-8 * i};
  }
  const auto orb = [&] {
    zmul(n, reinterpret_cast<const ORB_Complex16 *>(a.data()), reinterpret_cast<const ORB_Complex16 *>(b.data()),
         reinterpret_cast<ORB_Complex16 *>(z.data()));
  };
  tbb::task_arena one(1);
  std::vector<Contestant> c(3);
  c[0].call = orb;
  c[1].call = [&] { one.execute(orb); };
  c[2].call = [&] {
    for (long i = 0; i < n; ++i) z[i] = a[i] * b[i];
  };
  for (Contestant &k : c) {
    const double t0 = now_s();
    k.call();
    k.per_round = calls_per_round(std::max(now_s() - t0, 1e-7), o.target_s, o.rounds);
  }
  orb();
  for (long i = 0; i < n; ++i)
    if (std::abs(z[i] - a[i] * b[i]) > 4e-16 * std::abs(a[i]) * std::abs(b[i])) {
      std::fprintf(stderr, "orb-bench vm: zmul element %ld differs from the C library's product\n", i);
      status = 1;
      break;
    }
  interleave(c, o.rounds);
  double eps[3];
  for (int k = 0; k < 3; ++k) eps[k] = n / summarize(c[k].seconds).best_s;
  std::printf("%-8s %9ld  %10.3g %10.3g %10s %10.3g   %6.2f %6s %6.2f\n", "zmul", n, eps[0], eps[1], "-", eps[2],
              paired_speedup(c[0].round_best, c[1].round_best), "-", paired_speedup(c[0].round_best, c[2].round_best));
  std::fflush(stdout);
}

bool parse_vm_options(const std::vector<std::string> &args, Level1Options &o, std::string &error) {
  return parse_order_options(args, o, error, {1000, 10000, 100000, 1000000, 10000000}, {1000, 100000, 1000000});
}

}  // namespace

const char *vm_usage() {
  return "usage: orb-bench vm [--quick] [--time S] [--rounds R] [--n N]...\n"
         "  --quick        10^3, 10^5 and 10^6 elements, a shorter time per measurement\n"
         "  --time S       timed seconds per way, function and length (default 0.5; 0.1 with --quick)\n"
         "  --rounds R     interleaved batches per way (default 10; 5 with --quick)\n"
         "  --n N          a vector length (repeatable; default 10^3 to 10^7)\n";
}

int vm_main(const std::vector<std::string> &args) {
  Level1Options o;
  if (!start_subcommand("vm", args, o, parse_vm_options, vm_usage())) return 2;
  void *liborb = dlopen(ORB_BENCH_IFACE, RTLD_NOW | RTLD_LOCAL);
  if (!liborb) {
    std::fprintf(stderr, "orb-bench vm: cannot load %s: %s\n", ORB_BENCH_IFACE, dlerror());
    return 2;
  }
  std::printf(
      "vector math on doubles, %d threads in the task arena; elements/s from each way's best call;\n"
      "ratios: orb over its kernel on one thread, over SLEEF on one thread, over the C library's loop\n\n",
      tbb::this_task_arena::max_concurrency());
  std::printf("%-5s %s %9s  %10s %10s %10s %10s   %6s %6s %6s\n", "fn", "md", "n", "orb", "orb-1thr", "sleef-1", "libm",
              "/1thr", "/sleef", "/libm");
  int status = 0;
  for (const VmFunction &f : kFunctions)
    for (const unsigned mode : {ORB_VM_HA, ORB_VM_LA})
      for (long n : o.lengths) measure(o, liborb, f, mode, n, status);
  for (long n : o.lengths) measure_zmul(o, liborb, n, status);
  return status;
}

}  // namespace orb::bench
