// Timing several libraries on the same problem, interleaved.
//
// Each library gets `rounds` batches of calls; a round runs one batch of
// every library, and each round starts with a different library, so that a
// slow spell of the machine (another process, a frequency change) falls on
// all of them alike instead of on whichever happened to run then.  Every call
// is timed on its own; a library's speed is its best call, because on a
// shared machine interference only ever adds time.  The median is kept beside
// it to show how steady the run was.
//
// How two libraries compare is judged round by round instead: the ratio of
// their best calls within one round, whose batches run close together, and
// the median of that ratio over the rounds.  A slow spell that lasts longer
// than a round then cancels out of every ratio it touches, while the best
// calls of the whole run can come from different spells.
//
//   3 libraries A, B, C, 3 rounds:   A B C | B C A | C A B
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orb::bench {

//! Best and median time of one library's timed calls.
struct Timing {
  double best_s = 0;
  double median_s = 0;
  int reps = 0;
};

//! One library's part in an interleaved measurement.
struct Contestant {
  std::function<void()> call;   //!< one call of the measured routine
  int per_round = 1;            //!< calls in each of its batches
  std::vector<double> seconds;  //!< time of every timed call, filled by interleave()
  std::vector<double> round_best;  //!< best call of each round's batch, filled by interleave()
  std::function<void()> prepare;  //!< run untimed before each call (fresh operands); may be empty
};

//! Seconds on a monotonic clock.
double now_s();

//! Sleeps for `seconds` (nothing when not positive).
void pause_s(double seconds);

//! Best and median of `seconds`; all zero when it is empty.
Timing summarize(std::vector<double> seconds);

//! Calls per batch so that `rounds` batches take about `target_s` together,
//! given the time of one call; never below 1.
int calls_per_round(double call_s, double target_s, int rounds);

//! How many times faster `ours` ran than `theirs`: the median over rounds of
//! theirs[r] / ours[r] (best calls of the same round).  NaN when the two have
//! no round in common or a time is not positive.
double paired_speedup(const std::vector<double> &ours, const std::vector<double> &theirs);

//! Runs the batches of every contestant in `rounds` rounds, the first
//! contestant of round r being r mod (number of contestants), each batch
//! followed by a pause of `pause` seconds.
void interleave(std::vector<Contestant> &contestants, int rounds, double pause = 0);

//! A positive finite number, or a positive whole count up to 2^20, from an
//! option's text; false when the text is not one.
bool parse_positive(const std::string &text, double &value);
bool parse_count(const std::string &text, int &value);

//! The options the routine comparisons share, read into o.quick, o.threads,
//! o.target_s and o.rounds: --quick, --threads N, --time S, --rounds R.  Any
//! other option takes a value and goes to own(option, value), which answers
//! whether it knew the option and the value was good; `valued` lists the
//! subcommand's own options for the message of one given without a value.
//! With --quick, a time and a round count not given become quick_s and
//! quick_rounds.  False with a message in `error` on the first bad argument.
template <class Options, class Own>
bool parse_routine_options(const std::vector<std::string> &args, Options &o, double quick_s, int quick_rounds,
                           const std::vector<std::string> &valued, Own own, std::string &error) {
  bool time_given = false, rounds_given = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &a = args[i];
    if (a == "--quick") {
      o.quick = true;
      continue;
    }
    if (i + 1 >= args.size()) {
      bool known = a == "--threads" || a == "--time" || a == "--rounds";
      for (const std::string &v : valued) known |= a == v;
      error = known ? a + " wants a value" : "unknown option " + a;
      return false;
    }
    const std::string &v = args[++i];
    if (a == "--threads" && parse_count(v, o.threads)) continue;
    if (a == "--rounds" && parse_count(v, o.rounds)) {
      rounds_given = true;
      continue;
    }
    if (a == "--time" && parse_positive(v, o.target_s)) {
      time_given = true;
      continue;
    }
    if (a != "--threads" && a != "--rounds" && a != "--time" && own(a, v)) continue;
    error = "bad value for " + a + ": " + v;
    return false;
  }
  if (o.quick && !time_given) o.target_s = quick_s;
  if (o.quick && !rounds_given) o.rounds = quick_rounds;
  return true;
}

}  // namespace orb::bench
