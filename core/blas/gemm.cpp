// Sequential GEMM kernels: C = alpha * op(A) * op(B) + beta * C.
//
// The kernel checks its arguments in the standard order and reports the first
// illegal one without touching C; it returns at once when the standard says
// nothing is to be done (m or n is 0, or C stays as it is because alpha or k is
// 0 and beta is 1); when alpha or k is 0 it only scales C by beta, reading
// neither A nor B; a double-precision product of the shape the core's own
// kernel takes goes to it (gemm_stream_b.hpp); otherwise a provider computes
// the product, the one the routing rule names (gemm_route.hpp).  The threaded drivers call it once per piece.
#include "blas/gemm.hpp"
#include "blas/gemm_real_form.hpp"
#include "blas/gemm_stream_b.hpp"
#include "blas/kernel_traits.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <type_traits>

namespace orb::core {

template <class T>
void gemm_legal(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k,
                const T *alpha, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
                const ORB_INT *ldc) {
  if (*m == 0 || *n == 0) return;
  if (is_zero(*alpha) || *k == 0) {
    if (!is_one(*beta)) scale_matrix(*beta, c, *m, *n, *ldc);
    return;
  }
  const double work = static_cast<double>(*m) * static_cast<double>(*n) * static_cast<double>(*k);
  if (work < kGemmLeastRoutedWork) {
    KernelTraits<T>::gemm()(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);
    return;
  }
  if constexpr (std::is_same_v<T, double>) {
    if (stream_b_dgemm(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc)) return;
  }
  const GemmRouteCase route{KernelTraits<T>::lower,
                             (*transa | 0x20) != 'n' || (*transb | 0x20) != 'n',
                             *m,
                             *n,
                             *k,
                             starts_on_cache_line(a) && starts_on_cache_line(b) && starts_on_cache_line(c),
                             (orb_serv_cbwr_get(-1) & ORB_CBWR_STRICT) != 0,
                             second_provider_wide()};
  if constexpr (std::is_same_v<T, ORB_Complex16>) {
    if (gemm_provider_for(route) == GemmProvider::second_real_form &&
        gemm_real_form(*transa, *transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc))
      return;
  }
  gemm_for<T>(route)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);
}

#define ORB_GEMM_LEGAL(p, P, T)                                                                                \
  template void gemm_legal<T>(const char *, const char *, const ORB_INT *, const ORB_INT *, const ORB_INT *, \
                              const T *, const T *, const ORB_INT *, const T *, const ORB_INT *, const T *, T *, \
                              const ORB_INT *);
ORB_FOR_EACH_PRECISION(ORB_GEMM_LEGAL)
#undef ORB_GEMM_LEGAL

namespace {

template <class T>
void xgemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k,
           const T *alpha, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
           const ORB_INT *ldc) {
  const int info = orb_blas_check_gemm(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc);
  if (info != 0) {
    report_xerbla(KernelTraits<T>::gemm_name.c_str(), info);
    return;
  }
  gemm_legal(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace

}  // namespace orb::core

#define ORB_XGEMM(p, P, T)                                                                                 \
  extern "C" void orb_blas_x##p##gemm(const char *transa, const char *transb, const ORB_INT *m,         \
                                      const ORB_INT *n, const ORB_INT *k, const T *alpha, const T *a,   \
                                      const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, \
                                      T *c, const ORB_INT *ldc) {                                       \
    orb::core::xgemm<T>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                  \
  }

ORB_FOR_EACH_PRECISION(ORB_XGEMM)
