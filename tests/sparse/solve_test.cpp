// Triangular solves and symmetric Gauss-Seidel through the handles: every
// format, operation and triangular descriptor against the residual of a
// dense solve, in every value type and index width; the analysed parallel
// sweeps against the sequential ones bit for bit; statuses that leave y
// untouched; and a Gauss-Seidel iteration on the Poisson problem.
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_sparse.h>

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace orb::test {
namespace {

template <class T, class I>
struct SolveApi;
#define ORB_TEST_SOLVE_API(p, T, I)                                \
  template <>                                                      \
  struct SolveApi<T, I> {                                          \
    static constexpr auto trsv = &orb_sparse_##p##_trsv;           \
    static constexpr auto trsm = &orb_sparse_##p##_trsm;           \
    static constexpr auto symgs = &orb_sparse_##p##_symgs;         \
    static constexpr auto symgs_mv = &orb_sparse_##p##_symgs_mv;   \
  };
ORB_TEST_SOLVE_API(s, float, int32_t)
ORB_TEST_SOLVE_API(d, double, int32_t)
ORB_TEST_SOLVE_API(c, ORB_Complex8, int32_t)
ORB_TEST_SOLVE_API(z, ORB_Complex16, int32_t)
ORB_TEST_SOLVE_API(s, float, int64_t)
ORB_TEST_SOLVE_API(d, double, int64_t)
ORB_TEST_SOLVE_API(c, ORB_Complex8, int64_t)
ORB_TEST_SOLVE_API(z, ORB_Complex16, int64_t)
#undef ORB_TEST_SOLVE_API

template <class S>
class SparseSolves : public ::testing::Test {};
TYPED_TEST_SUITE(SparseSolves, SparseTypes, SparseName);

template <class T>
bool same_bits(const std::vector<T> &a, const std::vector<T> &b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

//! Whether y solves op(M) y = alpha x for the dense n x n M: each row's
//! residual within a few roundoffs of the magnitudes it sums.
template <class T>
::testing::AssertionResult solves(const std::vector<T> &m, int64_t n, int op, cld alpha, const std::vector<T> &x,
                                  const std::vector<T> &y) {
  const long double u = unit_roundoff<T>();
  for (int64_t i = 0; i < n; ++i) {
    cld r = -alpha * wide(x[i]);
    long double mag = std::abs(alpha * wide(x[i]));
    for (int64_t j = 0; j < n; ++j) {
      cld a = op == ORB_SPARSE_OP_N ? wide(m[i + j * n]) : wide(m[j + i * n]);
      if (op == ORB_SPARSE_OP_C) a = std::conj(a);
      r += a * wide(y[j]);
      mag += std::abs(a) * std::abs(wide(y[j]));
    }
    if (!(std::abs(r) <= 8 * (n + 2) * u * mag))
      return ::testing::AssertionFailure() << "row " << i << " residual " << std::abs(r) << " of " << mag;
  }
  return ::testing::AssertionSuccess();
}

//! The dense matrix a solve reads: the named triangle (symmetric and
//! Hermitian descriptors name one too) or the diagonal.
template <class T>
std::vector<T> solved_matrix(const std::vector<T> &s, int64_t n, int64_t b, orb_sparse_descr d) {
  if (d.type == ORB_SPARSE_SYMMETRIC || d.type == ORB_SPARSE_HERMITIAN) d.type = ORB_SPARSE_TRIANGULAR;
  return described_matrix(s, n, n, b, d);
}

//! A stored square matrix with both triangles and a diagonal that keeps the
//! triangles well conditioned (3 + |v|).
template <class T>
std::vector<T> stored_square(int64_t n, int64_t b, uint64_t seed) {
  std::vector<T> s = stored_matrix<T>(n, n, b, seed);
  for (int64_t i = 0; i < n; ++i) s[i + i * n] = narrow<T>(wide(s[i + i * n]) + cld(3));
  return s;
}

// Every format, descriptor and operation, zero- and one-based, before and
// after a solve hint is analysed; the triangle not named holds entries that
// would show if they were read.
TYPED_TEST(SparseSolves, EveryFormatOperationAndDescriptor) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const orb_sparse_descr descriptors[] = {
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_HERMITIAN, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_DIAGONAL, 0, ORB_SPARSE_NON_UNIT},
      {ORB_SPARSE_DIAGONAL, 0, ORB_SPARSE_UNIT},
      {ORB_SPARSE_BLOCK_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_UNIT},
      {ORB_SPARSE_BLOCK_DIAGONAL, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT},
  };
  using Api = SolveApi<T, I>;
  uint64_t seed = 1;
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow})
    for (const orb_sparse_descr &d : descriptors)
      for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T, ORB_SPARSE_OP_C}) {
        const int base = static_cast<int>(seed % 2);
        const int64_t b = f == kBsrRow ? 2 : 1, n = 8;
        const std::vector<T> s = stored_square<T>(n, b, seed);
        SparseArrays<T, I> a;
        orb_sparse_matrix A = nullptr;
        ASSERT_EQ((make_handle<T, I>(f, a, s, n, n, b, base, &A)), ORB_SPARSE_OK);
        const std::vector<T> m = solved_matrix(s, n, b, d);
        const std::vector<T> x = random_matrix<T>(n, 1, n, seed + 1);
        const cld alpha = wide(narrow<T>(seed % 3 ? cld(1) : cld(2, -0.5)));
        for (const bool analysed : {false, true}) {
          const std::string where = "format " + std::to_string(f) + " type " + std::to_string(d.type) + " fill " +
                                    std::to_string(d.fill) + " diag " + std::to_string(d.diag) + " op " +
                                    std::to_string(op) + (analysed ? " analysed" : "");
          if (analysed) {
            ASSERT_EQ(orb_sparse_set_sv_hint(A, op, d, 10), ORB_SPARSE_OK) << where;
            ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK) << where;
          }
          std::vector<T> y(n, narrow<T>(cld(7)));
          ASSERT_EQ(Api::trsv(op, narrow<T>(alpha), A, d, x.data(), y.data()), ORB_SPARSE_OK) << where;
          EXPECT_TRUE(solves(m, n, op, alpha, x, y)) << where;
        }
        orb_sparse_destroy(A);
        ++seed;
      }
}

