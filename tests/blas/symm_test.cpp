// The threaded products with a symmetric or Hermitian A (?symm, ?hemm): the
// result for both sides and triangles in every routine, with blocks of
// uneven size, and the cut as the interposed kernel sees it: one call per
// block of columns (side L) or rows (side R) of C, the blocks of the rule,
// together C and each once.
#include "interpose.hpp"
#include "rhs_blocks.hpp"
#include "symmetric.hpp"


namespace orb::test {
namespace {

struct SymmCase {
  const char *name;
  ORB_INT m, n;
  int budget;
  double alpha, beta;  // beta 0: C full of NaN; alpha 0: A and B
  ORB_INT pad;
  bool lp64 = false;
};

// 97 x 131 on 4: side L 131 columns onto 4 (33 33 33 32), side R 97 rows onto
// 3 (33 32 32); the lp64 entry 90 x 100 on 3; budget 1 and alpha = 0 are one call.
const SymmCase kCases[] = {{"uneven", 97, 131, 4, 0.75, 0.5, 1},  {"beta0", 97, 131, 4, -1.0, 0.0, 0},
                           {"lp64", 90, 100, 3, 1.0, 2.0, 2, true}, {"budget1", 67, 101, 1, 1.0, 0.5, 0},
                           {"alpha0", 97, 131, 4, 0.0, 0.5, 0}};

template <class T, bool H>
void sweep() {
  using R = SymmApi<T, H>;
  for (const SymmCase &cs : kCases)
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
        const Observed seen = observed();
        ASSERT_EQ(seen.symm.size(), static_cast<size_t>(workers));
        RhsBlocks blocks;  // (first column or row, count)
        for (const SymmCall &call : seen.symm) {
          EXPECT_EQ(left ? call.m : call.n, left ? cs.m : cs.n);
          const ORB_INT offset = static_cast<const T *>(call.c) - base;
          blocks.insert(left ? std::make_pair(offset / ldc, call.n) : std::make_pair(offset, call.m));
        }
        expect_rule_blocks(blocks, rhs, workers);
      }
}

TEST(SymmDriver, S) { sweep<float, false>(); }
TEST(SymmDriver, D) { sweep<double, false>(); }
TEST(SymmDriver, C) { sweep<ORB_Complex8, false>(); }
TEST(SymmDriver, Z) { sweep<ORB_Complex16, false>(); }
TEST(HemmDriver, C) { sweep<ORB_Complex8, true>(); }
TEST(HemmDriver, Z) { sweep<ORB_Complex16, true>(); }

}  // namespace
}  // namespace orb::test
