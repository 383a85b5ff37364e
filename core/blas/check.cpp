// Argument checks of the dense kernels, in the standard BLAS order.
//
// Each check returns the number of the first illegal argument, or 0.  The
// kernels report that number through the error handler; the threaded drivers
// ask the same question before they cut a problem into pieces, so that an
// illegal call is reported once, for the caller's own arguments, and never
// reaches a piece.  A null pointer where a scalar is passed by reference is
// illegal at its own position.
#include <orb/orb_blas.h>

#include <orb/orb_service.h>

namespace {

//! 'N', 'T' or 'C' in either case: the operations the standard defines.
bool is_operation(const char *c) { return orb_serv_lsame(c, "N") || orb_serv_lsame(c, "T") || orb_serv_lsame(c, "C"); }

ORB_INT at_least_one(ORB_INT v) { return v > 1 ? v : 1; }

}  // namespace

extern "C" int orb_blas_check_gemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                                   const ORB_INT *k, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb,
                                   const void *beta, const ORB_INT *ldc) {
  if (!transa || !is_operation(transa)) return 1;
  if (!transb || !is_operation(transb)) return 2;
  if (!m || *m < 0) return 3;
  if (!n || *n < 0) return 4;
  if (!k || *k < 0) return 5;
  if (!alpha) return 6;
  const ORB_INT rows_a = orb_serv_lsame(transa, "N") ? *m : *k;
  const ORB_INT rows_b = orb_serv_lsame(transb, "N") ? *k : *n;
  if (!lda || *lda < at_least_one(rows_a)) return 8;
  if (!ldb || *ldb < at_least_one(rows_b)) return 10;
  if (!beta) return 11;
  if (!ldc || *ldc < at_least_one(*m)) return 13;
  return 0;
}

extern "C" int orb_blas_check_gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const void *alpha,
                                   const ORB_INT *lda, const ORB_INT *incx, const void *beta,
                                   const ORB_INT *incy) {
  if (!trans || !is_operation(trans)) return 1;
  if (!m || *m < 0) return 2;
  if (!n || *n < 0) return 3;
  if (!alpha) return 4;
  if (!lda || *lda < at_least_one(*m)) return 6;
  if (!incx || *incx == 0) return 8;
  if (!beta) return 9;
  if (!incy || *incy == 0) return 11;
  return 0;
}
