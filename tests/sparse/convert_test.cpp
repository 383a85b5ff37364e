// Copies and conversions of sparse handles: the arrays they hand back hold
// op(A) exactly, in every source format, value type and index width; they
// own those arrays (the caller's may change or go); bad requests make nothing.
#include <orb/orb_sparse.h>

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <string>

namespace orb::test {
namespace {

template <class S>
class SparseConvert : public ::testing::Test {};
TYPED_TEST_SUITE(SparseConvert, SparseTypes, SparseName);

//! The dense column-major matrix (in scalars) of what a handle exports.
template <class T, class I>
std::vector<T> dense_of(orb_sparse_matrix A, int64_t *rows_out, int64_t *cols_out, int *format_out) {
  using Api = SparseApi<T, I>;
  int format = -1, base = -1;
  I rows = 0, cols = 0, b = 0, nnz = 0;
  I *rs = nullptr, *re = nullptr, *ci = nullptr;
  T *v = nullptr;
  std::vector<T> m;
  if (Api::exported(A, &format, &base, &rows, &cols, &b, &rs, &re, &ci, &v) == ORB_SPARSE_OK) {
    const bool by_columns = format == ORB_SPARSE_CSC;
    const int64_t n = rows * b, lines = by_columns ? cols : rows;
    m.assign(static_cast<size_t>(rows * b * cols * b), narrow<T>(0));
    for (int64_t l = 0; l < lines; ++l)
      for (int64_t k = rs[l] - base; k < re[l] - base; ++k)
        for (int64_t e = 0; e < int64_t{b} * b; ++e) {
          // Blocks are read row-major here; a column-major result is
          // compared through its transpose by the caller.
          const int64_t i = (by_columns ? ci[k] - base : l) * b + e / b;
          const int64_t j = (by_columns ? l : ci[k] - base) * b + e % b;
          m[i + j * n] = narrow<T>(wide(m[i + j * n]) + wide(v[k * b * b + e]));
        }
  } else {
    I *ri = nullptr;
    EXPECT_EQ(Api::exported_coo(A, &base, &rows, &cols, &nnz, &ri, &ci, &v), ORB_SPARSE_OK);
    format = ORB_SPARSE_COO;
    b = 1;
    m.assign(static_cast<size_t>(rows * cols), narrow<T>(0));
    for (int64_t k = 0; k < nnz; ++k)
      m[(ri[k] - base) + (ci[k] - base) * rows] = narrow<T>(wide(m[(ri[k] - base) + (ci[k] - base) * rows]) +
                                                            wide(v[k]));
  }
  *rows_out = int64_t{rows} * b;
  *cols_out = int64_t{cols} * b;
  *format_out = format;
  return m;
}

//! op(s) of a rows x cols column-major matrix; with `blocks_of` > 1, each
//! b x b block of the result transposed in place (what a column-major block
//! reads as when it is read row-major).
template <class T>
std::vector<T> op_of(const std::vector<T> &s, int64_t rows, int64_t cols, int op, int64_t blocks_of = 1) {
  const bool n = op == ORB_SPARSE_OP_N;
  const int64_t r = n ? rows : cols, c = n ? cols : rows;
  std::vector<T> out(s.size());
  for (int64_t j = 0; j < c; ++j)
    for (int64_t i = 0; i < r; ++i) {
      const cld v = n ? wide(s[i + j * rows]) : wide(s[j + i * rows]);
      const int64_t b = blocks_of, bi = i / b * b + j % b, bj = j / b * b + i % b;
      out[(b > 1 ? bi : i) + (b > 1 ? bj : j) * r] = narrow<T>(op == ORB_SPARSE_OP_C ? std::conj(v) : v);
    }
  return out;
}

template <class T>
::testing::AssertionResult same(const std::vector<T> &got, const std::vector<T> &want) {
  if (got.size() != want.size()) return ::testing::AssertionFailure() << "size " << got.size();
  for (size_t i = 0; i < got.size(); ++i)
    if (wide(got[i]) != wide(want[i])) return ::testing::AssertionFailure() << "entry " << i;
  return ::testing::AssertionSuccess();
}

// A copy keeps the format and the matrix after the source's arrays are
// overwritten and its handle destroyed; its product is the source's.
TYPED_TEST(SparseConvert, CopyOwnsItsArrays) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const int64_t rows = 8, cols = 6;
  uint64_t seed = 7000;
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow, kBsrCol})
    for (const int base : {0, 1}) {
      const int64_t b = f == kBsrRow || f == kBsrCol ? 2 : 1;
      const std::vector<T> s = stored_matrix<T>(rows, cols, b, ++seed);
      SparseArrays<T, I> a;
      orb_sparse_matrix A = nullptr, B = nullptr;
      ASSERT_EQ((make_handle<T, I>)(f, a, s, rows, cols, b, base, &A), ORB_SPARSE_OK);
      ASSERT_EQ(orb_sparse_copy(A, &B), ORB_SPARSE_OK);
      int64_t r = 0, c = 0;
      int fa = -1, fb = -1;
      const std::vector<T> before = (dense_of<T, I>)(A, &r, &c, &fa);
      for (T &v : a.values) v = narrow<T>(99);
      orb_sparse_destroy(A);
      const std::vector<T> after = (dense_of<T, I>)(B, &r, &c, &fb);
      EXPECT_EQ(fa, fb) << "format " << f;
      EXPECT_TRUE(same(after, before)) << "format " << f << " base " << base;
      const std::vector<T> x = random_matrix<T>(cols, 1, cols, seed);
      std::vector<T> y0(rows, narrow<T>(3)), y = y0;
      const orb_sparse_descr g{ORB_SPARSE_GENERAL, 0, 0};
      ASSERT_EQ((SparseApi<T, I>::mv)(ORB_SPARSE_OP_N, narrow<T>(1), B, g, x.data(), narrow<T>(0), y.data()),
                ORB_SPARSE_OK);
      EXPECT_TRUE(matches_gemv(y, y0, 'N', rows, cols, narrow<T>(1), s, rows, x, 1, narrow<T>(0), 1));
      orb_sparse_destroy(B);
    }
}

