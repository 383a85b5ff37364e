// Illegal arguments reach the program's own xerbla_ with the standard
// routine's name and the argument's number, and leave the output untouched.
//
// This executable defines xerbla_, as the reference test programs do; the
// CBLAS names report through orb's cblas_xerbla, which must hand on the
// argument's position in the caller's own list, row-major calls included.
#include <gtest/gtest.h>
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

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

// trsm in the caller's terms: side L, upper, no transposition, non-unit, m = 2, n = 3.
struct TrsmArgs {
  orb::test::TrsmOps ops = {'L', 'U', 'N', 'N'};
  int m = 2, n = 3, lda_shift = 0, ldb_shift = 0;
  bool bad_layout = false, no_a = false, no_b = false;
  double alpha = 1.0;
};

struct TrsmCase {
  const char *what;
  void (*change)(TrsmArgs &);
  int fortran, column, row;  // expected number; 0: legal
};

// A row-major call is checked as its twin (side and triangle flipped, m and
// n exchanged), yet reported at the caller's own positions: of two bad sizes,
// the caller's n first.
const std::vector<TrsmCase> kTrsmCases = {
    {"side", [](TrsmArgs &c) { c.ops.side = 'X'; }, 1, 2, 2},
    {"uplo", [](TrsmArgs &c) { c.ops.uplo = 'X'; }, 2, 3, 3},
    {"transa", [](TrsmArgs &c) { c.ops.trans = 'X'; }, 3, 4, 4},
    {"diag", [](TrsmArgs &c) { c.ops.diag = 'X'; }, 4, 5, 5},
    {"m", [](TrsmArgs &c) { c.m = -1; }, 5, 6, 6},
    {"n", [](TrsmArgs &c) { c.n = -1; }, 6, 7, 7},
    {"m and n", [](TrsmArgs &c) { c.m = c.n = -1; }, 5, 6, 7},
    {"lda", [](TrsmArgs &c) { c.lda_shift = -1; }, 9, 10, 10},
    {"lda, right side", [](TrsmArgs &c) { c.ops.side = 'R', c.lda_shift = -1; }, 9, 10, 10},
    {"ldb", [](TrsmArgs &c) { c.ldb_shift = -1; }, 11, 12, 12},
    {"A missing", [](TrsmArgs &c) { c.no_a = true; }, 8, 9, 9},
    {"B missing", [](TrsmArgs &c) { c.no_b = true; }, 10, 11, 11},
    {"layout", [](TrsmArgs &c) { c.bad_layout = true; }, 0, 1, 1},
    {"lower-case letters", [](TrsmArgs &c) { c.ops = {'r', 'l', 'c', 'u'}; }, 0, 0, 0},
    {"nothing to do, no arrays", [](TrsmArgs &c) { c.n = 0, c.no_a = c.no_b = true; }, 0, 0, 0},
    {"alpha 0 reads no A", [](TrsmArgs &c) { c.alpha = 0, c.no_a = true; }, 0, 0, 0},
};

TEST_P(IllegalArguments, OfTrsmAreReportedByTheirNumberAndWriteNothing) {
  const bool row = GetParam() == Form::CblasRow, cblas = row || GetParam() == Form::CblasColumn;
  for (const TrsmCase &cs : kTrsmCases) {
    if (!cblas && cs.fortran == 0 && cs.column != 0) continue;
    SCOPED_TRACE(cs.what);
    TrsmArgs c;
    cs.change(c);
    const std::vector<double> a(64, 1.0);
    std::vector<double> b(64, 7.0);
    const bool left = (c.ops.side | 0x20) == 'l';
    const int lda = at_least_one(left ? c.m : c.n) + c.lda_shift, ldb = at_least_one(row ? c.n : c.m) + c.ldb_shift;
    const double *pa = c.no_a ? nullptr : a.data();
    double *pb = c.no_b ? nullptr : b.data();
    reports.clear();
    if (c.bad_layout)
      cblas_dtrsm(static_cast<CBLAS_LAYOUT>(99), CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, c.m, c.n, c.alpha,
                  pa, lda, pb, ldb);
    else
      orb::test::call_trsm<double>(GetParam(), c.ops, c.m, c.n, c.alpha, pa, lda, pb, ldb);
    const int want = row ? cs.row : cblas ? cs.column : cs.fortran;
    if (want == 0) {
      EXPECT_EQ(reports, Log{});
      continue;
    }
    EXPECT_EQ(reports, (Log{{cblas ? "cblas_dtrsm" : "DTRSM ", want}}));
    EXPECT_EQ(b, std::vector<double>(64, 7.0)) << "output written";
  }
}

// syrk and herk in the caller's terms: upper, no transposition, n = 3, k = 2.
struct SyrkArgs {
  char uplo = 'U', trans = 'N';
  int n = 3, k = 2, lda_shift = 0, ldc_shift = 0;
  bool no_a = false, no_c = false;
  double alpha = 1.0, beta = 0.5;
};

