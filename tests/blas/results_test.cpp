// The threaded GEMM and GEMV drivers: results in every precision for shapes
// that take each path of the frame; the path a GEMM shape takes (matrix-vector
// product, one call with the caller's arguments, split along k, grid of C) and
// its pieces, exactly the cutting rules' (worked tables in tests/partition);
// how the GEMV driver cuts y; and illegal calls, checked whole before any cut,
// so a call whose pieces would each pass is reported once and nothing written.
#include "blas/gemm_grid.hpp"
#include "blas_api.hpp"
#include "dense.hpp"
#include "hooks.hpp"
#include "interpose.hpp"
#include "partition/split_k.hpp"

#include <algorithm>
#include <set>
#include <tuple>

namespace orb::test {
namespace {

struct GemmCase {
  std::string name;
  ORB_INT m, n, k;
  char ta, tb;
  int budget;
  double alpha, beta;  // beta 0: C full of NaN
  ORB_INT pad = 0;     // ld = rows + pad for A, B and C
  bool lp64 = false;
};

std::vector<GemmCase> gemm_cases() {
  std::vector<GemmCase> v;
  // Every pair of operations, upper and lower case, on a grid of 3 x 2 (rows
  // and columns both cut, so that each operand is offset both ways).
  for (char ta : {'N', 'T', 'C', 'n', 't', 'c'})
    for (char tb : {'N', 'T', 'C'})
      v.push_back({std::string("ops ") + ta + tb, 300, 70, 40, ta, static_cast<char>(tb | (ta & 0x20)), 6, 1.5, 0.5, 2});
  v.push_back({"budget1", 90, 70, 40, 'N', 'T', 1, 1.0, 2.0, 1});
  v.push_back({"alpha0", 150, 130, 70, 'T', 'N', 2, 0.0, 0.5});
  v.push_back({"beta0", 150, 130, 70, 'N', 'N', 2, 1.0, 0.0});
  v.push_back({"beta1", 150, 130, 70, 'N', 'C', 4, -1.0, 1.0});
  v.push_back({"k0", 150, 130, 0, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"m0", 0, 130, 70, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"n0", 150, 0, 70, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"matvec", 300, 1, 200, 'N', 'N', 2, 1.0, 0.5, 3});
  v.push_back({"matvec_tt", 300, 1, 200, 'T', 'T', 1, 1.0, 0.5, 3});
  v.push_back({"matvec_cn", 300, 1, 200, 'C', 'N', 2, 1.0, 0.5});
  v.push_back({"matvec_cc", 300, 1, 200, 'C', 'C', 2, 1.0, 0.5});  // complex: stays a GEMM
  v.push_back({"split_k_8", 64, 64, 8 * 336 + 5, 'N', 'N', 8, 1.0, 0.5});
  v.push_back({"split_k_tt_beta0", 64, 80, 700, 'T', 'T', 2, 1.0, 0.0, 1});
  v.push_back({"split_k_3_pad", 70, 64, 3 * 336 + 2, 'C', 'N', 3, 1.0, 1.0, 2});
  v.push_back({"split_k_alpha0", 64, 64, 700, 'N', 'T', 2, 0.0, 0.5});
  v.push_back({"grid_rows_split", 1000, 512, 3, 'N', 'T', 8, 1.0, 0.5, 1});
  v.push_back({"grid_remainder", 640, 96, 9, 'T', 'N', 16, 1.0, 0.5});
  v.push_back({"grid_odd_budget", 301, 211, 17, 'N', 'N', 5, 1.0, 0.5, 1});
  v.push_back({"lp64", 150, 130, 70, 'T', 'T', 2, 1.0, 0.5, 1, true});
  return v;
}

TYPED_TEST(Results, GemmDriverMatchesNaiveProduct) {
  using T = TypeParam;
  for (const GemmCase &p : gemm_cases()) {
    SCOPED_TRACE(p.name);
    check_gemm<T>(false, p.ta, p.tb, p.m, p.n, p.k, cld(p.alpha, p.alpha / 2), p.beta, {p.pad, p.pad, p.pad},
                  [&](T alpha, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T beta, T *c, ORB_INT ldc) {
                    Budget budget(p.budget);
                    const int m = p.m, n = p.n, k = p.k, la = lda, lb = ldb, lc = ldc;
                    if (p.lp64)
                      Api<T>::driver_gemm_lp64(&p.ta, &p.tb, &m, &n, &k, &alpha, a, &la, b, &lb, &beta, c, &lc);
                    else
                      Api<T>::driver_gemm(&p.ta, &p.tb, &p.m, &p.n, &p.k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
                  });
  }
}

struct GemvCase {
  const char *name;
  ORB_INT m, n;
  char trans;
  ORB_INT incx, incy;
  int budget;
  size_t kernel_calls;
};

const GemvCase kGemvCases[] = {{"too_small_to_cut", 150, 150, 'N', 1, 1, 2, 1},
                               {"budget1", 1000, 300, 'N', 1, 1, 1, 1},
                               {"rows_negative_incy", 1000, 300, 'N', 2, -3, 2, 2},
                               {"columns", 300, 1000, 'T', -1, 2, 4, 4},
                               {"columns_conj", 200, 700, 'C', 3, -1, 3, 3},
                               {"rows_budget8", 1000, 300, 'N', 1, 1, 8, 8}};

TYPED_TEST(Results, GemvDriverMatchesNaiveProductAndCutsYOnce) {
  using T = TypeParam;
  for (const GemvCase &g : kGemvCases) {
    SCOPED_TRACE(g.name);
    check_gemv<T>(false, g.trans, g.m, g.n, g.incx, g.incy, cld(0.75, -0.5), cld(-1.25, 0.25),
                  [&](T alpha, const T *a, ORB_INT lda, const T *x, T beta, T *y) {
                    Budget budget(g.budget);
                    observe();
                    Api<T>::driver_gemv(&g.trans, &g.m, &g.n, &alpha, a, &lda, x, &g.incx, &beta, y, &g.incy);
                  });
    const Observed o = observed();
    EXPECT_EQ(o.gemv.size(), g.kernel_calls);
    ORB_INT covered = 0;
    for (const GemvCall &call : o.gemv) covered += g.trans == 'N' ? call.m : call.n;
    EXPECT_EQ(covered, g.trans == 'N' ? g.m : g.n);  // the blocks of y add up to y, each taken once
  }
}

// Operands of any precision: an illegal call reads none of them.
std::vector<double> in(1 << 18, 1.0), out(1 << 18, 3.0);  // room for a call that goes wrong

template <class T>
void gemm(const char *ta, const char *tb, ORB_INT m, ORB_INT n, ORB_INT k, ORB_INT lda, ORB_INT ldb, ORB_INT ldc) {
  const T one = narrow<T>(1), *a = reinterpret_cast<const T *>(in.data());
  Api<T>::driver_gemm(ta, tb, &m, &n, &k, &one, a, &lda, a, &ldb, &one, reinterpret_cast<T *>(out.data()), &ldc);
}

template <class T>
void gemv(const char *t, ORB_INT m, ORB_INT n, ORB_INT lda, ORB_INT incx, ORB_INT incy) {
  const T one = narrow<T>(1), *a = reinterpret_cast<const T *>(in.data());
  Api<T>::driver_gemv(t, &m, &n, &one, a, &lda, a, &incx, &one, reinterpret_cast<T *>(out.data()), &incy);
}

TEST(DriverArguments, ReportedOnceBeforeAnyCutAndNothingWritten) {
  Budget budget(4);  // enough to cut every legal call below
  Reports reports;
  observe();
  gemm<double>("N", "N", 200, 64, 8, 200, 8, 150);  // row blocks of 100 would fit ldc = 150
  gemm<double>("x", "N", 60, 1, 8, 60, 8, 60);      // the matrix-vector shortcut would take any transa
  gemv<double>("N", 200, 400, 150, 1, 1);           // row blocks of 112 would fit lda = 150
  const int m = 200, n = 64, k = 8, ld = 200, bad_ldc = 150;
  const double one = 1;
  orb_blas_lp64_dgemm("N", "N", &m, &n, &k, &one, in.data(), &ld, in.data(), &k, &one, out.data(), &bad_ldc);
  orb_blas_lp64_dgemm("N", "N", nullptr, &n, &k, &one, in.data(), &ld, in.data(), &k, &one, out.data(), &ld);
  gemm<float>("N", "N", 4, 4, 4, 4, 4, 2);
  gemm<ORB_Complex8>("N", "N", 4, 4, 4, 2, 4, 4);
  gemm<ORB_Complex16>("N", "Z", 4, 4, 4, 4, 4, 4);
  gemv<ORB_Complex16>("N", 4, 4, 4, 1, 0);
  const ORB_INT tm = 500, tn = 400, small = 499;  // column blocks would fit ldb = 499 too
  orb_blas_dtrsm("L", "U", "N", "N", &tm, &tn, &one, in.data(), &tm, out.data(), &small);
  orb_blas_dtrsm("L", "U", "N", "X", &tm, &tn, &one, in.data(), &tm, out.data(), &tm);
  EXPECT_EQ(observed().trsm.size(), 2u);  // each reaches the kernel whole
  const Reports::Log expected = {{"DGEMM", 13}, {"DGEMM", 1}, {"DGEMV", 6}, {"DGEMM", 13}, {"DGEMM", 3},
                                 {"SGEMM", 13}, {"CGEMM", 8}, {"ZGEMM", 2}, {"ZGEMV", 11},
                                 {"DTRSM", 11}, {"DTRSM", 4}};
  EXPECT_EQ(Reports::taken(), expected);
  EXPECT_EQ(out, std::vector<double>(1 << 18, 3.0));
}

enum class Path { gemv, once, split, grid };

struct PathCase {
  const char *name;
  ORB_INT m, n, k;
  char ta, tb;
  int budget;
  Path path;
  bool fail_alloc = false, strict = false;
};
void PrintTo(const PathCase &c, std::ostream *os) { *os << c.name; }

// A tile of the grid (first row, first column, rows, columns), or a slice of
// the split (first step of k, steps, 0, 0).
using Piece = std::tuple<int64_t, int64_t, int64_t, int64_t>;

std::set<Piece> rule_pieces(const PathCase &s) {
  std::set<Piece> pieces;
  if (s.path == Path::split) {
    const int64_t slices = thr::split_k_slices(s.k, s.budget);
    for (int64_t i = 0; i < slices; ++i) {
      const thr::Range r = thr::split_k_slice(s.k, slices, i);
      if (!r.empty()) pieces.insert({r.begin, r.size(), 0, 0});
    }
    return pieces;
  }
  const int64_t workers = thr::gemm_grid_workers(s.m, s.n, s.budget, thr::kRealGridRule);
  const thr::GemmGrid grid = thr::gemm_choose_grid(s.m, s.n, workers, thr::kRealGridRule);
  for (int64_t i = 0; i < workers; ++i) {
    const thr::GemmRect r = thr::gemm_worker_rect(s.m, s.n, grid, i);
    if (!r.rows.empty() && !r.cols.empty()) pieces.insert({r.rows.begin, r.cols.begin, r.rows.size(), r.cols.size()});
  }
  return pieces;
}

class GemmPath : public ::testing::TestWithParam<PathCase> {};

TEST_P(GemmPath, PiecesFollowTheCuttingRules) {
  const PathCase &s = GetParam();
  check_gemm<double>(false, s.ta, s.tb, s.m, s.n, s.k, 1.0, 0.5, {1, 2, 3}, [&](double alpha, const double *a,
                                                                               ORB_INT lda, const double *b, ORB_INT ldb,
                                                                               double beta, double *c, ORB_INT ldc) {
    Observed o;
    {
      Budget with(s.budget);
      observe(s.fail_alloc, s.strict);
      orb_blas_dgemm(&s.ta, &s.tb, &s.m, &s.n, &s.k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
      o = observed();
    }
    // The frame's only scratch is the split's partial buffers, 2048-aligned; a
    // kernel may take scratch of its own.  Whatever was had is given back,
    // except what a thread keeps.
    const auto partial = std::find(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048);
    EXPECT_EQ(std::count(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048),
              s.path == Path::split || s.fail_alloc ? 1 : 0);
    EXPECT_EQ(o.leaked, 0);
    ASSERT_EQ(o.gemv.size(), s.path == Path::gemv ? 1u : 0u);
    if (s.path == Path::gemv) {
      EXPECT_TRUE(o.gemm.empty());
      EXPECT_EQ(o.gemv[0].trans, s.ta);
      EXPECT_EQ(o.gemv[0].m, s.ta == 'N' ? s.m : s.k);
      EXPECT_EQ(o.gemv[0].incx, s.tb == 'N' ? 1 : ldb);
      EXPECT_EQ(o.gemv[0].incy, 1);
      return;
    }
    if (s.path == Path::once) {
      ASSERT_EQ(o.gemm.size(), 1u);
      EXPECT_EQ(o.gemm[0].m_ptr, &s.m);
      EXPECT_EQ(std::make_tuple(o.gemm[0].a, o.gemm[0].b, o.gemm[0].c), std::make_tuple(a, b, c));
      return;
    }
    std::set<Piece> seen;
    std::set<const void *> targets;
    size_t calls = 0;
    for (const GemmCall &call : o.gemm) {
      if (call.m == 0 || call.n == 0) continue;  // a grid row that rounding left empty
      ++calls;
      if (s.path == Path::grid) {
        const ORB_INT at = static_cast<const double *>(call.c) - c;
        seen.insert({at % ldc, at / ldc, call.m, call.n});
        EXPECT_EQ(call.k, s.k);
        continue;
      }
      // Slices (of A and B as stored, N and N): worker 0 into C with the
      // caller's beta, the others into their own buffers of m x n.
      const ORB_INT first = (static_cast<const double *>(call.a) - a) / lda;
      seen.insert({first, call.k, 0, 0});
      targets.insert(call.c);
      EXPECT_EQ(call.b, b + first);
      EXPECT_EQ(std::make_tuple(call.ldc, call.beta), call.c == c ? std::make_tuple(ldc, beta) : std::make_tuple(s.m, 0.0));
    }
    const std::set<Piece> pieces = rule_pieces(s);
    EXPECT_EQ(seen, pieces);
    EXPECT_EQ(calls, pieces.size());  // no piece computed twice
    if (s.path == Path::split) {
      EXPECT_EQ(targets.size(), calls);
      ASSERT_NE(partial, o.alloc_alignment.end());
      EXPECT_EQ(o.alloc_bytes[partial - o.alloc_alignment.begin()], (pieces.size() - 1) * s.m * s.n * 8);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, GemmPath,
    ::testing::Values(PathCase{"budget1", 300, 200, 100, 'N', 'N', 1, Path::once},
                      PathCase{"matvec_before_the_budget", 300, 1, 200, 'N', 'N', 1, Path::gemv},
                      PathCase{"matvec_tt", 300, 1, 200, 'T', 'T', 4, Path::gemv},
                      PathCase{"matvec_strict", 300, 1, 200, 'T', 'N', 4, Path::grid, false, true},
                      PathCase{"split", 100, 100, 10000, 'N', 'N', 8, Path::split},
                      PathCase{"split_short_last_slice", 64, 70, 2693, 'N', 'N', 8, Path::split},
                      PathCase{"m63", 63, 100, 8000, 'N', 'N', 8, Path::grid},
                      PathCase{"one_slice_of_336", 64, 64, 600, 'N', 'N', 2, Path::grid},
                      PathCase{"no_scratch", 64, 64, 5000, 'N', 'N', 8, Path::grid, true},
                      PathCase{"strict", 64, 64, 5000, 'N', 'N', 8, Path::grid, false, true},
                      PathCase{"grid_4x2", 1000, 4096, 1, 'T', 'N', 8, Path::grid},
                      PathCase{"grid_5x3", 640, 96, 1, 'T', 'N', 16, Path::grid},
                      PathCase{"one_tile", 10, 10, 1, 'T', 'N', 16, Path::grid}),
    [](const auto &info) { return std::string(info.param.name); });

// 338 slices of k = 337 * 337: kb = 337 and the last slice is empty.  Its
// buffer comes back from the allocator full of NaN and must still add nothing.
// Integer data keeps every partial sum exact in single precision.
TEST(GemmSplitK, EmptySliceAddsNothing) {
  const ORB_INT m = 64, n = 64, k = 337 * 337, P = 338;
  std::vector<float> a(m * k), b(k * n), c(m * n, NAN);
  for (ORB_INT l = 0; l < k; ++l) {
    for (ORB_INT i = 0; i < m; ++i) a[i + l * m] = 1.0f + static_cast<float>((i + l) & 1);
    for (ORB_INT j = 0; j < n; ++j) b[l + j * k] = static_cast<float>((l * 7 + j) % 3);
  }
  const float alpha = 1.0f, beta = 0.0f;
  {
    Budget budget(static_cast<int>(P));
    observe();
    orb_blas_sgemm("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, c.data(), &m);
  }
  EXPECT_EQ(observed().alloc_bytes, std::vector<long>{(P - 1) * m * n * 4});
  for (ORB_INT j = 0; j < n; ++j) {
    double same_parity[2] = {0, 0};  // sums of B(l, j) over even and odd l
    for (ORB_INT l = 0; l < k; ++l) same_parity[l & 1] += b[l + j * k];
    for (ORB_INT i = 0; i < m; ++i)  // A(i, l) is 2 where i + l is odd, else 1
      ASSERT_EQ(c[i + j * m], same_parity[i & 1] + 2 * same_parity[1 - (i & 1)]) << i << "," << j;
  }
}

}  // namespace
}  // namespace orb::test
