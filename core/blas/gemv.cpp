// Sequential GEMV kernels: y = alpha * op(A) * x + beta * y.
//
// Same pattern as the GEMM kernels: check in the standard order and report the
// first illegal argument without touching y, return at once when m or n is 0
// or when alpha is 0 and beta is 1, only scale y by beta when alpha is 0, else
// let the provider compute.
#include "blas/kernel_traits.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

namespace orb::core {

namespace {

template <class T>
void xgemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const T *alpha, const T *a, const ORB_INT *lda,
           const T *x, const ORB_INT *incx, const T *beta, T *y, const ORB_INT *incy) {
  const int info = orb_blas_check_gemv(trans, m, n, alpha, lda, incx, beta, incy);
  if (info != 0) {
    report_xerbla(KernelTraits<T>::gemv_name.c_str(), info);
    return;
  }
  if (*m == 0 || *n == 0) return;
  if (is_zero(*alpha)) {
    if (!is_one(*beta)) scale_vector(*beta, y, orb_serv_lsame(trans, "N") ? *m : *n, *incy);
    return;
  }
  KernelTraits<T>::gemv()(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, 1);
}

}  // namespace

}  // namespace orb::core

#define ORB_XGEMV(p, P, T)                                                                                   \
  extern "C" void orb_blas_x##p##gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const T *alpha, \
                                      const T *a, const ORB_INT *lda, const T *x, const ORB_INT *incx,      \
                                      const T *beta, T *y, const ORB_INT *incy) {                          \
    orb::core::xgemv<T>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                               \
  }

ORB_FOR_EACH_PRECISION(ORB_XGEMV)
