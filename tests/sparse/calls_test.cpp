// What the sparse layers do besides arithmetic: statuses before anything is
// written, which kernel the product entry picks and over which rows (the
// core's kernels and allocator are interposed here), what the analysis keeps,
// and that an allocation failing anywhere leaves a usable handle and no leak.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_sparse.h>

#include "hooks.hpp"
#include "sparse.hpp"
#include "sparse_rules.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

namespace orb::test {
namespace {

struct Piece {
  int64_t first, count;
  bool beta;
};
struct Seen {
  std::mutex lock;
  const int32_t *row_start = nullptr;  // the matrix whose pieces are recorded
  std::vector<Piece> pieces;
  std::vector<int32_t> def_ops;
  int transposed = 0, merges = 0, merge_parts = -1;
  std::vector<std::pair<int64_t, int>> allocations;  // bytes, alignment
  std::atomic<long> live{0};
  std::atomic<int> fail_at{-1};  // the number of the allocation to fail, -1 for none
  std::atomic<int> count{0};
  std::atomic<int> sweep_blocks{0}, default_solves{0};
  const double *y_base = nullptr;  // the Y of a product of several right-hand sides
  std::vector<int> mm_first_rhs;
};
Seen seen;

void observe(const int32_t *row_start = nullptr, int fail_at = -1) {
  std::lock_guard<std::mutex> g(seen.lock);
  seen.row_start = row_start;
  seen.pieces.clear();
  seen.def_ops.clear();
  seen.mm_first_rhs.clear();
  seen.allocations.clear();
  seen.transposed = seen.merges = 0;
  seen.merge_parts = -1;
  seen.count = 0;
  seen.sweep_blocks = seen.default_solves = 0;
  seen.fail_at = fail_at;
}

void piece(const int32_t *rs, int32_t rows, bool beta) {
  std::lock_guard<std::mutex> g(seen.lock);
  if (seen.row_start) seen.pieces.push_back({rs - seen.row_start, rows, beta});
}

}  // namespace
}  // namespace orb::test

using namespace orb::test;

extern "C" void orb_sparse_d_csr_ng_n_mv_ker_i4(int32_t rows, double alpha, const double *v, const int32_t *ci,
                                                const int32_t *rs, const double *x, double *y) {
  piece(rs, rows, false);
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr_ng_n_mv_ker_i4);
  real(rows, alpha, v, ci, rs, x, y);
}
extern "C" void orb_sparse_d_csr_ng_n_mv_ker_beta_i4(int32_t rows, double alpha, const double *v, const int32_t *ci,
                                                     const int32_t *rs, const double *x, double beta, double *y) {
  piece(rs, rows, true);
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr_ng_n_mv_ker_beta_i4);
  real(rows, alpha, v, ci, rs, x, beta, y);
}
extern "C" void orb_sparse_d_csr_ng_t_mv_ker_i4(int32_t rows, int32_t cols, int32_t base, double alpha,
                                                const double *v, const int32_t *ci, const int32_t *rs,
                                                const double *x, double *out) {
  ++seen.transposed;
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr_ng_t_mv_ker_i4);
  real(rows, cols, base, alpha, v, ci, rs, x, out);
}
extern "C" void orb_sparse_d_csr_mv_merge1_i4(int32_t parts, int32_t cols, int32_t chunk, const double *partial,
                                              double beta, double *y) {
  ++seen.merges;
  seen.merge_parts = parts;
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr_mv_merge1_i4);
  real(parts, cols, chunk, partial, beta, y);
}
extern "C" int32_t orb_sparse_d_xcsr_mv_t_def_i4(int32_t op, orb_sparse_descr d, orb_sparse_matrix A,
                                                 const double *x, double *y, double alpha, double beta) {
  {
    std::lock_guard<std::mutex> g(seen.lock);
    seen.def_ops.push_back(op);
  }
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_xcsr_mv_t_def_i4);
  return real(op, d, A, x, y, alpha, beta);
}
extern "C" void orb_sparse_d_sv_fwd_ker_n_i4(int32_t width, int32_t slices, int32_t rem, int32_t first,
                                             const void *plan, double alpha, const double *x, double *y,
                                             const double *diag) {
  ++seen.sweep_blocks;
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_sv_fwd_ker_n_i4);
  real(width, slices, rem, first, plan, alpha, x, y, diag);
}
extern "C" int32_t orb_sparse_d_trsv_def_i4(int32_t op, orb_sparse_descr d, orb_sparse_matrix A, const double *diag,
                                            double alpha, const double *x, double *y) {
  ++seen.default_solves;
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_trsv_def_i4);
  return real(op, d, A, diag, alpha, x, y);
}
extern "C" void orb_sparse_d_csr_ng_n_mm_ker_i4(int32_t rows, int32_t columns, int32_t layout, double alpha,
                                                const double *v, const int32_t *ci, const int32_t *rs,
                                                const double *x, int32_t ldx, double beta, double *y, int32_t ldy) {
  {
    std::lock_guard<std::mutex> g(seen.lock);
    // A piece of several right-hand sides: first row, rows, whether it is 16
    // wide (in `beta`), and its first right-hand side.
    if (seen.row_start && seen.y_base) {
      seen.pieces.push_back({rs - seen.row_start, rows, columns == 16});
      seen.mm_first_rhs.push_back(static_cast<int>((y - seen.y_base) / ldy));
    }
  }
  static const auto real = ORB_TEST_NEXT(orb_sparse_d_csr_ng_n_mm_ker_i4);
  real(rows, columns, layout, alpha, v, ci, rs, x, ldx, beta, y, ldy);
}
extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_malloc);
  if (seen.count++ == seen.fail_at) return nullptr;
  void *p = real(bytes, alignment);
  if (p) {
    ++seen.live;
    std::lock_guard<std::mutex> g(seen.lock);
    seen.allocations.emplace_back(bytes, alignment);
  }
  return p;
}
extern "C" void orb_serv_free(void *p) {
  static const auto real = ORB_TEST_NEXT(orb_serv_free);
  if (p) --seen.live;
  real(p);
}

