// The threaded triangular solves: the solution for every side, triangle,
// operation and diagonal in every precision, with pieces of uneven size, and
// the cut as the interposed kernel sees it: one call per block of
// right-hand sides, the blocks of the rule, together B and each once.
#include "hooks.hpp"
#include "interpose.hpp"
#include "rhs_blocks.hpp"
#include "triangular.hpp"


namespace orb::test {
namespace {

struct TrsmCase {
  const char *name;
  ORB_INT m, n;
  int budget;
  ORB_INT pad;
  bool lp64 = false;
};

// 97 x 131: side L cuts 131 columns onto 4 workers (33 33 33 32), side R 97
// rows onto 3 (33 32 32); 100 x 170 with a budget of 5: L 5 x 34 columns, R
// 100 rows onto 3 (34 33 33); the lp64 entry 90 x 100: L 34 33 33, R 45 45.
// A budget of 1 and a tiny triangle (or too few right-hand sides) are one call.
const TrsmCase kCases[] = {{"uneven", 97, 131, 4, 3},
                           {"budget5", 100, 170, 5, 0},
                           {"budget1", 67, 101, 1, 1},
                           {"tiny_triangle", 300, 8, 8, 0},
                           {"lp64", 90, 100, 3, 2, true}};

TYPED_TEST(Results, TrsmDriverSolvesEverySideTriangleOperationAndDiagonal) {
  using T = TypeParam;
  for (const TrsmCase &c : kCases)
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
      // Each call solves the block of the rule: whole rows (side L) or
      // columns (side R), and the blocks' starts, sorted, tile B.
      const Observed seen = observed();
      ASSERT_EQ(seen.trsm.size(), static_cast<size_t>(workers));
      RhsBlocks blocks;  // (first right-hand side, count)
      for (const TrsmCall &call : seen.trsm) {
        EXPECT_EQ(left ? call.m : call.n, order);
        const ORB_INT offset = static_cast<const T *>(call.b) - base;
        blocks.insert(left ? std::make_pair(offset / ldb, call.n) : std::make_pair(offset, call.m));
      }
      expect_rule_blocks(blocks, rhs, workers);
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
  EXPECT_EQ(seen.trsm[0].b, b.data());
  for (const T &x : b) ASSERT_EQ(wide(x), cld(0));
}

// An illegal call reaches the kernel whole, which reports it once and
// writes nothing, however many workers the call would have had.
TEST(TrsmDriver, IllegalCallIsReportedOnceAndWritesNothing) {
  Budget budget(8);
  Reports reports;
  const ORB_INT m = 500, n = 400, small = 499;
  std::vector<double> a(m * m, 1.0), b(m * n, 7.0);
  const double alpha = 1;
  observe();
  orb_blas_dtrsm("L", "U", "N", "N", &m, &n, &alpha, a.data(), &m, b.data(), &small);
  orb_blas_dtrsm("L", "U", "N", "X", &m, &n, &alpha, a.data(), &m, b.data(), &m);
  EXPECT_EQ(observed().trsm.size(), 2u);
  EXPECT_EQ(Reports::taken(), (Reports::Log{{"DTRSM", 11}, {"DTRSM", 4}}));
  EXPECT_EQ(b, std::vector<double>(m * n, 7.0));
}

}  // namespace
}  // namespace orb::test
