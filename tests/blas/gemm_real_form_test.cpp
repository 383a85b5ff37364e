// The complex product through the real kernel: every operand form and beta
// against the naive product, with blocks small enough that every edge of the
// blocking is crossed; its scratch limit; concurrent callers; the route.
#include "blas/gemm_real_form.hpp"
#include "blas/gemm_route.hpp"
#include "dense.hpp"

#include <orb/internal/orb_kernels.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

// The real form's real products, which the core keeps hidden, go to the
// core's exported kernels here, and are counted.
namespace {
std::atomic<int> real_products{0};
}
namespace orb::core {
template <class T>
void gemm_legal(const char *ta, const char *tb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k, const T *alpha,
                const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
                const ORB_INT *ldc) {
  ++real_products;
  if constexpr (std::is_same_v<T, float>)
    orb_blas_xsgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  else
    orb_blas_xdgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
#define ORB_TEST_GEMM_LEGAL(T)                                                                                  \
  template void gemm_legal<T>(const char *, const char *, const ORB_INT *, const ORB_INT *, const ORB_INT *, \
                              const T *, const T *, const ORB_INT *, const T *, const ORB_INT *, const T *, T *, \
                              const ORB_INT *);
ORB_TEST_GEMM_LEGAL(float)
ORB_TEST_GEMM_LEGAL(double)
}  // namespace orb::core

namespace orb::test {
namespace {

using core::RealFormBlocks;

enum class Beta { real, complex, zero };

template <class T>
::testing::AssertionResult real_form_matches(char ta, char tb, Beta kind, ORB_INT m, ORB_INT n, ORB_INT k,
                                             RealFormBlocks blocks, int seed = 0) {
  const ORB_INT lda = (ta == 'N' ? m : k) + 2, ldb = (tb == 'N' ? k : n) + 1, ldc = m + 3;
  const auto a = random_matrix<T>(ta == 'N' ? m : k, ta == 'N' ? k : m, lda, 11 + seed),
             b = random_matrix<T>(tb == 'N' ? k : n, tb == 'N' ? n : k, ldb, 12 + seed);
  auto c0 = random_matrix<T>(m, n, ldc, 13 + seed);
  const T alpha = narrow<T>(cld(0.75, -1.25));
  const T beta = narrow<T>(kind == Beta::real ? cld(-0.5, 0) : kind == Beta::complex ? cld(0.5, 2) : cld(0, 0));
  if (kind == Beta::zero)  // beta = 0 must not read C
    for (ORB_INT j = 0; j < n; ++j)
      for (ORB_INT i = 0; i < m; ++i) c0[i + j * ldc] = narrow<T>(cld(std::numeric_limits<double>::quiet_NaN(), 0));
  auto c = c0;
  if (!core::gemm_real_form(ta, tb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, c.data(), ldc, blocks))
    return ::testing::AssertionFailure() << "no scratch";
  return matches_gemm(c, c0, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, ldc);
}

using FormCase = std::tuple<char, char, Beta>;
class RealForm : public ::testing::TestWithParam<FormCase> {};

// 7 x 9 x 11 in blocks of 3 rows, 5 depth and 4 columns: partial blocks on
// every side, several depth blocks adding into C.
TEST_P(RealForm, IsTheComplexProduct) {
  const auto [ta, tb, beta] = GetParam();
  const RealFormBlocks small{3, 5, 4};
  real_products = 0;
  EXPECT_TRUE(real_form_matches<ORB_Complex16>(ta, tb, beta, 7, 9, 11, small));
  EXPECT_EQ(real_products, (tb == 'N' ? 1 : 3) * 3 * 3);  // column blocks x depth blocks x row blocks
  EXPECT_TRUE(real_form_matches<ORB_Complex8>(ta, tb, beta, 7, 9, 11, small));
  EXPECT_TRUE(real_form_matches<ORB_Complex16>(ta, tb, beta, 7, 9, 11, core::kRealFormBlocks));
}

INSTANTIATE_TEST_SUITE_P(Operands, RealForm,
                         ::testing::Combine(::testing::Values('N', 'T', 'C'), ::testing::Values('N', 'T', 'C'),
                                            ::testing::Values(Beta::real, Beta::complex, Beta::zero)));

TEST(RealFormScratch, AboveItsLimitLeavesCToTheCaller) {
  // 4 x 1100 x 1100 doubles of expanded A: more than a thread may keep.
  const RealFormBlocks huge{1 << 20, 1 << 20, 1};
  const ORB_INT m = 1100, n = 1, k = 1100;
  std::vector<ORB_Complex16> a(m * k, {1, 1}), b(k, {1, 1}), c(m, {3, 4});
  const ORB_Complex16 one{1, 0};
  EXPECT_FALSE(core::gemm_real_form('N', 'N', m, n, k, one, a.data(), m, b.data(), k, one, c.data(), m, huge));
  for (const auto &x : c) EXPECT_TRUE(x.real == 3 && x.imag == 4);
}

// Each thread keeps its own scratch: four callers of different shapes at once.
TEST(RealFormScratch, IsEachThreadsOwn) {
  std::vector<int> ok(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &ok] {
      for (int round = 0; round < 3; ++round)
        ok[t] += bool(real_form_matches<ORB_Complex16>('N', t % 2 ? 'C' : 'N', Beta::real, 40 + 9 * t, 30 + round,
                                                       50 - 7 * t, {16 + t, 24, 12}, t));
    });
  for (auto &th : threads) th.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(ok[t], 3) << "thread " << t;
}

}  // namespace
}  // namespace orb::test