namespace orb::test {
namespace {

constexpr orb_sparse_descr kGeneral{ORB_SPARSE_GENERAL, 0, 0};

//! A 5-point Laplacian of an n x n grid, zero-based CSR.
struct Laplacian {
  std::vector<int32_t> ptr, col;
  std::vector<double> val;
  int32_t rows;
  int32_t middle;  //!< a row inside the grid, whose entries sum to 0
  explicit Laplacian(int32_t n) : rows(n * n), middle(n / 2 * n + n / 2) {
    ptr.push_back(0);
    for (int32_t i = 0; i < rows; ++i) {
      const int32_t r = i / n, c = i % n;
      const int32_t nb[] = {i - n, i - 1, i, i + 1, i + n};
      const bool ok[] = {r > 0, c > 0, true, c + 1 < n, r + 1 < n};
      for (int k = 0; k < 5; ++k)
        if (ok[k]) col.push_back(nb[k]), val.push_back(k == 2 ? 4.0 : -1.0);
      ptr.push_back(static_cast<int32_t>(col.size()));
    }
  }
  orb_sparse_matrix handle() {
    orb_sparse_matrix A = nullptr;
    EXPECT_EQ(orb_sparse_d_create_csr3(&A, 0, rows, rows, ptr.data(), col.data(), val.data()), ORB_SPARSE_OK);
    return A;
  }
};

// The general product cuts rows into pieces that cover them once, in
// sub-ranges the runtime chooses; beta exactly 0, of either sign, takes the
// kernel that does not read y (a NaN in y stays out), any other beta, NaN
// included, the kernel that scales y.
TEST(SparsePieces, CoverEveryRowOnceAndPickTheKernelByBeta) {
  Laplacian lap(150);
  orb_sparse_matrix A = lap.handle();
  const std::vector<double> x(lap.rows, 1.0);
  for (const double beta : {0.0, -0.0, 2.0, double(NAN)}) {
    std::vector<double> y(lap.rows, NAN);
    observe(lap.ptr.data());
    ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, kGeneral, x.data(), beta, y.data()), ORB_SPARSE_OK);
    std::vector<Piece> pieces;
    {
      std::lock_guard<std::mutex> g(seen.lock);
      pieces = seen.pieces;
      seen.row_start = nullptr;
    }
    std::sort(pieces.begin(), pieces.end(), [](const Piece &a, const Piece &b) { return a.first < b.first; });
    int64_t next = 0;
    for (const Piece &p : pieces) {
      EXPECT_EQ(p.first, next);
      EXPECT_EQ(p.beta, beta != 0.0) << beta;
      next += p.count;
    }
    EXPECT_EQ(next, lap.rows);
    if (std::thread::hardware_concurrency() > 1) {
      EXPECT_GT(pieces.size(), 1u);
    }
    if (beta == 0.0) {
      EXPECT_EQ(y[lap.middle], 0.0);
    }
  }
  orb_sparse_destroy(A);
}

// The transposed general product is one kernel call and a merge of one part.
TEST(SparsePieces, TransposedProductIsOneCallAndOneMerge) {
  Laplacian lap(20);
  orb_sparse_matrix A = lap.handle();
  std::vector<double> x(lap.rows, 1.0), y(lap.rows, 3.0);
  observe();
  ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_T, 1.0, A, kGeneral, x.data(), 1.0, y.data()), ORB_SPARSE_OK);
  EXPECT_EQ(seen.transposed, 1);
  EXPECT_EQ(seen.merges, 1);
  EXPECT_EQ(seen.merge_parts, 1);
  EXPECT_EQ(y[lap.middle], 3.0);
  orb_sparse_destroy(A);
}

