// The options of `orb-bench level3`, `level2` and `getrf`: their own orders,
// the level-1 grammar otherwise.
#include "getrf_bench.hpp"
#include "level3_bench.hpp"

#include <gtest/gtest.h>

namespace orb::bench {
namespace {

struct OrderOptions {
  bool (*parse)(const std::vector<std::string> &, Level1Options &, std::string &);
  std::vector<long> full, quick;
};

TEST(OrderOptions, DefaultsQuickAndGivenOrders) {
  const OrderOptions cases[] = {
      {parse_level3_options, {500, 1000, 2000, 4000}, {1000}},
      {parse_level2_options, {2000, 4000, 8000}, {2000}},
      {parse_getrf_options, {1000, 2000, 4000, 4999, 5000, 8000}, {2000, 5000}},
  };
  for (const OrderOptions &c : cases) {
    Level1Options full, quick, given, bad;
    std::string error;
    ASSERT_TRUE(c.parse({}, full, error));
    EXPECT_EQ(full.lengths, c.full);
    ASSERT_TRUE(c.parse({"--quick"}, quick, error));
    EXPECT_EQ(quick.lengths, c.quick);
    ASSERT_TRUE(c.parse({"--quick", "--n", "300"}, given, error));
    EXPECT_EQ(given.lengths, (std::vector<long>{300}));
    EXPECT_FALSE(c.parse({"--n", "-1"}, bad, error));
  }
}

}  // namespace
}  // namespace orb::bench