struct SyrkCase {
  const char *what;
  void (*change)(SyrkArgs &);
  int fortran, cblas;  // expected number, the same for both layouts (nothing is exchanged); 0: legal
  bool herk = false;   // the case is herk's (zherk), else dsyrk's
};

const std::vector<SyrkCase> kSyrkCases = {
    {"uplo", [](SyrkArgs &c) { c.uplo = 'X'; }, 1, 2},
    {"trans", [](SyrkArgs &c) { c.trans = 'X'; }, 2, 3},
    {"herk takes no T", [](SyrkArgs &c) { c.trans = 'T'; }, 2, 3, true},
    {"syrk takes C", [](SyrkArgs &c) { c.trans = 'C'; }, 0, 0},
    {"n", [](SyrkArgs &c) { c.n = -1; }, 3, 4},
    {"k", [](SyrkArgs &c) { c.k = -1; }, 4, 5},
    {"lda", [](SyrkArgs &c) { c.lda_shift = -1; }, 7, 8},
    {"lda, transposed", [](SyrkArgs &c) { c.trans = 'C', c.lda_shift = -1; }, 7, 8, true},
    {"ldc", [](SyrkArgs &c) { c.ldc_shift = -1; }, 10, 11},
    {"A missing", [](SyrkArgs &c) { c.no_a = true; }, 6, 7, true},
    {"C missing", [](SyrkArgs &c) { c.no_c = true; }, 9, 10},
    {"nothing to do, no arrays", [](SyrkArgs &c) { c.alpha = 0, c.beta = 1, c.no_a = c.no_c = true; }, 0, 0},
};

TEST_P(IllegalArguments, OfSyrkAndHerkAreReportedByTheirNumberAndWriteNothing) {
  const bool row = GetParam() == Form::CblasRow, cblas = row || GetParam() == Form::CblasColumn;
  for (const SyrkCase &cs : kSyrkCases) {
    SCOPED_TRACE(cs.what);
    SyrkArgs c;
    cs.change(c);
    std::vector<double> a(64, 1.0), out(64, 7.0);
    // Rows of A as the form stores it: n for 'N' column-major or transposed row-major, else k.
    const bool n_rows = ((c.trans | 0x20) == 'n') != row;
    const int lda = at_least_one(n_rows ? c.n : c.k) + c.lda_shift, ldc = at_least_one(c.n) + c.ldc_shift;
    const int64_t n8 = c.n, k8 = c.k, lda8 = lda, ldc8 = ldc;
    const auto call = [&](auto *routine, const auto &alpha, const auto &beta, auto *pa, auto *pc) {
      using R = std::remove_pointer_t<decltype(routine)>;
      if (GetParam() == Form::Fortran32)
        R::f32(&c.uplo, &c.trans, &c.n, &c.k, &alpha, pa, &lda, &beta, pc, &ldc);
      else if (GetParam() == Form::Fortran64)
        R::f64(&c.uplo, &c.trans, &n8, &k8, &alpha, pa, &lda8, &beta, pc, &ldc8);
      else
        R::cblas(row ? CblasRowMajor : CblasColMajor, c.uplo, c.trans, c.n, c.k, &alpha, pa, lda, &beta, pc, ldc);
    };
    reports.clear();
    if (cs.herk) {
      auto *pa = c.no_a ? nullptr : reinterpret_cast<const ORB_Complex16 *>(a.data());
      auto *pc = c.no_c ? nullptr : reinterpret_cast<ORB_Complex16 *>(out.data());
      call(static_cast<orb::test::RankK<ORB_Complex16, double> *>(nullptr), c.alpha, c.beta, pa, pc);
    } else {
      const double *pa = c.no_a ? nullptr : a.data();
      double *pc = c.no_c ? nullptr : out.data();
      call(static_cast<orb::test::RankK<double, double> *>(nullptr), c.alpha, c.beta, pa, pc);
    }
    const int want = cblas ? cs.cblas : cs.fortran;
    if (want == 0) {
      EXPECT_EQ(reports, Log{});
      continue;
    }
    const std::string name = cblas ? (cs.herk ? "cblas_zherk" : "cblas_dsyrk") : (cs.herk ? "ZHERK " : "DSYRK ");
    EXPECT_EQ(reports, (Log{{name, want}}));
    EXPECT_EQ(out, std::vector<double>(64, 7.0)) << "output written";
  }
}

// symm and hemm in the caller's terms: side L, upper, m = 2, n = 3.
struct SymmArgs {
  char side = 'L', uplo = 'U';
  int m = 2, n = 3, lda_shift = 0, ldb_shift = 0, ldc_shift = 0;
  bool no_a = false, no_b = false, no_c = false;
  double alpha = 1.0, beta = 0.5;
};

