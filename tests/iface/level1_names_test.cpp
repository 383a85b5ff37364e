// The level-1 names: 32-bit Fortran and CBLAS answer as the 64-bit names do,
// each with its own conventions (complex dots by value or through a pointer,
// 1- or 0-based indices), on vectors long enough to be cut.
#include <gtest/gtest.h>

#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

#include <tuple>

#include "dense.hpp"
#include "hooks.hpp"

// The Fortran names as a Fortran program sees them: complex dot products
// return their value.
extern "C" {
#define ORB_TEST_F_NAMES(I, suffix)                                                                        \
  float sdot##suffix(const I *, const float *, const I *, const float *, const I *);                      \
  double ddot##suffix(const I *, const double *, const I *, const double *, const I *);                   \
  ORB_Complex8 cdotu##suffix(const I *, const ORB_Complex8 *, const I *, const ORB_Complex8 *, const I *); \
  ORB_Complex8 cdotc##suffix(const I *, const ORB_Complex8 *, const I *, const ORB_Complex8 *, const I *); \
  ORB_Complex16 zdotu##suffix(const I *, const ORB_Complex16 *, const I *, const ORB_Complex16 *, const I *); \
  ORB_Complex16 zdotc##suffix(const I *, const ORB_Complex16 *, const I *, const ORB_Complex16 *, const I *); \
  ORB_NORM_DECL(snrm2##suffix, float, float, I);                                                          \
  ORB_NORM_DECL(dnrm2##suffix, double, double, I);                                                        \
  ORB_NORM_DECL(scnrm2##suffix, ORB_Complex8, float, I);                                                  \
  ORB_NORM_DECL(dznrm2##suffix, ORB_Complex16, double, I);                                                \
  ORB_LEVEL1_EACH_TYPE(ORB_AXPBY_DECL, , axpby##suffix, I)                                                \
  ORB_LEVEL1_EACH_TYPE(ORB_INDEX_DECL, i, amax##suffix, I)
ORB_TEST_F_NAMES(int, _)
ORB_TEST_F_NAMES(int64_t, _64_)
ORB_ROTG_DECL(drotg_, double, double, int);
ORB_ROTG_DECL(zrotg_64_, ORB_Complex16, double, int64_t);
ORB_SDSDOT_DECL(sdsdot_, int);
ORB_DSDOT_DECL(dsdot_64_, int64_t);
float SCABS1(const ORB_Complex8 *);
int lsame_(const char *, const char *);
}

namespace orb::test {
namespace {

enum class L1Form { Fortran32, Fortran64, Cblas };

//! dotu, dotc, nrm2 and the 1-based iamax of one precision through one form,
//! in that order; axpby then updates y.
#define ORB_TEST_ANSWERS(p, T, R, dotu_, dotc_, norm, rs, DOTU, DOTC, CAST)                                     \
  std::vector<cld> answers(L1Form form, int n, const T *x, int incx, T *y, int incy, T alpha, T beta) {         \
    const int64_t n8 = n, incx8 = incx, incy8 = incy;                                                          \
    std::vector<cld> a;                                                                                        \
    if (form == L1Form::Fortran32) {                                                                           \
      a = {wide(dotu_##_(&n, x, &incx, y, &incy)), wide(dotc_##_(&n, x, &incx, y, &incy)),                     \
           cld(norm##nrm2_(&n, x, &incx)), cld(i##p##amax_(&n, x, &incx))};                                    \
      p##axpby_(&n, &alpha, x, &incx, &beta, y, &incy);                                                        \
    } else if (form == L1Form::Fortran64) {                                                                    \
      a = {wide(dotu_##_64_(&n8, x, &incx8, y, &incy8)), wide(dotc_##_64_(&n8, x, &incx8, y, &incy8)),         \
           cld(norm##nrm2_64_(&n8, x, &incx8)), cld(i##p##amax_64_(&n8, x, &incx8))};                          \
      p##axpby_64_(&n8, &alpha, x, &incx8, &beta, y, &incy8);                                                  \
    } else {                                                                                                   \
      T dotu{}, dotc{};                                                                                        \
      DOTU, DOTC;                                                                                              \
      a = {wide(dotu), wide(dotc), cld(cblas_##norm##nrm2(n, x, incx)), cld(cblas_i##p##amax(n, x, incx) + 1)}; \
      cblas_##p##axpby(n, CAST(alpha), x, incx, CAST(beta), y, incy);                                          \
    }                                                                                                          \
    return a;                                                                                                  \
  }
#define ORB_REAL_DOTS(p) dotu = dotc = cblas_##p##dot(n, x, incx, y, incy)
#define ORB_COMPLEX_DOT(p, which) cblas_##p##dot##which##_sub(n, x, incx, y, incy, &dot##which)
#define ORB_BY_VALUE(v) (v)
#define ORB_BY_ADDRESS(v) (&(v))
ORB_TEST_ANSWERS(s, float, float, sdot, sdot, s, s, ORB_REAL_DOTS(s), (void)0, ORB_BY_VALUE)
ORB_TEST_ANSWERS(d, double, double, ddot, ddot, d, d, ORB_REAL_DOTS(d), (void)0, ORB_BY_VALUE)
ORB_TEST_ANSWERS(c, ORB_Complex8, float, cdotu, cdotc, sc, cs, ORB_COMPLEX_DOT(c, u), ORB_COMPLEX_DOT(c, c),
                 ORB_BY_ADDRESS)
ORB_TEST_ANSWERS(z, ORB_Complex16, double, zdotu, zdotc, dz, zd, ORB_COMPLEX_DOT(z, u), ORB_COMPLEX_DOT(z, c),
                 ORB_BY_ADDRESS)

TYPED_TEST(Results, Level1NamesAnswerAsTheDriver) {
  using T = TypeParam;
  const int n = 9000, incx = 2, incy = -3;
  const std::vector<T> x = random_matrix<T>(1, n, 2, 5), y0 = random_matrix<T>(1, n, 3, 6);
  const T alpha = narrow<T>(cld(0.5, -1.5)), beta = narrow<T>(cld(2.0, 0.25));
  const int previous = orb_serv_set_num_threads_local(3);
  // The 64-bit names call the 64-bit drivers with the caller's own integers.
  std::vector<T> y = y0;
  const std::vector<cld> want = answers(L1Form::Fortran64, n, x.data(), incx, y.data(), incy, alpha, beta);
  for (const L1Form form : {L1Form::Fortran32, L1Form::Cblas}) {
    SCOPED_TRACE(form == L1Form::Cblas ? "cblas" : "fortran32");
    std::vector<T> yf = y0;
    EXPECT_EQ(answers(form, n, x.data(), incx, yf.data(), incy, alpha, beta), want);
    for (size_t i = 0; i < yf.size(); ++i) ASSERT_EQ(wide(yf[i]), wide(y[i])) << i;
  }
  // Unconjugated and conjugated products differ for complex vectors.
  if constexpr (is_complex_v<T>) {
    EXPECT_NE(want[0], want[1]);
  }
  orb_serv_set_num_threads_local(previous);
}

TEST(Level1Names, NoArgumentIsReportedAndAMissingOneDoesNothing) {
  // Sizes and increments of any value are calls; nothing is reported.
  Reports reports;
  double x[4] = {1, 2, 3, 4}, y[4] = {5, 6, 7, 8};
  const int minus = -1, zero = 0, one = 1, four = 4;
  EXPECT_EQ(ddot_(&minus, x, &one, y, &one), 0.0);
  EXPECT_EQ(dnrm2_(&four, x, &zero), 0.0);
  EXPECT_EQ(cblas_idamax(0, x, 1), 0u);  // 0-based, yet 0 for an empty vector too
  EXPECT_EQ(ddot_(nullptr, x, &four, y, &four), 0.0);
  daxpby_(&four, nullptr, x, &four, nullptr, y, &four);
  cblas_dscal(4, 2.0, x, -1);
  EXPECT_EQ(x[0], 1.0);
  EXPECT_EQ(y[0], 5.0);
  EXPECT_TRUE(Reports::taken().empty());
}

// The scalar and mixed-precision routines under a name of each form.
TEST(Level1Names, ScalarAndMixedPrecisionRoutines) {
  double a = 3, b = 4, c = 0, s = 0;
  drotg_(&a, &b, &c, &s);
  EXPECT_EQ(std::make_tuple(a, c, s), std::make_tuple(5.0, 0.6, 0.8));
  ORB_Complex16 za = {3, 0}, zb = {4, 0}, zs = {};
  zrotg_64_(&za, &zb, &c, &zs);
  EXPECT_EQ(std::make_tuple(za.real, c, zs.real), std::make_tuple(5.0, 0.6, 0.8));
  float fa = 3, fb = 4, fc = 0, fs = 0;
  cblas_srotg(&fa, &fb, &fc, &fs);
  EXPECT_EQ(fa, 5.0f);
  // Accumulated in double: 1e8 + 1 - 1e8 is 1 there, 0 in float.
  const float x[3] = {1e8f, 1, -1e8f}, ones[3] = {1, 1, 1}, sb = 0.5f;
  const int n = 3, inc = 1;
  const int64_t n64 = 3, inc64 = 1;
  EXPECT_EQ(sdsdot_(&n, &sb, x, &inc, ones, &inc), 1.5f);
  EXPECT_EQ(dsdot_64_(&n64, x, &inc64, ones, &inc64), 1.0);
  EXPECT_EQ(cblas_dsdot(3, x, 1, ones, 1), 1.0);
  EXPECT_EQ(cblas_sdsdot(0, 2.5f, x, 1, ones, 1), 2.5f);
  const ORB_Complex8 z8 = {3, -4};
  const ORB_Complex16 z16 = {-1.5, 2};
  EXPECT_EQ(SCABS1(&z8), 7.0f);
  EXPECT_EQ(cblas_dcabs1(&z16), 3.5);
  EXPECT_EQ(lsame_("a", "A"), 1);
  EXPECT_EQ(lsame_("a", "b"), 0);
}

}  // namespace
}  // namespace orb::test