// Refusals come before anything is written: y keeps its values.
TYPED_TEST(SparseSolves, StatusesLeaveYUntouched) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SolveApi<T, I>;
  const int64_t n = 6;
  std::vector<T> s = stored_square<T>(n, 1, 40);
  const orb_sparse_descr lower{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  const std::vector<T> x(n, narrow<T>(cld(1))), y0(n, narrow<T>(cld(7)));
  const auto status = [&](const std::vector<T> &stored, Format f, int op, orb_sparse_descr d, int64_t rows,
                          bool null_y = false) {
    SparseArrays<T, I> a;
    orb_sparse_matrix A = nullptr;
    EXPECT_EQ((make_handle<T, I>(f, a, stored, rows, n, f == kBsrRow ? 2 : 1, 0, &A)), ORB_SPARSE_OK);
    std::vector<T> y = y0;
    const orb_sparse_status got = Api::trsv(op, narrow<T>(cld(1)), A, d, x.data(), null_y ? nullptr : y.data());
    EXPECT_TRUE(same_bits(y, y0)) << "status " << got;
    orb_sparse_destroy(A);
    return got;
  };
  EXPECT_EQ(status(s, kCsr3, ORB_SPARSE_OP_N, lower, n, true), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(status(s, kCsr3, 13, lower, n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(status(s, kCsr3, ORB_SPARSE_OP_N, {ORB_SPARSE_GENERAL, 0, 0}, n), ORB_SPARSE_UNSUPPORTED);
  EXPECT_EQ(status(s, kCsr3, ORB_SPARSE_OP_N, {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_FULL, ORB_SPARSE_NON_UNIT}, n),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(status(s, kCsr3, ORB_SPARSE_OP_N, {ORB_SPARSE_DIAGONAL, ORB_SPARSE_FULL, ORB_SPARSE_UNIT}, n),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(status(s, kCsr3, ORB_SPARSE_OP_N, {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, 52}, n),
            ORB_SPARSE_BAD_VALUE);
  // A rectangular matrix (3 x 6).
  std::vector<T> wide_s(s.begin(), s.begin() + 3 * n);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < 3; ++i) wide_s[i + j * 3] = s[i + j * n];
  EXPECT_EQ(status(wide_s, kCsr3, ORB_SPARSE_OP_N, lower, 3), ORB_SPARSE_BAD_VALUE);
  // Block triangular with dense diagonal blocks is not solved.
  EXPECT_EQ(status(s, kBsrRow, ORB_SPARSE_OP_N, {ORB_SPARSE_BLOCK_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT}, n),
            ORB_SPARSE_UNSUPPORTED);
  // One missing and one zero diagonal entry, in every format.
  for (const Format f : {kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow}) {
    for (const int64_t row : {3, 4}) {
      std::vector<T> bad = s;
      bad[row + row * n] = narrow<T>(cld(0));  // absent from the arrays (zero entries are not stored)
      EXPECT_EQ(status(bad, f, ORB_SPARSE_OP_N, lower, n), ORB_SPARSE_BAD_VALUE) << "format " << f;
      EXPECT_EQ(status(bad, f, ORB_SPARSE_OP_T, {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT}, n),
                ORB_SPARSE_BAD_VALUE)
          << "format " << f;
    }
  }
  // A stored zero: two entries of row 2 that cancel on the diagonal.
  I ptr[4] = {0, 1, 2, 4}, col[4] = {0, 1, 2, 2};
  T val[4] = {narrow<T>(cld(1)), narrow<T>(cld(1)), narrow<T>(cld(2)), narrow<T>(cld(-2))};
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((SparseApi<T, I>::csr3(&A, 0, 3, 3, ptr, col, val)), ORB_SPARSE_OK);
  std::vector<T> y(3, narrow<T>(cld(7)));
  EXPECT_EQ(Api::trsv(ORB_SPARSE_OP_N, narrow<T>(cld(1)), A, lower, x.data(), y.data()), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(wide(y[0]), cld(7));
  orb_sparse_destroy(A);
}

// Several right-hand sides: each column as trsv solves it, column- and
// row-major, with padded leading dimensions.
TYPED_TEST(SparseSolves, SeveralRightHandSides) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SolveApi<T, I>;
  const int64_t g = 5, n = g * g, k = 3;
  const std::vector<T> s = laplacian_2d<T>(g);
  SparseArrays<T, I> a;
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((make_handle<T, I>(kCsr3, a, s, n, n, 1, 1, &A)), ORB_SPARSE_OK);
  const orb_sparse_descr upper{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT};
  const T alpha = narrow<T>(cld(1.5));
  for (const bool col_major : {true, false}) {
    const int64_t ldx = col_major ? n + 2 : k + 1, ldy = col_major ? n + 1 : k + 2;
    const int64_t lines = col_major ? k : n;
    const std::vector<T> x = random_matrix<T>(ldx, lines, ldx, 90);
    std::vector<T> y(ldy * lines, narrow<T>(cld(7)));
    const int layout = col_major ? ORB_SPARSE_BLOCK_COL_MAJOR : ORB_SPARSE_BLOCK_ROW_MAJOR;
    ASSERT_EQ(Api::trsm(ORB_SPARSE_OP_T, alpha, A, upper, layout, x.data(), k, ldx, y.data(), ldy), ORB_SPARSE_OK);
    for (int64_t c = 0; c < k; ++c) {
      std::vector<T> xc(n), yc(n), want(n);
      for (int64_t i = 0; i < n; ++i) {
        xc[i] = col_major ? x[i + c * ldx] : x[c + i * ldx];
        yc[i] = col_major ? y[i + c * ldy] : y[c + i * ldy];
      }
      ASSERT_EQ(Api::trsv(ORB_SPARSE_OP_T, alpha, A, upper, xc.data(), want.data()), ORB_SPARSE_OK);
      EXPECT_TRUE(same_bits(yc, want)) << "column " << c << (col_major ? " column-major" : " row-major");
    }
  }
  std::vector<T> y(n * k);
  EXPECT_EQ(Api::trsm(ORB_SPARSE_OP_N, alpha, A, upper, 7, y.data(), k, n, y.data(), n), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(Api::trsm(ORB_SPARSE_OP_N, alpha, A, upper, ORB_SPARSE_BLOCK_COL_MAJOR, y.data(), k, n - 1, y.data(), n),
            ORB_SPARSE_BAD_VALUE);
  orb_sparse_destroy(A);
}

//! The plain sequential sweep pair on the full symmetric matrix (CSR from 0,
//! columns ascending), in T: each row subtracts its upper entries, then its
//! lower ones (forward; the other way round backward) and divides.
template <class T, class I>
void sequential_symgs(const SparseArrays<T, I> &full, const std::vector<T> &b, std::vector<T> &x) {
  const int64_t n = static_cast<int64_t>(b.size());
  const auto row = [&](int64_t i, bool forward) {
    T s = b[i], d{};
    for (const bool upper_first : {true, false}) {
      const bool upper = upper_first == forward;
      for (I k = full.start[i]; k < full.start[i + 1]; ++k) {
        const int64_t j = full.index[k];
        if (j == i) d = full.values[k];
        if (upper ? j > i : j < i) s = s - full.values[k] * x[j];
      }
    }
    x[i] = s / d;
  };
  for (int64_t i = 0; i < n; ++i) row(i, true);
  for (int64_t i = n - 1; i >= 0; --i) row(i, false);
}

//! The stored triangle (fill 40 or 41) of a dense symmetric matrix, or all of it.
template <class T>
std::vector<T> triangle_of(const std::vector<T> &m, int64_t n, int fill) {
  std::vector<T> t = m;
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i)
      if ((fill == ORB_SPARSE_LOWER && j > i) || (fill == ORB_SPARSE_UPPER && j < i)) t[i + j * n] = narrow<T>(0);
  return t;
}

//! A symmetric matrix whose blocks of 4 rows form a chain: tridiagonal
//! with a perturbed diagonal.
template <class T>
std::vector<T> tridiagonal(int64_t n) {
  std::vector<T> m(n * n, narrow<T>(0));
  for (int64_t i = 0; i < n; ++i) {
    m[i + i * n] = narrow<T>(cld(3 + (i % 5) * 0.25));
    if (i > 0) m[i + (i - 1) * n] = m[i - 1 + i * n] = narrow<T>(cld(-1 - (i % 3) * 0.125));
  }
  return m;
}

// Analysed sweeps, stored lower, upper or full, on a chain of blocks and on a
// wide block graph: the result is the plain sequential sweep's bit for bit,
// with the part count the analysis chose, with one part, and with more
// parts than threads.  A Hermitian descriptor of a real matrix is symmetric.
TYPED_TEST(SparseSolves, AnalysedSweepsMatchTheSequentialSweepBitForBit) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SolveApi<T, I>;
  if constexpr (!is_complex_v<T>) {
    for (const bool chain : {true, false}) {
      const int64_t n = chain ? 400 : 256;
      const std::vector<T> m = chain ? tridiagonal<T>(n) : laplacian_2d<T>(16);
      const SparseArrays<T, I> full = compressed<T, I>(m, n, n, 0, false, false);
      const std::vector<T> b = random_matrix<T>(n, 1, n, 7), x0 = random_matrix<T>(n, 1, n, 8);
      std::vector<T> want = x0;
      sequential_symgs(full, b, want);
      for (const int fill : {ORB_SPARSE_LOWER, ORB_SPARSE_UPPER, ORB_SPARSE_FULL}) {
        SparseArrays<T, I> a;
        orb_sparse_matrix A = nullptr;
        ASSERT_EQ((make_handle<T, I>(kCsr3, a, triangle_of(m, n, fill), n, n, 1, 0, &A)), ORB_SPARSE_OK);
        const orb_sparse_descr d{ORB_SPARSE_SYMMETRIC, fill, ORB_SPARSE_NON_UNIT};
        ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, d, 100), ORB_SPARSE_OK);
        ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
        auto *g = static_cast<sparse::SymgsData<T, I> *>(sparse::handle_cast<T, I>(A)->primary->opt->symgs_data);
        ASSERT_NE(g, nullptr);
        if (chain) {
          EXPECT_EQ(g->forward.levels, g->forward.blocks) << "a chain has one row per level";
          EXPECT_EQ(g->parts, 1) << "a chain has no parallelism";
        }
        const int32_t chosen = g->parts;
        for (const int32_t parts : {chosen, 1, 2, 5}) {
          g->parts = parts;
          std::vector<T> x = x0, y(n);
          ASSERT_EQ(Api::symgs_mv(ORB_SPARSE_OP_N, A, d, b.data(), x.data(), y.data()), ORB_SPARSE_OK);
          EXPECT_TRUE(same_bits(x, want)) << "fill " << fill << " parts " << parts << (chain ? " chain" : " wide");
          for (int64_t i = 0; i < n; ++i) {
            cld sum = 0;
            long double mag = 0;
            for (int64_t j = 0; j < n; ++j) {
              sum += wide(m[i + j * n]) * wide(x[j]);
              mag += std::abs(wide(m[i + j * n]) * wide(x[j]));
            }
            EXPECT_LE(std::abs(wide(y[i]) - sum), 8 * unit_roundoff<T>() * mag) << "A x, row " << i;
          }
        }
        g->parts = chosen;
        std::vector<T> x = x0;
        ASSERT_EQ(Api::symgs(ORB_SPARSE_OP_N, A, {ORB_SPARSE_HERMITIAN, fill, ORB_SPARSE_NON_UNIT}, b.data(),
                             x.data()),
                  ORB_SPARSE_OK);
        EXPECT_TRUE(same_bits(x, want)) << "hermitian fill " << fill;
        orb_sparse_destroy(A);
      }
    }
  }
}

// Without analysis, and for every value type, the sweep pair agrees with
// the sequential one in wide arithmetic; x changes only on success.
TYPED_TEST(SparseSolves, DefaultSweepsAgreeWithTheSequentialSweep) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SolveApi<T, I>;
  const int64_t g = 6, n = g * g;
  std::vector<T> m = laplacian_2d<T>(g);
  for (int64_t i = 0; i + 1 < n; ++i)  // complex symmetric, not Hermitian
    if (wide(m[i + (i + 1) * n]) != cld(0)) m[i + (i + 1) * n] = m[i + 1 + i * n] = narrow<T>(cld(-1, 0.5));
  const std::vector<T> b = random_matrix<T>(n, 1, n, 3), x0 = random_matrix<T>(n, 1, n, 4);
  std::vector<cld> want(n);
  for (int64_t i = 0; i < n; ++i) want[i] = wide(x0[i]);
  const auto row = [&](int64_t i) {
    cld s = wide(b[i]);
    for (int64_t j = 0; j < n; ++j)
      if (j != i) s -= wide(m[i + j * n]) * want[j];
    want[i] = s / wide(m[i + i * n]);
  };
  for (int64_t i = 0; i < n; ++i) row(i);
  for (int64_t i = n - 1; i >= 0; --i) row(i);
  for (const Format f : {kCsr3, kCsc, kCoo})
    for (const int fill : {ORB_SPARSE_LOWER, ORB_SPARSE_UPPER, ORB_SPARSE_FULL})
      for (const int op : {ORB_SPARSE_OP_N, ORB_SPARSE_OP_T}) {
        SparseArrays<T, I> a;
        orb_sparse_matrix A = nullptr;
        ASSERT_EQ((make_handle<T, I>(f, a, triangle_of(m, n, fill), n, n, 1, 1, &A)), ORB_SPARSE_OK);
        std::vector<T> x = x0;
        ASSERT_EQ(Api::symgs(op, A, {ORB_SPARSE_SYMMETRIC, fill, ORB_SPARSE_NON_UNIT}, b.data(), x.data()),
                  ORB_SPARSE_OK);
        for (int64_t i = 0; i < n; ++i)
          EXPECT_LE(static_cast<double>(std::abs(wide(x[i]) - want[i])), 64 * unit_roundoff<T>())
              << "format " << f << " fill " << fill << " op " << op << " row " << i;
        // General and triangular descriptors are not Gauss-Seidel matrices.
        x = x0;
        EXPECT_EQ(Api::symgs(op, A, {ORB_SPARSE_GENERAL, 0, 0}, b.data(), x.data()), ORB_SPARSE_UNSUPPORTED);
        EXPECT_TRUE(same_bits(x, x0));
        orb_sparse_destroy(A);
      }
}

