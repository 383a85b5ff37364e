// ?getrf_ (32-bit integers), ?getrf_64_ and the upper-case spelling: the
// driver's factorization through each, and the argument reports in the
// standard order.  Debian's LAPACK test program exercises the 32-bit names
// further (tests/client).
#include <gtest/gtest.h>
#include <orb/internal/orb_lapack_kernels.h>
#include <orb/orb_service.h>

#include "../blas/interpose.hpp"
#include "dense.hpp"
#include "hooks.hpp"

#include <cstring>

extern "C" {
void dgetrf_(const int *, const int *, double *, const int *, int *, int *);
void zgetrf_64_(const int64_t *, const int64_t *, ORB_Complex16 *, const int64_t *, int64_t *, int64_t *);
void SGETRF(const int *, const int *, float *, const int *, int *, int *);
}

namespace orb::test {
namespace {

//! Factors a 40 x 30 matrix through `call` (its integers as I) and through the
//! core's sequential routine; with one thread the two agree bit for bit.
template <class T, class I, class Core, class Call>
void expect_same_as_core(Core core, Call call) {
  const Budget one(1);
  const ORB_INT m = 40, n = 30, lda = 41;
  std::vector<T> a = random_matrix<T>(m, n, lda, 3), b = a;
  std::vector<ORB_INT> core_piv(n);
  std::vector<I> piv(n);
  ORB_INT core_info = -1;
  I info = -1;
  core(&m, &n, a.data(), &lda, core_piv.data(), &core_info);
  const I mi = m, ni = n, ldai = lda;
  call(&mi, &ni, b.data(), &ldai, piv.data(), &info);
  EXPECT_EQ(info, core_info);
  for (ORB_INT i = 0; i < n; ++i) EXPECT_EQ(piv[i], core_piv[i]) << i;
  EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(T)), 0);
}

TEST(GetrfNames, FactorAsTheCoreRoutine) {
  expect_same_as_core<double, int>(orb_lapack_xdgetrf, dgetrf_);
  expect_same_as_core<ORB_Complex16, int64_t>(orb_lapack_xzgetrf, zgetrf_64_);
  expect_same_as_core<float, int>(orb_lapack_xsgetrf, SGETRF);
}

TEST(GetrfNames, ReportTheFirstIllegalArgument) {
  struct Case {
    int m, n, lda;
    bool no_a;
    int position;
  };
  for (const Case c : {Case{-1, -1, 0, false, 1}, Case{3, -1, 3, false, 2}, Case{3, 2, 2, false, 4},
                       Case{3, 2, 3, true, 3}, Case{0, 2, 1, true, 0}}) {
    const Reports reports;
    std::vector<double> a(6, 7.0);
    std::vector<int> piv(2, -7);
    int info = 99;
    dgetrf_(&c.m, &c.n, c.no_a ? nullptr : a.data(), &c.lda, piv.data(), &info);
    EXPECT_EQ(info, -c.position);
    const Reports::Log expected = c.position ? Reports::Log{{"DGETRF", c.position}} : Reports::Log{};
    EXPECT_EQ(Reports::taken(), expected);
    EXPECT_EQ(a, std::vector<double>(6, 7.0));
    EXPECT_EQ(piv, std::vector<int>(2, -7));
  }
}

}  // namespace
}  // namespace orb::test
