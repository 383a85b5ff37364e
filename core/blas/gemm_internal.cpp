// The product entry of the factorization graphs' trailing updates.
//
// A core that keeps packed copies of operands between calls would report
// version 2 and take them through `packed`; this core has no such kernel, so
// it reports version 1 and the entry is the plain product, the graphs then
// never ask for packing.
#include <orb/internal/orb_kernels.h>
#include <orb/internal/orb_lapack_kernels.h>

#include "precision.hpp"

extern "C" int orb_blas_get_kernel_api_version(void) { return 1; }

#define ORB_GEMM_INTERNAL(p, P, T)                                               \
  extern "C" ORB_GEMM_INTERNAL_DECL(p, T) {                                      \
    (void)packed;                                                                \
    orb_blas_x##p##gemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); \
  }
ORB_FOR_EACH_PRECISION(ORB_GEMM_INTERNAL)
