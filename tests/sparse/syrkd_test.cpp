// C := alpha A^T A + beta C from a CSR handle: against the dense reference in
// every value type, width and layout, on one thread (the core's kernel, seen
// through interposition) and several, with beta applied from each row's
// diagonal on, and the stated single-row cases.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/orb_service.h>
#include <orb/orb_sparse.h>

#include "hooks.hpp"
#include "sparse.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>

namespace orb::test {
namespace {
std::atomic<int> sequential_calls{0};
}
}  // namespace orb::test

using namespace orb::test;

#define ORB_TEST_SYRKD_KERNEL(name)                                                                              \
  extern "C" void orb_sparse_d_csr__g_t_syrkd_##name##_ker_i4(int32_t m, int32_t n, double alpha,               \
                                                              const double *val, const int32_t *col,            \
                                                              const int32_t *rs, const int32_t *re, int32_t base, \
                                                              double beta, double *c, int32_t ldc) {             \
    ++sequential_calls;                                                                                          \
    static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr__g_t_syrkd_##name##_ker_i4);                         \
    real(m, n, alpha, val, col, rs, re, base, beta, c, ldc);                                                     \
  }
ORB_TEST_SYRKD_KERNEL(c)
ORB_TEST_SYRKD_KERNEL(f)
ORB_TEST_SYRKD_KERNEL(alf_c)
ORB_TEST_SYRKD_KERNEL(alf_f)

namespace orb::test {
namespace {

template <class T>
orb_sparse_status syrkd(orb_sparse_matrix A, T alpha, T beta, T *c, int layout, int64_t ldc);
#define ORB_TEST_SYRKD(p, T)                                                                              \
  template <>                                                                                            \
  orb_sparse_status syrkd<T>(orb_sparse_matrix A, T alpha, T beta, T *c, int layout, int64_t ldc) {      \
    return orb_sparse_##p##_syrkd(A, alpha, beta, c, layout, ldc);                                       \
  }
ORB_TEST_SYRKD(s, float)
ORB_TEST_SYRKD(d, double)
ORB_TEST_SYRKD(c, ORB_Complex8)
ORB_TEST_SYRKD(z, ORB_Complex16)

template <class S>
class SparseSyrkd : public ::testing::Test {};
TYPED_TEST_SUITE(SparseSyrkd, SparseTypes, SparseName);

TYPED_TEST(SparseSyrkd, MatchesTheDenseProduct) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const int64_t m = 11, n = 7, ldc = n + 2;
  uint64_t seed = 300;
  for (const int threads : {1, 2})
    for (const int layout : {ORB_SPARSE_BLOCK_ROW_MAJOR, ORB_SPARSE_BLOCK_COL_MAJOR})
      for (const cld alpha : {cld(1), cld(2, -1)})
        for (const cld beta : {cld(0), cld(0.5, 0.5)}) {
          // The scalars as the value type holds them (real types drop the imaginary part).
          const cld al = wide(narrow<T>(alpha)), be = wide(narrow<T>(beta));
          const std::vector<T> s = stored_matrix<T>(m, n, 1, ++seed);
          SparseArrays<T, I> a = compressed<T, I>(s, m, n, 1, false, false);
          orb_sparse_matrix A = nullptr;
          const orb_sparse_status made =
              SparseApi<T, I>::csr3(&A, 1, m, n, a.start.data(), a.index.data(), a.values.data());
          ASSERT_EQ(made, ORB_SPARSE_OK);
          std::vector<T> c0 = random_matrix<T>(ldc * n, 1, ldc * n, seed + 1);
          const auto at = [&](int64_t r, int64_t col) {
            return layout == ORB_SPARSE_BLOCK_ROW_MAJOR ? r * ldc + col : r + col * ldc;
          };
          // beta 0 does not read the entries it clears.
          for (int64_t r = 0; r < n && be == cld(0); ++r)
            for (int64_t col = r; col < n; ++col) c0[at(r, col)] = narrow<T>(cld(NAN, NAN));
          std::vector<T> c = c0;
          const int previous = orb_serv_set_num_threads_local(threads);
          ASSERT_EQ(syrkd<T>(A, narrow<T>(al), narrow<T>(be), c.data(), layout, ldc), ORB_SPARSE_OK);
          orb_serv_set_num_threads_local(previous);
          for (int64_t r = 0; r < n; ++r)
            for (int64_t col = 0; col < n; ++col) {
              cld sum = 0;
              for (int64_t i = 0; i < m; ++i) sum += wide(s[i + r * m]) * wide(s[i + col * m]);
              const cld keep = col >= r ? (be == cld(0) ? cld(0) : be * wide(c0[at(r, col)])) : wide(c0[at(r, col)]);
              const cld want = keep + al * sum;
              ASSERT_LE(std::abs(wide(c[at(r, col)]) - want), 1e-4L * (1 + std::abs(want)))
                  << "(" << r << "," << col << ") threads " << threads << " layout " << layout;
            }
          // Padding between the lines stays.
          for (int64_t line = 0; line < n; ++line)
            for (int64_t pad = n; pad < ldc; ++pad) {
              const int64_t k = line * ldc + pad;
              ASSERT_EQ(wide(c[k]), wide(c0[k]));
            }
          orb_sparse_destroy(A);
        }
}

// One thread runs the core's sequential kernel and nothing else; a row with
// one entry v in column j adds v v to (j, j) once; a row with entries in
// columns 1 and 3 adds to (1, 3) and (3, 1); bad arguments are refused.
TEST(SparseSyrkdCases, SingleRowsAndTheSequentialKernel) {
  int32_t ptr[] = {0, 1, 3}, col[] = {2, 1, 3};
  double val[] = {3, 2, 5};
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_csr3(&A, 0, 2, 4, ptr, col, val), ORB_SPARSE_OK);
  for (const int threads : {1, 2}) {
    std::vector<double> c(16, 0.0);
    sequential_calls = 0;
    const int previous = orb_serv_set_num_threads_local(threads);
    ASSERT_EQ(orb_sparse_d_syrkd(A, 1.0, 0.0, c.data(), ORB_SPARSE_BLOCK_ROW_MAJOR, 4), ORB_SPARSE_OK);
    orb_serv_set_num_threads_local(previous);
    EXPECT_EQ(sequential_calls, threads == 1 ? 1 : 0);
    const std::vector<double> want = {0, 0, 0, 0, 0, 4, 0, 10, 0, 0, 9, 0, 0, 10, 0, 25};
    EXPECT_EQ(c, want) << threads;
  }
  std::vector<double> c(16);
  EXPECT_EQ(orb_sparse_d_syrkd(A, 1.0, 0.0, nullptr, ORB_SPARSE_BLOCK_ROW_MAJOR, 4), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_d_syrkd(A, 1.0, 0.0, c.data(), 7, 4), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_syrkd(A, 1.0, 0.0, c.data(), ORB_SPARSE_BLOCK_ROW_MAJOR, 3), ORB_SPARSE_BAD_VALUE);
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
