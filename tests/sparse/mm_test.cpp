// The product with several right-hand sides, Y := alpha op(A) X + beta Y, in
// both layouts against the dense reference: every format, a descriptor of
// each family, 1, 3 and 19 right-hand sides (more than one block of 16),
// padded leading dimensions whose padding must stay, and the checks that
// answer before anything is written.
#include <orb/orb_sparse.h>

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace orb::test {
namespace {

template <class S>
class SparseMm : public ::testing::Test {};
TYPED_TEST_SUITE(SparseMm, SparseTypes, SparseName);

TYPED_TEST(SparseMm, EveryFormatLayoutAndWidth) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const orb_sparse_descr descriptors[] = {
      {ORB_SPARSE_GENERAL, 0, 0},
      {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT},
  };
  uint64_t seed = 9000;
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow})
    for (const orb_sparse_descr &d : descriptors)
      for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T, ORB_SPARSE_OP_C})
        for (const bool row : {false, true})
          for (const int64_t columns : {1, 3, 19}) {
            const int64_t b = f == kBsrRow ? 2 : 1;
            const bool general = d.type == ORB_SPARSE_GENERAL;
            const int64_t rows = general ? 10 : 8, cols = general ? 6 : 8;
            const std::vector<T> s = stored_matrix<T>(rows, cols, b, ++seed);
            const std::vector<T> m = described_matrix(s, rows, cols, b, d);
            SparseArrays<T, I> a;
            orb_sparse_matrix A = nullptr;
            ASSERT_EQ((make_handle<T, I>)(f, a, s, rows, cols, b, static_cast<int>(seed % 2), &A), ORB_SPARSE_OK);
            const char t = op == ORB_SPARSE_OP_N ? 'N' : op == ORB_SPARSE_OP_T ? 'T' : 'C';
            const int64_t lenx = op == ORB_SPARSE_OP_N ? cols : rows, leny = op == ORB_SPARSE_OP_N ? rows : cols;
            ORB_INT ldx = 0, ldy = 0;
            const std::vector<T> x = operand<T>(row, lenx, columns, 2, ldx, seed);
            std::vector<T> y0 = operand<T>(row, leny, columns, 3, ldy, seed + 1);
            const bool beta_zero = seed % 3 == 0;
            // beta 0: every entry of Y is NaN, never read; the padding stays as it was.
            const int64_t along = row ? columns : leny, across = row ? leny : columns;
            for (int64_t j = 0; j < across && beta_zero; ++j)
              for (int64_t i = 0; i < along; ++i) y0[i + j * ldy] = narrow<T>(cld(NAN, NAN));
            std::vector<T> y = y0;
            const T alpha = narrow<T>(cld(0.5, 1)), beta = narrow<T>(beta_zero ? cld(0) : cld(-1, 0.5));
            const int layout = row ? ORB_SPARSE_BLOCK_ROW_MAJOR : ORB_SPARSE_BLOCK_COL_MAJOR;
            ASSERT_EQ((SparseApi<T, I>::mm)(op, alpha, A, d, layout, x.data(), columns, ldx, beta, y.data(), ldy),
                      ORB_SPARSE_OK);
            const std::string where = "format " + std::to_string(f) + " type " + std::to_string(d.type) + " op " +
                                      t + (row ? " row" : " col") + " columns " + std::to_string(columns);
            // Row-major Y^T = X^T op(M)^T + beta Y^T, the column-major product of the transposes.
            const char back = op == ORB_SPARSE_OP_N ? 'T' : op == ORB_SPARSE_OP_T ? 'N' : 'R';
            EXPECT_TRUE(row ? matches_gemm(y, y0, 'N', back, columns, leny, lenx, alpha, x, ldx, m, rows, beta, ldy)
                            : matches_gemm(y, y0, t, 'N', leny, columns, lenx, alpha, m, rows, x, ldx, beta, ldy))
                << where;
            orb_sparse_destroy(A);
          }
}

// Statuses before any write: null pointers, codes, counts and leading
// dimensions; no right-hand sides is a call that does nothing.
TEST(SparseMm, ChecksBeforeWriting) {
  const int64_t n = 6;
  SparseArrays<double, int32_t> a;
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((make_handle<double, int32_t>)(kCsr3, a, stored_matrix<double>(n, n, 1, 5), n, n, 1, 0, &A), ORB_SPARSE_OK);
  const std::vector<double> x(n * 3, 1.0);
  std::vector<double> y(n * 3, 5.0);
  const orb_sparse_descr g{ORB_SPARSE_GENERAL, 0, 0};
  const int col = ORB_SPARSE_BLOCK_COL_MAJOR, row = ORB_SPARSE_BLOCK_ROW_MAJOR;
  EXPECT_EQ(orb_sparse_d_mm(10, 1, nullptr, g, col, x.data(), 3, n, 0, y.data(), n), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, col, x.data(), 3, n, 0, nullptr, n), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_d_mm(13, 1, A, g, col, x.data(), 3, n, 0, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, 7, x.data(), 3, n, 0, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, col, x.data(), -1, n, 0, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, col, x.data(), 3, n - 1, 0, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, row, x.data(), 3, 3, 0, y.data(), 2), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, col, x.data(), int64_t{1} << 40, n, 0, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_s_mm(10, 1, A, g, col, nullptr, 3, n, 0, nullptr, n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_d_mm(10, 1, A, g, col, nullptr, 0, n, 0, nullptr, n), ORB_SPARSE_OK);
  EXPECT_EQ(y, std::vector<double>(n * 3, 5.0));
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
