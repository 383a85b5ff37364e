/* orb: threaded BLAS drivers and the sequential kernels beneath them.
 *
 * Every argument is passed by reference, as in the Fortran BLAS; characters
 * are compared case-insensitively; matrices are column-major.  orb_blas_*
 * take 64-bit integers (ORB_INT), orb_blas_lp64_* take 32-bit integers. */
#ifndef ORB_BLAS_H
#define ORB_BLAS_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

/* ---- Threaded drivers (liborb_tsq_thread.so.2) ------------------------- */

#define ORB_GEMM_DECL(p, T, I)                                                                        \
  void orb_blas_##p##gemm(const char *transa, const char *transb, const I *m, const I *n, const I *k, \
                          const T *alpha, const T *a, const I *lda, const T *b, const I *ldb,         \
                          const T *beta, T *c, const I *ldc)
#define ORB_GEMM_LP64_DECL(p, T)                                                                           \
  void orb_blas_lp64_##p##gemm(const char *transa, const char *transb, const int *m, const int *n,         \
                               const int *k, const T *alpha, const T *a, const int *lda, const T *b,       \
                               const int *ldb, const T *beta, T *c, const int *ldc)
#define ORB_GEMV_DECL(name, T, I)                                                                          \
  void name(const char *trans, const I *m, const I *n, const T *alpha, const T *a, const I *lda,           \
            const T *x, const I *incx, const T *beta, T *y, const I *incy)

ORB_GEMM_DECL(s, float, ORB_INT);
ORB_GEMM_DECL(d, double, ORB_INT);
ORB_GEMM_DECL(c, ORB_Complex8, ORB_INT);
ORB_GEMM_DECL(z, ORB_Complex16, ORB_INT);
ORB_GEMM_LP64_DECL(s, float);
ORB_GEMM_LP64_DECL(d, double);
ORB_GEMM_LP64_DECL(c, ORB_Complex8);
ORB_GEMM_LP64_DECL(z, ORB_Complex16);

ORB_GEMV_DECL(orb_blas_sgemv, float, ORB_INT);
ORB_GEMV_DECL(orb_blas_dgemv, double, ORB_INT);
ORB_GEMV_DECL(orb_blas_cgemv, ORB_Complex8, ORB_INT);
ORB_GEMV_DECL(orb_blas_zgemv, ORB_Complex16, ORB_INT);
ORB_GEMV_DECL(orb_blas_lp64_sgemv, float, int);
ORB_GEMV_DECL(orb_blas_lp64_dgemv, double, int);
ORB_GEMV_DECL(orb_blas_lp64_cgemv, ORB_Complex8, int);
ORB_GEMV_DECL(orb_blas_lp64_zgemv, ORB_Complex16, int);

ORB_END_DECLS

#endif
