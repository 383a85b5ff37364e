// Sparse products against the dense reference: every format, operation and
// descriptor, in every value type and index width, with zero- and one-based
// indices, before and after the analysis; the stored entries a descriptor
// does not read carry values that would show if they were read.
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_sparse.h>

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace orb::test {
namespace {

template <class S>
class SparseResults : public ::testing::Test {};
TYPED_TEST_SUITE(SparseResults, SparseTypes, SparseName);

//! One product checked against alpha op(M) x + beta y0, then again after the
//! handle analysed that product.
template <class T, class I>
void check_product(Format f, int base, int op, orb_sparse_descr d, cld al, cld be, uint64_t seed) {
  const bool general = d.type == ORB_SPARSE_GENERAL;
  const int64_t b = f == kBsrRow || f == kBsrCol ? 2 : 1;
  const int64_t rows = general ? 10 : 8, cols = general ? 6 * b : 8;
  std::vector<T> s = stored_matrix<T>(rows, cols, b, seed);
  // A symmetric matrix stored in full is symmetric in its arrays too (the
  // COO descriptor, which names only a triangle, reads the upper one).
  if (d.fill == ORB_SPARSE_FULL && (d.type == ORB_SPARSE_SYMMETRIC || d.type == ORB_SPARSE_HERMITIAN))
    s = described_matrix(s, rows, cols, b, {d.type, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT});
  const std::vector<T> m = described_matrix(s, rows, cols, b, d);
  const char t = op == ORB_SPARSE_OP_N ? 'N' : op == ORB_SPARSE_OP_T ? 'T' : 'C';
  const int64_t lenx = op == ORB_SPARSE_OP_N ? cols : rows, leny = op == ORB_SPARSE_OP_N ? rows : cols;
  const std::vector<T> x = random_matrix<T>(lenx, 1, lenx, seed + 1);
  std::vector<T> y0 = random_matrix<T>(leny, 1, leny, seed + 2);
  if (be == cld(0)) fill_nan(y0);
  const T alpha = narrow<T>(al), beta = narrow<T>(be);
  using Api = SparseApi<T, I>;
  SparseArrays<T, I> a;
  orb_sparse_matrix A = nullptr;
  const orb_sparse_status made = make_handle<T, I>(f, a, s, rows, cols, b, base, &A);
  ASSERT_EQ(made, ORB_SPARSE_OK);
  for (const bool analysed : {false, true}) {
    const std::string where = "format " + std::to_string(f) + " base " + std::to_string(base) + " op " +
                              std::to_string(op) + " type " + std::to_string(d.type) + " fill " +
                              std::to_string(d.fill) + " diag " + std::to_string(d.diag) +
                              (analysed ? " analysed" : "");
    if (analysed) {
      ASSERT_EQ(orb_sparse_set_mv_hint(A, op, d, 10), ORB_SPARSE_OK) << where;
      ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK) << where;
    }
    std::vector<T> y = y0;
    ASSERT_EQ(Api::mv(op, alpha, A, d, x.data(), beta, y.data()), ORB_SPARSE_OK) << where;
    EXPECT_TRUE(matches_gemv(y, y0, t, rows, cols, alpha, m, rows, x, 1, beta, 1)) << where;
  }
  orb_sparse_destroy(A);
}

TYPED_TEST(SparseResults, EveryFormatOperationAndDescriptor) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const orb_sparse_descr descriptors[] = {
      {ORB_SPARSE_GENERAL, 7, 0},
      {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_FULL, ORB_SPARSE_UNIT},
      {ORB_SPARSE_HERMITIAN, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_HERMITIAN, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_DIAGONAL, 0, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_DIAGONAL, 0, ORB_SPARSE_UNIT},
      {ORB_SPARSE_BLOCK_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_BLOCK_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_BLOCK_DIAGONAL, 0, ORB_SPARSE_UNIT},
  };
  uint64_t seed = 1;
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow, kBsrCol})
    for (const orb_sparse_descr &d : descriptors)
      for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T, ORB_SPARSE_OP_C})
        for (const int base : {0, 1}) {
          // beta cycles through 0 (y full of NaN, never read), 1 and a general value.
          const cld be = seed % 3 == 0 ? cld(0) : seed % 3 == 1 ? cld(1) : cld(0.5, -0.25);
          check_product<T, I>(f, base, op, d, cld(1.5, 0.5), be, seed++);
        }
}

