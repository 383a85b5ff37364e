// `orb-bench gemm`: options, the measurement of each shape, and the ratios.
//
// For each shape every library first makes one untimed call from the same
// initial C; that call warms caches, thread pools and lazily built tables,
// and its C is checked against the reference C.  Short products get a second
// untimed call to size the batches.  Then the libraries' timed calls run
// interleaved (measure.hpp), and each library is checked once more from the
// initial C, so that a result that goes wrong only now and then (a race
// between workers) has two chances to show.
//
// The reference is the serial provider: one thread, nothing to race, and the
// kernel every orb worker calls, so a difference names the library that made
// it.  Without the provider, the first library measured is the reference.
#include "gemm_bench.hpp"

#include "gemm_output.hpp"
#include "gemm_problem.hpp"
#include "machine_load.hpp"

#include <orb/orb_service.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <limits>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace orb::bench {

namespace {

std::vector<std::string> split_commas(const std::string &text) {
  std::vector<std::string> parts;
  std::stringstream in(text);
  for (std::string part; std::getline(in, part, ',');)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

std::string local_date() {
  const std::time_t t = std::time(nullptr);
  std::tm tm{};
  localtime_r(&t, &tm);
  char buf[40];
  std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S%z", &tm);
  return buf;
}

std::string load_average() {
  std::ifstream in("/proc/loadavg");
  std::string one, five, fifteen;
  in >> one >> five >> fifteen;
  return in ? one + " " + five + " " + fifteen : "";
}

bool wanted(const GemmOptions &o, const std::string &key) {
  if (o.only.empty()) return true;
  for (const auto &k : o.only)
    if (k == key) return true;
  return false;
}

bool measurable(const GemmRun &run, size_t i, Precision p) {
  const GemmLibrary &lib = run.libraries[i];
  return lib.available() && lib.entries.get(p) && wanted(run.options, lib.key);
}

// The libraries of `shape` in the order of their checked calls: the reference first.
std::vector<size_t> check_order(const GemmRun &run, Precision p) {
  std::vector<size_t> order;
  for (size_t i = 0; i < run.libraries.size(); ++i)
    if (measurable(run, i, p)) order.push_back(i);
  const int serial = library_index(run, "serial");
  for (size_t j = 0; j < order.size(); ++j)
    if (static_cast<int>(order[j]) == serial) std::rotate(order.begin(), order.begin() + j, order.begin() + j + 1);
  return order;
}

// One call of `lib` from the initial C; the first call of a shape makes the
// reference, later ones are compared with it.  Returns the call's time.
double checked_call(GemmProblem &problem, const GemmLibrary &lib, bool make_reference, LibraryResult &out,
                    double tolerance) {
  problem.reset_c();
  const double t0 = now_s();
  problem.call(lib);
  const double seconds = now_s() - t0;
  if (make_reference) {
    problem.keep_as_reference();
    out.check = "reference";
    return seconds;
  }
  out.difference = std::max(out.difference, problem.difference_from_reference());
  const bool ok = out.difference <= tolerance;  // false for NaN too
  if (!ok)
    out.check = "MISMATCH";
  else if (out.check.empty())
    out.check = "ok";
  return seconds;
}

// Rounds for a shape whose slowest library takes `slowest_s` per call: as many
// as give that library one call per round within the time per library, so
// that short products are compared in many short rounds and a slow spell of
// the machine touches few of them; never fewer than asked for, nor above 40.
// Nor so many that a batch lasts under 20 ms: after an idle spell a thread
// pool may take a few milliseconds to bring its parked threads back (4 ms on
// this VM), and a shorter batch would time that instead of the product.
int rounds_for(const GemmOptions &o, double slowest_s) {
  constexpr int kMostRounds = 40;
  constexpr double kShortestBatchS = 0.02;
  if (!(slowest_s > 0)) return o.rounds;
  const double most = std::min<double>(kMostRounds, std::floor(o.target_s / kShortestBatchS));
  const double fit = std::floor(o.target_s / slowest_s);
  return static_cast<int>(std::clamp(fit, static_cast<double>(o.rounds), std::max<double>(o.rounds, most)));
}

ShapeResult measure_shape(const GemmRun &run, const GemmShape &shape) {
  const GemmOptions &o = run.options;
  GemmProblem problem(shape);
  const CpuSample before = sample_cpu();
  ShapeResult r;
  r.shape = shape;
  r.tolerance = problem.tolerance();
  r.libs.resize(run.libraries.size());

  const std::vector<size_t> order = check_order(run, shape.prec);
  // Every batch starts after the same pause, the longest any measured library
  // needs for its idle threads to stop spinning: a batch that starts on a
  // machine idle for longer runs slower (cores and caches cool down), so the
  // library that happens to follow the slowest sleeper must not be the only
  // one to pay for it.
  double settle_s = 0;
  for (size_t i : order) settle_s = std::max(settle_s, run.libraries[i].settle_s);
  std::vector<double> per_call_s;
  for (size_t i : order) {
    const GemmLibrary &lib = run.libraries[i];
    LibraryResult &out = r.libs[i];
    out.measured = true;
    out.first_call_s = checked_call(problem, lib, i == order.front(), out, r.tolerance);
    // The first call may include starting a thread pool; when it is shorter
    // than a batch, a second untimed call gives a fairer time per call.
    double t = out.first_call_s;
    if (t < o.target_s / o.rounds) {
      const double t1 = now_s();
      problem.call(lib);
      t = std::min(t, now_s() - t1);
    }
    per_call_s.push_back(t);
    pause_s(settle_s);
  }
  r.rounds = rounds_for(o, per_call_s.empty() ? 0 : *std::max_element(per_call_s.begin(), per_call_s.end()));
  std::vector<Contestant> contestants;
  for (size_t c = 0; c < order.size(); ++c) {
    const GemmLibrary &lib = run.libraries[order[c]];
    contestants.push_back(
        {[&problem, &lib] { problem.call(lib); }, calls_per_round(per_call_s[c], o.target_s, r.rounds), {}, {}, {}});
  }

  interleave(contestants, r.rounds, settle_s);
  for (size_t c = 0; c < order.size(); ++c) {
    const GemmLibrary &lib = run.libraries[order[c]];
    r.libs[order[c]].timing = summarize(contestants[c].seconds);
    r.libs[order[c]].round_best_s = std::move(contestants[c].round_best);
    checked_call(problem, lib, false, r.libs[order[c]], r.tolerance);  // the reference against itself, too
    pause_s(settle_s);
  }
  r.others_share = others_share(before, sample_cpu(), run.cpus);
  return r;
}

}  // namespace

const char *gemm_usage() {
  return "usage: orb-bench gemm [--quick] [--csv FILE] [--json FILE] [--threads N] [--time S]\n"
         "                      [--rounds R] [--shape SHAPE]... [--only KEY,...]\n"
         "  --quick        a few shapes and a shorter time per measurement (under a minute)\n"
         "  --csv FILE     one row per shape and library\n"
         "  --json FILE    the whole run, as read by bench/report.py\n"
         "  --threads N    thread count of orb and of the threaded peers (default: orb's budget)\n"
         "  --time S       timed seconds per library and shape (default 1; 0.15 with --quick)\n"
         "  --rounds R     least interleaved batches per library, also the least number of timed calls\n"
         "                 (default 10; 6 with --quick)\n"
         "  --shape SHAPE  measure this shape instead of the list: [s|d|z:][OPS:]N or [s|d|z:][OPS:]MxNxK,\n"
         "                 OPS the ops of A and B, each N, T or C (d:TN:2000: A transposed)\n"
         "  --only KEYS    measure only these of orb,serial,openblas,blis\n";
}

bool parse_gemm_options(const std::vector<std::string> &args, GemmOptions &o, std::string &error) {
  o = GemmOptions{};
  auto fail = [&error](std::string message) {
    error = std::move(message);
    return false;
  };
  bool time_given = false, rounds_given = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &a = args[i];
    const bool has_value = i + 1 < args.size();
    auto value = [&]() -> const std::string & { return args[++i]; };
    if (a == "--quick") {
      o.quick = true;
    } else if ((a == "--csv" || a == "--json" || a == "--threads" || a == "--time" || a == "--rounds" ||
                a == "--shape" || a == "--only") && !has_value) {
      return fail(a + " needs a value");
    } else if (a == "--csv") {
      o.csv_path = value();
    } else if (a == "--json") {
      o.json_path = value();
    } else if (a == "--threads") {
      if (!parse_count(value(), o.threads)) return fail("--threads wants a positive integer");
    } else if (a == "--time") {
      if (!parse_positive(value(), o.target_s)) return fail("--time wants a positive number of seconds");
      time_given = true;
    } else if (a == "--rounds") {
      if (!parse_count(value(), o.rounds)) return fail("--rounds wants a positive integer");
      rounds_given = true;
    } else if (a == "--shape") {
      GemmShape s;
      if (!parse_shape(value(), s)) return fail("bad shape '" + args[i] + "'");
      o.shapes.push_back(s);
    } else if (a == "--only") {
      o.only = split_commas(value());
      for (const auto &k : o.only)
        if (k != "orb" && k != "serial" && k != "openblas" && k != "blis")
          return fail("unknown library '" + k + "'");
    } else {
      return fail("unknown argument '" + a + "'");
    }
  }
  if (o.shapes.empty()) o.shapes = o.quick ? quick_shapes() : full_shapes();
  if (o.quick && !time_given) o.target_s = 0.15;
  if (o.quick && !rounds_given) o.rounds = 6;
  return true;
}