// The analysed solve (a solve hint on a 2-D Laplacian's triangle) gives the
// default solve's bits, with the chosen part count and with several more.
TYPED_TEST(SparseSolves, AnalysedSolvesMatchTheDefaultSolve) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  using Api = SolveApi<T, I>;
  const int64_t g = 24, n = g * g;
  const std::vector<T> m = laplacian_2d<T>(g);
  const std::vector<T> x = random_matrix<T>(n, 1, n, 11);
  for (const int fill : {ORB_SPARSE_LOWER, ORB_SPARSE_UPPER}) {
    SparseArrays<T, I> a;
    orb_sparse_matrix A = nullptr;
    ASSERT_EQ((make_handle<T, I>(kCsr3, a, m, n, n, 1, 0, &A)), ORB_SPARSE_OK);
    const orb_sparse_descr d{ORB_SPARSE_TRIANGULAR, fill, ORB_SPARSE_NON_UNIT};
    std::vector<T> plain(n);
    ASSERT_EQ(Api::trsv(ORB_SPARSE_OP_N, narrow<T>(cld(1)), A, d, x.data(), plain.data()), ORB_SPARSE_OK);
    EXPECT_TRUE(solves(solved_matrix(m, n, 1, d), n, ORB_SPARSE_OP_N, cld(1), x, plain));
    ASSERT_EQ(orb_sparse_set_sv_hint(A, ORB_SPARSE_OP_N, d, 100), ORB_SPARSE_OK);
    ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
    auto *gd = static_cast<sparse::SymgsData<T, I> *>(sparse::handle_cast<T, I>(A)->primary->opt->symgs_data);
    ASSERT_NE(gd, nullptr);
    for (const int32_t parts : {gd->parts, 3, 8}) {
      gd->parts = parts;
      std::vector<T> y(n, narrow<T>(cld(7)));
      ASSERT_EQ(Api::trsv(ORB_SPARSE_OP_N, narrow<T>(cld(1)), A, d, x.data(), y.data()), ORB_SPARSE_OK);
      EXPECT_TRUE(same_bits(y, plain)) << "fill " << fill << " parts " << parts;
    }
    orb_sparse_destroy(A);
  }
}

