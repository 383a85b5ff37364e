// The ratios that decide the targets: a slow spell of the machine must cancel
// out of a paired ratio, and interleave() must keep one best call per round.
#include "measure.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace orb::bench {
namespace {

TEST(PairedSpeedup, TakesTheMedianOfSameRoundRatios) {
  // Round 2 ran slow for both: it must not tilt the ratio, as best calls across rounds would.
  EXPECT_DOUBLE_EQ(paired_speedup({1.0, 3.0, 1.0}, {1.1, 3.3, 1.1}), 1.1);
  EXPECT_DOUBLE_EQ(paired_speedup({1.0, 1.0, 1.0, 1.0}, {2.0, 1.0, 4.0, 3.0}), 2.5);
  EXPECT_DOUBLE_EQ(paired_speedup({2.0, 2.0}, {1.0, 1.0, 5.0}), 0.5);  // rounds in common only
}

TEST(PairedSpeedup, IsNaNWithoutUsableRounds) {
  EXPECT_TRUE(std::isnan(paired_speedup({}, {1.0})));
  EXPECT_TRUE(std::isnan(paired_speedup({1.0, 0.0}, {1.0, 1.0})));
}

TEST(Interleave, KeepsEachRoundsBestCall) {
  int calls = 0;
  std::vector<Contestant> cs(2);
  for (auto &c : cs) {
    c.call = [&calls] { ++calls; };
    c.per_round = 3;
  }
  interleave(cs, 4);
  EXPECT_EQ(calls, 24);
  for (const auto &c : cs) {
    ASSERT_EQ(c.seconds.size(), 12u);
    ASSERT_EQ(c.round_best.size(), 4u);
    for (size_t r = 0; r < 4; ++r)
      EXPECT_DOUBLE_EQ(c.round_best[r], std::min({c.seconds[3 * r], c.seconds[3 * r + 1], c.seconds[3 * r + 2]}));
  }
}

}  // namespace
}  // namespace orb::bench
