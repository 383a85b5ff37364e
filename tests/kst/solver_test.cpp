// The direct solver end to end through its public names: residuals of
// Cholesky solves on grid Laplacians and random positive definite matrices
// in every precision, index width, base and triangle; the statuses of bad
// input, of a matrix that is not positive definite and of a solve out of
// phase; an allocation refused anywhere (the core's allocator is interposed
// here), which must leave nothing allocated and the caller's X untouched.
#include <orb/orb_kestrel.h>

#include "dense.hpp"
#include "hooks.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

namespace {
std::atomic<int64_t> allocations{0}, fail_at{-1}, live{0};
}

extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_malloc);
  if (allocations++ == fail_at) return nullptr;
  void *p = real(bytes, alignment);
  if (p) ++live;
  return p;
}
extern "C" void orb_serv_free(void *p) {
  static const auto real = ORB_TEST_NEXT(orb_serv_free);
  if (p) --live;
  real(p);
}

namespace orb::test {
namespace {

//! A symmetric (Hermitian) matrix as its entries (i, j, v) with i <= j.
struct Entry {
  int64_t i, j;
  cld v;
};
struct Matrix {
  int64_t n = 0;
  std::vector<Entry> upper;
};

//! The 5-point (dims 2) or 7-point (dims 3) Laplacian of a k^dims grid,
//! shifted by 0.01 on the diagonal; complex ones get Hermitian imaginary
//! parts (0.1 i on each edge, and 1 % more on the diagonal to stay definite).
Matrix laplacian(int64_t k, int dims, bool complex) {
  Matrix a;
  a.n = dims == 2 ? k * k : k * k * k;
  const int64_t stride[3] = {1, k, k * k};
  for (int64_t p = 0; p < a.n; ++p) {
    a.upper.push_back({p, p, 2.0L * dims * (complex ? 1.01L : 1.0L) + 0.01L});
    int64_t rest = p;
    for (int d = 0; d < dims; ++d, rest /= k)
      if (rest % k + 1 < k) a.upper.push_back({p, p + stride[d], cld(-1, complex ? 0.1L : 0)});
  }
  return a;
}

//! A random positive definite matrix: about `per_row` entries above the
//! diagonal in each row, a diagonal that dominates.
Matrix random_spd(int64_t n, int per_row, bool complex, uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  Matrix a;
  a.n = n;
  std::vector<long double> row_sum(n, 0);
  for (int64_t i = 0; i < n; ++i)
    for (int e = 0; e < per_row && i + 1 < n; ++e) {
      const int64_t j = i + 1 + static_cast<int64_t>(gen() % (n - i - 1));
      const cld v(u(gen), complex ? u(gen) : 0.0);
      a.upper.push_back({i, j, v});
      row_sum[i] += std::abs(v);
      row_sum[j] += std::abs(v);
    }
  for (int64_t i = 0; i < n; ++i) a.upper.push_back({i, i, row_sum[i] + 1});
  return a;
}

//! A full band of half-width `half` (off-diagonal -1 / half, diagonal 3):
//! in the natural order its supernodes have `half` rows below their
//! diagonal blocks, so the updates take several panels.
Matrix band(int64_t n, int64_t half, bool complex) {
  Matrix a;
  a.n = n;
  for (int64_t i = 0; i < n; ++i) {
    a.upper.push_back({i, i, 3});
    for (int64_t j = i + 1; j <= std::min(n - 1, i + half); ++j)
      a.upper.push_back({i, j, cld(-1.0L / half, complex ? 0.5L / half : 0)});
  }
  return a;
}

//! The matrix as the caller hands it over: CSR of one triangle (or both),
//! in a given base and width, rows shuffled, some entries split in two
//! (duplicates the solver must sum).
template <class T, class I>
struct Csr {
  std::vector<I> ptr, col;
  std::vector<T> val;
  Csr(const Matrix &a, int triangle, int base, uint32_t seed) {
    std::vector<std::vector<std::pair<int64_t, cld>>> rows(a.n);
    for (const Entry &e : a.upper) {
      const bool split = (e.i + e.j) % 5 == 0;
      auto put = [&](int64_t r, int64_t c, cld v) {
        if (split) {
          rows[r].push_back({c, v * 0.25L});
          rows[r].push_back({c, v * 0.75L});
        } else {
          rows[r].push_back({c, v});
        }
      };
      if (triangle != ORB_KESTREL_LOWER) put(e.i, e.j, e.v);
      if (e.i != e.j && triangle != ORB_KESTREL_UPPER) put(e.j, e.i, std::conj(e.v));
      if (e.i == e.j && triangle == ORB_KESTREL_LOWER) put(e.i, e.j, e.v);
    }
    std::mt19937 gen(seed);
    ptr.push_back(static_cast<I>(base));
    for (auto &r : rows) {
      std::shuffle(r.begin(), r.end(), gen);
      for (auto &[c, v] : r) {
        col.push_back(static_cast<I>(c + base));
        val.push_back(narrow<T>(v));
      }
      ptr.push_back(static_cast<I>(col.size() + base));
    }
  }
};

template <class T>
struct Api;
#define ORB_TEST_KESTREL_API(p, P, T)                        \
  template <>                                                \
  struct Api<T> {                                            \
    static constexpr auto factor = &orb_kestrel_##p##_factor; \
    static constexpr auto solve = &orb_kestrel_##p##_solve;   \
  };
ORB_TEST_KESTREL_API(s, S, float)
ORB_TEST_KESTREL_API(d, D, double)
ORB_TEST_KESTREL_API(c, C, ORB_Complex8)
ORB_TEST_KESTREL_API(z, Z, ORB_Complex16)
#undef ORB_TEST_KESTREL_API

//! max over columns of |B - A X| / (|A| |X| + |B|), infinity norms.
template <class T>
long double residual(const Matrix &a, int64_t nrhs, const std::vector<T> &b, const std::vector<T> &x) {
  long double worst = 0, norm_a = 0;
  std::vector<long double> row_abs(a.n, 0);
  for (const Entry &e : a.upper) {
    row_abs[e.i] += std::abs(e.v);
    if (e.i != e.j) row_abs[e.j] += std::abs(e.v);
  }
  for (long double r : row_abs) norm_a = std::max(norm_a, r);
  for (int64_t c = 0; c < nrhs; ++c) {
    std::vector<cld> r(a.n);
    long double nx = 0, nb = 0, nr = 0;
    for (int64_t i = 0; i < a.n; ++i) {
      r[i] = wide(b[c * a.n + i]);
      nx = std::max(nx, std::abs(wide(x[c * a.n + i])));
      nb = std::max(nb, std::abs(r[i]));
    }
    for (const Entry &e : a.upper) {
      r[e.i] -= e.v * wide(x[c * a.n + e.j]);
      if (e.i != e.j) r[e.j] -= std::conj(e.v) * wide(x[c * a.n + e.i]);
    }
    for (const cld &v : r) nr = std::max(nr, std::abs(v));
    worst = std::max(worst, nr / (norm_a * nx + nb));
  }
  return worst;
}

//! Analyses, factors and solves; the relative residual, or -status on failure.
template <class T, class I>
long double solve_residual(const Matrix &a, int64_t nrhs, int triangle, int base, int ordering) {
  Csr<T, I> csr(a, triangle, base, 7);
  orb_kestrel_options o;
  orb_kestrel_default_options(&o);
  o.triangle = triangle;
  o.index_base = base;
  o.index_bits = 8 * sizeof(I);
  o.ordering = ordering;
  std::vector<int64_t> reverse(a.n);
  for (int64_t k = 0; k < a.n; ++k) reverse[k] = a.n - 1 - k;
  o.permutation = reverse.data();
  orb_kestrel_handle h = nullptr;
  if (int st = orb_kestrel_analyse(&h, a.n, csr.ptr.data(), csr.col.data(), &o)) return -st;
  if (int st = Api<T>::factor(h, csr.val.data())) {
    orb_kestrel_destroy(h);
    return -st;
  }
  std::vector<T> b = random_matrix<T>(a.n, nrhs, a.n, 11), x(b.size());
  const int st = Api<T>::solve(h, nrhs, b.data(), a.n, x.data(), a.n);
  orb_kestrel_destroy(h);
  if (st) return -st;
  return residual(a, nrhs, b, x);
}

struct Case {
  const char *name;
  int kind;  // 0: 2-D grid, 1: 3-D grid, 2: random, 3: wide band
  int64_t nrhs;
  int bits, base, triangle, ordering;
};

Matrix make(int kind, bool complex) {
  switch (kind) {
    case 0: return laplacian(13, 2, complex);
    case 1: return laplacian(6, 3, complex);
    case 2: return random_spd(150, 3, complex, 5);
    default: return band(700, 300, complex);
  }
}

class Residuals : public ::testing::TestWithParam<Case> {};

TEST_P(Residuals, DoubleNearRoundoff) {
  const Case c = GetParam();
  const Matrix a = make(c.kind, false);
  const long double r = c.bits == 32 ? solve_residual<double, int32_t>(a, c.nrhs, c.triangle, c.base, c.ordering)
                                     : solve_residual<double, int64_t>(a, c.nrhs, c.triangle, c.base, c.ordering);
  EXPECT_GE(r, 0) << "status " << -r;
  EXPECT_LT(r, 1e-14);
}

INSTANTIATE_TEST_SUITE_P(
    Kestrel, Residuals,
    ::testing::Values(Case{"grid2d_1rhs_i4_base0_upper", 0, 1, 32, 0, ORB_KESTREL_UPPER, 0},
                      Case{"grid2d_3rhs_i8_base1_lower", 0, 3, 64, 1, ORB_KESTREL_LOWER, 0},
                      Case{"grid2d_10rhs_i4_base1_full", 0, 10, 32, 1, ORB_KESTREL_FULL, 0},
                      Case{"grid3d_1rhs_i8_base0_full", 1, 1, 64, 0, ORB_KESTREL_FULL, 0},
                      Case{"grid3d_3rhs_i4_base0_upper", 1, 3, 32, 0, ORB_KESTREL_UPPER, 0},
                      Case{"grid3d_10rhs_i8_base1_upper", 1, 10, 64, 1, ORB_KESTREL_UPPER, 0},
                      Case{"random_1rhs_i4_base1_lower", 2, 1, 32, 1, ORB_KESTREL_LOWER, 0},
                      Case{"random_3rhs_i8_base0_upper", 2, 3, 64, 0, ORB_KESTREL_UPPER, 0},
                      Case{"random_10rhs_i4_base0_full", 2, 10, 32, 0, ORB_KESTREL_FULL, 0},
                      Case{"grid2d_natural", 0, 3, 32, 0, ORB_KESTREL_UPPER, ORB_KESTREL_NATURAL},
                      Case{"grid3d_user_reversed", 1, 3, 64, 1, ORB_KESTREL_LOWER, ORB_KESTREL_USER_ORDER},
                      Case{"random_natural", 2, 10, 32, 1, ORB_KESTREL_FULL, ORB_KESTREL_NATURAL},
                      Case{"band_panels_natural", 3, 3, 64, 0, ORB_KESTREL_UPPER, ORB_KESTREL_NATURAL}),
    [](const ::testing::TestParamInfo<Case> &i) { return std::string(i.param.name); });

TYPED_TEST(Results, KestrelCholesky) {
  using T = TypeParam;
  for (int kind = 0; kind < 4; ++kind) {
    const Matrix a = make(kind, is_complex_v<T>);
    const long double r =
        solve_residual<T, int64_t>(a, 3, ORB_KESTREL_UPPER, 1, kind == 3 ? ORB_KESTREL_NATURAL : 0);
    EXPECT_GE(r, 0) << "status " << -r;
    EXPECT_LT(r, 50 * unit_roundoff<T>()) << "matrix " << kind;
  }
}

//! A handle analysed from a Csr with default options, or null.
template <class T, class I>
orb_kestrel_handle analysed(const Csr<T, I> &csr, int64_t n, orb_kestrel_options o) {
  orb_kestrel_handle h = nullptr;
  return orb_kestrel_analyse(&h, n, csr.ptr.data(), csr.col.data(), &o) == ORB_KESTREL_SUCCESS ? h : nullptr;
}

TEST(KestrelStatus, BadInput) {
  const Matrix a = laplacian(4, 2, false);
  Csr<double, int32_t> csr(a, ORB_KESTREL_UPPER, 0, 1);
  orb_kestrel_options o;
  orb_kestrel_default_options(&o);
  orb_kestrel_handle h = nullptr;
  const int64_t n = a.n;
  const auto with = [&](auto change) {
    orb_kestrel_options p = o;
    Csr<double, int32_t> c = csr;
    change(p, c);
    orb_kestrel_handle got = nullptr;
    const int st = orb_kestrel_analyse(&got, n, c.ptr.data(), c.col.data(), &p);
    EXPECT_EQ(got, nullptr);
    return st;
  };
  const int64_t before = live;
  EXPECT_EQ(orb_kestrel_analyse(nullptr, n, csr.ptr.data(), csr.col.data(), &o), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_analyse(&h, n, csr.ptr.data(), csr.col.data(), nullptr), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_analyse(&h, -1, csr.ptr.data(), csr.col.data(), &o), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_analyse(&h, n, nullptr, csr.col.data(), &o), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &p, auto &) { p.index_bits = 16; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &p, auto &) { p.index_base = 2; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &p, auto &) { p.triangle = 3; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &p, auto &) { p.ordering = 9; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &p, auto &) { p.matrix_type = 5; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &, auto &c) { c.ptr[0] = 1; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &, auto &c) { c.ptr[3] = c.ptr[2] - 1; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([&](auto &, auto &c) { c.col[5] = static_cast<int32_t>(n); }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([](auto &, auto &c) { c.col[2] = -1; }), ORB_KESTREL_BAD_INPUT);
  std::vector<int64_t> twice(n);
  std::iota(twice.begin(), twice.end(), 0);
  twice[3] = 4;
  EXPECT_EQ(with([&](auto &p, auto &) {
              p.ordering = ORB_KESTREL_USER_ORDER;
              p.permutation = twice.data();
            }),
            ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(with([&](auto &p, auto &) { p.ordering = ORB_KESTREL_USER_ORDER; }), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(live, before);

  h = analysed(csr, n, o);
  ASSERT_NE(h, nullptr);
  std::vector<double> b(n, 1.0), x(n, 5.0);
  EXPECT_EQ(orb_kestrel_d_solve(h, 1, b.data(), n, x.data(), n), ORB_KESTREL_WRONG_PHASE);
  EXPECT_EQ(orb_kestrel_d_factor(h, nullptr), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_d_factor(nullptr, csr.val.data()), ORB_KESTREL_BAD_INPUT);
  ASSERT_EQ(orb_kestrel_d_factor(h, csr.val.data()), ORB_KESTREL_SUCCESS);
  std::vector<float> bf(n, 1.0f), xf(n);
  EXPECT_EQ(orb_kestrel_s_solve(h, 1, bf.data(), n, xf.data(), n), ORB_KESTREL_WRONG_PHASE);
  EXPECT_EQ(orb_kestrel_d_solve(h, 1, b.data(), n - 1, x.data(), n), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_d_solve(h, -1, b.data(), n, x.data(), n), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(orb_kestrel_d_solve(h, 1, nullptr, n, x.data(), n), ORB_KESTREL_BAD_INPUT);
  EXPECT_EQ(x, std::vector<double>(n, 5.0));
  EXPECT_EQ(orb_kestrel_d_solve(h, 0, nullptr, n, nullptr, n), ORB_KESTREL_SUCCESS);
  EXPECT_EQ(orb_kestrel_get_statistics(h, nullptr), ORB_KESTREL_BAD_INPUT);
  orb_kestrel_destroy(h);
  orb_kestrel_destroy(nullptr);
  EXPECT_EQ(live, before);
}

TEST(KestrelStatus, NotPositiveDefiniteNamesTheRow) {
  Matrix a = laplacian(5, 2, false);
  for (Entry &e : a.upper)
    if (e.i == 17 && e.j == 17) e.v = -1;
  Csr<double, int32_t> csr(a, ORB_KESTREL_UPPER, 0, 1);
  for (int ordering : {ORB_KESTREL_NESTED_DISSECTION, ORB_KESTREL_NATURAL}) {
    orb_kestrel_options o;
    orb_kestrel_default_options(&o);
    o.ordering = ordering;
    orb_kestrel_handle h = analysed(csr, a.n, o);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(orb_kestrel_d_factor(h, csr.val.data()), ORB_KESTREL_NOT_POSITIVE_DEFINITE);
    orb_kestrel_statistics s;
    ASSERT_EQ(orb_kestrel_get_statistics(h, &s), ORB_KESTREL_SUCCESS);
    if (ordering == ORB_KESTREL_NATURAL) {
      EXPECT_EQ(s.failed_row, 17);  // rows before it are fine
    }
    EXPECT_GE(s.failed_row, 0);
    std::vector<double> b(a.n, 1.0), x(a.n, 3.0);
    EXPECT_EQ(orb_kestrel_d_solve(h, 1, b.data(), a.n, x.data(), a.n), ORB_KESTREL_WRONG_PHASE);
    orb_kestrel_destroy(h);
  }
}

TEST(KestrelStatistics, GridCounts) {
  const Matrix a = laplacian(13, 2, false);
  Csr<double, int64_t> csr(a, ORB_KESTREL_FULL, 1, 3);
  orb_kestrel_options o;
  orb_kestrel_default_options(&o);
  o.triangle = ORB_KESTREL_FULL;
  o.index_bits = 64;
  o.index_base = 1;
  orb_kestrel_handle nd = analysed(csr, a.n, o);
  o.ordering = ORB_KESTREL_NATURAL;
  orb_kestrel_handle natural = analysed(csr, a.n, o);
  ASSERT_NE(nd, nullptr);
  ASSERT_NE(natural, nullptr);
  orb_kestrel_statistics s, t;
  orb_kestrel_get_statistics(nd, &s);
  orb_kestrel_get_statistics(natural, &t);
  EXPECT_EQ(s.n, 169);
  EXPECT_EQ(s.entries, 169 + 2 * 13 * 12);  // the duplicates counted once
  // The natural order of a grid is a band of half-width 13 that fills
  // completely: 14 entries a column but in the last 13; supernodes store more.
  EXPECT_GE(t.factor_entries, 156 * 14 + 13 * 14 / 2);
  EXPECT_LT(s.factor_entries, t.factor_entries);  // dissection fills less
  EXPECT_GT(s.factor_flops, 0);
  EXPECT_GT(s.supernodes, 1);
  orb_kestrel_destroy(nd);
  orb_kestrel_destroy(natural);
}

TEST(KestrelThreads, SolvesOnOneHandleAtOnceAgreeWithOneByOne) {
  const Matrix a = laplacian(8, 3, false);
  Csr<double, int32_t> csr(a, ORB_KESTREL_UPPER, 0, 1);
  orb_kestrel_options o;
  orb_kestrel_default_options(&o);
  orb_kestrel_handle h = analysed(csr, a.n, o);
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(orb_kestrel_d_factor(h, csr.val.data()), ORB_KESTREL_SUCCESS);
  constexpr int kThreads = 4;
  std::vector<std::vector<double>> b(kThreads), alone(kThreads), together(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    b[t] = random_matrix<double>(a.n, t + 1, a.n, 20 + t);
    alone[t].resize(b[t].size());
    together[t].resize(b[t].size());
    ASSERT_EQ(orb_kestrel_d_solve(h, t + 1, b[t].data(), a.n, alone[t].data(), a.n), ORB_KESTREL_SUCCESS);
  }
  std::vector<std::thread> pool;
  for (int t = 0; t < kThreads; ++t)
    pool.emplace_back([&, t] {
      for (int round = 0; round < 5; ++round)
        EXPECT_EQ(orb_kestrel_d_solve(h, t + 1, b[t].data(), a.n, together[t].data(), a.n), ORB_KESTREL_SUCCESS);
    });
  for (auto &th : pool) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(together[t], alone[t]) << "thread " << t;
  orb_kestrel_destroy(h);
}

TEST(KestrelMemory, RefusedAllocationLeavesNothing) {
  const Matrix a = laplacian(6, 3, false);
  Csr<double, int32_t> csr(a, ORB_KESTREL_UPPER, 0, 1);
  orb_kestrel_options o;
  orb_kestrel_default_options(&o);
  const int64_t before = live;
  int refused = 0;
  for (int64_t k = 0;; ++k) {
    allocations = 0;
    fail_at = k;
    orb_kestrel_handle h = nullptr;
    int st = orb_kestrel_analyse(&h, a.n, csr.ptr.data(), csr.col.data(), &o);
    std::vector<double> b = random_matrix<double>(a.n, 2, a.n, 3), x(b.size(), 9.0);
    if (st == ORB_KESTREL_SUCCESS) {
      st = orb_kestrel_d_factor(h, csr.val.data());
      if (st == ORB_KESTREL_SUCCESS) st = orb_kestrel_d_solve(h, 2, b.data(), a.n, x.data(), a.n);
      orb_kestrel_destroy(h);
    } else {
      EXPECT_EQ(h, nullptr);
    }
    fail_at = -1;
    EXPECT_EQ(live, before) << "refusing allocation " << k;
    if (allocations <= k) {  // every allocation was granted: the whole sequence ran
      EXPECT_EQ(st, ORB_KESTREL_SUCCESS);
      break;
    }
    // The dense kernels' own scratch has a path without it: those refusals
    // still solve.  Any other answers out of memory, with X untouched.
    if (st == ORB_KESTREL_SUCCESS) {
      EXPECT_LT(residual(a, 2, b, x), 1e-14) << "refusing allocation " << k;
    } else {
      EXPECT_EQ(st, ORB_KESTREL_OUT_OF_MEMORY) << "refusing allocation " << k;
      EXPECT_EQ(x, std::vector<double>(x.size(), 9.0));
      ++refused;
    }
  }
  EXPECT_GT(refused, 10);
}

}  // namespace
}  // namespace orb::test