// Conversions to CSR of A, A^T and A^H, and to BSR of 2 x 2 and 3 x 3 blocks
// in both layouts, from every format: the exported arrays hold op(A).
TYPED_TEST(SparseConvert, ToCsrAndBsrFromEveryFormat) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const int64_t rows = 12, cols = 6;
  uint64_t seed = 8000;
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow, kBsrCol})
    for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T, ORB_SPARSE_OP_C}) {
      const int base = static_cast<int>(seed % 2);
      const int64_t b = f == kBsrRow || f == kBsrCol ? 2 : 1;
      const std::vector<T> s = stored_matrix<T>(rows, cols, b, ++seed);
      SparseArrays<T, I> a;
      orb_sparse_matrix A = nullptr;
      ASSERT_EQ((make_handle<T, I>)(f, a, s, rows, cols, b, base, &A), ORB_SPARSE_OK);
      const std::string where = "format " + std::to_string(f) + " op " + std::to_string(op);
      orb_sparse_matrix B = nullptr;
      int64_t r = 0, c = 0;
      int format = -1;
      ASSERT_EQ(orb_sparse_convert_csr(A, op, &B), ORB_SPARSE_OK) << where;
      EXPECT_TRUE(same((dense_of<T, I>)(B, &r, &c, &format), op_of(s, rows, cols, op))) << where;
      EXPECT_EQ(format, ORB_SPARSE_CSR);
      EXPECT_EQ(r, op == ORB_SPARSE_OP_N ? rows : cols);
      orb_sparse_destroy(B);
      for (const int64_t block : {2, 3})
        for (const int layout : {ORB_SPARSE_BLOCK_ROW_MAJOR, ORB_SPARSE_BLOCK_COL_MAJOR}) {
          ASSERT_EQ(orb_sparse_convert_bsr(A, block, layout, op, &B), ORB_SPARSE_OK) << where;
          const int64_t read_as = layout == ORB_SPARSE_BLOCK_COL_MAJOR ? block : 1;
          EXPECT_TRUE(same((dense_of<T, I>)(B, &r, &c, &format), op_of(s, rows, cols, op, read_as)))
              << where << " block " << block << " layout " << layout;
          EXPECT_EQ(format, ORB_SPARSE_BSR);
          // The BSR handle's product is op(A)'s.
          const std::vector<T> x = random_matrix<T>(c, 1, c, seed);
          std::vector<T> y0(r, narrow<T>(1)), y = y0;
          const orb_sparse_descr g{ORB_SPARSE_GENERAL, 0, 0};
          ASSERT_EQ((SparseApi<T, I>::mv)(ORB_SPARSE_OP_N, narrow<T>(2), B, g, x.data(), narrow<T>(1), y.data()),
                    ORB_SPARSE_OK);
          EXPECT_TRUE(matches_gemv(y, y0, op == ORB_SPARSE_OP_N ? 'N' : op == ORB_SPARSE_OP_T ? 'T' : 'C', rows,
                                   cols, narrow<T>(2), s, rows, x, 1, narrow<T>(1), 1))
              << where;
          orb_sparse_destroy(B);
        }
      orb_sparse_destroy(A);
    }
}

