// The options of `orb-bench level1`.
#include "level1_bench.hpp"

#include <gtest/gtest.h>

namespace orb::bench {
namespace {

TEST(Level1Options, DefaultsQuickAndGivenLengths) {
  Level1Options full, quick, given;
  std::string error;
  ASSERT_TRUE(parse_level1_options({}, full, error));
  EXPECT_EQ(full.lengths, (std::vector<long>{10000, 100000, 1000000, 10000000}));
  ASSERT_TRUE(parse_level1_options({"--quick"}, quick, error));
  EXPECT_EQ(quick.lengths, (std::vector<long>{10000, 1000000}));
  EXPECT_LT(quick.target_s, full.target_s);
  ASSERT_TRUE(parse_level1_options({"--n", "5000", "--n", "20000000", "--threads", "3", "--time", "0.2"}, given,
                                   error));
  EXPECT_EQ(given.lengths, (std::vector<long>{5000, 20000000}));
  EXPECT_EQ(given.threads, 3);
  EXPECT_DOUBLE_EQ(given.target_s, 0.2);
}

TEST(Level1Options, RefusesWhatItCannotRead) {
  for (const std::vector<std::string> &args :
       {std::vector<std::string>{"--n"}, {"--n", "-4"}, {"--n", "1.5"}, {"--threads", "0"}, {"--fast"}}) {
    Level1Options o;
    std::string error;
    EXPECT_FALSE(parse_level1_options(args, o, error)) << args[0];
    EXPECT_FALSE(error.empty());
  }
}

}  // namespace
}  // namespace orb::bench