// A real symmetric (or Hermitian) matrix is its own transpose: operation 11
// runs as 10.
TEST(SparsePieces, RealSymmetricTransposedRunsUntransposed) {
  Laplacian lap(4);
  orb_sparse_matrix A = lap.handle();
  std::vector<double> x(lap.rows, 1.0), y(lap.rows);
  for (const int32_t type : {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_HERMITIAN}) {
    observe();
    ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_T, 1.0, A, {type, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT}, x.data(), 0.0,
                              y.data()),
              ORB_SPARSE_OK);
    ASSERT_EQ(seen.def_ops.size(), 1u);
    EXPECT_EQ(seen.def_ops[0], ORB_SPARSE_OP_N);
  }
  orb_sparse_destroy(A);
}

// The analysis of a general product keeps a 104-byte optimization record and
// a 4096-byte partition block, both 4096-aligned, made once: a second
// analysis of the same record allocates nothing.
TEST(SparseAnalysis, KeepsItsRecordsOnceAndOnePart) {
  Laplacian lap(30);
  orb_sparse_matrix A = lap.handle();
  ASSERT_EQ(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, kGeneral, 100), ORB_SPARSE_OK);
  observe();
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const std::vector<std::pair<int64_t, int>> made = seen.allocations;
  EXPECT_EQ(made, (std::vector<std::pair<int64_t, int>>{{104, 4096}, {4096, 4096}}));
  const auto *h = sparse::handle_cast<double, int32_t>(A);
  const int32_t *block = h->primary->opt->partition;
  EXPECT_EQ(reinterpret_cast<uintptr_t>(h->primary->opt) % 4096, 0u);
  EXPECT_EQ(block[0], 0);
  EXPECT_EQ(block[1], lap.rows);
  EXPECT_EQ(block[sparse::kPartitionCount], 1);
  ASSERT_NE(h->mv_hints, nullptr);
  EXPECT_NE(h->mv_hints->procedure, nullptr);
  observe();
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  EXPECT_TRUE(seen.allocations.empty());
  orb_sparse_destroy(A);
}

// Each allocation of creation, hints, analysis (transpose, inspector, sliced
// copy, general copy, records, partition) and the products fails in turn: the call
// reports 2, y keeps its values, and once the handle is gone nothing is left.
TEST(SparseAnalysis, AllocationFailuresReportTwoAndLeakNothing) {
  Laplacian lap(6);
  const std::vector<double> x(lap.rows, 1.0);
  const orb_sparse_descr sym{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT};
  bool failed_somewhere = true;
  for (int k = 0; failed_somewhere && k < 64; ++k) {
    failed_somewhere = false;
    const long live = seen.live;
    observe(nullptr, k);
    orb_sparse_matrix A = nullptr;
    orb_sparse_status s = orb_sparse_d_create_csr3(&A, 0, lap.rows, lap.rows, lap.ptr.data(), lap.col.data(),
                                                   lap.val.data());
    const auto step = [&](orb_sparse_status got) {
      EXPECT_TRUE(got == ORB_SPARSE_OK || got == ORB_SPARSE_NO_MEMORY) << got << " at allocation " << k;
      failed_somewhere |= got == ORB_SPARSE_NO_MEMORY;
    };
    step(s);
    if (s != ORB_SPARSE_OK) {
      EXPECT_EQ(A, nullptr);
      continue;
    }
    // Copies allowed: the inspector's counts and the sliced copy allocate too.
    ASSERT_EQ(orb_sparse_set_memory_hint(A, ORB_SPARSE_MEMORY_COPIES), ORB_SPARSE_OK);
    step(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_T, kGeneral, 5));
    step(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, sym, 5));
    step(orb_sparse_optimize(A));
    for (const int op : {ORB_SPARSE_OP_T, ORB_SPARSE_OP_N}) {
      std::vector<double> y(lap.rows, 7.0);
      s = orb_sparse_d_mv(op, 1.0, A, op == ORB_SPARSE_OP_T ? kGeneral : sym, x.data(), 1.0, y.data());
      step(s);
      if (s == ORB_SPARSE_NO_MEMORY) {
        EXPECT_EQ(y, std::vector<double>(lap.rows, 7.0));
      }
      if (s == ORB_SPARSE_OK) {
        EXPECT_EQ(y[lap.middle], 7.0);
      }
    }
    orb_sparse_destroy(A);
    EXPECT_EQ(seen.live, live) << "allocation " << k;
  }
  EXPECT_FALSE(failed_somewhere) << "a run with every allocation served";
  observe();
}