// The blocking rule's worked example: the 16 x 16 grid's 5-point Laplacian
// with slices of 4 rows puts row (r, c) on level r + c, 31 levels cut into
// 76 blocks of up to 4 rows; block 4 holds rows 4 19 34 49 and waits for
// block 3 alone, block 5 holds row 64 and waits for block 3 too; 76 / 31
// allows 2 parts.  (Double values: W is 4 on any processor.)
TEST(SparseGaussSeidel, BlockingRuleWorkedExample) {
  const int64_t n = 256;
  SparseArrays<double, int32_t> a;
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((make_handle<double, int32_t>(kCsr3, a, laplacian_2d<double>(16), n, n, 1, 0, &A)), ORB_SPARSE_OK);
  const orb_sparse_descr d{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_FULL, ORB_SPARSE_NON_UNIT};
  ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, d, 10), ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const auto *h = sparse::handle_cast<double, int32_t>(A);
  const auto *g = static_cast<const sparse::SymgsData<double, int32_t> *>(h->primary->opt->symgs_data);
  ASSERT_NE(g, nullptr);
  ASSERT_EQ(g->width, 4);
  EXPECT_EQ(g->block_rows, 4);
  for (const sparse::SweepPlan<double, int32_t> *p : {&g->forward, &g->backward}) {
    EXPECT_EQ(p->levels, 31);
    EXPECT_EQ(p->blocks, 76);
  }
  const sparse::SweepPlan<double, int32_t> &f = g->forward;
  EXPECT_EQ(std::vector<int32_t>(f.rows + f.block_start[4], f.rows + f.block_start[5]),
            (std::vector<int32_t>{4, 19, 34, 49}));
  EXPECT_EQ(std::vector<int32_t>(f.rows + f.block_start[5], f.rows + f.block_start[6]), std::vector<int32_t>{64});
  EXPECT_EQ(f.pred[4], 1);
  EXPECT_EQ(f.pred[5], 1);
  EXPECT_EQ(std::vector<int32_t>(f.succ + f.succ_start[3], f.succ + f.succ_start[4]), (std::vector<int32_t>{4, 5}));
  EXPECT_EQ(g->backward.rows[0], 255);
  EXPECT_GE(g->parts, 1);
  EXPECT_LE(g->parts, 2);
  orb_sparse_destroy(A);
}

