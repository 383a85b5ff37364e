// How orb_blas_dgemm cuts its work, observed through the kernel calls it
// makes: the path a shape takes (the matrix-vector product, one call with the
// caller's own arguments, the split along k, or the grid of C), and that its
// pieces are exactly those the cutting rules give.  The rules' worked tables
// are tested in tests/partition, the results of every path in results_test.cpp.
#include "blas/gemm_grid.hpp"
#include "dense.hpp"
#include "interpose.hpp"
#include "partition/split_k.hpp"

#include <algorithm>
#include <set>
#include <tuple>

namespace orb::test {
namespace {

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
    // kernel may take scratch of its own.  Whatever was had is given back.
    const auto partial = std::find(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048);
    EXPECT_EQ(std::count(o.alloc_alignment.begin(), o.alloc_alignment.end(), 2048),
              s.path == Path::split || s.fail_alloc ? 1 : 0);
    EXPECT_EQ(o.deallocations, s.fail_alloc ? 0 : static_cast<int>(o.alloc_bytes.size()));
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
