// The threaded GEMM and GEMV drivers: results against the naive reference in
// every precision, for shapes that take each path of the frame; how the GEMV
// driver cuts y; and illegal calls, checked whole before any cut (argument
// positions are tested through every name form in tests/iface), so a call
// whose pieces would each pass is still reported once, under its own
// precision's name, and nothing is written.
#include "blas_api.hpp"
#include "dense.hpp"
#include "hooks.hpp"
#include "interpose.hpp"

namespace orb::test {
namespace {

struct GemmCase {
  std::string name;
  ORB_INT m, n, k;
  char ta, tb;
  int budget;
  double alpha, beta;  // beta 0: C full of NaN
  ORB_INT pad = 0;     // ld = rows + pad for A, B and C
  bool lp64 = false;
};

std::vector<GemmCase> gemm_cases() {
  std::vector<GemmCase> v;
  // Every pair of operations, upper and lower case, on a grid of 3 x 2 (rows
  // and columns both cut, so that each operand is offset both ways).
  for (char ta : {'N', 'T', 'C', 'n', 't', 'c'})
    for (char tb : {'N', 'T', 'C'})
      v.push_back({std::string("ops ") + ta + tb, 300, 70, 40, ta, static_cast<char>(tb | (ta & 0x20)), 6, 1.5, 0.5, 2});
  v.push_back({"budget1", 90, 70, 40, 'N', 'T', 1, 1.0, 2.0, 1});
  v.push_back({"alpha0", 150, 130, 70, 'T', 'N', 2, 0.0, 0.5});
  v.push_back({"beta0", 150, 130, 70, 'N', 'N', 2, 1.0, 0.0});
  v.push_back({"beta1", 150, 130, 70, 'N', 'C', 4, -1.0, 1.0});
  v.push_back({"k0", 150, 130, 0, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"m0", 0, 130, 70, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"n0", 150, 0, 70, 'N', 'N', 2, 1.0, 2.0});
  v.push_back({"matvec", 300, 1, 200, 'N', 'N', 2, 1.0, 0.5, 3});
  v.push_back({"matvec_tt", 300, 1, 200, 'T', 'T', 1, 1.0, 0.5, 3});
  v.push_back({"matvec_cn", 300, 1, 200, 'C', 'N', 2, 1.0, 0.5});
  v.push_back({"matvec_cc", 300, 1, 200, 'C', 'C', 2, 1.0, 0.5});  // complex: stays a GEMM
  v.push_back({"split_k_8", 64, 64, 8 * 336 + 5, 'N', 'N', 8, 1.0, 0.5});
  v.push_back({"split_k_tt_beta0", 64, 80, 700, 'T', 'T', 2, 1.0, 0.0, 1});
  v.push_back({"split_k_3_pad", 70, 64, 3 * 336 + 2, 'C', 'N', 3, 1.0, 1.0, 2});
  v.push_back({"split_k_alpha0", 64, 64, 700, 'N', 'T', 2, 0.0, 0.5});
  v.push_back({"grid_rows_split", 1000, 512, 3, 'N', 'T', 8, 1.0, 0.5, 1});
  v.push_back({"grid_remainder", 640, 96, 9, 'T', 'N', 16, 1.0, 0.5});
  v.push_back({"grid_odd_budget", 301, 211, 17, 'N', 'N', 5, 1.0, 0.5, 1});
  v.push_back({"lp64", 150, 130, 70, 'T', 'T', 2, 1.0, 0.5, 1, true});
  return v;
}

TYPED_TEST(Results, GemmDriverMatchesNaiveProduct) {
  using T = TypeParam;
  for (const GemmCase &p : gemm_cases()) {
    SCOPED_TRACE(p.name);
    check_gemm<T>(false, p.ta, p.tb, p.m, p.n, p.k, cld(p.alpha, p.alpha / 2), p.beta, {p.pad, p.pad, p.pad},
                  [&](T alpha, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T beta, T *c, ORB_INT ldc) {
                    Budget budget(p.budget);
                    const int m = p.m, n = p.n, k = p.k, la = lda, lb = ldb, lc = ldc;
                    if (p.lp64)
                      Api<T>::driver_gemm_lp64(&p.ta, &p.tb, &m, &n, &k, &alpha, a, &la, b, &lb, &beta, c, &lc);
                    else
                      Api<T>::driver_gemm(&p.ta, &p.tb, &p.m, &p.n, &p.k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
                  });
  }
}

struct GemvCase {
  const char *name;
  ORB_INT m, n;
  char trans;
  ORB_INT incx, incy;
  int budget;
  size_t kernel_calls;
};

const GemvCase kGemvCases[] = {{"too_small_to_cut", 150, 150, 'N', 1, 1, 2, 1},
                               {"budget1", 1000, 300, 'N', 1, 1, 1, 1},
                               {"rows_negative_incy", 1000, 300, 'N', 2, -3, 2, 2},
                               {"columns", 300, 1000, 'T', -1, 2, 4, 4},
                               {"columns_conj", 200, 700, 'C', 3, -1, 3, 3},
                               {"rows_budget8", 1000, 300, 'N', 1, 1, 8, 8}};

TYPED_TEST(Results, GemvDriverMatchesNaiveProductAndCutsYOnce) {
  using T = TypeParam;
  for (const GemvCase &g : kGemvCases) {
    SCOPED_TRACE(g.name);
    check_gemv<T>(false, g.trans, g.m, g.n, g.incx, g.incy, cld(0.75, -0.5), cld(-1.25, 0.25),
                  [&](T alpha, const T *a, ORB_INT lda, const T *x, T beta, T *y) {
                    Budget budget(g.budget);
                    observe();
                    Api<T>::driver_gemv(&g.trans, &g.m, &g.n, &alpha, a, &lda, x, &g.incx, &beta, y, &g.incy);
                  });
    const Observed o = observed();
    EXPECT_EQ(o.gemv.size(), g.kernel_calls);
    ORB_INT covered = 0;
    for (const GemvCall &call : o.gemv) covered += g.trans == 'N' ? call.m : call.n;
    EXPECT_EQ(covered, g.trans == 'N' ? g.m : g.n);  // the blocks of y add up to y, each taken once
  }
}

// Operands of any precision: an illegal call reads none of them.
std::vector<double> in(1 << 18, 1.0), out(1 << 18, 3.0);  // room for a call that goes wrong

template <class T>
void gemm(const char *ta, const char *tb, ORB_INT m, ORB_INT n, ORB_INT k, ORB_INT lda, ORB_INT ldb, ORB_INT ldc) {
  const T one = narrow<T>(1), *a = reinterpret_cast<const T *>(in.data());
  Api<T>::driver_gemm(ta, tb, &m, &n, &k, &one, a, &lda, a, &ldb, &one, reinterpret_cast<T *>(out.data()), &ldc);
}

template <class T>
void gemv(const char *t, ORB_INT m, ORB_INT n, ORB_INT lda, ORB_INT incx, ORB_INT incy) {
  const T one = narrow<T>(1), *a = reinterpret_cast<const T *>(in.data());
  Api<T>::driver_gemv(t, &m, &n, &one, a, &lda, a, &incx, &one, reinterpret_cast<T *>(out.data()), &incy);
}

TEST(DriverArguments, ReportedOnceBeforeAnyCutAndNothingWritten) {
  Budget budget(4);  // enough to cut every legal call below
  Reports reports;
  observe();
  gemm<double>("N", "N", 200, 64, 8, 200, 8, 150);  // row blocks of 100 would fit ldc = 150
  gemm<double>("x", "N", 60, 1, 8, 60, 8, 60);      // the matrix-vector shortcut would take any transa
  gemv<double>("N", 200, 400, 150, 1, 1);           // row blocks of 112 would fit lda = 150
  const int m = 200, n = 64, k = 8, ld = 200, bad_ldc = 150;
  const double one = 1;
  orb_blas_lp64_dgemm("N", "N", &m, &n, &k, &one, in.data(), &ld, in.data(), &k, &one, out.data(), &bad_ldc);
  orb_blas_lp64_dgemm("N", "N", nullptr, &n, &k, &one, in.data(), &ld, in.data(), &k, &one, out.data(), &ld);
  gemm<float>("N", "N", 4, 4, 4, 4, 4, 2);
  gemm<ORB_Complex8>("N", "N", 4, 4, 4, 2, 4, 4);
  gemm<ORB_Complex16>("N", "Z", 4, 4, 4, 4, 4, 4);
  gemv<ORB_Complex16>("N", 4, 4, 4, 1, 0);
  const ORB_INT tm = 500, tn = 400, small = 499;  // column blocks would fit ldb = 499 too
  orb_blas_dtrsm("L", "U", "N", "N", &tm, &tn, &one, in.data(), &tm, out.data(), &small);
  orb_blas_dtrsm("L", "U", "N", "X", &tm, &tn, &one, in.data(), &tm, out.data(), &tm);
  EXPECT_EQ(observed().trsm.size(), 2u);  // each reaches the kernel whole
  const Reports::Log expected = {{"DGEMM", 13}, {"DGEMM", 1}, {"DGEMV", 6}, {"DGEMM", 13}, {"DGEMM", 3},
                                 {"SGEMM", 13}, {"CGEMM", 8}, {"ZGEMM", 2}, {"ZGEMV", 11},
                                 {"DTRSM", 11}, {"DTRSM", 4}};
  EXPECT_EQ(Reports::taken(), expected);
  EXPECT_EQ(out, std::vector<double>(1 << 18, 3.0));
}

}  // namespace
}  // namespace orb::test