// Gauss-Seidel on the 2-D Poisson problem converges at the textbook rate: a
// sweep pair shrinks the error by about cos^2(pi h), the factor of one plain
// sweep, and never by more than two plain sweeps would.
TEST(SparseGaussSeidel, ConvergesAtTheTextbookRateOnPoisson) {
  const int64_t g = 15, n = g * g;
  const std::vector<double> m = laplacian_2d<double>(g);
  SparseArrays<double, int32_t> a;
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ((make_handle<double, int32_t>(kCsr3, a, triangle_of(m, n, ORB_SPARSE_LOWER), n, n, 1, 0, &A)), ORB_SPARSE_OK);
  const orb_sparse_descr d{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, d, 100), ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const std::vector<double> b(n, 0.0);  // the solution is 0: x is the error
  std::vector<double> x = random_matrix<double>(n, 1, n, 5);
  const auto norm = [&] {
    double s = 0;
    for (double v : x) s += v * v;
    return std::sqrt(s);
  };
  for (int k = 0; k < 40; ++k) ASSERT_EQ(orb_sparse_d_symgs(ORB_SPARSE_OP_N, A, d, b.data(), x.data()), ORB_SPARSE_OK);
  const double before = norm();
  for (int k = 0; k < 40; ++k) ASSERT_EQ(orb_sparse_d_symgs(ORB_SPARSE_OP_N, A, d, b.data(), x.data()), ORB_SPARSE_OK);
  const double rate = std::pow(norm() / before, 1.0 / 40);
  const double pi = std::acos(-1.0), gs = std::pow(std::cos(pi / (g + 1)), 2);
  EXPECT_LT(rate, gs * 1.01);
  EXPECT_GT(rate, gs * gs * 0.99);
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