// A COO entry given twice counts twice: as two CSR entries, and summed into
// one BSR block.
TEST(SparseConvert, EntriesGivenTwiceAddUp) {
  int32_t row[] = {0, 1, 0}, col[] = {1, 0, 1};
  double val[] = {2, 5, 3};
  orb_sparse_matrix A = nullptr, B = nullptr;
  ASSERT_EQ(orb_sparse_d_create_coo(&A, 0, 2, 2, 3, row, col, val), ORB_SPARSE_OK);
  int64_t r = 0, c = 0;
  int format = -1;
  for (const bool blocks : {false, true}) {
    ASSERT_EQ(blocks ? orb_sparse_convert_bsr(A, 2, ORB_SPARSE_BLOCK_ROW_MAJOR, ORB_SPARSE_OP_N, &B)
                     : orb_sparse_convert_csr(A, ORB_SPARSE_OP_N, &B),
              ORB_SPARSE_OK);
    EXPECT_EQ((dense_of<double, int32_t>)(B, &r, &c, &format), (std::vector<double>{0, 5, 5, 0})) << blocks;
    orb_sparse_destroy(B);
  }
  orb_sparse_destroy(A);
}

// Bad requests answer their status and leave *B as it was.
TEST(SparseConvert, BadRequestsMakeNothing) {
  using Api = SparseApi<double, int32_t>;
  const std::vector<double> s = stored_matrix<double>(6, 4, 1, 3);
  SparseArrays<double, int32_t> a;
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((make_handle<double, int32_t>)(kCsr3, a, s, 6, 4, 1, 0, &A), ORB_SPARSE_OK);
  auto *const untouched = reinterpret_cast<orb_sparse_matrix>(&a);
  orb_sparse_matrix B = untouched;
  EXPECT_EQ(orb_sparse_copy(nullptr, &B), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_copy(A, nullptr), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_convert_csr(A, 9, &B), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_convert_bsr(A, 3, ORB_SPARSE_BLOCK_ROW_MAJOR, ORB_SPARSE_OP_N, &B), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_convert_bsr(A, 2, 7, ORB_SPARSE_OP_N, &B), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_convert_bsr(A, 0, ORB_SPARSE_BLOCK_ROW_MAJOR, ORB_SPARSE_OP_N, &B), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(B, untouched);
  // Export asks for the handle's own kind, type and width.
  int base = 0;
  int32_t r = 0, c = 0, nnz = 0, *ri = nullptr, *ci = nullptr;
  double *v = nullptr;
  EXPECT_EQ(Api::exported_coo(A, &base, &r, &c, &nnz, &ri, &ci, &v), ORB_SPARSE_UNSUPPORTED);
  EXPECT_EQ((SparseApi<double, int64_t>::exported_coo)(A, &base, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            ORB_SPARSE_NULL_POINTER);
  int64_t r8 = 0, c8 = 0, n8 = 0, *ri8 = nullptr, *ci8 = nullptr;
  EXPECT_EQ((SparseApi<double, int64_t>::exported_coo)(A, &base, &r8, &c8, &n8, &ri8, &ci8, &v), ORB_SPARSE_BAD_VALUE);
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
