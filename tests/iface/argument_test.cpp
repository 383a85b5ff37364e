// Illegal arguments reach this program's own xerbla_ (CBLAS names through
// cblas_xerbla) with the routine's name and the argument's position in the
// caller's own list, row-major calls included, and leave the output untouched.
#include <gtest/gtest.h>
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

#include <algorithm>
#include <utility>

#include "blas_api.hpp"
#include "rank_k.hpp"
#include "symmetric.hpp"
#include "triangular.hpp"

namespace {

using Log = std::vector<std::pair<std::string, int>>;
Log reports;

}  // namespace

extern "C" ORB_EXPORT void xerbla_(const char *name, const int *info, size_t len) {
  reports.emplace_back(std::string(name, len), *info);
}

namespace {

using orb::test::call_gemm;
using orb::test::call_gemv;
using orb::test::Form;

// One call in the caller's terms.  Leading dimensions are given as a shift
// from the smallest legal value for the form's layout.
struct Call {
  char t1 = 'N', t2 = 'N';
  int m = 2, n = 3, k = 4;
  int lda_shift = 0, ldb_shift = 0, ldc_shift = 0;
  int incx = 1, incy = 1;
  bool bad_layout = false, no_a = false, no_b = false, no_c = false;
  double alpha = 1.0, beta = 0.0;
};

struct Case {
  const char *what;
  void (*change)(Call &);
  int fortran, column, row;  // expected number; 0: legal
};

// The numbers of a row-major call are those of its own argument list, even
// where the check runs on the column-major twin with m and n exchanged (so
// that of two bad sizes the caller's n is reported first).
const std::vector<Case> kGemmCases = {
    {"transa", [](Call &c) { c.t1 = 'X'; }, 1, 2, 2},
    {"transb", [](Call &c) { c.t2 = '?'; }, 2, 3, 3},
    {"m", [](Call &c) { c.m = -1; }, 3, 4, 4},
    {"n", [](Call &c) { c.n = -1; }, 4, 5, 5},
    {"k", [](Call &c) { c.k = -1; }, 5, 6, 6},
    {"lda", [](Call &c) { c.lda_shift = -1; }, 8, 9, 9},
    {"ldb", [](Call &c) { c.ldb_shift = -1; }, 10, 11, 11},
    {"ldc", [](Call &c) { c.ldc_shift = -1; }, 13, 14, 14},
    {"m and n", [](Call &c) { c.m = c.n = -1; }, 3, 4, 5},
    {"m and lda", [](Call &c) { c.m = -1, c.lda_shift = -1; }, 3, 4, 4},
    {"transposed lda", [](Call &c) { c.t1 = 't', c.lda_shift = -1; }, 8, 9, 9},
    {"A missing", [](Call &c) { c.no_a = true; }, 7, 8, 8},
    {"B missing", [](Call &c) { c.no_b = true; }, 9, 10, 10},
    {"C missing", [](Call &c) { c.no_c = true; }, 12, 13, 13},
    {"layout", [](Call &c) { c.bad_layout = true; }, 0, 1, 1},
    {"lower-case letters", [](Call &c) { c.t1 = 'c', c.t2 = 't'; }, 0, 0, 0},
    {"nothing to do, no arrays", [](Call &c) { c.m = 0, c.no_a = c.no_b = c.no_c = true; }, 0, 0, 0},
    {"alpha 0 reads neither A nor B", [](Call &c) { c.alpha = 0, c.beta = 2, c.no_a = c.no_b = true; }, 0, 0, 0},
};

const std::vector<Case> kGemvCases = {
    {"trans", [](Call &c) { c.t1 = 'X'; }, 1, 2, 2},
    {"m", [](Call &c) { c.m = -1; }, 2, 3, 3},
    {"n", [](Call &c) { c.n = -1; }, 3, 4, 4},
    {"lda", [](Call &c) { c.lda_shift = -1; }, 6, 7, 7},
    {"incx", [](Call &c) { c.incx = 0; }, 8, 9, 9},
    {"incy", [](Call &c) { c.incy = 0; }, 11, 12, 12},
    {"m and n", [](Call &c) { c.m = c.n = -1; }, 2, 3, 4},
    {"A missing", [](Call &c) { c.no_a = true; }, 5, 6, 6},
    {"x missing", [](Call &c) { c.no_b = true; }, 7, 8, 8},
    {"y missing", [](Call &c) { c.no_c = true; }, 10, 11, 11},
    {"layout", [](Call &c) { c.bad_layout = true; }, 0, 1, 1},
    {"conjugate transpose, lower case", [](Call &c) { c.t1 = 'c'; }, 0, 0, 0},
    {"alpha 0 reads neither A nor x", [](Call &c) { c.alpha = 0, c.beta = 2, c.no_a = c.no_b = true; }, 0, 0, 0},
};

int at_least_one(int v) { return v > 1 ? v : 1; }
bool is_n(char t) { return t == 'N' || t == 'n'; }

class IllegalArguments : public ::testing::TestWithParam<Form> {};

TEST_P(IllegalArguments, AreReportedByTheirNumberAndWriteNothing) {
  const bool row = GetParam() == Form::CblasRow, cblas = row || GetParam() == Form::CblasColumn;
  const auto bad_layout = static_cast<CBLAS_LAYOUT>(99);
  for (const bool gemm : {true, false})
    for (const Case &cs : gemm ? kGemmCases : kGemvCases) {
      if (!cblas && cs.fortran == 0 && cs.column != 0) continue;  // the layout exists only in CBLAS
      SCOPED_TRACE(std::string(gemm ? "gemm " : "gemv ") + cs.what);
      Call c;
      cs.change(c);
      const std::vector<double> a(64, 1.0), b(64, 1.0);
      std::vector<double> out(64, 7.0);
      const double *pa = c.no_a ? nullptr : a.data(), *pb = c.no_b ? nullptr : b.data();
      double *pc = c.no_c ? nullptr : out.data();
      reports.clear();
      if (gemm) {
        const int ra = is_n(c.t1) ? c.m : c.k, ca = is_n(c.t1) ? c.k : c.m;
        const int rb = is_n(c.t2) ? c.k : c.n, cb = is_n(c.t2) ? c.n : c.k;
        const int lda = at_least_one(row ? ca : ra) + c.lda_shift, ldb = at_least_one(row ? cb : rb) + c.ldb_shift;
        const int ldc = at_least_one(row ? c.n : c.m) + c.ldc_shift;
        if (c.bad_layout)
          cblas_dgemm(bad_layout, CblasNoTrans, CblasNoTrans, c.m, c.n, c.k, c.alpha, pa, lda, pb, ldb, c.beta, pc, ldc);
        else
          call_gemm<double>(GetParam(), c.t1, c.t2, c.m, c.n, c.k, c.alpha, pa, lda, pb, ldb, c.beta, pc, ldc);
      } else {
        const int lda = at_least_one(row ? c.n : c.m) + c.lda_shift;
        if (c.bad_layout)
          cblas_dgemv(bad_layout, CblasNoTrans, c.m, c.n, c.alpha, pa, lda, pb, c.incx, c.beta, pc, c.incy);
        else
          call_gemv<double>(GetParam(), c.t1, c.m, c.n, c.alpha, pa, lda, pb, c.incx, c.beta, pc, c.incy);
      }
      const int want = row ? cs.row : cblas ? cs.column : cs.fortran;
      if (want == 0) {
        EXPECT_EQ(reports, Log{});
        continue;
      }
      const std::string name = cblas ? std::string("cblas_d") + (gemm ? "gemm" : "gemv") : gemm ? "DGEMM " : "DGEMV ";
      EXPECT_EQ(reports, (Log{{name, want}}));
      EXPECT_EQ(out, std::vector<double>(64, 7.0)) << "output written";
      EXPECT_EQ(RowMajorStrg, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, IllegalArguments, ::testing::ValuesIn(orb::test::kForms),
                         [](const auto &info) { return std::string(orb::test::form_name(info.param)); });

// The standard positions of trsm, syrk, herk, symm and hemm, in both CBLAS layouts,
// are the reference test programs' error exits (tests/client), run against
// liborb.  What orb adds is a report for an operand not given: A (and B)
// when alpha != 0, C when the call changes it, at the standard position (+1
// for CBLAS; no position of these changes places in a row-major call).
TEST_P(IllegalArguments, MissingOperandsOfTheLevel3Routines) {
  using orb::test::call_gemmt, orb::test::call_rank_2k, orb::test::call_rank_k, orb::test::call_symm,
      orb::test::call_trsm;
  const Form f = GetParam();
  const bool cblas = f == Form::CblasRow || f == Form::CblasColumn;
  const int n = 3, ld = 3;
  std::vector<double> a(64, 1.0), out(64, 7.0);
  double *c = out.data();
  auto *zc = reinterpret_cast<ORB_Complex16 *>(out.data());
  const auto *za = reinterpret_cast<const ORB_Complex16 *>(a.data());
  const ORB_Complex16 zone = {1, 0}, zhalf = {0.5, 0};
  const orb::test::TrsmOps rlt = {'R', 'L', 'T', 'U'};
  reports.clear();
  call_trsm<double>(f, rlt, n, n, 1, nullptr, ld, c, ld);
  call_trsm<double>(f, rlt, n, n, 1, a.data(), ld, nullptr, ld);
  call_trsm<double>(f, rlt, n, n, 0, nullptr, ld, c, ld);  // alpha = 0 reads no A: legal, and B is cleared
  std::fill(out.begin(), out.end(), 7.0);
  call_rank_k<double, double>(f, 'L', 'N', n, n, 1, nullptr, ld, 0.5, c, ld);
  call_rank_k<double, double>(f, 'L', 'N', n, n, 1, a.data(), ld, 0.5, nullptr, ld);
  call_rank_k<ORB_Complex16, double>(f, 'U', 'C', n, n, 1, nullptr, ld, 0.5, zc, ld);
  call_symm<double, false>(f, 'R', 'U', n, n, 1, nullptr, ld, a.data(), ld, 0.5, c, ld);
  call_symm<double, false>(f, 'R', 'U', n, n, 1, a.data(), ld, nullptr, ld, 0.5, c, ld);
  call_symm<double, false>(f, 'R', 'U', n, n, 1, a.data(), ld, a.data(), ld, 0.5, nullptr, ld);
  call_symm<ORB_Complex16, true>(f, 'L', 'L', n, n, zone, za, ld, nullptr, ld, zhalf, zc, ld);
  call_trsm<double>(f, rlt, n, n, 1, nullptr, ld, c, ld, true);
  call_rank_2k<double, double>(f, 'U', 'T', n, n, 1, a.data(), ld, nullptr, ld, 0.5, c, ld);
  call_rank_2k<ORB_Complex16, double>(f, 'L', 'N', n, n, zone, nullptr, ld, za, ld, 0.5, zc, ld);
  call_rank_2k<double, double>(f, 'U', 'N', n, n, 1, a.data(), ld, a.data(), ld, 0.5, nullptr, ld);
  call_gemmt<double>(f, 'U', 'N', 'T', n, n, 1, nullptr, ld, a.data(), ld, 0.5, c, ld);
  const int s = cblas ? 1 : 0;
  const auto name = [&](const char *fortran, const char *c_name) { return std::string(cblas ? c_name : fortran); };
  EXPECT_EQ(reports, (Log{{name("DTRSM ", "cblas_dtrsm"), 8 + s},
                          {name("DTRSM ", "cblas_dtrsm"), 10 + s},
                          {name("DSYRK ", "cblas_dsyrk"), 6 + s},
                          {name("DSYRK ", "cblas_dsyrk"), 9 + s},
                          {name("ZHERK ", "cblas_zherk"), 6 + s},
                          {name("DSYMM ", "cblas_dsymm"), 6 + s},
                          {name("DSYMM ", "cblas_dsymm"), 8 + s},
                          {name("DSYMM ", "cblas_dsymm"), 11 + s},
                          {name("ZHEMM ", "cblas_zhemm"), 8 + s},
                          {name("DTRMM ", "cblas_dtrmm"), 8 + s},
                          {name("DSYR2K", "cblas_dsyr2k"), 8 + s},
                          {name("ZHER2K", "cblas_zher2k"), 6 + s},
                          {name("DSYR2K", "cblas_dsyr2k"), 11 + s},
                          // a row-major gemmt's A is its twin's B, and reported back as A
                          {name("DGEMMT", "cblas_dgemmt"), 7 + s}}));
  EXPECT_EQ(out, std::vector<double>(64, 7.0)) << "output written";
}

// gemmt's positions in every form: a row-major call is checked as the
// column-major product of the transposes, whose A and B (with their leading
// dimensions) are the caller's B and A, and reported where the caller counts
// them.  C of order 3, k = 2; A as stored is 3 x 2 (2 x 3 row-major), B 2 x 3.
TEST_P(IllegalArguments, GemmtPositions) {
  using orb::test::call_gemmt;
  const Form f = GetParam();
  const bool cblas = f == Form::CblasRow || f == Form::CblasColumn, row = f == Form::CblasRow;
  struct Bad {
    const char *what;
    char uplo = 'L', ta = 'N', tb = 'N';
    int n = 3, k = 2, lda_shift = 0, ldb_shift = 0, ldc_shift = 0;
    int fortran;  // the standard position; CBLAS reports one more
  };
  const Bad cases[] = {{"uplo", 'X', 'N', 'N', 3, 2, 0, 0, 0, 1}, {"transa", 'L', 'X', 'N', 3, 2, 0, 0, 0, 2},
                       {"transb", 'L', 'N', '?', 3, 2, 0, 0, 0, 3}, {"n", 'L', 'N', 'N', -1, 2, 0, 0, 0, 4},
                       {"k", 'L', 'N', 'N', 3, -1, 0, 0, 0, 5},     {"lda", 'L', 'N', 'N', 3, 2, -1, 0, 0, 8},
                       {"ldb", 'U', 'N', 'N', 3, 2, 0, -1, 0, 10},  {"ldc", 'U', 'T', 'N', 3, 2, 0, 0, -1, 13}};
  std::vector<double> a(64, 1.0), b(64, 1.0), out(64, 7.0);
  for (const Bad &c : cases) {
    SCOPED_TRACE(c.what);
    reports.clear();
    const bool a_n = (c.ta | 0x20) == 'n', b_n = (c.tb | 0x20) == 'n';
    // The smallest legal leading dimensions, as the caller stores each matrix.
    const int rows_a = row == a_n ? 2 : 3, rows_b = row == b_n ? 3 : 2;
    call_gemmt<double>(f, c.uplo, c.ta, c.tb, c.n, c.k, 1.0, a.data(), rows_a + c.lda_shift, b.data(),
                       rows_b + c.ldb_shift, 0.5, out.data(), 3 + c.ldc_shift);
    EXPECT_EQ(reports, (Log{{cblas ? "cblas_dgemmt" : "DGEMMT", c.fortran + (cblas ? 1 : 0)}}));
    EXPECT_EQ(out, std::vector<double>(64, 7.0)) << "output written";
  }
}

// Each precision reports under its own name; a missing scalar, which Fortran
// passes by reference and CBLAS by address for complex types, is reported too.
TEST(IllegalArgumentNames, EveryPrecisionAndMissingScalars) {
  const int m = -1, two = 2, one = 1;
  const int64_t m8 = -1, two8 = 2;
  const float fs = 1;
  const ORB_Complex8 cs = {1, 0};
  const ORB_Complex16 zs = {1, 0};
  reports.clear();
  sgemm_("N", "N", &m, &two, &two, &fs, nullptr, &two, nullptr, &two, &fs, nullptr, &two);
  cgemv_64_("N", &m8, &two8, &cs, nullptr, &two8, nullptr, &two8, &cs, nullptr, &two8);
  zgemm_("N", "N", &two, &two, &two, nullptr, nullptr, &two, nullptr, &two, &zs, nullptr, &two);
  sgemv_("N", &two, nullptr, &fs, nullptr, &two, nullptr, &one, &fs, nullptr, &one);
  cblas_zgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 2, &zs, nullptr, 2, nullptr, 2, nullptr, nullptr, 2);
  cblas_cgemv(CblasColMajor, CblasConjTrans, 2, 2, nullptr, nullptr, 2, nullptr, 1, &cs, nullptr, 1);
  cblas_sgemm(CblasColMajor, CblasNoTrans, static_cast<CBLAS_TRANSPOSE>(0), 2, 2, 2, 1, nullptr, 2, nullptr, 2, 0,
              nullptr, 2);
  EXPECT_EQ(reports, (Log{{"SGEMM ", 3},
                          {"CGEMV ", 2},
                          {"ZGEMM ", 6},
                          {"SGEMV ", 3},
                          {"cblas_zgemm", 12},
                          {"cblas_cgemv", 5},
                          {"cblas_sgemm", 3}}));
}

}  // namespace
