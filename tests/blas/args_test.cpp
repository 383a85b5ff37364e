// What the threaded drivers add to the argument rules (whose positions are
// tested once, through every name form, in tests/iface): they check the whole
// call before they cut it, so an illegal call whose pieces would each pass is
// still reported once, by the kernel under its own precision's name, and
// nothing is written.
#include "blas_api.hpp"
#include "dense.hpp"
#include "hooks.hpp"
#include "interpose.hpp"

namespace orb::test {
namespace {

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
