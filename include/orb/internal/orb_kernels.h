/* orb: the contract between the three libraries for the dense routines (not
 * installed).  The threading layer's worker launcher and affinity objects,
 * the core's sequential kernels that every piece of work ends in, and the
 * argument checks the drivers ask before they cut a call.  Programs call the
 * names of orb_blas.h and orb_cblas.h instead. */
#ifndef ORB_INTERNAL_KERNELS_H
#define ORB_INTERNAL_KERNELS_H

#include <orb/orb_blas.h>

ORB_BEGIN_DECLS

/* ---- Worker launcher (liborb_tsq_thread.so.2) -------------------------- */

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
ORB_LEVEL1_DECLS(orb_blas_x, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_x, trsm, ORB_INT)
ORB_SYRK_HERK_DECLS(orb_blas_x, ORB_INT)
ORB_SYMM_HEMM_DECLS(orb_blas_x, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_x, trmm, ORB_INT)
ORB_SYR2K_HER2K_DECLS(orb_blas_x, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_GEMMT_DECL, orb_blas_x, gemmt, ORB_INT)
#define ORB_L2_KERNEL_DECL(list, name, NAME, T, S, E, A, B) void orb_blas_x##name(ORB_L2_PARAMS_##list(T, S, ORB_INT));
ORB_LEVEL2_ROUTINES(ORB_L2_KERNEL_DECL)
#undef ORB_L2_KERNEL_DECL
/* The rectangle beside a diagonal block of a symmetric (?symv) or Hermitian
 * (?hemv) matrix, the m x k block a (leading dimension lda) of the stored
 * triangle, multiplied both ways in one reading of a: yr += alpha a xc and
 * yc += alpha a^T xr (a^H xr for ?hemv).  xr and yr hold m entries, xc and yc
 * k, all contiguous; nothing is checked. */
#define ORB_SYMV_RECT_DECL(name, T)                                                                  \
  void name(const ORB_INT *m, const ORB_INT *k, const T *alpha, const T *a, const ORB_INT *lda, const T *xr, \
            const T *xc, T *yr, T *yc)
ORB_SYMV_RECT_DECL(orb_blas_xssymv_rect, float);
ORB_SYMV_RECT_DECL(orb_blas_xdsymv_rect, double);
ORB_SYMV_RECT_DECL(orb_blas_xchemv_rect, ORB_Complex8);
ORB_SYMV_RECT_DECL(orb_blas_xzhemv_rect, ORB_Complex16);
ORB_ROTG_DECL(orb_blas_xsrotg, float, float, ORB_INT);
ORB_ROTG_DECL(orb_blas_xdrotg, double, double, ORB_INT);
ORB_ROTG_DECL(orb_blas_xcrotg, ORB_Complex8, float, ORB_INT);
ORB_ROTG_DECL(orb_blas_xzrotg, ORB_Complex16, double, ORB_INT);
ORB_ROTMG_DECL(orb_blas_xsrotmg, float, ORB_INT);
ORB_ROTMG_DECL(orb_blas_xdrotmg, double, ORB_INT);
ORB_SDSDOT_DECL(orb_blas_xsdsdot, ORB_INT);
ORB_DSDOT_DECL(orb_blas_xdsdot, ORB_INT);
float orb_blas_xscabs1(const ORB_Complex8 *z);
double orb_blas_xdcabs1(const ORB_Complex16 *z);

/* Argument checks of the kernels above, in the standard BLAS order: the
 * number of the first illegal argument, or 0 when the call is legal.  The
 * scalars alpha and beta are only tested for being present.  The threaded
 * drivers ask these before cutting a call into pieces. */
int orb_blas_check_gemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                        const ORB_INT *k, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb,
                        const void *beta, const ORB_INT *ldc);
int orb_blas_check_gemv(const char *trans, const ORB_INT *m, const ORB_INT *n, const void *alpha,
                        const ORB_INT *lda, const ORB_INT *incx, const void *beta, const ORB_INT *incy);
/* ?trmm takes ?trsm's arguments under the same rules: its drivers ask this one. */
int orb_blas_check_trsm(const char *side, const char *uplo, const char *transa, const char *diag, const ORB_INT *m,
                        const ORB_INT *n, const void *alpha, const ORB_INT *lda, const ORB_INT *ldb);
/* ops: the transposition letters the routine takes ("NTC" real ?syrk, "NT"
 * complex ?syrk, "NC" ?herk). */
int orb_blas_check_syrk(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const void *alpha,
                        const ORB_INT *lda, const void *beta, const ORB_INT *ldc, const char *ops);
int orb_blas_check_symm(const char *side, const char *uplo, const ORB_INT *m, const ORB_INT *n, const void *alpha,
                        const ORB_INT *lda, const ORB_INT *ldb, const void *beta, const ORB_INT *ldc);
/* ops as for orb_blas_check_syrk ("NC" for ?her2k). */
int orb_blas_check_syr2k(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const void *alpha,
                         const ORB_INT *lda, const ORB_INT *ldb, const void *beta, const ORB_INT *ldc, const char *ops);
int orb_blas_check_gemmt(const char *uplo, const char *transa, const char *transb, const ORB_INT *n, const ORB_INT *k,
                         const void *alpha, const ORB_INT *lda, const ORB_INT *ldb, const void *beta,
                         const ORB_INT *ldc);

ORB_END_DECLS

#endif