// A symmetric matrix stored in full with a unit diagonal keeps its strict
// upper triangle; the product from it reads no diagonal (a 5-point
// Laplacian's interior row then sums to 1 - 4), and a triangle that cannot
// be built answers 5 and leaves nothing behind.
TEST(SparseAnalysis, FullSymmetricUnitKeepsTheUpperTriangle) {
  Laplacian lap(10);
  const orb_sparse_descr full_unit{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_FULL, ORB_SPARSE_UNIT};
  const std::vector<double> x(lap.rows, 1.0);
  for (int fail = -1; fail < 4; ++fail) {
    orb_sparse_matrix A = lap.handle();
    ASSERT_EQ(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, full_unit, 3), ORB_SPARSE_OK);
    observe(nullptr, fail);
    const orb_sparse_status s = orb_sparse_optimize(A);
    observe();
    const auto *h = sparse::handle_cast<double, int32_t>(A);
    const void *data = h->primary->opt ? h->primary->opt->up_tri_from_full_sym_data : nullptr;
    if (fail < 0) {
      EXPECT_EQ(s, ORB_SPARSE_OK);
      EXPECT_NE(data, nullptr);
    } else {
      EXPECT_TRUE(s == ORB_SPARSE_INTERNAL || s == ORB_SPARSE_NO_MEMORY) << s << " at " << fail;
      EXPECT_EQ(data, nullptr);
    }
    std::vector<double> y(lap.rows, NAN);
    ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, full_unit, x.data(), 0.0, y.data()), ORB_SPARSE_OK);
    EXPECT_EQ(y[lap.middle], -3.0);
    EXPECT_EQ(y[0], -1.0);
    orb_sparse_destroy(A);
  }
}

// A Gauss-Seidel variant of the call's operation serves a product only with
// alpha exactly 1, and then either for its own descriptor with beta 0, or
// for a non-unit triangle: upper with beta 0, lower with beta 1.  Without
// its split data a variant that serves answers 5; one that does not leaves
// the call to the default product.
TEST(SparseStatus, GaussSeidelVariantsServeTheirHalfSweeps) {
  Laplacian lap(4);
  orb_sparse_matrix A = lap.handle();
  auto *h = sparse::handle_cast<double, int32_t>(A);
  sparse::SparseHint<double, int32_t> node{ORB_SPARSE_OP_N, ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER,
                                           ORB_SPARSE_NON_UNIT, 0, nullptr, nullptr, 1, sparse::kHintSymgs, nullptr, nullptr};
  h->symgs_hints = &node;
  const std::vector<double> x(lap.rows, 1.0);
  struct Row {
    int op;
    orb_sparse_descr d;
    double alpha, beta;
    orb_sparse_status want;
  };
  const orb_sparse_descr upper{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT};
  const orb_sparse_descr lower{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  const Row rows[] = {
      {ORB_SPARSE_OP_N, {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT}, 1, 0, ORB_SPARSE_INTERNAL},
      {ORB_SPARSE_OP_N, {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT}, 1, 1, ORB_SPARSE_OK},
      {ORB_SPARSE_OP_N, upper, 1, 0, ORB_SPARSE_INTERNAL},
      {ORB_SPARSE_OP_N, lower, 1, 1, ORB_SPARSE_INTERNAL},
      {ORB_SPARSE_OP_N, lower, 1, 0, ORB_SPARSE_OK},
      {ORB_SPARSE_OP_N, upper, 2, 0, ORB_SPARSE_OK},
      {ORB_SPARSE_OP_T, upper, 1, 0, ORB_SPARSE_OK},
      {ORB_SPARSE_OP_N, {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT}, 1, 0, ORB_SPARSE_OK},
  };
  for (const Row &r : rows) {
    std::vector<double> y(lap.rows, 0.0);
    EXPECT_EQ(orb_sparse_d_mv(r.op, r.alpha, A, r.d, x.data(), r.beta, y.data()), r.want)
        << r.op << " " << r.d.type << " " << r.d.fill << " alpha " << r.alpha << " beta " << r.beta;
  }
  h->symgs_hints = nullptr;
  orb_sparse_destroy(A);
}

// The inspector's choice: a banded matrix is smallest as diagonals, rows of
// one length at scattered columns as slices, rows of very different lengths
// stay CSR.
TEST(SparseAnalysis, InspectorChoosesByFootprint) {
  const int32_t n = 1000;
  std::mt19937 gen(7);
  std::uniform_int_distribution<int32_t> column(0, n - 1), length(1, 30);
  const auto build = [&](int kind) {
    Laplacian m(1);
    m.ptr = {0};
    m.col.clear();
    m.val.clear();
    m.rows = n;
    for (int32_t i = 0; i < n; ++i) {
      std::vector<int32_t> cols;
      if (kind == 0)
        for (int32_t j = std::max(0, i - 1); j <= std::min(n - 1, i + 1); ++j) cols.push_back(j);
      else
        for (int32_t k = 0, len = kind == 1 ? 16 : length(gen); k < len; ++k) cols.push_back(column(gen));
      for (const int32_t j : cols) m.col.push_back(j), m.val.push_back(1.0);
      m.ptr.push_back(static_cast<int32_t>(m.col.size()));
    }
    return m;
  };
  for (const int kind : {0, 1, 2}) {
    Laplacian m = build(kind);
    orb_sparse_matrix A = m.handle();
    EXPECT_EQ(orb_sparse_d_inspector_gen_mv_i4(A, ORB_SPARSE_OP_N), kind == 0 ? 2 : kind == 1 ? 1 : 0) << kind;
    orb_sparse_destroy(A);
  }
}

// Statuses of the product entry, in the order it checks, before y is touched.
TEST(SparseStatus, ProductChecksInOrderAndWritesNothing) {
  Laplacian lap(3);
  orb_sparse_matrix A = lap.handle();
  const std::vector<double> x(lap.rows, 1.0);
  std::vector<double> y(lap.rows, 5.0);
  struct Row {
    int op;
    orb_sparse_descr d;
    bool null_x;
    orb_sparse_status want;
  };
  const Row rows[] = {
      {13, kGeneral, true, ORB_SPARSE_NULL_POINTER},  // pointers before codes
      {13, kGeneral, false, ORB_SPARSE_BAD_VALUE},
      {ORB_SPARSE_OP_N, {27, 40, 50}, false, ORB_SPARSE_BAD_VALUE},
      {ORB_SPARSE_OP_N, {19, 40, 50}, false, ORB_SPARSE_BAD_VALUE},
      {ORB_SPARSE_OP_N, {ORB_SPARSE_TRIANGULAR, 43, 50}, false, ORB_SPARSE_BAD_VALUE},
      {ORB_SPARSE_OP_N, {ORB_SPARSE_SYMMETRIC, 40, 52}, false, ORB_SPARSE_BAD_VALUE},
      {ORB_SPARSE_OP_N, {ORB_SPARSE_DIAGONAL, 99, 49}, false, ORB_SPARSE_BAD_VALUE},
  };
  for (const Row &r : rows) {
    EXPECT_EQ(orb_sparse_d_mv(r.op, 1.0, A, r.d, r.null_x ? nullptr : x.data(), 0.0, y.data()), r.want)
        << r.op << " " << r.d.type;
    EXPECT_EQ(y, std::vector<double>(lap.rows, 5.0));
  }
  EXPECT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, kGeneral, x.data(), 0.0, nullptr), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, nullptr, kGeneral, x.data(), 0.0, y.data()),
            ORB_SPARSE_NULL_POINTER);
  // A handle of doubles through the float name.
  std::vector<float> xf(lap.rows, 1.0f), yf(lap.rows, 5.0f);
  EXPECT_EQ(orb_sparse_s_mv(ORB_SPARSE_OP_N, 1.0f, A, kGeneral, xf.data(), 0.0f, yf.data()), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(yf, std::vector<float>(lap.rows, 5.0f));
  // Hints are checked as products are.
  EXPECT_EQ(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, {ORB_SPARSE_TRIANGULAR, 43, 50}, 1), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, kGeneral, 0), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(orb_sparse_set_memory_hint(A, 82), ORB_SPARSE_BAD_VALUE);
  orb_sparse_destroy(A);
}

