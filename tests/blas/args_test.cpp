// Illegal arguments: reported once, with the standard parameter number, and
// nothing written, whether the call meets the kernel or a threaded driver.
#include <orb/internal/orb_kernels.h>
#include "hooks.hpp"
#include "interpose.hpp"

#include <gtest/gtest.h>

namespace orb::test {
namespace {

// The threaded driver checks before it reads the budget, so one budget (4, which
// would cut) stands for all.
enum class Entry { kernel, budget4, lp64 };

struct BadGemm {
  const char *what;
  char ta, tb;
  ORB_INT m, n, k, lda, ldb, ldc;
  int info;
};

void PrintTo(const BadGemm &c, std::ostream *os) { *os << c.what; }
void PrintTo(Entry e, std::ostream *os) {
  static const char *const names[] = {"kernel", "budget4", "lp64"};
  *os << names[static_cast<int>(e)];
}

class GemmArgs : public ::testing::TestWithParam<std::tuple<BadGemm, Entry>> {};

TEST_P(GemmArgs, ReportsTheFirstIllegalArgumentOnceAndWritesNothing) {
  const auto [bad, entry] = GetParam();
  const std::vector<double> a(4096, 1.0), b(4096, 1.0);
  std::vector<double> c(4096, 3.0);
  const double alpha = 1.0, beta = 0.0;
  Reports reports;
  Budget budget(entry == Entry::budget4 ? 4 : 1);
  if (entry == Entry::kernel) {
    orb_blas_xdgemm(&bad.ta, &bad.tb, &bad.m, &bad.n, &bad.k, &alpha, a.data(), &bad.lda, b.data(), &bad.ldb,
                    &beta, c.data(), &bad.ldc);
  } else if (entry == Entry::lp64) {
    const int m = bad.m, n = bad.n, k = bad.k, lda = bad.lda, ldb = bad.ldb, ldc = bad.ldc;
    orb_blas_lp64_dgemm(&bad.ta, &bad.tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  } else {
    orb_blas_dgemm(&bad.ta, &bad.tb, &bad.m, &bad.n, &bad.k, &alpha, a.data(), &bad.lda, b.data(), &bad.ldb,
                   &beta, c.data(), &bad.ldc);
  }
  EXPECT_EQ(Reports::taken(), (Reports::Log{{"DGEMM", bad.info}}));
  EXPECT_EQ(c, std::vector<double>(4096, 3.0));
}

// Sizes that would pass the check piece by piece: row blocks of 100 fit ldc = 150.
const BadGemm kBadGemm[] = {
    {"transa", 'X', 'N', 200, 64, 8, 200, 8, 200, 1},   {"transa_matvec", 'x', 'N', 60, 1, 8, 60, 8, 60, 1},
    {"transb", 'N', 'R', 200, 64, 8, 200, 8, 200, 2},   {"m", 'N', 'N', -1, 64, 8, 200, 8, 200, 3},
    {"n", 'N', 'N', 200, -5, 8, 200, 8, 200, 4},        {"k", 'N', 'N', 200, 64, -1, 200, 8, 200, 5},
    {"lda_n", 'N', 'N', 200, 64, 8, 199, 8, 200, 8},    {"lda_t", 'T', 'N', 200, 64, 8, 7, 8, 200, 8},
    {"ldb_n", 'N', 'N', 200, 64, 8, 200, 7, 200, 10},   {"ldb_t", 'N', 'C', 200, 64, 8, 200, 63, 200, 10},
    {"ldc", 'N', 'N', 200, 16, 8, 200, 8, 150, 13},     {"ldc_zero", 'N', 'N', 0, 16, 8, 1, 8, 0, 13},
};

std::string case_name(const ::testing::TestParamInfo<std::tuple<BadGemm, Entry>> &info) {
  return std::string(std::get<0>(info.param).what) + "_" + ::testing::PrintToString(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Dgemm, GemmArgs,
                         ::testing::Combine(::testing::ValuesIn(kBadGemm),
                                            ::testing::Values(Entry::kernel, Entry::budget4, Entry::lp64)),
                         case_name);

TEST(BlasArgs, EveryPrecisionReportsUnderItsOwnName) {
  Reports reports;
  const ORB_INT m = 4, n = 4, k = 4, bad_ld = 2, ld = 4, inc = 1, zero_inc = 0;
  float fs[16] = {}, f1 = 1;
  double ds[16] = {}, d1 = 1;
  ORB_Complex8 cs[16] = {}, c1 = {1, 0};
  ORB_Complex16 zs[16] = {}, z1 = {1, 0};
  orb_blas_sgemm("N", "N", &m, &n, &k, &f1, fs, &ld, fs, &ld, &f1, fs, &bad_ld);
  orb_blas_cgemm("N", "N", &m, &n, &k, &c1, cs, &bad_ld, cs, &ld, &c1, cs, &ld);
  orb_blas_zgemm("N", "Z", &m, &n, &k, &z1, zs, &ld, zs, &ld, &z1, zs, &ld);
  orb_blas_dgemv("N", &m, &n, &d1, ds, &ld, ds, &zero_inc, &d1, ds, &inc);
  orb_blas_zgemv("N", &m, &n, &z1, zs, &ld, zs, &inc, &z1, zs, &zero_inc);
  orb_blas_lp64_sgemv("Y", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  orb_blas_dgemm("N", "N", nullptr, &n, &k, &d1, ds, &ld, ds, &ld, &d1, ds, &ld);
  const Reports::Log expected = {{"SGEMM", 13}, {"CGEMM", 8}, {"ZGEMM", 2}, {"DGEMV", 8},
                                 {"ZGEMV", 11}, {"SGEMV", 1},  {"DGEMM", 3}};
  EXPECT_EQ(Reports::taken(), expected);
}

}  // namespace
}  // namespace orb::test