// With copies allowed, the analysis of a general matrix converts it to the
// sliced layout the hint names (ESB, DIA) or the inspector picks, for the
// matrix or its transpose, and the products on those copies give the
// reference result; 17 rows leave the last slice of 8 one row.
TYPED_TEST(SparseResults, SlicedLayouts) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SparseApi<T, I>;
  const orb_sparse_descr g{ORB_SPARSE_GENERAL, 0, 0};
  const int64_t rows = 17, cols = 13;
  uint64_t seed = 500;
  for (const int choice : {sparse::kChooseEsb, sparse::kChooseDia, 0})
    for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T, ORB_SPARSE_OP_C}) {
      const std::vector<T> s = stored_matrix<T>(rows, cols, 1, ++seed);
      SparseArrays<T, I> a = compressed<T, I>(s, rows, cols, 1, false, false);
      orb_sparse_matrix A = nullptr;
      const orb_sparse_status made = Api::csr3(&A, 1, rows, cols, a.start.data(), a.index.data(), a.values.data());
      ASSERT_EQ(made, ORB_SPARSE_OK);
      ASSERT_EQ(orb_sparse_set_memory_hint(A, ORB_SPARSE_MEMORY_COPIES), ORB_SPARSE_OK);
      ASSERT_EQ(orb_sparse_set_mv_hint(A, op, g, 50), ORB_SPARSE_OK);
      auto *h = sparse::handle_cast<T, I>(A);
      h->pending_hints->format = choice;
      ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
      const auto *r = op == ORB_SPARSE_OP_N ? h->primary : h->transposed;
      if (choice == sparse::kChooseEsb) {
        EXPECT_NE(r->opt->esb, nullptr);
      }
      if (choice == sparse::kChooseDia) {
        EXPECT_NE(r->opt->dia, nullptr);
      }
      const int64_t lenx = op == ORB_SPARSE_OP_N ? cols : rows, leny = op == ORB_SPARSE_OP_N ? rows : cols;
      const std::vector<T> x = random_matrix<T>(lenx, 1, lenx, seed + 1);
      for (const cld be : {cld(0), cld(-0.5, 1)}) {
        std::vector<T> y0 = random_matrix<T>(leny, 1, leny, seed + 2);
        if (be == cld(0)) fill_nan(y0);
        std::vector<T> y = y0;
        ASSERT_EQ(Api::mv(op, narrow<T>(cld(2, -1)), A, g, x.data(), narrow<T>(be), y.data()), ORB_SPARSE_OK);
        const char t = op == ORB_SPARSE_OP_N ? 'N' : op == ORB_SPARSE_OP_T ? 'T' : 'C';
        EXPECT_TRUE(matches_gemv(y, y0, t, rows, cols, narrow<T>(cld(2, -1)), s, rows, x, 1, narrow<T>(be), 1))
            << "choice " << choice << " op " << op;
      }
      orb_sparse_destroy(A);
    }
}

// A matrix of 0 rows, or of 0 columns, takes the threaded paths and writes
// nothing it should not: y of length 0 stays, x of length 0 gives beta y.
TYPED_TEST(SparseResults, EmptyDimensions) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SparseApi<T, I>;
  I ptr[4] = {0, 0, 0, 0};
  T x[1] = {narrow<T>(1)};
  T y[3] = {narrow<T>(5), narrow<T>(6), narrow<T>(7)};
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(Api::csr3(&A, 0, 0, 3, ptr, nullptr, nullptr), ORB_SPARSE_OK);
  const orb_sparse_descr g{ORB_SPARSE_GENERAL, 0, 0};
  EXPECT_EQ(Api::mv(ORB_SPARSE_OP_N, narrow<T>(1), A, g, x, narrow<T>(0), y), ORB_SPARSE_OK);
  EXPECT_EQ(wide(y[0]), cld(5));
  // A^T x with no rows: y = beta y.
  EXPECT_EQ(Api::mv(ORB_SPARSE_OP_T, narrow<T>(1), A, g, x, narrow<T>(2), y), ORB_SPARSE_OK);
  EXPECT_EQ(wide(y[0]), cld(10));
  EXPECT_EQ(wide(y[2]), cld(14));
  orb_sparse_destroy(A);
  ASSERT_EQ(Api::csr3(&A, 0, 3, 0, ptr, nullptr, nullptr), ORB_SPARSE_OK);
  EXPECT_EQ(Api::mv(ORB_SPARSE_OP_N, narrow<T>(1), A, g, x, narrow<T>(2), y), ORB_SPARSE_OK);
  EXPECT_EQ(wide(y[0]), cld(20));
  EXPECT_EQ(wide(y[2]), cld(28));
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
