// A product whose B is one column, n = 1, is a matrix-vector product:
// y = alpha * op(A) * x + beta * y with x the column of B (increment 1, or ldb
// when B is transposed and the column is a row of B as stored) and y = C.
// op(A) = A gives A as an m x k matrix, a transposed A a k x m one; the
// complex drivers keep conjugated B (transb 'C') as products, since GEMV
// cannot conjugate x.  The GEMM frame hands such products to the threaded
// GEMV, a batch of them to the sequential kernel member by member.
#pragma once

#include "blas/blas_precision.hpp"

namespace orb::thr {

//! Computes the product (n = 1) through gemv, a GEMV of precision P (threaded
//! driver or kernel).  False, with nothing done, when the product has no GEMV form.
template <class P, class Gemv>
bool gemv_shortcut(Gemv gemv, const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *k,
                   const typename P::value_type *alpha, const typename P::value_type *a, const ORB_INT *lda,
                   const typename P::value_type *b, const ORB_INT *ldb, const typename P::value_type *beta,
                   typename P::value_type *c) {
  if (P::is_complex && (*transb | 0x20) == 'c') return false;
  const bool a_as_stored = not_transposed(transa);
  const char *op = a_as_stored ? "N" : (P::is_complex && (*transa | 0x20) == 'c') ? "C" : "T";
  const ORB_INT incx = not_transposed(transb) ? 1 : *ldb;
  const ORB_INT incy = 1;
  gemv(op, a_as_stored ? m : k, a_as_stored ? k : m, alpha, a, lda, b, &incx, beta, c, &incy);
  return true;
}

}  // namespace orb::thr
