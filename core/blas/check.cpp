// The argument checks of the dense kernels, exported for the threaded drivers:
// they ask the same question before they cut a problem into pieces, so that an
// illegal call is reported once, for the caller's own arguments, and never
// reaches a piece.  The rules themselves live in blas_rules.hpp.
#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "blas_rules.hpp"

extern "C" int orb_blas_check_gemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                                   const ORB_INT *k, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb,
                                   const void *beta, const ORB_INT *ldc) {
  return orb::rules::check_gemm(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc);
}

extern "C" int orb_blas_check_gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const void *alpha,
                                   const ORB_INT *lda, const ORB_INT *incx, const void *beta,
                                   const ORB_INT *incy) {
  return orb::rules::check_gemv(trans, m, n, alpha, lda, incx, beta, incy);
}

extern "C" int orb_blas_check_trsm(const char *side, const char *uplo, const char *transa, const char *diag,
                                   const ORB_INT *m, const ORB_INT *n, const void *alpha, const ORB_INT *lda,
                                   const ORB_INT *ldb) {
  return orb::rules::check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb);
}

extern "C" int orb_blas_check_syrk(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k,
                                   const void *alpha, const ORB_INT *lda, const void *beta, const ORB_INT *ldc,
                                   const char *ops) {
  return orb::rules::check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, ops);
}

extern "C" int orb_blas_check_symm(const char *side, const char *uplo, const ORB_INT *m, const ORB_INT *n,
                                   const void *alpha, const ORB_INT *lda, const ORB_INT *ldb, const void *beta,
                                   const ORB_INT *ldc) {
  return orb::rules::check_symm(side, uplo, m, n, alpha, lda, ldb, beta, ldc);
}

extern "C" int orb_blas_check_syr2k(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k,
                                    const void *alpha, const ORB_INT *lda, const ORB_INT *ldb, const void *beta,
                                    const ORB_INT *ldc, const char *ops) {
  return orb::rules::check_syr2k(uplo, trans, n, k, alpha, lda, ldb, beta, ldc, ops);
}

extern "C" int orb_blas_check_gemmt(const char *uplo, const char *transa, const char *transb, const ORB_INT *n,
                                    const ORB_INT *k, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb,
                                    const void *beta, const ORB_INT *ldc) {
  return orb::rules::check_gemmt(uplo, transa, transb, n, k, alpha, lda, ldb, beta, ldc);
}
