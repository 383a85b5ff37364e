// The core's GEMM after its argument check, for the core's own kernels that
// are built of products (GEMMT): the same paths as orb_blas_x?gemm, without a
// second check and without going through the exported name.
#pragma once

#include <orb/orb_types.h>

namespace orb::core {

//! C = alpha op(A) op(B) + beta C for a call known to be legal (s, d, c, z).
template <class T>
void gemm_legal(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k,
                const T *alpha, const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
                const ORB_INT *ldc);

}  // namespace orb::core
