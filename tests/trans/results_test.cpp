// Copies, in-place copies and additions of the transposition layer against
// a naive reference, for every ordering and code, in every precision.
#include <orb/orb_trans.h>

#include "dense.hpp"

#include <map>

namespace orb::test {
namespace {

template <class T>
struct Api;
#define ORB_TEST_API(p, T, tolerance)                                           \
  template <>                                                                   \
  struct Api<T> {                                                               \
    static constexpr double tol = tolerance;                                    \
    static constexpr auto omatcopy = &orb_trans_orb_##p##omatcopy;              \
    static constexpr auto omatcopy2 = &orb_trans_orb_##p##omatcopy2_par;        \
    static constexpr auto imatcopy = &orb_##p##imatcopy;                        \
    static constexpr auto square_t = &orb_trans_orb_##p##imatcopy_square_t_par; \
    static constexpr auto omatadd = &orb_trans_orb_##p##omatadd_par;            \
  };
ORB_TEST_API(s, float, 1e-5)
ORB_TEST_API(d, double, 1e-13)
ORB_TEST_API(c, ORB_Complex8, 1e-5)
ORB_TEST_API(z, ORB_Complex16, 1e-13)
#undef ORB_TEST_API

//! Distinct values, with an imaginary part for the complex types.
template <class T>
T value(int k) { return narrow<T>(cld(k + 1.25, -0.5 - k % 7)); }
//! op(x) of one element: conjugated for 'R' and 'C'.
inline cld apply(char trans, cld x) { return trans == 'R' || trans == 'C' ? std::conj(x) : x; }
inline bool transposes(char trans) { return trans == 'T' || trans == 'C'; }
//! Offset of element (i, j) for an ordering, leading dimension and line stride.
inline int64_t at(char ord, int64_t ld, int64_t i, int64_t j, int64_t stride = 1) {
  return ord == 'R' ? i * ld + j * stride : i * stride + j * ld;
}

//! buf holds `want` at its offsets and, given a sentinel, the sentinel
//! everywhere else (without one, other offsets are not looked at).
template <class T>
void expect_exactly(const std::vector<T> &buf, const std::map<int64_t, cld> &want, const T *sentinel,
                    const std::string &what) {
  int wrong = 0;
  for (int64_t k = 0; k < static_cast<int64_t>(buf.size()); ++k) {
    const auto it = want.find(k);
    if (it == want.end() && !sentinel) continue;
    const cld got = wide(buf[k]), expected = it == want.end() ? wide(*sentinel) : it->second;
    if (std::abs(got - expected) > Api<T>::tol * (1 + std::abs(expected)) && ++wrong <= 3)
      ADD_FAILURE() << what << ": offset " << k << " holds " << got << ", expected " << expected;
  }
  EXPECT_EQ(wrong, 0) << what;
}

// ---- Copies: B := alpha op(A), and AB := alpha op(AB) in place ----

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

// Every ordering (R, C) with every code (N, T, R, C): "RN", "RT", ...; each code once more for additions.
std::vector<std::string> codes(int letters) {
  std::vector<std::string> all{"R", "C"};
  for (int l = 1; l < letters; ++l) {
    std::vector<std::string> longer;
    for (const std::string &c : all)
      for (char code : {'N', 'T', 'R', 'C'}) longer.push_back(c + code);
    all.swap(longer);
  }
  return all;
}

TYPED_TEST(Results, CopiesMatchNaiveReference) {
  for (const std::string &c : codes(2)) {
    SCOPED_TRACE(c);
    every_case<TypeParam>(c[0], c[1]);
  }
}

// ---- Additions: C := alpha op(A) + beta op(B) ----

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

TYPED_TEST(Results, AdditionsMatchNaiveReference) {
  for (const std::string &c : codes(3)) {
    SCOPED_TRACE(c);
    every_case<TypeParam>(c[0], c[1], c[2]);
  }
}

}  // namespace
}  // namespace orb::test
