// The threaded level-3 drivers cut by right-hand sides (?trsm, ?symm, ?hemm)
// or by triangle blocks (?syrk, ?herk): results for every side, triangle,
// operation and diagonal in every routine, with blocks of uneven size, and
// the cut as the interposed kernels see it: the rule's blocks, each once.
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

TYPED_TEST(Results, TrsmDriverSolvesEverySideTriangleOperationAndDiagonal) {
  using T = TypeParam;
  for (const SideCase &c : kTrsmCases)
    for (const TrsmOps &o : every_trsm_ops()) {
      SCOPED_TRACE(std::string(c.name) + " " + trsm_ops_name(o));
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
          TrsmApi<T>::driver_lp64(&o.side, &o.uplo, &o.trans, &o.diag, &m, &n, &alpha, a, &la, b, &lb);
        } else {
          TrsmApi<T>::driver(&o.side, &o.uplo, &o.trans, &o.diag, &c.m, &c.n, &alpha, a, &lda, b, &ldb);
        }
      });
      expect_rule_blocks(observed().trsm, base, sizeof(T), ldb, left, order, rhs, workers);
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
const SyrkCase kSyrkCases[] = {{"uneven", 150, 40, 4, 0.75, 0.5, 1},    {"beta0", 150, 40, 4, -1.0, 0.0, 0},
                           {"lp64", 130, 200, 3, 1.0, 2.0, 2, true}, {"budget1", 100, 50, 1, 1.0, 0.5, 0},
                           {"alpha0", 150, 40, 4, 0.0, 0.5, 0},      {"k0", 150, 0, 4, 1.0, -2.0, 1}};

template <class T, class S>
void syrk_sweep() {
  using R = RankK<T, S>;
  for (const SyrkCase &cs : kSyrkCases)
    for (const char uplo : {'U', 'L'})
      for (const char *op = R::ops; *op; ++op) {
        const char trans = *op;
        SCOPED_TRACE(std::string(cs.name) + " " + uplo + trans);
        const bool threaded = cs.alpha != 0 && cs.k != 0;
        const int64_t workers = threaded ? thr::triangle_workers(cs.n, cs.k, cs.budget) : 1;
        const T *base = nullptr;
        ORB_INT ldc = 0;
        const S alpha = narrow<S>(cs.alpha), beta = narrow<S>(cs.beta);
        check_rank_k<T, S>(uplo, trans, cs.n, cs.k, alpha, beta, cs.pad,
                           [&](S al, const T *a, ORB_INT lda, S be, T *c, ORB_INT ld) {
                             Budget budget(cs.budget);
                             base = c;
                             ldc = ld;
                             observe();
                             if (cs.lp64) {
                               const int n = cs.n, k = cs.k, la = lda, lc = ld;
                               R::driver_lp64(&uplo, &trans, &n, &k, &al, a, &la, &be, c, &lc);
                             } else {
                               R::driver(&uplo, &trans, &cs.n, &cs.k, &al, a, &lda, &be, c, &ld);
                             }
                           });
        const Observed seen = observed();
        ASSERT_EQ(seen.syrk.size(), static_cast<size_t>(workers));
        EXPECT_EQ(seen.gemm.size(), static_cast<size_t>(workers - 1));
        if (workers == 1) {
          EXPECT_EQ(seen.syrk[0].p, base);  // the caller's own call
          continue;
        }
        // Every diagonal block is a worker's block of the rule, each once.
        std::vector<bool> taken(workers, false);
        for (const BlockCall &call : seen.syrk) {
          const ORB_INT offset = static_cast<const T *>(call.p) - base, j0 = offset / (ldc + 1);
          EXPECT_EQ(offset, j0 * (ldc + 1)) << "a block off the diagonal";
          for (int64_t i = 0; i < workers; ++i) {
            const thr::Range r = thr::triangle_columns(cs.n, workers, i, uplo == 'U');
            if (r.begin == j0 && r.size() == call.n) taken[i] = true;
          }
        }
        EXPECT_EQ(taken, std::vector<bool>(workers, true));
      }
}

TEST(RankKDriver, EveryRoutine) {
  syrk_sweep<float, float>(), syrk_sweep<double, double>(), syrk_sweep<ORB_Complex8, ORB_Complex8>();
  syrk_sweep<ORB_Complex16, ORB_Complex16>(), syrk_sweep<ORB_Complex8, float>(), syrk_sweep<ORB_Complex16, double>();
}

}  // namespace
}  // namespace orb::test
