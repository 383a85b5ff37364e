// gemm and gemv through every name form and precision against the naive
// reference: this layer adds argument order, integer widening and the
// row-major mapping, so small padded shapes and the special scalars suffice.
#include <gtest/gtest.h>

#include <atomic>

#include "blas_api.hpp"
#include "dense.hpp"
#include "hooks.hpp"

// Scratch requests of the interface layer can be refused, to reach the path
// that needs none (level2_test.cpp refuses them too).
std::atomic<bool> refuse_scratch{false};

extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static const auto core = ORB_TEST_NEXT(orb_serv_malloc);
  return refuse_scratch.load() ? nullptr : core(bytes, alignment);
}

namespace orb::test {
namespace {

struct Scalars {
  cld alpha, beta;
};
// A general pair; alpha = 0 and beta = 0, whose operands are NaN and must not be read.
const Scalars kScalars[] = {{{1.5, -0.5}, {0.5, 0.25}}, {{0.0, 0.0}, {2.0, 0.0}}, {{1.0, 0.5}, {0.0, 0.0}}};

template <class T>
void gemv_case(Form form, char t, int m, int n, int incx, int incy, Scalars s) {
  check_gemv<T>(form == Form::CblasRow, t, m, n, incx, incy, s.alpha, s.beta,
                [&](T alpha, const T *a, ORB_INT lda, const T *x, T beta, T *y) {
                  call_gemv<T>(form, t, m, n, alpha, a, lda, x, incx, beta, y, incy);
                });
}

TYPED_TEST(Results, GemmThroughEveryNameForm) {
  using T = TypeParam;
  // n = 1 is a matrix-vector product inside; 65 x 33 spans several tiles.
  const int shapes[][3] = {{5, 4, 3}, {1, 1, 1}, {7, 1, 6}, {0, 3, 2}, {4, 3, 0}, {65, 33, 70}};
  for (Form form : kForms)
    for (const char *t : {"NN", "NT", "TN", "TT", "CN", "NC", "CT", "nt"})
      for (const auto &sh : shapes)
        for (const Scalars &s : kScalars) {
          SCOPED_TRACE(::testing::Message() << form_name(form) << ' ' << t << " m=" << sh[0] << " n=" << sh[1]
                                            << " k=" << sh[2] << " alpha=" << s.alpha);
          check_gemm<T>(form == Form::CblasRow, t[0], t[1], sh[0], sh[1], sh[2], s.alpha, s.beta, {2, 1, 3},
                        [&](T alpha, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T beta, T *c, ORB_INT ldc) {
                          call_gemm<T>(form, t[0], t[1], sh[0], sh[1], sh[2], alpha, a, lda, b, ldb, beta, c, ldc);
                        });
        }
}

TYPED_TEST(Results, GemvThroughEveryNameForm) {
  const int shapes[][2] = {{5, 4}, {1, 1}, {0, 3}, {3, 0}, {67, 45}}, incs[][2] = {{1, 1}, {2, -3}, {-1, 2}};
  for (Form form : kForms)
    for (char t : {'N', 'T', 'C', 't'})
      for (const auto &sh : shapes)
        for (const auto &inc : incs)
          for (const Scalars &s : kScalars) {
            SCOPED_TRACE(::testing::Message() << form_name(form) << ' ' << t << " m=" << sh[0] << " n=" << sh[1]
                                              << " incx=" << inc[0] << " incy=" << inc[1] << " alpha=" << s.alpha);
            gemv_case<TypeParam>(form, t, sh[0], sh[1], inc[0], inc[1], s);
          }
}

// The conjugate transpose of a row-major complex matrix needs conj(x) in
// scratch; refused, it runs in blocks from a small buffer on the stack, which
// 600 elements of x span three times.
TEST(RowMajorConjugateGemv, SameResultWhenScratchIsRefused) {
  for (bool refuse : {false, true}) {
    SCOPED_TRACE(refuse ? "scratch refused" : "scratch granted");
    refuse_scratch = refuse;
    gemv_case<ORB_Complex16>(Form::CblasRow, 'C', 600, 40, -2, 3, kScalars[0]);
    gemv_case<ORB_Complex8>(Form::CblasRow, 'C', 600, 40, 1, 1, kScalars[2]);
    refuse_scratch = false;
  }
}

// Fortran compilers spell a routine dgemm_, dgemm or DGEMM: each spelling is
// the same product.
extern "C" {
ORB_TEST_GEMM(dgemm, double, int)
ORB_TEST_GEMM(DGEMM, double, int)
ORB_TEST_GEMV(zgemv, ORB_Complex16, int)
ORB_TEST_GEMV(ZGEMV, ORB_Complex16, int)
}

TEST(FortranSpellings, EveryNameFormComputesTheProduct) {
  for (auto f : {&dgemm_, &dgemm, &DGEMM})
    check_gemm<double>(false, 'N', 'T', 5, 4, 3, 1.5, 0.5, {1, 0, 2}, [&](double al, const double *a, ORB_INT lda,
                                                                       const double *b, ORB_INT ldb, double be, double *c,
                                                                       ORB_INT ldc) {
      const int m = 5, n = 4, k = 3, la = lda, lb = ldb, lc = ldc;
      f("N", "T", &m, &n, &k, &al, a, &la, b, &lb, &be, c, &lc);
    });
  for (auto f : {&zgemv_, &zgemv, &ZGEMV})
    check_gemv<ORB_Complex16>(false, 'C', 6, 3, 1, -1, 1.0, 0.0, [&](ORB_Complex16 al, const ORB_Complex16 *a,
                                                                   ORB_INT lda, const ORB_Complex16 *x,
                                                                   ORB_Complex16 be, ORB_Complex16 *y) {
      const int m = 6, n = 3, la = lda, incx = 1, incy = -1;
      f("C", &m, &n, &al, a, &la, x, &incx, &be, y, &incy);
    });
}

}  // namespace
}  // namespace orb::test
