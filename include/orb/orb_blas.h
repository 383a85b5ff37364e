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

/* The worker launcher: runs worker(i, nthreads, args) for i in [0, nthreads)
 * on the task runtime and returns when all have finished.  partitioner is an
 * affinity partitioner object or NULL (every index its own task). */
struct blas_args_t;
typedef int64_t (*orb_blas_worker_fn)(int64_t ithr, int64_t nthr, struct blas_args_t *args);
int64_t orb_blas_invoke_thin_thread(int64_t nthreads, orb_blas_worker_fn worker, struct blas_args_t *args,
                                    void *partitioner);
void *orb_blas_new_affinity_partitioner(void);
void orb_blas_delete_affinity_partitioner(void *partitioner);

/* ---- Sequential kernels (liborb_core.so.2) ----------------------------- */

ORB_GEMM_DECL(xs, float, ORB_INT);
ORB_GEMM_DECL(xd, double, ORB_INT);
ORB_GEMM_DECL(xc, ORB_Complex8, ORB_INT);
ORB_GEMM_DECL(xz, ORB_Complex16, ORB_INT);
ORB_GEMV_DECL(orb_blas_xsgemv, float, ORB_INT);
ORB_GEMV_DECL(orb_blas_xdgemv, double, ORB_INT);
ORB_GEMV_DECL(orb_blas_xcgemv, ORB_Complex8, ORB_INT);
ORB_GEMV_DECL(orb_blas_xzgemv, ORB_Complex16, ORB_INT);

/* Argument checks of the kernels above, in the standard BLAS order: the
 * number of the first illegal argument, or 0 when the call is legal.  The
 * scalars alpha and beta are only tested for being present.  The threaded
 * drivers ask these before cutting a call into pieces. */
int orb_blas_check_gemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                        const ORB_INT *k, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb,
                        const void *beta, const ORB_INT *ldc);
int orb_blas_check_gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const void *alpha,
                        const ORB_INT *lda, const ORB_INT *incx, const void *beta, const ORB_INT *incy);

ORB_END_DECLS

#endif
