// The threaded level-3 drivers cut by right-hand sides (?trsm, ?trmm, ?symm,
// ?hemm) or by triangle blocks (?syrk, ?herk, ?syr2k, ?her2k, ?gemmt):
// results for every side, triangle, operation and diagonal in every routine,
// with blocks of uneven size, and the cut as the interposed kernels see it:
// the rule's blocks, each once; in strict reproducibility mode, one call.
#include "interpose.hpp"
#include "partition/rhs.hpp"
#include "partition/triangle.hpp"
#include "rank_k.hpp"
#include "symmetric.hpp"
#include "triangular.hpp"

#include <set>
#include <utility>

namespace orb::test {
namespace {

//! The kernel calls of one driver call cut by right-hand sides, B or C at
//! `base` with leading dimension ld: each takes the whole order, and their
//! blocks, sorted by first column (side L) or row (side R), are the rule's.
void expect_rule_blocks(const std::vector<BlockCall> &calls, const void *base, size_t size, ORB_INT ld, bool left,
                        ORB_INT order, ORB_INT rhs, int64_t workers) {
  ASSERT_EQ(calls.size(), static_cast<size_t>(workers));
  std::set<std::pair<ORB_INT, ORB_INT>> blocks;  // (first, count)
  for (const BlockCall &call : calls) {
    EXPECT_EQ(left ? call.m : call.n, order);
    const ORB_INT offset = (static_cast<const char *>(call.p) - static_cast<const char *>(base)) / size;
    blocks.insert(left ? std::make_pair(offset / ld, call.n) : std::make_pair(offset, call.m));
  }
  ORB_INT next = 0;
  int64_t i = 0;
  for (const auto &[first, count] : blocks) {
    EXPECT_EQ(first, next);
    EXPECT_EQ(count, thr::rhs_range(rhs, workers, i++).size());
    next = first + count;
  }
  EXPECT_EQ(next, rhs);
}

//! A product or solve cut by right-hand sides (trsm takes alpha alone).
struct SideCase {
  const char *name;
  ORB_INT m, n;
  int budget;
  double alpha, beta;  // beta 0: C full of NaN; alpha 0: one call, reading neither A nor B
  ORB_INT pad;
  bool lp64 = false;
};

// 97 x 131 on 4: side L cuts 131 columns onto 4 (33 33 33 32), side R 97 rows
// onto 3 (33 32 32); 100 x 170 on 5: L 5 x 34 columns, R 100 rows onto 3
// (34 33 33); the lp64 entry 90 x 100 on 3: L 34 33 33, R 45 45.  A budget of
// 1 and a tiny triangle (or too few right-hand sides) are one call.
const SideCase kTrsmCases[] = {{"uneven", 97, 131, 4, 0, 0, 3},     {"budget5", 100, 170, 5, 0, 0, 0},
                               {"budget1", 67, 101, 1, 0, 0, 1},    {"tiny_triangle", 300, 8, 8, 0, 0, 0},
                               {"lp64", 90, 100, 3, 0, 0, 2, true}};
const SideCase kSymmCases[] = {{"uneven", 97, 131, 4, 0.75, 0.5, 1},   {"beta0", 97, 131, 4, -1.0, 0.0, 0},
                               {"lp64", 90, 100, 3, 1.0, 2.0, 2, true}, {"budget1", 67, 101, 1, 1.0, 0.5, 0},
                               {"alpha0", 97, 131, 4, 0.0, 0.5, 0}};

TYPED_TEST(Results, TrsmAndTrmmDriversTakeEverySideTriangleOperationAndDiagonal) {
  using T = TypeParam;
  using R = TrsmApi<T>;
  for (const bool multiply : {false, true})
  for (const SideCase &c : kTrsmCases)
    for (const TrsmOps &o : every_trsm_ops()) {
      SCOPED_TRACE(std::string(multiply ? "trmm " : "trsm ") + c.name + " " + trsm_ops_name(o));
      const bool left = o.side == 'L';
      const ORB_INT order = left ? c.m : c.n, rhs = left ? c.n : c.m;
      const int64_t workers = thr::rhs_workers(order, rhs, c.budget);
      const T *base = nullptr;
      ORB_INT ldb = 0;
      check_trsm<T>(o, c.m, c.n, cld(0.75, -0.25), c.pad, [&](T alpha, const T *a, ORB_INT lda, T *b, ORB_INT ld) {
        Budget budget(c.budget);
        base = b;
        ldb = ld;
        observe();
        if (c.lp64) {
          const int m = c.m, n = c.n, la = lda, lb = ld;
          (multiply ? R::mm_driver_lp64 : R::driver_lp64)(&o.side, &o.uplo, &o.trans, &o.diag, &m, &n, &alpha, a,
                                                            &la, b, &lb);
        } else {
          (multiply ? R::mm_driver : R::driver)(&o.side, &o.uplo, &o.trans, &o.diag, &c.m, &c.n, &alpha, a, &lda, b,
                                                &ldb);
        }
      }, multiply);
      const Observed seen = observed();
      expect_rule_blocks(multiply ? seen.trmm : seen.trsm, base, sizeof(T), ldb, left, order, rhs, workers);
    }
}

// alpha = 0 clears B, NaN included, reading no element of A (none is given);
// m or n = 0 reads nothing at all.  Either way, one kernel call, the caller's.
TYPED_TEST(Results, TrsmDriverWithNothingToSolveCallsTheKernelOnce) {
  using T = TypeParam;
  Budget budget(8);
  const ORB_INT m = 200, n = 300, zero = 0;
  std::vector<T> b(m * n, narrow<T>(cld(std::nanl(""), 0)));
  const T alpha{};
  observe();
  TrsmApi<T>::driver("L", "U", "N", "N", &m, &n, &alpha, nullptr, &m, b.data(), &m);
  TrsmApi<T>::driver("R", "L", "T", "U", &zero, &n, &alpha, nullptr, &n, nullptr, &m);
  const Observed seen = observed();
  ASSERT_EQ(seen.trsm.size(), 2u);
  EXPECT_EQ(seen.trsm[0].p, b.data());
  for (const T &x : b) ASSERT_EQ(wide(x), cld(0));
}

template <class T, bool H>
void symm_sweep() {
  using R = SymmApi<T, H>;
  for (const SideCase &cs : kSymmCases)
    for (const char side : {'L', 'R'})
      for (const char uplo : {'U', 'L'}) {
        SCOPED_TRACE(std::string(cs.name) + " " + side + uplo);
        const bool left = side == 'L';
        const ORB_INT rhs = left ? cs.n : cs.m;
        const int64_t workers = cs.alpha != 0 ? thr::rhs_workers(left ? cs.m : cs.n, rhs, cs.budget) : 1;
        const T *base = nullptr;
        ORB_INT ldc = 0;
        check_symm<T, H>(side, uplo, cs.m, cs.n, cs.alpha, cs.beta, cs.pad,
                         [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ld) {
                           Budget budget(cs.budget);
                           base = c;
                           ldc = ld;
                           observe();
                           if (cs.lp64) {
                             const int m = cs.m, n = cs.n, la = lda, lb = ldb, lc = ld;
                             R::driver_lp64(&side, &uplo, &m, &n, &al, a, &la, b, &lb, &be, c, &lc);
                           } else {
                             R::driver(&side, &uplo, &cs.m, &cs.n, &al, a, &lda, b, &ldb, &be, c, &ld);
                           }
                         });
        expect_rule_blocks(observed().symm, base, sizeof(T), ldc, left, left ? cs.m : cs.n, rhs, workers);
      }
}

TEST(SymmDriver, EveryRoutine) {
  symm_sweep<float, false>(), symm_sweep<double, false>(), symm_sweep<ORB_Complex8, false>(), symm_sweep<ORB_Complex16, false>();
  symm_sweep<ORB_Complex8, true>(), symm_sweep<ORB_Complex16, true>();
}

struct SyrkCase {
  const char *name;
  ORB_INT n, k;
  int budget;
  double alpha, beta;  // beta 0: the triangle of C full of NaN
  ORB_INT pad;
  bool lp64 = false;
};

// 150 x 40 on a budget of 4: 3 workers (work bound), lower blocks 28 36 86;
// 130 x 200 on 3: 3 workers; a budget of 1, alpha = 0 and k = 0 are one call.
// A rank-2k update counts 2k: 100 x 40 on 4 is 3 workers (lower blocks 19
// 24 57) where a rank-k update of the same shape is one call.
const SyrkCase kSyrkCases[] = {{"uneven", 150, 40, 4, 0.75, 0.5, 1},    {"beta0", 150, 40, 4, -1.0, 0.0, 0},
                           {"lp64", 130, 200, 3, 1.0, 2.0, 2, true}, {"budget1", 100, 50, 1, 1.0, 0.5, 0},
                           {"alpha0", 150, 40, 4, 0.0, 0.5, 0},      {"k0", 150, 0, 4, 1.0, -2.0, 1},
                           {"small", 100, 40, 4, 1.0, 0.5, 1}};

//! The diagonal blocks a triangle driver's kernel calls took (C at base, ld
//! ldc): one call with the caller's C when one worker runs, else each block
//! of the rule once, on the diagonal (blocks of equal area, or of equal cost
//! with diagonal entries weighing diagonal_cost).
template <class T>
void expect_triangle_blocks(const std::vector<BlockCall> &calls, const T *base, ORB_INT ldc, ORB_INT n,
                            int64_t workers, bool upper, double diagonal_cost = 0) {
  ASSERT_EQ(calls.size(), static_cast<size_t>(workers));
  if (workers == 1) {
    EXPECT_EQ(calls[0].p, base);  // the caller's own call
    return;
  }
  std::vector<bool> taken(workers, false);
  for (const BlockCall &call : calls) {
    const ORB_INT offset = static_cast<const T *>(call.p) - base, j0 = offset / (ldc + 1);
    EXPECT_EQ(offset, j0 * (ldc + 1)) << "a block off the diagonal";
    for (int64_t i = 0; i < workers; ++i) {
      const thr::Range r = diagonal_cost > 0 ? thr::weighted_triangle_block(n, workers, i, upper, diagonal_cost).cols
                                             : thr::triangle_columns(n, workers, i, upper);
      if (r.begin == j0 && r.size() == call.n) taken[i] = true;
    }
  }
  EXPECT_EQ(taken, std::vector<bool>(workers, true));
}

//! ?syrk / ?herk (two = false) or ?syr2k / ?her2k: every case, triangle and
//! transposition; the rectangles beside the blocks are one GEMM call each
//! (two for a rank-2k update), on every worker but one.
template <class T, class S, bool two>
void syrk_sweep() {
  using R = RankK<T, S>;
  for (const SyrkCase &cs : kSyrkCases)
    for (const char uplo : {'U', 'L'})
      for (const char *op = R::ops; *op; ++op) {
        const char trans = *op;
        SCOPED_TRACE(std::string(two ? "rank-2k " : "rank-k ") + cs.name + " " + uplo + trans);
        const bool threaded = cs.alpha != 0 && cs.k != 0;
        const int64_t workers = threaded ? thr::triangle_workers(cs.n, two ? 2 * cs.k : cs.k, cs.budget) : 1;
        const T *base = nullptr;
        ORB_INT ldc = 0;
        const auto run = [&](T *c, ORB_INT ld, auto &&call) {
          Budget budget(cs.budget);
          base = c;
          ldc = ld;
          observe();
          call();
        };
        if constexpr (two) {
          const T alpha = narrow<T>(cld(cs.alpha, cs.alpha / 2));
          check_rank_2k<T, S>(uplo, trans, cs.n, cs.k, alpha, narrow<S>(cs.beta), cs.pad,
                              [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, S be, T *c, ORB_INT ld) {
                                run(c, ld, [&] {
                                  if (cs.lp64) {
                                    const int n = cs.n, k = cs.k, la = lda, lb = ldb, lc = ld;
                                    R::driver_2k_lp64(&uplo, &trans, &n, &k, &al, a, &la, b, &lb, &be, c, &lc);
                                  } else {
                                    R::driver_2k(&uplo, &trans, &cs.n, &cs.k, &al, a, &lda, b, &ldb, &be, c, &ld);
                                  }
                                });
                              });
        } else {
          check_rank_k<T, S>(uplo, trans, cs.n, cs.k, narrow<S>(cs.alpha), narrow<S>(cs.beta), cs.pad,
                             [&](S al, const T *a, ORB_INT lda, S be, T *c, ORB_INT ld) {
                               run(c, ld, [&] {
                                 if (cs.lp64) {
                                   const int n = cs.n, k = cs.k, la = lda, lc = ld;
                                   R::driver_lp64(&uplo, &trans, &n, &k, &al, a, &la, &be, c, &lc);
                                 } else {
                                   R::driver(&uplo, &trans, &cs.n, &cs.k, &al, a, &lda, &be, c, &ld);
                                 }
                               });
                             });
        }
        const Observed seen = observed();
        EXPECT_EQ(seen.gemm.size(), static_cast<size_t>((workers - 1) * (two ? 2 : 1)));
        expect_triangle_blocks(two ? seen.syr2k : seen.syrk, base, ldc, cs.n, workers, uplo == 'U');
      }
}

TEST(RankKDriver, EveryRoutine) {
  syrk_sweep<float, float, false>(), syrk_sweep<double, double, false>();
  syrk_sweep<ORB_Complex8, ORB_Complex8, false>(), syrk_sweep<ORB_Complex16, ORB_Complex16, false>();
  syrk_sweep<ORB_Complex8, float, false>(), syrk_sweep<ORB_Complex16, double, false>();
}

TEST(Rank2KDriver, EveryRoutine) {
  syrk_sweep<float, float, true>(), syrk_sweep<double, double, true>();
  syrk_sweep<ORB_Complex8, ORB_Complex8, true>(), syrk_sweep<ORB_Complex16, ORB_Complex16, true>();
  syrk_sweep<ORB_Complex8, float, true>(), syrk_sweep<ORB_Complex16, double, true>();
}

// The triangle of a product: every triangle and pair of operations at the
// rank-k cases' sizes (n = 150 crosses the core's diagonal blocks of 32);
// each worker's diagonal block is one GEMMT call, the rectangle beside it one
// GEMM call.
TYPED_TEST(Results, GemmtDriverTakesEveryTriangleAndOperation) {
  using T = TypeParam;
  using R = GemmtApi<T>;
  for (const SyrkCase &cs : kSyrkCases)
    for (const char uplo : {'U', 'L'})
      for (const char ta : {'N', 'T', 'C'})
        for (const char tb : {'N', 'T', 'C'}) {
          SCOPED_TRACE(std::string(cs.name) + " " + uplo + ta + tb);
          const bool threaded = cs.alpha != 0 && cs.k != 0;
          const int64_t workers = threaded ? thr::triangle_workers(cs.n, cs.k, cs.budget) : 1;
          const T *base = nullptr;
          ORB_INT ldc = 0;
          check_gemmt<T>(false, uplo, ta, tb, cs.n, cs.k, cld(cs.alpha, -cs.alpha / 4), cld(cs.beta), cs.pad,
                         [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ld) {
                           Budget budget(cs.budget);
                           base = c;
                           ldc = ld;
                           observe();
                           if (cs.lp64) {
                             const int n = cs.n, k = cs.k, la = lda, lb = ldb, lc = ld;
                             R::driver_lp64(&uplo, &ta, &tb, &n, &k, &al, a, &la, b, &lb, &be, c, &lc);
                           } else {
                             R::driver(&uplo, &ta, &tb, &cs.n, &cs.k, &al, a, &lda, b, &ldb, &be, c, &ld);
                           }
                         });
          const Observed seen = observed();
          EXPECT_EQ(seen.gemm.size(), static_cast<size_t>(workers - 1));
          expect_triangle_blocks(seen.gemmt, base, ldc, cs.n, workers, uplo == 'U', thr::kGemmtDiagonalCost);
        }
}

// Strict reproducibility: a result must not depend on the thread count, so
// every driver that cuts its own way runs whole, one kernel call with the
// caller's own arguments, at shapes it would otherwise cut.
TEST(StrictReproducibility, EveryCutDriverRunsWhole) {
  Budget budget(4);
  const ORB_INT n = 300, ld = 301;
  std::vector<double> a = random_matrix<double>(n, n, ld, 41), b = random_matrix<double>(n, n, ld, 42);
  for (ORB_INT i = 0; i < n; ++i) a[i + i * ld] += 4;  // a well-conditioned triangle
  std::vector<double> c = b;
  const double one = 1, half = 0.5;
  const auto whole = [&](const char *what, const std::vector<BlockCall> Observed::*calls, auto &&call) {
    SCOPED_TRACE(what);
    for (const bool strict : {false, true}) {
      observe(false, strict);
      call();
      const std::vector<BlockCall> seen = observed().*calls;
      if (strict) {
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].p, c.data());
      } else {
        EXPECT_GT(seen.size(), 1u) << "the shape is not cut outside strict mode";
      }
    }
  };
  whole("trsm", &Observed::trsm,
        [&] { orb_blas_dtrsm("L", "L", "N", "N", &n, &n, &one, a.data(), &ld, c.data(), &ld); });
  whole("trmm", &Observed::trmm,
        [&] { orb_blas_dtrmm("R", "U", "T", "N", &n, &n, &half, a.data(), &ld, c.data(), &ld); });
  whole("symm", &Observed::symm, [&] {
    orb_blas_dsymm("L", "U", &n, &n, &one, a.data(), &ld, b.data(), &ld, &half, c.data(), &ld);
  });
  whole("syrk", &Observed::syrk,
        [&] { orb_blas_dsyrk("U", "N", &n, &n, &one, a.data(), &ld, &half, c.data(), &ld); });
  whole("syr2k", &Observed::syr2k, [&] {
    orb_blas_dsyr2k("L", "T", &n, &n, &one, a.data(), &ld, b.data(), &ld, &half, c.data(), &ld);
  });
  whole("gemmt", &Observed::gemmt, [&] {
    orb_blas_dgemmt("L", "N", "T", &n, &n, &one, a.data(), &ld, b.data(), &ld, &half, c.data(), &ld);
  });
}

}  // namespace
}  // namespace orb::test