double gflops(const ShapeResult &r, size_t lib, bool median) {
  if (lib >= r.libs.size() || !r.libs[lib].measured) return 0;
  const double s = median ? r.libs[lib].timing.median_s : r.libs[lib].timing.best_s;
  return s > 0 ? gemm_flops(r.shape) / s * 1e-9 : 0;
}

int library_index(const GemmRun &run, const std::string &key) {
  for (size_t i = 0; i < run.libraries.size(); ++i)
    if (run.libraries[i].key == key) return static_cast<int>(i);
  return -1;
}

double speedup(const ShapeResult &r, int ours, int other) {
  const auto n = static_cast<int>(r.libs.size());
  if (ours < 0 || other < 0 || ours >= n || other >= n) return std::numeric_limits<double>::quiet_NaN();
  const LibraryResult &a = r.libs[static_cast<size_t>(ours)], &b = r.libs[static_cast<size_t>(other)];
  if (!a.measured || !b.measured) return std::numeric_limits<double>::quiet_NaN();
  return paired_speedup(a.round_best_s, b.round_best_s);
}

int best_peer(const GemmRun &run, const ShapeResult &r) {
  const int orb = library_index(run, "orb");
  const bool paired = orb >= 0 && r.libs[static_cast<size_t>(orb)].measured;
  int best = -1;
  double best_score = 0;
  for (size_t i = 0; i < run.libraries.size(); ++i) {
    if (!run.libraries[i].peer || gflops(r, i) <= 0) continue;
    // Paired: the peer orb is least ahead of; otherwise the peer with more GFLOPS.
    const double score = paired ? -speedup(r, orb, static_cast<int>(i)) : gflops(r, i);
    if (!std::isfinite(score)) continue;
    if (best < 0 || score > best_score) {
      best = static_cast<int>(i);
      best_score = score;
    }
  }
  return best;
}