// Creation checks the arrays it is given and makes no handle when they are wrong.
TEST(SparseStatus, CreationRejectsBadArrays) {
  int32_t ptr[] = {0, 2, 3, 5};  // 3 x 3, rows of 2, 1, 2 entries
  int32_t col[] = {0, 2, 1, 0, 2};
  double val[] = {1, 2, 3, 4, 5};
  int32_t down[] = {0, 3, 2, 5};
  int32_t far[] = {0, 2, 3, 0, 2};
  int32_t coo_row[] = {0, 0, 1, 2, 3};
  const auto made = [](auto create) {
    orb_sparse_matrix A = reinterpret_cast<orb_sparse_matrix>(&A);  // a sentinel that must stay
    const orb_sparse_status s = create(&A);
    EXPECT_EQ(A, reinterpret_cast<orb_sparse_matrix>(&A));
    return s;
  };
  using M = orb_sparse_matrix *;
  EXPECT_EQ(orb_sparse_d_create_csr3(nullptr, 0, 3, 3, ptr, col, val), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 0, 3, 3, nullptr, col, val); }), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 0, 3, 3, ptr, col, nullptr); }), ORB_SPARSE_NULL_POINTER);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 2, 3, 3, ptr, col, val); }), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 0, -1, 3, ptr, col, val); }), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 0, 3, 3, down, col, val); }), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 0, 3, 2, ptr, col, val); }), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csr3(A, 1, 3, 3, ptr, col, val); }), ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_csc(A, 0, 3, 3, ptr, ptr + 1, far, val); }),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_coo(A, 0, 3, 3, 5, coo_row, col, val); }),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_coo(A, 0, 3, 3, -1, coo_row, col, val); }),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_bsr(A, 0, ORB_SPARSE_BLOCK_ROW_MAJOR, 3, 3, 0, ptr, ptr + 1, col, val); }),
            ORB_SPARSE_BAD_VALUE);
  EXPECT_EQ(made([&](M A) { return orb_sparse_d_create_bsr(A, 0, 7, 3, 3, 1, ptr, ptr + 1, col, val); }),
            ORB_SPARSE_BAD_VALUE);
  // The good arrays make a handle that hands them back as they were.
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_csr3(&A, 0, 3, 3, ptr, col, val), ORB_SPARSE_OK);
  int format = -1, base = -1;
  int32_t rows = 0, cols = 0, block = 0, *rs = nullptr, *re = nullptr, *ci = nullptr;
  double *v = nullptr;
  ASSERT_EQ(orb_sparse_d_export(A, &format, &base, &rows, &cols, &block, &rs, &re, &ci, &v), ORB_SPARSE_OK);
  EXPECT_EQ(std::make_tuple(format, base, rows, cols, block, rs, re, ci, v),
            std::make_tuple(ORB_SPARSE_CSR, 0, 3, 3, 1, ptr, ptr + 1, col, val));
  int64_t r64 = 0, *p64 = nullptr;
  EXPECT_EQ(orb_sparse_d_export_64(A, &format, &base, &r64, &r64, &r64, &p64, &p64, &p64, &v), ORB_SPARSE_BAD_VALUE);
  orb_sparse_destroy(A);
}

