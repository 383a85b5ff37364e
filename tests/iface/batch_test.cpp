// The batch names: illegal arguments reported by their position in the
// caller's list before anything is computed, in every name form (results
// through each form are checked with the drivers, in gemm_batch_test.cpp).
#include <gtest/gtest.h>

#include "batch.hpp"
#include "blas_api.hpp"
#include "hooks.hpp"

namespace orb::test {
namespace {

// One case: group 0 legal, the change made to group 1 (or the batch).
struct Case {
  const char *what;
  void (*change)(BatchCase<double> &);
  int fortran, column, row;  // expected position; 0: legal
};

const std::vector<Case> kCases = {
    {"transa", [](auto &bc) { bc.ta[1] = 'X'; }, 1, 2, 3},
    {"transb", [](auto &bc) { bc.tb[1] = '?'; }, 2, 3, 2},
    {"m", [](auto &bc) { bc.v.m[1] = -1; }, 3, 4, 5},
    {"n", [](auto &bc) { bc.v.n[1] = -1; }, 4, 5, 4},
    {"m and n", [](auto &bc) { bc.v.m[1] = bc.v.n[1] = -1; }, 3, 4, 5},
    {"k", [](auto &bc) { bc.v.k[1] = -1; }, 5, 6, 6},
    {"lda", [](auto &bc) { bc.v.lda[1] = 1; }, 8, 9, 11},
    {"ldb", [](auto &bc) { bc.v.ldb[1] = 1; }, 10, 11, 9},
    {"ldc", [](auto &bc) { bc.v.ldc[1] = 1; }, 13, 14, 14},
    {"group count", [](auto &bc) { bc.v.count = -1; }, 14, 15, 15},
    {"group size", [](auto &bc) { bc.v.size[1] = -1; }, 15, 16, 16},
    {"A of a product missing", [](auto &bc) { bc.ap[2] = nullptr; }, 7, 8, 10},
    {"C of a product missing", [](auto &bc) { bc.cp[2] = nullptr; }, 12, 13, 13},
    {"alpha 0 reads no A", [](auto &bc) { bc.alpha[1] = 0, bc.beta[1] = 2, bc.ap[2] = nullptr; }, 0, 0, 0},
    {"no groups", [](auto &bc) { bc.v.count = 0; }, 0, 0, 0},
};

class IllegalBatch : public ::testing::TestWithParam<Form> {};

// A row-major case changes the column-major twin; the number is where the
// caller lists the changed array: the twin's transa and m are the caller's
// transb and n, its lda the caller's ldb (position 11), and so on.  Of two
// bad sizes the twin's first, the caller's n, is reported.
TEST_P(IllegalBatch, IsReportedWholeBeforeAnyProduct) {
  const Form form = GetParam();
  const bool row = form == Form::CblasRow, cblas = row || form == Form::CblasColumn;
  for (const Case &cs : kCases) {
    SCOPED_TRACE(cs.what);
    BatchCase<double> bc({{'N', 'N', 2, 3, 4, 2}, {'N', 'N', 2, 3, 4, 1}});
    cs.change(bc);
    const Reports reports;
    call_batch(form, bc);
    const int want = row ? cs.row : cblas ? cs.column : cs.fortran;  // 0: legal
    const char *name = cblas ? "cblas_dgemm_batch" : "DGEMM_BATCH";
    EXPECT_EQ(Reports::taken(), (want ? Reports::Log{{name, want}} : Reports::Log{}));
    EXPECT_TRUE(!want || bc.untouched()) << "a product was computed";
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, IllegalBatch, ::testing::ValuesIn(kForms),
                         [](const auto &info) { return std::string(form_name(info.param)); });

// The strided batch: strides behind their matrices, batch_size last; the C of
// consecutive products must not overlap.
TEST(IllegalBatchStrided, ReportedByPositionNothingComputed) {
  struct StridedCase {
    const char *what;
    int ldb, sa, sc, count, fortran, row;
  };
  const std::vector<StridedCase> cases = {{"ldb", 1, 0, 16, 2, 11, 9},         {"stridea", 4, -1, 16, 2, 9, 13},
                                          {"C overlapping", 4, 0, 5, 2, 16, 17}, {"batch size", 4, 0, 16, -1, 17, 18},
                                          {"one product, C stride free", 4, 0, 0, 1, 0, 0}};
  const int m = 2, n = 3, k = 4, lda = 2, ldc = 2, sb = 12;
  const double one = 1;
  for (const StridedCase &cs : cases) {
    SCOPED_TRACE(cs.what);
    std::vector<double> a(64, 1), b(64, 1), c(64, 7);
    const Reports reports;
    Api<double>::gemm_batch_strided32("N", "N", &m, &n, &k, &one, a.data(), &lda, &cs.sa, b.data(), &cs.ldb, &sb, &one,
                                      c.data(), &ldc, &cs.sc, &cs.count);
    // Row-major, the same twin: the caller's A is its B (lda 4), B its A (ldb 2), stridea its strideb.
    cblas_dgemm_batch_strided(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, m, k, 1, b.data(), cs.ldb == 1 ? 1 : 4,
                              sb, a.data(), lda == 2 ? 4 : 1, cs.sa, 1, c.data(), ldc + 1, cs.sc, cs.count);
    EXPECT_EQ(Reports::taken(), (cs.fortran ? Reports::Log{{"DGEMM_BATCH_STRIDED", cs.fortran},
                                                            {"cblas_dgemm_batch_strided", cs.row}}
                                            : Reports::Log{}));
    EXPECT_TRUE(!cs.fortran || c == std::vector<double>(64, 7.0)) << "a product was computed";
  }
}

}  // namespace
}  // namespace orb::test