double ratio_to_serial(const GemmRun &run, const ShapeResult &r) {
  return speedup(r, library_index(run, "orb"), library_index(run, "serial"));
}

double ratio_to_best_peer(const GemmRun &run, const ShapeResult &r) {
  return speedup(r, library_index(run, "orb"), best_peer(run, r));
}

double peer_to_serial(const GemmRun &run, const ShapeResult &r) {
  return speedup(r, best_peer(run, r), library_index(run, "serial"));
}

void measure_gemm(GemmRun &run) {
  for (const GemmShape &shape : run.options.shapes) {
    run.shapes.push_back(measure_shape(run, shape));
    print_shape(stdout, run, run.shapes.back());
    std::fflush(stdout);
  }
}

int gemm_main(const std::vector<std::string> &args) {
  GemmRun run;
  std::string error;
  if (!parse_gemm_options(args, run.options, error)) {
    std::fprintf(stderr, "orb-bench gemm: %s\n%s", error.c_str(), gemm_usage());
    return 2;
  }
  // The budget is the calling thread's own setting when it has one; the peers get the same count.
  if (run.options.threads > 0) orb_serv_set_num_threads_local(run.options.threads);
  run.threads = orb_serv_get_max_threads();
  run.cpus = static_cast<int>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
  run.date = local_date();
  run.load_start = load_average();
  run.libraries = gemm_libraries(run.threads);
  print_libraries(stdout, run);

  measure_gemm(run);
  run.load_end = load_average();
  print_summary(stdout, run);

  int status = 0;
  if (!run.options.csv_path.empty() && !write_csv(run.options.csv_path, run, error)) {
    std::fprintf(stderr, "orb-bench gemm: %s\n", error.c_str());
    status = 2;
  }
  if (!run.options.json_path.empty() && !write_json(run.options.json_path, run, error)) {
    std::fprintf(stderr, "orb-bench gemm: %s\n", error.c_str());
    status = 2;
  }
  for (const ShapeResult &r : run.shapes)
    for (size_t i = 0; i < r.libs.size(); ++i)
      if (r.libs[i].check == "MISMATCH") {
        std::fprintf(stderr, "orb-bench gemm: %s: %s differs from %s by %.3g (tolerance %.3g)\n",
                     shape_name(r.shape).c_str(), run.libraries[i].label.c_str(), "the reference",
                     r.libs[i].difference, r.tolerance);
        if (status == 0) status = 1;
      }
  return status;
}

}  // namespace orb::bench
