// The table of the routine comparisons: see routine_table.hpp.
#include "routine_table.hpp"

#include "measure.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orb::bench {

void print_libraries(const std::vector<GemmLibrary> &libs, const char *size_head) {
  for (const GemmLibrary &lib : libs)
    std::printf("  %-16s %s%s%s\n", lib.label.c_str(), lib.available() ? lib.about.c_str() : "n/a: ",
                lib.available() ? "" : lib.missing.c_str(),
                lib.kernels.forced.empty() ? "" : (" [" + lib.kernels.forced + "]").c_str());
  std::printf("\n%-6s %9s", "", size_head);
  for (const GemmLibrary &lib : libs) std::printf("  %14s", lib.label.c_str());
  std::printf("  %8s  %8s\n", "/serial", "/peer");
}

void time_row(const std::vector<GemmLibrary> &libs, const std::vector<std::function<void()>> &calls, const char *routine,
              long size, double target_s, int rounds, const std::function<void(size_t i, double best_s)> &cell,
              const std::function<void()> &prepare) {
  struct Measured {
    bool ran = false;
    Timing timing;
    std::vector<double> round_best;
  };
  std::vector<Measured> m(libs.size());
  std::vector<Contestant> contestants;
  std::vector<size_t> who;
  double settle_s = 0;
  for (size_t i = 0; i < libs.size(); ++i) {
    if (!calls[i]) continue;
    if (prepare) prepare();
    calls[i]();  // untimed: pools start, pages settle
    if (prepare) prepare();
    const double t0 = now_s();
    calls[i]();
    contestants.push_back({calls[i], calls_per_round(now_s() - t0, target_s, rounds), {}, {}, prepare});
    who.push_back(i);
    settle_s = std::max(settle_s, libs[i].settle_s);
  }
  interleave(contestants, rounds, settle_s);
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
  std::printf("%-6s %9ld", routine, size);
  for (size_t i = 0; i < libs.size(); ++i) m[i].ran ? cell(i, m[i].timing.best_s) : (void)std::printf("  %14s", "n/a");
  const double to_serial = m[0].ran && m[1].ran ? paired_speedup(m[0].round_best, m[1].round_best) : NAN;
  const double to_peer = m[0].ran && best >= 0 ? paired_speedup(m[0].round_best, m[best].round_best) : NAN;
  const auto ratio = [](double r) { std::isnan(r) ? std::printf("  %8s", "n/a") : std::printf("  %7.2fx", r); };
  ratio(to_serial);
  ratio(to_peer);
  std::printf(" %s\n", best >= 0 ? libs[best].label.c_str() : "");
  std::fflush(stdout);
}

}  // namespace orb::bench
