// Interleaved timing of several libraries (see measure.hpp for the order).
#include "measure.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

namespace orb::bench {

double now_s() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void pause_s(double seconds) {
  if (seconds > 0) std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

namespace {

// The median of a non-empty, sorted `v`.
double sorted_median(const std::vector<double> &v) {
  const size_t n = v.size();
  return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
}

}  // namespace

Timing summarize(std::vector<double> seconds) {
  Timing t;
  if (seconds.empty()) return t;
  std::sort(seconds.begin(), seconds.end());
  t.best_s = seconds.front();
  t.median_s = sorted_median(seconds);
  t.reps = static_cast<int>(seconds.size());
  return t;
}

int calls_per_round(double call_s, double target_s, int rounds) {
  if (rounds < 1) rounds = 1;
  const double batch_s = target_s / rounds;
  if (!(call_s > 0)) return 1;  // also catches NaN
  // Capped so that a call the clock can hardly see does not ask for millions.
  const double calls = std::ceil(batch_s / call_s);
  return static_cast<int>(std::clamp(calls, 1.0, 100000.0));
}

double paired_speedup(const std::vector<double> &ours, const std::vector<double> &theirs) {
  const size_t n = std::min(ours.size(), theirs.size());
  std::vector<double> ratios;
  for (size_t r = 0; r < n; ++r) {
    if (!(ours[r] > 0) || !(theirs[r] > 0)) return std::nan("");
    ratios.push_back(theirs[r] / ours[r]);
  }
  if (ratios.empty()) return std::nan("");
  std::sort(ratios.begin(), ratios.end());
  return sorted_median(ratios);
}

void interleave(std::vector<Contestant> &contestants, int rounds, double pause) {
  const size_t n = contestants.size();
  for (int r = 0; r < rounds; ++r) {
    for (size_t i = 0; i < n; ++i) {
      Contestant &c = contestants[(static_cast<size_t>(r) + i) % n];
      double best = 0;
      for (int j = 0; j < c.per_round; ++j) {
        if (c.prepare) c.prepare();
        const double t0 = now_s();
        c.call();
        const double t = now_s() - t0;
        c.seconds.push_back(t);
        best = j == 0 ? t : std::min(best, t);
      }
      c.round_best.push_back(best);
      pause_s(pause);
    }
  }
}

bool parse_positive(const std::string &text, double &value) {
  char *end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != '\0' || !(v > 0) || !std::isfinite(v)) return false;
  value = v;
  return true;
}

bool parse_count(const std::string &text, int &value) {
  double v = 0;
  if (!parse_positive(text, v) || v != std::floor(v) || v > 1 << 20) return false;
  value = static_cast<int>(v);
  return true;
}

}  // namespace orb::bench
