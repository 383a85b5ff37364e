// The threaded rank-k updates (?syrk, ?herk): results for every triangle and
// transposition each routine takes, with blocks of uneven width, and the cut
// as the interposed kernels see it: one SYRK (HERK) call per diagonal block
// of the rule, one GEMM call per rectangle beside it.
#include "interpose.hpp"
#include "partition/triangle.hpp"
#include "rank_k.hpp"

namespace orb::test {
namespace {

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
const SyrkCase kCases[] = {{"uneven", 150, 40, 4, 0.75, 0.5, 1},    {"beta0", 150, 40, 4, -1.0, 0.0, 0},
                           {"lp64", 130, 200, 3, 1.0, 2.0, 2, true}, {"budget1", 100, 50, 1, 1.0, 0.5, 0},
                           {"alpha0", 150, 40, 4, 0.0, 0.5, 0},      {"k0", 150, 0, 4, 1.0, -2.0, 1}};

template <class T, class S>
void sweep() {
  using R = RankK<T, S>;
  for (const SyrkCase &cs : kCases)
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
          EXPECT_EQ(seen.syrk[0].c, base);  // the caller's own call
          continue;
        }
        // Every diagonal block is a worker's block of the rule, each once.
        std::vector<bool> taken(workers, false);
        for (const SyrkCall &call : seen.syrk) {
          const ORB_INT offset = static_cast<const T *>(call.c) - base, j0 = offset / (ldc + 1);
          EXPECT_EQ(offset, j0 * (ldc + 1)) << "a block off the diagonal";
          for (int64_t i = 0; i < workers; ++i) {
            const thr::Range r = thr::triangle_columns(cs.n, workers, i, uplo == 'U');
            if (r.begin == j0 && r.size() == call.n) taken[i] = true;
          }
        }
        EXPECT_EQ(taken, std::vector<bool>(workers, true));
      }
}

TEST(SyrkDriver, S) { sweep<float, float>(); }
TEST(SyrkDriver, D) { sweep<double, double>(); }
TEST(SyrkDriver, C) { sweep<ORB_Complex8, ORB_Complex8>(); }
TEST(SyrkDriver, Z) { sweep<ORB_Complex16, ORB_Complex16>(); }
TEST(HerkDriver, C) { sweep<ORB_Complex8, float>(); }
TEST(HerkDriver, Z) { sweep<ORB_Complex16, double>(); }

}  // namespace
}  // namespace orb::test
