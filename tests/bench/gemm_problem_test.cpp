// The result check of the gemm comparison: it must pass every correct library,
// whatever its integer width, and catch one that gets alpha or beta wrong.
#include "gemm_problem.hpp"

#include "naive_gemm.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orb::bench {
namespace {

using namespace orb::bench::test;

TEST(MaxRelativeDifference, IsMeasuredAgainstTheLargestReferenceElement) {
  const double ref[] = {4.0, -2.0, 0.0};
  const double same[] = {4.0, -2.0, 0.0};
  const double off[] = {4.0, -2.0, 0.5};  // 0.5 off where the reference is 0: 0.5 / 4
  EXPECT_EQ(max_relative_difference(same, ref, 3), 0.0);
  EXPECT_DOUBLE_EQ(max_relative_difference(off, ref, 3), 0.125);

  const double zeros[] = {0.0, 0.0};
  const double not_zeros[] = {0.0, 1e-300};
  EXPECT_EQ(max_relative_difference(zeros, zeros, 2), 0.0);
  EXPECT_TRUE(std::isinf(max_relative_difference(not_zeros, zeros, 2)));

  const float fref[] = {1.0f, 2.0f};
  const float fnan[] = {std::numeric_limits<float>::quiet_NaN(), 2.0f};
  EXPECT_TRUE(std::isinf(max_relative_difference(fnan, fref, 2)));
}

class CheckAcrossConventions : public ::testing::TestWithParam<Precision> {};

TEST_P(CheckAcrossConventions, CorrectLibrariesAgreeAndAWrongBetaIsCaught) {
  const GemmShape shape{GetParam(), 37, 19, 53, "custom"};  // odd sizes: no accidental symmetry
  GemmProblem p(shape);
  beta_twice = false;
  p.call(fake_library<Orb>(CallAbi::orb));
  p.keep_as_reference();
  EXPECT_EQ(p.difference_from_reference(), 0.0);

  for (auto lib : {fake_library<Lp64>(CallAbi::fortran_lp64), fake_library<Ilp64>(CallAbi::fortran_ilp64)}) {
    p.reset_c();
    p.call(lib);
    EXPECT_LE(p.difference_from_reference(), p.tolerance());
  }

  // A second call from the result of the first is not the checked product.
  p.call(fake_library<Orb>(CallAbi::orb));
  EXPECT_GT(p.difference_from_reference(), p.tolerance());

  beta_twice = true;
  p.reset_c();
  p.call(fake_library<Lp64>(CallAbi::fortran_lp64));
  beta_twice = false;
  EXPECT_GT(p.difference_from_reference(), 100 * p.tolerance());
}

INSTANTIATE_TEST_SUITE_P(Precisions, CheckAcrossConventions,
                         ::testing::Values(Precision::s, Precision::d, Precision::z));

TEST(Tolerance, GrowsWithTheInnerDimensionAndThePrecision) {
  const GemmProblem small({Precision::d, 8, 8, 100, "custom"});
  const GemmProblem longk({Precision::d, 8, 8, 10000, "custom"});
  const GemmProblem single({Precision::s, 8, 8, 100, "custom"});
  EXPECT_DOUBLE_EQ(longk.tolerance(), 100 * small.tolerance());
  EXPECT_GT(single.tolerance(), 1e8 * small.tolerance());
  EXPECT_LT(longk.tolerance(), 1e-10);  // still far below any real mistake
}

TEST(GemmProblem, ResetRestoresTheStartingC) {
  GemmProblem a({Precision::d, 20, 20, 20, "square"});
  const GemmLibrary lib = fake_library<Orb>(CallAbi::orb);
  a.call(lib);
  a.keep_as_reference();
  a.reset_c();
  a.call(lib);
  EXPECT_EQ(a.difference_from_reference(), 0.0);
}

}  // namespace
}  // namespace orb::bench
