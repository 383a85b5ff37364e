// How orb_blas_dgemm cuts its work, observed through the kernel calls it makes.
#include "dense.hpp"
#include "interpose.hpp"

#include <algorithm>

#include <set>
#include <tuple>

namespace orb::test {
namespace {

struct Product {
  ORB_INT m, n, k;
  char ta, tb;
  ORB_INT lda = (ta == 'N' ? m : k) + 1, ldb = (tb == 'N' ? k : n) + 2, ldc = m + 3;
  std::vector<double> a = random_matrix<double>(ta == 'N' ? m : k, ta == 'N' ? k : m, lda, 1);
  std::vector<double> b = random_matrix<double>(tb == 'N' ? k : n, tb == 'N' ? n : k, ldb, 2);
  std::vector<double> c0 = random_matrix<double>(m, n, ldc, 3), c = c0;
  double alpha = 1.0, beta = 0.5;

  //! Runs orb_blas_dgemm with this budget and returns the kernel calls it made.
  Observed run(int budget, bool fail_alloc = false, bool strict = false) {
    Budget with(budget);
    observe(fail_alloc, strict);
    orb_blas_dgemm(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
    return observed();
  }
  ::testing::AssertionResult correct() const {
    return matches_gemm(c, c0, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, ldc);
  }
};

// Two-dimensional cut: the non-empty kernel calls tile C exactly, on an mt x nt grid, with the full k.
// (The results of these cuts are checked by the GemmResults cases.)
struct GridCase {
  ORB_INT m, n, budget, mt, nt;
};

void PrintTo(const GridCase &g, std::ostream *os) {
  *os << g.m << "x" << g.n << " on " << g.budget << " as " << g.mt << "x" << g.nt;
}

class GemmGrid : public ::testing::TestWithParam<GridCase> {};

TEST_P(GemmGrid, KernelCallsTileCOnTheExpectedGrid) {
  const GridCase g = GetParam();
  Product p{g.m, g.n, 1, 'T', 'N'};
  const Observed o = p.run(static_cast<int>(g.budget));
  std::set<ORB_INT> row_starts, col_starts;
  ORB_INT area = 0;
  for (const GemmCall &call : o.gemm) {
    if (call.m == 0 || call.n == 0) continue;
    const ORB_INT off = call.c - p.c.data(), i0 = off % p.ldc, j0 = off / p.ldc;
    row_starts.insert(i0);
    col_starts.insert(j0);
    area += call.m * call.n;
    EXPECT_EQ(call.k, p.k);
    EXPECT_EQ(call.m, std::min((p.m + g.mt - 1) / g.mt, p.m - i0));
    EXPECT_EQ(call.n, std::min((p.n + g.nt - 1) / g.nt, p.n - j0));
    EXPECT_EQ(call.a, p.a.data() + i0 * p.lda);  // A transposed: its rows start at column i0
    EXPECT_EQ(call.b, p.b.data() + j0 * p.ldb);
  }
  EXPECT_EQ(static_cast<ORB_INT>(row_starts.size()), g.mt);
  EXPECT_EQ(static_cast<ORB_INT>(col_starts.size()), g.nt);
  EXPECT_EQ(area, p.m * p.n);  // with the block sizes and starts above: an exact tiling
}

INSTANTIATE_TEST_SUITE_P(Examples, GemmGrid,
                         ::testing::Values(GridCase{1000, 4096, 8, 4, 2}, GridCase{1000, 1200, 8, 1, 8},
                                           GridCase{1000, 512, 8, 2, 4}, GridCase{2000, 6000, 6, 2, 3},
                                           GridCase{512, 64, 16, 8, 2}, GridCase{640, 96, 16, 5, 3},
                                           GridCase{10, 10, 16, 1, 1}, GridCase{1000, 386, 2, 2, 1},
                                           GridCase{1000, 384, 2, 1, 2}));

TEST(GemmSplitK, HundredSquareLongKOnEightTakesEightSlicesAndSevenBuffers) {
  Product p{100, 100, 10000, 'N', 'N'};
  const Observed o = p.run(8);
  // The driver's scratch comes first; kernel calls may take scratch of their own after it.
  ASSERT_FALSE(o.alloc_bytes.empty());
  EXPECT_EQ(o.alloc_bytes[0], 7 * 10000 * 8);
  EXPECT_EQ(o.alloc_alignment[0], 2048);
  EXPECT_EQ(std::count(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048), 1);
  EXPECT_EQ(o.deallocations, static_cast<int>(o.alloc_bytes.size()));
  ASSERT_EQ(o.gemm.size(), 8u);
  std::set<const double *> targets;
  for (const GemmCall &call : o.gemm) {
    EXPECT_EQ(call.k, 1250);
    EXPECT_EQ(call.m, 100);
    const ORB_INT slice = (call.a - p.a.data()) / p.lda;
    EXPECT_EQ(call.b, p.b.data() + slice);
    if (call.c == p.c.data()) {
      EXPECT_EQ(slice, 0);
      EXPECT_EQ(call.beta, p.beta);
    } else {
      EXPECT_EQ(call.ldc, 100);
      EXPECT_EQ(call.beta, 0.0);
    }
    targets.insert(call.c);
  }
  EXPECT_EQ(targets.size(), 8u);  // C and seven distinct buffers
  EXPECT_TRUE(p.correct());
}

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

// Shapes that take the matrix-vector product (n = 1, except in strict mode),
// one kernel call with the caller's own arguments (budget 1), or the
// two-dimensional cut in at least two calls; none splits along k.
enum class Path { gemv, once, cut };

struct PathCase {
  const char *name;
  ORB_INT m, n, k;
  char ta, tb;
  int budget;
  Path path;
  bool fail_alloc = false, strict = false;
};
void PrintTo(const PathCase &c, std::ostream *os) { *os << c.name; }
class GemmPath : public ::testing::TestWithParam<PathCase> {};

TEST_P(GemmPath, RunsWithTheFullK) {
  const PathCase &s = GetParam();
  Product p{s.m, s.n, s.k, s.ta, s.tb};
  const Observed o = p.run(s.budget, s.fail_alloc, s.strict);
  // The frame's only scratch is the split's partial buffers, aligned to 2048
  // bytes; a kernel may take and give back scratch of its own.
  const auto split = std::count(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048);
  EXPECT_LE(split, s.fail_alloc ? 1 : 0);
  EXPECT_EQ(o.deallocations, s.fail_alloc ? 0 : static_cast<int>(o.alloc_alignment.size()) - split);
  for (const GemmCall &call : o.gemm) EXPECT_EQ(call.k, s.k);
  EXPECT_EQ(o.gemv.size(), s.path == Path::gemv ? 1u : 0u);
  if (s.path == Path::gemv) {
    EXPECT_TRUE(o.gemm.empty());
    EXPECT_EQ(o.gemv[0].trans, s.ta);
    EXPECT_EQ(o.gemv[0].m, s.ta == 'N' ? s.m : s.k);
    EXPECT_EQ(o.gemv[0].incx, s.tb == 'N' ? 1 : p.ldb);
    EXPECT_EQ(o.gemv[0].incy, 1);
  } else if (s.path == Path::once) {
    ASSERT_EQ(o.gemm.size(), 1u);
    EXPECT_EQ(o.gemm[0].m_ptr, &p.m);
    EXPECT_EQ(std::make_tuple(o.gemm[0].a, o.gemm[0].b, o.gemm[0].c), std::make_tuple(&p.a[0], &p.b[0], &p.c[0]));
  } else {
    EXPECT_GE(o.gemm.size(), 2u);
  }
  EXPECT_TRUE(p.correct());
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, GemmPath,
    ::testing::Values(PathCase{"m63", 63, 100, 8000, 'N', 'N', 8, Path::cut},
                      PathCase{"m63_budget2", 63, 64, 4000, 'N', 'N', 2, Path::cut},
                      PathCase{"one_slice_of_336", 64, 64, 600, 'N', 'N', 2, Path::cut},
                      PathCase{"no_scratch", 64, 64, 5000, 'N', 'N', 8, Path::cut, true},
                      PathCase{"strict", 64, 64, 5000, 'N', 'N', 8, Path::cut, false, true},
                      PathCase{"budget1", 300, 200, 100, 'N', 'N', 1, Path::once},
                      PathCase{"matvec", 300, 1, 200, 'N', 'N', 1, Path::gemv},
                      PathCase{"matvec_tt", 300, 1, 200, 'T', 'T', 1, Path::gemv},
                      PathCase{"matvec_nt_budget4", 300, 1, 200, 'N', 'T', 4, Path::gemv},
                      PathCase{"matvec_strict", 300, 1, 200, 'N', 'N', 1, Path::once, false, true},
                      PathCase{"matvec_strict_budget4", 300, 1, 200, 'T', 'N', 4, Path::cut, false, true}),
    [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orb::test
