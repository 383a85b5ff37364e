// The options of `orb-bench level3` and `level2`: its own orders, the level-1 grammar otherwise.
#include "level3_bench.hpp"

#include <gtest/gtest.h>

namespace orb::bench {
namespace {

TEST(Level3Options, DefaultsQuickAndGivenOrders) {
  Level1Options full, quick, given, bad;
  std::string error;
  ASSERT_TRUE(parse_level3_options({}, full, error));
  EXPECT_EQ(full.lengths, (std::vector<long>{500, 1000, 2000, 4000}));
  ASSERT_TRUE(parse_level3_options({"--quick"}, quick, error));
  EXPECT_EQ(quick.lengths, (std::vector<long>{1000}));
  ASSERT_TRUE(parse_level3_options({"--quick", "--n", "300"}, given, error));
  EXPECT_EQ(given.lengths, (std::vector<long>{300}));
  EXPECT_FALSE(parse_level3_options({"--n", "-1"}, bad, error));
  Level1Options full2, quick2;
  ASSERT_TRUE(parse_level2_options({}, full2, error));
  EXPECT_EQ(full2.lengths, (std::vector<long>{2000, 4000, 8000}));
  ASSERT_TRUE(parse_level2_options({"--quick"}, quick2, error));
  EXPECT_EQ(quick2.lengths, (std::vector<long>{2000}));
}

}  // namespace
}  // namespace orb::bench
