// C := alpha * op(A) + beta * op(B) against a naive reference, for every
// ordering and pair of codes, in every precision.
#include "trans_support.hpp"

#include <cmath>
#include <tuple>

namespace orb::test {
namespace {

// rows x cols result; A and B stored in op's inverse shape with padding pad.
template <class T>
void add_case(char ord, char ta, char tb, int64_t rows, int64_t cols, T alpha, T beta, bool c_is_a = false) {
  auto stored_ld = [&](char t) { return ((ord == 'R') == transposes(t) ? rows : cols) + 1; };
  const int64_t lda = stored_ld(ta), ldb = stored_ld(tb), ldc = (ord == 'R' ? cols : rows) + 2;
  const int64_t size = std::max({lda, ldb, ldc}) * std::max(rows, cols);
  std::vector<T> A(size), B(size);
  for (int64_t k = 0; k < size; ++k) A[k] = value<T>(static_cast<int>(k)), B[k] = value<T>(static_cast<int>(3 * k + 1));
  // An operand with a zero scalar must not be read: NaN in it must not show.
  const T nan = narrow<T>(cld(NAN, NAN));
  if (wide(alpha) == cld(0)) std::fill(A.begin(), A.end(), nan);
  if (wide(beta) == cld(0)) std::fill(B.begin(), B.end(), nan);
  const T sentinel = value<T>(-7);
  std::vector<T> C(size + 3, sentinel);
  std::map<int64_t, cld> want;
  auto op = [&](char t, const std::vector<T> &X, int64_t ld, int64_t i, int64_t j) {
    const cld x = wide(transposes(t) ? X[at(ord, ld, j, i)] : X[at(ord, ld, i, j)]);
    return std::isnan(x.real()) ? cld(0) : apply(t, x);
  };
  for (int64_t i = 0; i < rows; ++i)
    for (int64_t j = 0; j < cols; ++j)
      want[at(ord, c_is_a ? lda : ldc, i, j)] = wide(alpha) * op(ta, A, lda, i, j) + wide(beta) * op(tb, B, ldb, i, j);
  T *out = c_is_a ? A.data() : C.data();
  EXPECT_EQ(Api<T>::omatadd(ord, ta, tb, rows, cols, alpha, A.data(), lda, beta, B.data(), ldb, out,
                            c_is_a ? lda : ldc), 0);
  const std::string what = std::string("add ") + ord + ta + tb;
  if (c_is_a)
    expect_exactly(A, want, static_cast<const T *>(nullptr), what + " into A");
  else
    expect_exactly(C, want, &sentinel, what);
}

template <class T>
void every_case(char ord, char ta, char tb) {
  const T alpha = value<T>(1), beta = value<T>(5), zero = narrow<T>(0);
  add_case<T>(ord, ta, tb, 3, 5, alpha, beta);
  add_case<T>(ord, ta, tb, 40, 33, alpha, beta);
  add_case<T>(ord, ta, tb, 4, 2, zero, beta);
  add_case<T>(ord, ta, tb, 4, 2, alpha, zero);
  if (!transposes(ta)) add_case<T>(ord, ta, tb, 6, 4, alpha, beta, true);
}

class AddCodes : public ::testing::TestWithParam<std::tuple<char, char, char>> {};

TEST_P(AddCodes, MatchNaiveReference) {
  const auto [ord, ta, tb] = GetParam();
  every_case<float>(ord, ta, tb);
  every_case<double>(ord, ta, tb);
  every_case<ORB_Complex8>(ord, ta, tb);
  every_case<ORB_Complex16>(ord, ta, tb);
}

INSTANTIATE_TEST_SUITE_P(All, AddCodes,
                         ::testing::Combine(::testing::Values('R', 'C'), ::testing::Values('N', 'T', 'R', 'C'),
                                            ::testing::Values('N', 'T', 'R', 'C')));

}  // namespace
}  // namespace orb::test
