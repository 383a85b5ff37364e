// Out-of-place and in-place copies against a naive reference, for every
// ordering and transposition code, in every precision.
#include "trans_support.hpp"

#include <tuple>

namespace orb::test {
namespace {

//! One past the last offset of a rows x cols matrix.
int64_t extent(char ord, int64_t ld, int64_t rows, int64_t cols, int64_t stride = 1) {
  return at(ord, ld, rows - 1, cols - 1, stride) + 1;
}

//! Where element (i, j) of the rows x cols source lands, and its value.
template <class T>
std::map<int64_t, cld> reference(char ord, char tr, int64_t rows, int64_t cols, T alpha, const std::vector<T> &A,
                                int64_t lda, int64_t sa, int64_t ldb, int64_t sb) {
  std::map<int64_t, cld> want;
  for (int64_t i = 0; i < rows; ++i)
    for (int64_t j = 0; j < cols; ++j) {
      const int64_t dest = transposes(tr) ? at(ord, ldb, j, i, sb) : at(ord, ldb, i, j, sb);
      want[dest] = wide(alpha) * apply(tr, wide(A[at(ord, lda, i, j, sa)]));
    }
  return want;
}

// B := alpha * op(A) with padded leading dimensions, then with strided lines.
template <class T>
void out_of_place(char ord, char tr, int64_t rows, int64_t cols, int64_t pad, int64_t sa, int64_t sb) {
  const int64_t br = transposes(tr) ? cols : rows, bc = transposes(tr) ? rows : cols;
  const int64_t lda = sa * (ord == 'R' ? cols : rows) + pad, ldb = sb * (ord == 'R' ? bc : br) + pad;
  std::vector<T> A(extent(ord, lda, rows, cols, sa));
  for (size_t k = 0; k < A.size(); ++k) A[k] = value<T>(static_cast<int>(k));
  const T sentinel = value<T>(-99), alpha = value<T>(2);
  std::vector<T> B(extent(ord, ldb, br, bc, sb) + 3, sentinel);
  const int info = sa == 1 && sb == 1
                       ? Api<T>::omatcopy(ord, tr, rows, cols, alpha, A.data(), lda, B.data(), ldb)
                       : Api<T>::omatcopy2(ord, tr, rows, cols, alpha, A.data(), lda, sa, B.data(), ldb, sb);
  EXPECT_EQ(info, 0);
  expect_exactly(B, reference(ord, tr, rows, cols, alpha, A, lda, sa, ldb, sb), &sentinel,
                 std::string("copy ") + ord + tr + " strides " + std::to_string(sa) + "," + std::to_string(sb));
}

// AB := alpha * op(AB): the result in its own layout, and nothing past the
// larger of the two layouts touched.
template <class T>
void in_place(char ord, char tr, int64_t rows, int64_t cols, int64_t lda, int64_t ldb) {
  const int64_t br = transposes(tr) ? cols : rows, bc = transposes(tr) ? rows : cols;
  const int64_t used = std::max(extent(ord, lda, rows, cols), extent(ord, ldb, br, bc));
  std::vector<T> AB(used + 3);
  for (size_t k = 0; k < AB.size(); ++k) AB[k] = value<T>(static_cast<int>(k));
  const T alpha = value<T>(4);
  std::map<int64_t, cld> want = reference(ord, tr, rows, cols, alpha, AB, lda, 1, ldb, 1);
  for (int64_t k = used; k < used + 3; ++k) want[k] = wide(AB[k]);
  Api<T>::imatcopy(ord, tr, rows, cols, alpha, AB.data(), lda, ldb);
  expect_exactly(AB, want, static_cast<const T *>(nullptr),
                 std::string("in place ") + ord + tr + " " + std::to_string(rows) + "x" + std::to_string(cols) +
                     " lda " + std::to_string(lda) + " ldb " + std::to_string(ldb));
}

template <class T>
void every_case(char ord, char tr) {
  for (auto [rows, cols] : {std::pair<int64_t, int64_t>{3, 5}, {5, 3}, {1, 4}, {37, 70}}) {
    out_of_place<T>(ord, tr, rows, cols, 0, 1, 1);
    out_of_place<T>(ord, tr, rows, cols, 2, 1, 1);
    out_of_place<T>(ord, tr, rows, cols, 1, 2, 3);
    const int64_t la = ord == 'R' ? cols : rows, lb = (ord == 'R') == transposes(tr) ? rows : cols;
    in_place<T>(ord, tr, rows, cols, la, lb);          // rectangular, tight
    in_place<T>(ord, tr, rows, cols, la + 2, lb + 1);  // rectangular, padded differently
  }
  for (int64_t n : {1, 4, 45}) {
    in_place<T>(ord, tr, n, n, n, n);          // square, swapped in place
    in_place<T>(ord, tr, n, n, n + 3, n + 3);  // square, padded
    in_place<T>(ord, tr, n, n, n + 2, n);      // square, respaced through scratch
  }
  // The threaded square transposition declines and leaves the matrix alone.
  const T fill = value<T>(3);
  std::vector<T> AB(16, fill);
  EXPECT_EQ(Api<T>::square_t(ord, tr, 4, 4, value<T>(1), AB.data(), 4, 4), 0);
  expect_exactly(AB, {}, &fill, "square transposition entry");
}

class TransCodes : public ::testing::TestWithParam<std::tuple<char, char>> {};

TEST_P(TransCodes, MatchNaiveReference) {
  const auto [ord, tr] = GetParam();
  every_case<float>(ord, tr);
  every_case<double>(ord, tr);
  every_case<ORB_Complex8>(ord, tr);
  every_case<ORB_Complex16>(ord, tr);
}

INSTANTIATE_TEST_SUITE_P(All, TransCodes,
                         ::testing::Combine(::testing::Values('R', 'C'), ::testing::Values('N', 'T', 'R', 'C')));

}  // namespace
}  // namespace orb::test
