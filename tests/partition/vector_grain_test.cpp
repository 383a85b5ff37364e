// The grain and splitter of the vector-function threaders, row by row of the
// worked table beside their arithmetic (thread/partition/vector_grain.hpp).
#include "partition/vector_grain.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace orb::test {
namespace {

TEST(VectorGrain, TenThousandOverTheCostTruncated) {
  const struct {
    float cost;
    int grain;
  } rows[] = {{1.0f, 10000}, {2.5f, 4000}, {100.0f, 100}, {3.0f, 3333}, {10000.0f, 1},
              {20000.0f, 0},  {0.0f, INT_MAX}, {1e-9f, INT_MAX}, {-1.0f, 0}, {NAN, 0}};
  for (const auto &r : rows) EXPECT_EQ(thr::vector_grain(r.cost), r.grain) << "cost " << r.cost;
}

TEST(VectorGrain, TheModesBitsChooseTheSplitter) {
  using thr::rt::Split;
  EXPECT_EQ(thr::vector_split(0x00000), Split::automatic);
  EXPECT_EQ(thr::vector_split(0x10000), Split::even);
  EXPECT_EQ(thr::vector_split(0x20000), Split::simple);
  EXPECT_EQ(thr::vector_split(0x30000), Split::automatic);
  EXPECT_EQ(thr::vector_split(0x10703), Split::even);  // the other bits do not matter
}

}  // namespace
}  // namespace orb::test
