// Interleaved timing: the statistics, the batch sizes and the order of calls.
#include "measure.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>

namespace orb::bench {
namespace {

TEST(Summarize, BestIsTheShortestCallAndMedianTheMiddleOne) {
  const Timing odd = summarize({0.5, 0.1, 0.3});
  EXPECT_EQ(odd.reps, 3);
  EXPECT_DOUBLE_EQ(odd.best_s, 0.1);
  EXPECT_DOUBLE_EQ(odd.median_s, 0.3);

  const Timing even = summarize({0.4, 0.1, 0.2, 0.9});
  EXPECT_DOUBLE_EQ(even.best_s, 0.1);
  EXPECT_DOUBLE_EQ(even.median_s, 0.3);  // mean of 0.2 and 0.4

  const Timing none = summarize({});
  EXPECT_EQ(none.reps, 0);
  EXPECT_EQ(none.best_s, 0);
}

struct BatchCase {
  double call_s, target_s;
  int rounds, expected;
};

std::ostream &operator<<(std::ostream &out, const BatchCase &c) {
  return out << c.call_s << " s of " << c.target_s << " s over " << c.rounds;
}

class CallsPerRound : public ::testing::TestWithParam<BatchCase> {};

// 0.3 s over 3 rounds is 0.1 s a batch:
//   a call of 0.001 s -> 100 calls, 0.03 s -> 4 (rounded up), 0.5 s -> 1,
//   an unmeasurably short call -> 1 (nothing to scale by), 1 ns -> the cap.
TEST_P(CallsPerRound, FillsABatchOfTargetOverRounds) {
  const BatchCase c = GetParam();
  EXPECT_EQ(calls_per_round(c.call_s, c.target_s, c.rounds), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, CallsPerRound,
                         ::testing::Values(BatchCase{0.001, 0.3, 3, 100}, BatchCase{0.03, 0.3, 3, 4},
                                           BatchCase{0.5, 0.3, 3, 1}, BatchCase{0.0, 0.3, 3, 1},
                                           BatchCase{NAN, 0.3, 3, 1}, BatchCase{1e-9, 0.3, 3, 100000},
                                           BatchCase{0.05, 0.3, 0, 6}));

TEST(Interleave, EachRoundStartsWithTheNextContestant) {
  std::string order;
  std::vector<Contestant> cs;
  for (char name : {'A', 'B', 'C'}) cs.push_back({[&order, name] { order += name; }, 1, 0, {}});
  cs[1].per_round = 2;  // B's batches hold two calls
  interleave(cs, 3);
  EXPECT_EQ(order, "ABBC" "BBCA" "CABB");
  EXPECT_EQ(cs[0].seconds.size(), 3u);
  EXPECT_EQ(cs[1].seconds.size(), 6u);
  for (const Contestant &c : cs)
    for (double s : c.seconds) EXPECT_GE(s, 0);
}

TEST(Interleave, ZeroRoundsCallsNothing) {
  int calls = 0;
  std::vector<Contestant> cs{{[&calls] { ++calls; }, 5, 0, {}}};
  interleave(cs, 0);
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(cs[0].seconds.empty());
}

}  // namespace
}  // namespace orb::bench