struct SymmCase {
  const char *what;
  void (*change)(SymmArgs &);
  int fortran, column, row;  // expected number; 0: legal
};

// A row-major call is checked as its twin (side and uplo flipped, m and n
// exchanged) and reported at the caller's own positions.
const std::vector<SymmCase> kSymmCases = {
    {"side", [](SymmArgs &c) { c.side = 'X'; }, 1, 2, 2},
    {"uplo", [](SymmArgs &c) { c.uplo = 'X'; }, 2, 3, 3},
    {"m", [](SymmArgs &c) { c.m = -1; }, 3, 4, 4},
    {"n", [](SymmArgs &c) { c.n = -1; }, 4, 5, 5},
    {"m and n", [](SymmArgs &c) { c.m = c.n = -1; }, 3, 4, 5},
    {"lda", [](SymmArgs &c) { c.lda_shift = -1; }, 7, 8, 8},
    {"lda, right side", [](SymmArgs &c) { c.side = 'R', c.lda_shift = -1; }, 7, 8, 8},
    {"ldb", [](SymmArgs &c) { c.ldb_shift = -1; }, 9, 10, 10},
    {"ldc", [](SymmArgs &c) { c.ldc_shift = -1; }, 12, 13, 13},
    {"A missing", [](SymmArgs &c) { c.no_a = true; }, 6, 7, 7},
    {"B missing", [](SymmArgs &c) { c.no_b = true; }, 8, 9, 9},
    {"C missing", [](SymmArgs &c) { c.no_c = true; }, 11, 12, 12},
    {"alpha 0 reads neither A nor B", [](SymmArgs &c) { c.alpha = 0, c.no_a = c.no_b = true; }, 0, 0, 0},
};

TEST_P(IllegalArguments, OfSymmAndHemmAreReportedByTheirNumberAndWriteNothing) {
  const bool row = GetParam() == Form::CblasRow, cblas = row || GetParam() == Form::CblasColumn;
  for (const bool hermitian : {false, true})
    for (const SymmCase &cs : kSymmCases) {
      SCOPED_TRACE(std::string(hermitian ? "zhemm " : "dsymm ") + cs.what);
      SymmArgs c;
      cs.change(c);
      const std::vector<double> a(128, 1.0), b(128, 1.0);
      std::vector<double> out(128, 7.0);
      const bool left = (c.side | 0x20) == 'l';
      const int lda = at_least_one(left ? c.m : c.n) + c.lda_shift;
      const int ldb = at_least_one(row ? c.n : c.m) + c.ldb_shift, ldc = at_least_one(row ? c.n : c.m) + c.ldc_shift;
      const int64_t m8 = c.m, n8 = c.n, lda8 = lda, ldb8 = ldb, ldc8 = ldc;
      const auto call = [&](auto *routine, const auto *pa, const auto *pb, auto *pc) {
        using R = std::remove_pointer_t<decltype(routine)>;
        using T = std::remove_const_t<std::remove_pointer_t<decltype(pa)>>;
        const T alpha = orb::test::narrow<T>(c.alpha), beta = orb::test::narrow<T>(c.beta);
        if (GetParam() == Form::Fortran32)
          R::f32(&c.side, &c.uplo, &c.m, &c.n, &alpha, pa, &lda, pb, &ldb, &beta, pc, &ldc);
        else if (GetParam() == Form::Fortran64)
          R::f64(&c.side, &c.uplo, &m8, &n8, &alpha, pa, &lda8, pb, &ldb8, &beta, pc, &ldc8);
        else
          R::cblas(row ? CblasRowMajor : CblasColMajor, c.side, c.uplo, c.m, c.n, &alpha, pa, lda, pb, ldb, &beta,
                   pc, ldc);
      };
      const auto z = [](const double *p) { return reinterpret_cast<const ORB_Complex16 *>(p); };
      reports.clear();
      if (hermitian)
        call(static_cast<orb::test::SymmApi<ORB_Complex16, true> *>(nullptr), c.no_a ? nullptr : z(a.data()),
             c.no_b ? nullptr : z(b.data()), c.no_c ? nullptr : reinterpret_cast<ORB_Complex16 *>(out.data()));
      else
        call(static_cast<orb::test::SymmApi<double, false> *>(nullptr), c.no_a ? nullptr : a.data(),
             c.no_b ? nullptr : b.data(), c.no_c ? nullptr : out.data());
      const int want = row ? cs.row : cblas ? cs.column : cs.fortran;
      if (want == 0) {
        EXPECT_EQ(reports, Log{});
        continue;
      }
      const std::string name = cblas ? (hermitian ? "cblas_zhemm" : "cblas_dsymm") : (hermitian ? "ZHEMM " : "DSYMM ");
      EXPECT_EQ(reports, (Log{{name, want}}));
      EXPECT_EQ(out, std::vector<double>(128, 7.0)) << "output written";
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