// Which analysed product serves a call: same operation and type, and only the
// parts of the descriptor the type reads.
TEST(SparseStatus, HintMatching) {
  struct Row {
    orb_sparse_descr hint, call;
    bool match;
  };
  const Row rows[] = {
      {{20, 40, 50}, {20, 41, 51}, true},  {{24, 40, 50}, {24, 41, 50}, true},  {{24, 40, 50}, {24, 40, 51}, false},
      {{25, 40, 50}, {25, 40, 51}, true},  {{25, 40, 50}, {25, 41, 50}, false}, {{21, 40, 50}, {21, 40, 51}, false},
      {{23, 41, 51}, {23, 41, 51}, true},  {{26, 40, 50}, {26, 41, 51}, true},  {{21, 40, 50}, {22, 40, 50}, false},
  };
  for (const Row &r : rows) {
    EXPECT_EQ(sparse::hint_matches(10, r.hint, 10, r.call), r.match) << r.hint.type << " " << r.call.fill;
    EXPECT_FALSE(sparse::hint_matches(10, r.hint, 11, r.call));
  }
}

// With Gauss-Seidel data prepared and no solve hint, a lower solve with
// alpha exactly 1 runs on the prepared blocks, alpha 2 on the default solve;
// both solve the system.  The lower product with beta 1 and the upper one
// with beta 0 are the two half-sweeps the split data serves.
TEST(SparseSolveCalls, PreparedDataServesAlphaOneOnly) {
  Laplacian lap(12);
  orb_sparse_matrix A = lap.handle();
  const orb_sparse_descr sym{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, sym, 10), ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const std::vector<double> x(lap.rows, 1.0);
  std::vector<double> y1(lap.rows), y2(lap.rows);
  observe();
  ASSERT_EQ(orb_sparse_d_trsv(ORB_SPARSE_OP_N, 1.0, A, sym, x.data(), y1.data()), ORB_SPARSE_OK);
  EXPECT_GT(seen.sweep_blocks, 0);
  EXPECT_EQ(seen.default_solves, 0);
  observe();
  ASSERT_EQ(orb_sparse_d_trsv(ORB_SPARSE_OP_N, 2.0, A, sym, x.data(), y2.data()), ORB_SPARSE_OK);
  EXPECT_EQ(seen.sweep_blocks, 0);
  EXPECT_EQ(seen.default_solves, 1);
  for (int32_t i = 0; i < lap.rows; ++i) EXPECT_DOUBLE_EQ(y2[i], 2 * y1[i]) << i;
  // (D + L) 1 added to y, and (D + U) 1 over y: an interior row gives 4 - 2.
  const orb_sparse_descr tl{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  const orb_sparse_descr tu{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT};
  std::vector<double> y(lap.rows, 1.0);
  ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, tl, x.data(), 1.0, y.data()), ORB_SPARSE_OK);
  EXPECT_EQ(y[lap.middle], 3.0);
  ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, tu, x.data(), 0.0, y.data()), ORB_SPARSE_OK);
  EXPECT_EQ(y[lap.middle], 2.0);
  orb_sparse_destroy(A);
}

