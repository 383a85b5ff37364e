// Row sorts: the stated outcomes of the in-place sort, values following
// their keys in every member, both sides of the cut to the iterative sort,
// and orb_sparse_order on the caller's arrays of every format, value type and
// index width.
#include "sparse/row_sort.hpp"

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace orb::test {
namespace {

//! A value that counts the exchanges made with it (a swap is two assignments
//! and a construction).
struct Counted {
  int v = 0;
  static int assignments;
  Counted() = default;
  Counted(int x) : v(x) {}
  Counted(const Counted &) = default;
  Counted &operator=(const Counted &o) {
    ++assignments;
    v = o.v;
    return *this;
  }
};
int Counted::assignments = 0;

TEST(RowSort, StatedOutcomes) {
  // 4 keys in reverse order: exchange passes alone, 3 + 2 + 1 exchanges.
  int32_t keys[] = {4, 3, 2, 1};
  Counted values[] = {40, 30, 20, 10};
  Counted::assignments = 0;
  thr::orb_spb2_quicksort_csr_row(4, keys, values);
  EXPECT_EQ(std::vector<int32_t>(keys, keys + 4), (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(Counted::assignments / 2, 6);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(values[i].v, keys[i] * 10);
  // 5 equal keys: positions 0 and 4, then 1 and 3 (and 2 with itself) exchange.
  int64_t same[] = {7, 7, 7, 7, 7};
  Counted order[] = {0, 1, 2, 3, 4};
  thr::orb_spb2_quicksort_csr_row(5, same, order);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(order[i].v, 4 - i);
  // Nothing to do for an empty row.
  thr::orb_spb2_quicksort_csr_row_struct<int32_t>(0, nullptr);
}

// Every member moves its arrays with the keys: a value (or each scalar of a
// block) records the key it was stored with.
TEST(RowSort, ValuesFollowTheirKeysInEveryMember) {
  std::mt19937_64 gen(3);
  for (const int64_t n : {int64_t{1}, int64_t{2}, int64_t{5}, int64_t{37}, int64_t{1000}}) {
    std::vector<int64_t> keys(n);
    for (auto &k : keys) k = static_cast<int64_t>(gen() % 50);
    const int64_t b = 3;
    for (int member = 0; member < 5; ++member) {
      std::vector<int64_t> k = keys;
      const int64_t width = member >= 3 ? b * b : 1;
      std::vector<double> v(n * width), w(n * width);
      for (int64_t i = 0; i < n * width; ++i) v[i] = static_cast<double>(keys[i / width]), w[i] = -v[i];
      switch (member) {
        case 0: thr::orb_spb2_quicksort_csr_row_struct(n, k.data()); break;
        case 1: thr::orb_spb2_quicksort_csr_row(n, k.data(), v.data()); break;
        case 2: thr::orb_spb2_quicksort_csr_row2(n, k.data(), v.data(), w.data()); break;
        case 3: thr::orb_spb2_quicksort_bsr_row(n, b, k.data(), v.data()); break;
        default: thr::orb_spb2_quicksort_bsr_row2(n, b, k.data(), v.data(), w.data());
      }
      EXPECT_TRUE(std::is_sorted(k.begin(), k.end())) << "member " << member << " n " << n;
      EXPECT_TRUE(std::is_permutation(k.begin(), k.end(), keys.begin()));
      for (int64_t i = 0; member > 0 && i < n * width; ++i) {
        ASSERT_EQ(v[i], static_cast<double>(k[i / width])) << "member " << member << " n " << n;
        if (member == 2 || member == 4) {
          ASSERT_EQ(w[i], -v[i]);
        }
      }
    }
  }
}

// Either side of the cut to the iterative sort, with runs of equal keys and
// a descending stretch, ends sorted with its values.
TEST(RowSort, LongRowsEitherSideOfTheCut) {
  std::mt19937 gen(9);
  for (const int64_t n : {thr::kIterativeRowSort - 1, thr::kIterativeRowSort}) {
    std::vector<int32_t> keys(n);
    for (int64_t i = 0; i < n; ++i) keys[i] = i < n / 4 ? static_cast<int32_t>(n - i) : static_cast<int32_t>(gen() % 100000);
    std::vector<float> v(keys.begin(), keys.end());
    thr::orb_spb2_quicksort_csr_row(n, keys.data(), v.data());
    ASSERT_TRUE(std::is_sorted(keys.begin(), keys.end())) << n;
    for (int64_t i = 0; i < n; i += 997) ASSERT_EQ(v[i], static_cast<float>(keys[i]));
  }
}

template <class S>
class SparseOrder : public ::testing::Test {};
TYPED_TEST_SUITE(SparseOrder, SparseTypes, SparseName);

// orb_sparse_order sorts each line of the caller's arrays in place, every
// entry keeping its value, and the product is what it was.
TYPED_TEST(SparseOrder, SortsTheCallersArraysInPlace) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SparseApi<T, I>;
  const int64_t rows = 12, cols = 12;
  for (const int format : {ORB_SPARSE_CSR, ORB_SPARSE_CSC, ORB_SPARSE_BSR}) {
    const int64_t b = format == ORB_SPARSE_BSR ? 2 : 1;
    const std::vector<T> s = stored_matrix<T>(rows, cols, b, 77 + format);
    SparseArrays<T, I> sorted = format == ORB_SPARSE_BSR ? blocks<T, I>(s, rows, cols, b, 1, ORB_SPARSE_BLOCK_ROW_MAJOR)
                                                         : compressed<T, I>(s, rows, cols, 1, format == ORB_SPARSE_CSC, true);
    // Reverse every line, its values (whole blocks) moving along.
    SparseArrays<T, I> a = sorted;
    const int64_t bb = b * b;
    for (size_t l = 0; l < a.end.size(); ++l) {
      const int64_t lo = a.start[l] - 1, hi = a.end[l] - 1;
      std::reverse(a.index.begin() + lo, a.index.begin() + hi);
      for (int64_t i = lo, j = hi - 1; i < j; ++i, --j)
        std::swap_ranges(a.values.begin() + i * bb, a.values.begin() + (i + 1) * bb, a.values.begin() + j * bb);
    }
    orb_sparse_matrix A = nullptr;
    const orb_sparse_status made =
        format == ORB_SPARSE_CSR ? Api::csr(&A, 1, rows, cols, a.start.data(), a.end.data(), a.index.data(), a.values.data())
        : format == ORB_SPARSE_CSC ? Api::csc(&A, 1, rows, cols, a.start.data(), a.end.data(), a.index.data(), a.values.data())
                                   : Api::bsr(&A, 1, ORB_SPARSE_BLOCK_ROW_MAJOR, rows / b, cols / b, b, a.start.data(),
                                              a.end.data(), a.index.data(), a.values.data());
    ASSERT_EQ(made, ORB_SPARSE_OK);
    ASSERT_EQ(orb_sparse_order(A), ORB_SPARSE_OK);
    EXPECT_EQ(a.index, sorted.index) << format;
    for (size_t i = 0; i < a.values.size(); ++i) ASSERT_EQ(wide(a.values[i]), wide(sorted.values[i])) << format;
    orb_sparse_destroy(A);
  }
  I row[1] = {1}, col[1] = {1};
  T val[1] = {narrow<T>(1)};
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(Api::coo(&A, 1, 1, 1, 1, row, col, val), ORB_SPARSE_OK);
  EXPECT_EQ(orb_sparse_order(A), ORB_SPARSE_UNSUPPORTED);
  orb_sparse_destroy(A);
  EXPECT_EQ(orb_sparse_order(nullptr), ORB_SPARSE_NULL_POINTER);
}

}  // namespace
}  // namespace orb::test
