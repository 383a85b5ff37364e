// What could silently give the benchmark wrong numbers: a shape read wrongly,
// complex flops miscounted, or a wrong product passing the result check.
// Plain loops stand in for the libraries.
#include "gemm_problem.hpp"

#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <tuple>

namespace orb::bench {

void PrintTo(Precision p, std::ostream *os) { *os << "sdz"[static_cast<int>(p)]; }

namespace {

struct ShapeCase {
  const char *text;
  bool ok;
  GemmShape expected = {};
};
void PrintTo(const ShapeCase &c, std::ostream *os) { *os << '"' << c.text << '"'; }
class ParseShape : public ::testing::TestWithParam<ShapeCase> {};

TEST_P(ParseShape, ReadsPrecisionAndSizesOrLeavesTheShapeAlone) {
  const ShapeCase c = GetParam();
  GemmShape s;
  s.m = -7;
  ASSERT_EQ(parse_shape(c.text, s), c.ok);
  const GemmShape w = c.ok ? c.expected : GemmShape{Precision::d, -7, 0, 0, ""};
  EXPECT_EQ(std::make_tuple(s.prec, s.m, s.n, s.k, s.group, s.transa, s.transb),
            std::make_tuple(w.prec, w.m, w.n, w.k, w.group, w.transa, w.transb));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseShape,
    ::testing::Values(ShapeCase{"1000", true, {Precision::d, 1000, 1000, 1000, "square"}},
                      ShapeCase{"z:2000", true, {Precision::z, 2000, 2000, 2000, "square"}},
                      ShapeCase{"s:64x256x20000", true, {Precision::s, 64, 256, 20000, "custom"}},
                      ShapeCase{"d:7x7x7", true, {Precision::d, 7, 7, 7, "square"}}, ShapeCase{"", false},
                      ShapeCase{"c:100", false}, ShapeCase{"100x100", false}, ShapeCase{"100x100x", false},
                      ShapeCase{"100x100x100x1", false}, ShapeCase{"0", false}, ShapeCase{"-5", false},
                      ShapeCase{"10y10y10", false}, ShapeCase{"3000000000", false}, ShapeCase{"d:", false},
                      ShapeCase{"d:TN:2000", true, {Precision::d, 2000, 2000, 2000, "transposed", 'T', 'N'}},
                      ShapeCase{"NC:5x6x7", true, {Precision::d, 5, 6, 7, "custom", 'N', 'C'}},
                      ShapeCase{"z:NN:9", true, {Precision::z, 9, 9, 9, "square"}}, ShapeCase{"TX:9", false},
                      ShapeCase{"TN9", false}, ShapeCase{"TN:", false}, ShapeCase{"tn:9", false}));

TEST(ShapeName, NamesTheOpsOnlyWhenAnOperandIsTransposed) {
  EXPECT_EQ(shape_name({Precision::d, 4, 5, 6, "custom"}), "dgemm 4x5x6");
  EXPECT_EQ(shape_name({Precision::z, 4, 5, 6, "custom", 'N', 'T'}), "zgemm NT 4x5x6");
}

TEST(GemmFlops, ComplexCountsFourRealProductsPerTerm) {
  EXPECT_DOUBLE_EQ(gemm_flops({Precision::d, 10, 20, 30, "custom"}), 12000.0);
  EXPECT_DOUBLE_EQ(gemm_flops({Precision::z, 10, 20, 30, "custom"}), 48000.0);
}

// A plain loop behind each calling convention (Lengths: the trailing
// character lengths of the Fortran names); kBetaTwice scales C by beta once
// more, as a split with wrongly scaled partial sums would.
template <class T, class I, bool kBetaTwice, class... Lengths>
void naive(const char *, const char *, const I *m, const I *n, const I *k, const T *alpha, const T *a, const I *lda,
           const T *b, const I *ldb, const T *beta, T *c, const I *ldc, Lengths...) {
  for (I j = 0; j < *n; ++j)
    for (I i = 0; i < *m; ++i) {
      T sum = T(0);
      for (I p = 0; p < *k; ++p) sum += a[i + p * *lda] * b[p + j * *ldb];
      c[i + j * *ldc] = *alpha * sum + *beta * c[i + j * *ldc] * (kBetaTwice ? *beta : T(1));
    }
}

template <class I, bool kBetaTwice, class... Lengths>
GemmLibrary naive_library(CallAbi abi) {
  GemmLibrary lib;
  lib.abi = abi;
  lib.entries = {reinterpret_cast<void *>(naive<float, I, kBetaTwice, Lengths...>),
                 reinterpret_cast<void *>(naive<double, I, kBetaTwice, Lengths...>),
                 reinterpret_cast<void *>(naive<std::complex<double>, I, kBetaTwice, Lengths...>)};
  return lib;
}

class ResultCheck : public ::testing::TestWithParam<Precision> {};

TEST_P(ResultCheck, PassesEveryConventionAndCatchesWrongProducts) {
  GemmProblem p({GetParam(), 37, 19, 53, "custom"});  // odd sizes: no accidental symmetry
  p.call(naive_library<int64_t, false>(CallAbi::orb));
  p.keep_as_reference();
  for (const GemmLibrary &lib : {naive_library<int32_t, false, size_t, size_t>(CallAbi::fortran_lp64),
                                 naive_library<int64_t, false, size_t, size_t>(CallAbi::fortran_ilp64)}) {
    p.reset_c();
    p.call(lib);
    EXPECT_LE(p.difference_from_reference(), p.tolerance());
  }
  p.call(naive_library<int64_t, false>(CallAbi::orb));  // a second call from the result of the first
  EXPECT_GT(p.difference_from_reference(), p.tolerance());
  p.reset_c();
  p.call(naive_library<int32_t, true, size_t, size_t>(CallAbi::fortran_lp64));
  EXPECT_GT(p.difference_from_reference(), 100 * p.tolerance());
}

INSTANTIATE_TEST_SUITE_P(Precisions, ResultCheck, ::testing::Values(Precision::s, Precision::d, Precision::z),
                         [](const auto &info) { return ::testing::PrintToString(info.param); });

// What a library was handed: the two ops and the three leading dimensions.
struct Handed {
  char ta, tb;
  int64_t lda, ldb, ldc;
};
Handed handed;

template <class I, class... Lengths>
void record(const char *ta, const char *tb, const I *, const I *, const I *, const void *, const void *, const I *lda,
            const void *, const I *ldb, const void *, void *, const I *ldc, Lengths...) {
  handed = {*ta, *tb, *lda, *ldb, *ldc};
}

struct OpsCase {
  char ta, tb;
  int64_t lda, ldb;  // of a 3 x 4 product with k = 5
};
class TransposedCall : public ::testing::TestWithParam<std::tuple<CallAbi, OpsCase>> {};

// A leading dimension that does not follow the op reads outside the operand or the wrong elements.
TEST_P(TransposedCall, PassesTheOpsWithTheStoredOperandsLeadingDimensions) {
  const auto [abi, c] = GetParam();
  GemmLibrary lib;
  lib.abi = abi;
  void *fn = abi == CallAbi::orb            ? reinterpret_cast<void *>(record<int64_t>)
             : abi == CallAbi::fortran_lp64 ? reinterpret_cast<void *>(record<int32_t, size_t, size_t>)
                                            : reinterpret_cast<void *>(record<int64_t, size_t, size_t>);
  lib.entries = {fn, fn, fn};
  GemmProblem p({Precision::d, 3, 4, 5, "custom", c.ta, c.tb});
  handed = {};
  p.call(lib);
  EXPECT_EQ(handed.ta, c.ta);
  EXPECT_EQ(handed.tb, c.tb);
  EXPECT_EQ(handed.lda, c.lda);
  EXPECT_EQ(handed.ldb, c.ldb);
  EXPECT_EQ(handed.ldc, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Ops, TransposedCall,
    ::testing::Combine(::testing::Values(CallAbi::orb, CallAbi::fortran_ilp64, CallAbi::fortran_lp64),
                       ::testing::Values(OpsCase{'N', 'N', 3, 5}, OpsCase{'T', 'N', 5, 5}, OpsCase{'N', 'T', 3, 4},
                                         OpsCase{'C', 'T', 5, 4})));

TEST(ResultCheck, NaNIsNeverClose) {
  const double ref[] = {1.0, 2.0}, nan[] = {std::numeric_limits<double>::quiet_NaN(), 2.0};
  EXPECT_GT(max_relative_difference(nan, ref, 2), 1.0);
}

}  // namespace
}  // namespace orb::bench