// The Gauss-Seidel analysis takes a symmetric matrix, untransposed, with a
// stored diagonal: operation 11, a general or a unit descriptor are dropped
// (nothing analysed), and a row without its diagonal leaves nothing behind.
TEST(SparseSolveCalls, GaussSeidelAnalysisRefusals) {
  Laplacian lap(5);
  for (const auto &[op, d] : {std::pair<int, orb_sparse_descr>{ORB_SPARSE_OP_T, {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_UPPER, ORB_SPARSE_NON_UNIT}},
                              {ORB_SPARSE_OP_N, {ORB_SPARSE_GENERAL, 0, 0}},
                              {ORB_SPARSE_OP_N, {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_UPPER, ORB_SPARSE_UNIT}}}) {
    orb_sparse_matrix A = lap.handle();
    ASSERT_EQ(orb_sparse_set_symgs_hint(A, op, d, 10), ORB_SPARSE_OK);
    ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
    const auto *h = sparse::handle_cast<double, int32_t>(A);
    EXPECT_EQ(h->symgs_hints, nullptr) << "op " << op << " type " << d.type;
    EXPECT_TRUE(!h->primary->opt || !h->primary->opt->symgs_data);
    orb_sparse_destroy(A);
  }
  std::vector<double> val = lap.val;
  val[lap.ptr[lap.middle] + 2] = 0.0;  // the middle row's diagonal
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_csr3(&A, 0, lap.rows, lap.rows, lap.ptr.data(), lap.col.data(), val.data()),
            ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, {ORB_SPARSE_SYMMETRIC, ORB_SPARSE_FULL, ORB_SPARSE_NON_UNIT}, 10),
            ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const auto *h = sparse::handle_cast<double, int32_t>(A);
  EXPECT_EQ(h->symgs_hints, nullptr);
  EXPECT_EQ(h->primary->diagonal, nullptr);
  orb_sparse_destroy(A);
}

// Each allocation of the Gauss-Seidel analysis and of the sweeps fails in
// turn: the analysis answers 2 or 5 and frees what it built, a sweep answers
// 2 with x untouched, the handle keeps working, and nothing leaks.
TEST(SparseSolveCalls, AllocationFailuresInTheGaussSeidelPath) {
  Laplacian lap(8);
  const orb_sparse_descr sym{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  const std::vector<double> b(lap.rows, 1.0);
  std::vector<double> want(lap.rows, 0.0);
  {
    orb_sparse_matrix A = lap.handle();
    ASSERT_EQ(orb_sparse_d_symgs(ORB_SPARSE_OP_N, A, sym, b.data(), want.data()), ORB_SPARSE_OK);
    orb_sparse_destroy(A);
  }
  bool failed_somewhere = true;
  for (int k = 0; failed_somewhere && k < 200; ++k) {
    failed_somewhere = false;
    const long live = seen.live;
    orb_sparse_matrix A = lap.handle();
    ASSERT_EQ(orb_sparse_set_symgs_hint(A, ORB_SPARSE_OP_N, sym, 10), ORB_SPARSE_OK);
    observe(nullptr, k);
    const orb_sparse_status s = orb_sparse_optimize(A);
    EXPECT_TRUE(s == ORB_SPARSE_OK || s == ORB_SPARSE_NO_MEMORY || s == ORB_SPARSE_INTERNAL) << s << " at " << k;
    failed_somewhere |= s != ORB_SPARSE_OK;
    std::vector<double> x(lap.rows, 0.0);
    const orb_sparse_status swept = orb_sparse_d_symgs(ORB_SPARSE_OP_N, A, sym, b.data(), x.data());
    observe();
    EXPECT_TRUE(swept == ORB_SPARSE_OK || swept == ORB_SPARSE_NO_MEMORY) << swept << " at " << k;
    failed_somewhere |= swept != ORB_SPARSE_OK;
    if (swept == ORB_SPARSE_OK) {
      for (int32_t i = 0; i < lap.rows; ++i) EXPECT_NEAR(x[i], want[i], 1e-14) << i << " at " << k;
    } else {
      EXPECT_EQ(x, std::vector<double>(lap.rows, 0.0));
    }
    orb_sparse_destroy(A);
    EXPECT_EQ(seen.live, live) << "allocation " << k;
  }
  EXPECT_FALSE(failed_somewhere) << "a run with every allocation served";
}

// A symmetric BSR matrix from its lower triangle is analysed into the general
// copy of its blocks: a block above the diagonal and the upper halves of the
// diagonal blocks (99) are not part of the matrix, a block below is mirrored
// transposed, and the threaded block product runs on the copy.
TEST(SparseAnalysis, SymmetricBsrGetsItsGeneralCopy) {
  int32_t ptr[] = {0, 2, 4}, col[] = {0, 1, 0, 1};
  double val[] = {1, 99, 2, 3, 99, 99, 99, 99, 4, 5, 6, 7, 8, 99, 9, 10};
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_bsr(&A, 0, ORB_SPARSE_BLOCK_ROW_MAJOR, 2, 2, 2, ptr, ptr + 1, col, val), ORB_SPARSE_OK);
  const orb_sparse_descr lower{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  ASSERT_EQ(orb_sparse_set_mv_hint(A, ORB_SPARSE_OP_N, lower, 5), ORB_SPARSE_OK);
  ASSERT_EQ(orb_sparse_optimize(A), ORB_SPARSE_OK);
  const auto *h = sparse::handle_cast<double, int32_t>(A);
  ASSERT_NE(h->general_from_lower, nullptr);
  EXPECT_NE(h->mv_hints, nullptr);
  const double x[] = {1, 1, 1, 1};
  double y[] = {NAN, NAN, NAN, NAN};
  ASSERT_EQ(orb_sparse_d_mv(ORB_SPARSE_OP_N, 1.0, A, lower, x, 0.0, y), ORB_SPARSE_OK);
  EXPECT_EQ(std::vector<double>(y, y + 4), (std::vector<double>{13, 17, 26, 32}));
  orb_sparse_destroy(A);
}

// Several right-hand sides: 40 of them over 900 rows are blocks of 16, 16
// and 8; the loop's pieces, cut at block boundaries, cover every (block, row)
// pair once, and the result is each column's product.
TEST(SparseMm, PiecesCoverEveryBlockAndRowOnce) {
  Laplacian lap(30);
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_csr3(&A, 0, lap.rows, lap.rows, lap.ptr.data(), lap.col.data(), lap.val.data()),
            ORB_SPARSE_OK);
  const int64_t n = lap.rows, columns = 40;
  std::vector<double> x(n * columns), y(n * columns, 0.0);
  for (int64_t i = 0; i < n * columns; ++i) x[i] = 1.0 + static_cast<double>(i / n);
  observe(lap.ptr.data());
  seen.y_base = y.data();
  ASSERT_EQ(orb_sparse_d_mm(ORB_SPARSE_OP_N, 1.0, A, kGeneral, ORB_SPARSE_BLOCK_COL_MAJOR, x.data(), columns, n, 0.0,
                            y.data(), n),
            ORB_SPARSE_OK);
  std::vector<int> covered(3 * n, 0);
  ASSERT_EQ(seen.pieces.size(), seen.mm_first_rhs.size());
  for (size_t p = 0; p < seen.pieces.size(); ++p) {
    const int block = seen.mm_first_rhs[p] / 16;
    EXPECT_EQ(seen.mm_first_rhs[p] % 16, 0);
    EXPECT_EQ(seen.pieces[p].beta, block < 2) << "block " << block << " is 16 wide";
    for (int64_t r = seen.pieces[p].first; r < seen.pieces[p].first + seen.pieces[p].count; ++r)
      ++covered[block * n + r];
  }
  EXPECT_EQ(covered, std::vector<int>(3 * n, 1));
  // Row sums of the Laplacian are 0 inside and up to 2 on the border; column c of X is c + 1.
  for (int64_t c = 0; c < columns; ++c)
    EXPECT_EQ(y[c * n + lap.middle], 0.0) << c;
  EXPECT_EQ(y[39 * n], 2.0 * 40);
  seen.y_base = nullptr;
  observe();
  orb_sparse_destroy(A);
}

