// The shape lists of the gemm comparison and the --shape syntax.
#include "gemm_shapes.hpp"

#include <gtest/gtest.h>

#include <ostream>

namespace orb::bench {
namespace {

struct ShapeCase {
  const char *text;
  bool ok;
  Precision prec = Precision::d;
  int64_t m = 0, n = 0, k = 0;
  const char *group = "";
};

std::ostream &operator<<(std::ostream &out, const ShapeCase &c) { return out << '"' << c.text << '"'; }

class ParseShape : public ::testing::TestWithParam<ShapeCase> {};

TEST_P(ParseShape, ReadsPrecisionAndSizes) {
  const ShapeCase c = GetParam();
  GemmShape s;
  s.m = -7;  // left alone on failure
  ASSERT_EQ(parse_shape(c.text, s), c.ok) << c.text;
  if (!c.ok) {
    EXPECT_EQ(s.m, -7);
    return;
  }
  EXPECT_EQ(s.prec, c.prec);
  EXPECT_EQ(s.m, c.m);
  EXPECT_EQ(s.n, c.n);
  EXPECT_EQ(s.k, c.k);
  EXPECT_EQ(s.group, c.group);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ParseShape,
    ::testing::Values(ShapeCase{"1000", true, Precision::d, 1000, 1000, 1000, "square"},
                      ShapeCase{"z:2000", true, Precision::z, 2000, 2000, 2000, "square"},
                      ShapeCase{"s:64x256x20000", true, Precision::s, 64, 256, 20000, "custom"},
                      ShapeCase{"d:7x7x7", true, Precision::d, 7, 7, 7, "square"},
                      ShapeCase{"", false}, ShapeCase{"c:100", false}, ShapeCase{"100x100", false},
                      ShapeCase{"100x100x", false}, ShapeCase{"100x100x100x1", false}, ShapeCase{"0", false},
                      ShapeCase{"-5", false}, ShapeCase{"10y10y10", false}, ShapeCase{"3000000000", false},
                      ShapeCase{"d:", false}));

TEST(ShapeLists, FullListCoversEveryRegime) {
  const auto shapes = full_shapes();
  ASSERT_EQ(shapes.size(), 12u);
  std::vector<std::string> names;
  for (const auto &s : shapes) names.push_back(shape_name(s));
  const std::vector<std::string> expected = {
      "dgemm 100x100x100",     "dgemm 200x200x200",   "dgemm 500x500x500",     "dgemm 1000x1000x1000",
      "dgemm 2000x2000x2000",  "dgemm 4000x4000x4000", "dgemm 4000x64x4000",   "dgemm 100x100x10000",
      "dgemm 128x128x50000",   "dgemm 64x256x20000",  "sgemm 2000x2000x2000", "zgemm 2000x2000x2000"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(shapes[6].group, "tall-skinny");
  EXPECT_EQ(shapes[8].group, "long-k");
}

TEST(ShapeLists, QuickListIsShort) {
  const auto shapes = quick_shapes();
  EXPECT_LE(shapes.size(), 5u);
  double flops = 0;
  for (const auto &s : shapes) flops += gemm_flops(s);
  EXPECT_LT(flops, 2e10);  // a few seconds of the serial provider at most
}

TEST(GemmFlops, ComplexCountsFourRealProductsPerTerm) {
  EXPECT_DOUBLE_EQ(gemm_flops({Precision::d, 10, 20, 30, "custom"}), 12000.0);
  EXPECT_DOUBLE_EQ(gemm_flops({Precision::s, 10, 20, 30, "custom"}), 12000.0);
  EXPECT_DOUBLE_EQ(gemm_flops({Precision::z, 10, 20, 30, "custom"}), 48000.0);
}

}  // namespace
}  // namespace orb::bench