// Copies and conversions take their arrays through orb_serv_malloc: each
// allocation failing in turn answers 2, makes no handle and leaks nothing.
TEST(SparseConvert, AllocationFailuresMakeNothing) {
  Laplacian lap(5);
  orb_sparse_matrix A = nullptr;
  ASSERT_EQ(orb_sparse_d_create_csr3(&A, 0, lap.rows, lap.rows, lap.ptr.data(), lap.col.data(), lap.val.data()),
            ORB_SPARSE_OK);
  const std::function<orb_sparse_status(orb_sparse_matrix *)> makers[] = {
      [&](orb_sparse_matrix *B) { return orb_sparse_copy(A, B); },
      [&](orb_sparse_matrix *B) { return orb_sparse_convert_csr(A, ORB_SPARSE_OP_T, B); },
      [&](orb_sparse_matrix *B) { return orb_sparse_convert_bsr(A, 5, ORB_SPARSE_BLOCK_COL_MAJOR, 10, B); },
  };
  for (const auto &make : makers) {
    bool failed = true;
    for (int k = 0; failed && k < 32; ++k) {
      const long live = seen.live;
      observe(nullptr, k);
      orb_sparse_matrix B = nullptr;
      const orb_sparse_status s = make(&B);
      failed = s == ORB_SPARSE_NO_MEMORY;
      EXPECT_TRUE(s == ORB_SPARSE_OK || failed) << s;
      if (failed) EXPECT_EQ(B, nullptr);
      orb_sparse_destroy(B);
      EXPECT_EQ(seen.live, live) << "allocation " << k;
    }
    EXPECT_FALSE(failed) << "a run with every allocation served";
  }
  observe();
  orb_sparse_destroy(A);
}

}  // namespace
}  // namespace orb::test
