/* orb: the contract between the threaded LAPACK drivers and the core (not
 * installed).  The core's sequential factorization routines, its tuning
 * answers, the one-dimensional scheduler of the LU look-ahead scheme, and the
 * product entry the factorization graphs use for their trailing updates. */
#ifndef ORB_INTERNAL_LAPACK_KERNELS_H
#define ORB_INTERNAL_LAPACK_KERNELS_H

#include <orb/orb_lapack.h>

ORB_BEGIN_DECLS

/* ---- Tuning answers ----------------------------------------------------- */

/* The answers of the standard ilaenv for the routines orb threads (name
 * "DGETRF" ...), plus orb's own questions:
 *   ispec 1   block size nb of the factorization of an n1 x n2 matrix;
 *   ispec 3   0 when the call is worth threading, otherwise the size below
 *             which it is factored sequentially;
 *   ispec 17  look-ahead depth of the one-dimensional scheme: how many block
 *             columns after the next panel are updated one at a time, ahead
 *             of the bulk of the trailing matrix;
 *   ispec 18  1 when the panels of the task graph are factored by the core's
 *             sequential routine instead of the threaded recursive one.
 * Any other question, or another routine, answers -1. */
ORB_INT orb_lapack_ilaenv(const ORB_INT *ispec, const char *name, const char *opts, const ORB_INT *n1,
                          const ORB_INT *n2, const ORB_INT *n3, const ORB_INT *n4);

/* ---- Sequential factorization routines ---------------------------------- */

/* ?getf2 (unblocked) and x?getrf (blocked): the standard routines, arguments
 * checked in the standard order and an illegal one reported. */
ORB_GETRF_DECL(orb_lapack_sgetf2, float, ORB_INT);
ORB_GETRF_DECL(orb_lapack_dgetf2, double, ORB_INT);
ORB_GETRF_DECL(orb_lapack_cgetf2, ORB_Complex8, ORB_INT);
ORB_GETRF_DECL(orb_lapack_zgetf2, ORB_Complex16, ORB_INT);
ORB_GETRF_DECL(orb_lapack_xsgetrf, float, ORB_INT);
ORB_GETRF_DECL(orb_lapack_xdgetrf, double, ORB_INT);
ORB_GETRF_DECL(orb_lapack_xcgetrf, ORB_Complex8, ORB_INT);
ORB_GETRF_DECL(orb_lapack_xzgetrf, ORB_Complex16, ORB_INT);

/* Factorization of one block of a larger problem (a panel, a trailing block):
 * pivots 1-based within the block, info the block's own.  Reports nothing;
 * returns 0 on success and the position of an illegal argument otherwise
 * (info is then untouched).  x?getrf_local factors the panels of the
 * threaded schemes; ?getrf_local their first panel and trailing block. */
#define ORB_GETRF_LOCAL_DECL(name, T) \
  ORB_INT name(const ORB_INT *m, const ORB_INT *n, T *a, const ORB_INT *lda, ORB_INT *ipiv, ORB_INT *info)
ORB_GETRF_LOCAL_DECL(orb_lapack_xsgetrf_local, float);
ORB_GETRF_LOCAL_DECL(orb_lapack_xdgetrf_local, double);
ORB_GETRF_LOCAL_DECL(orb_lapack_xcgetrf_local, ORB_Complex8);
ORB_GETRF_LOCAL_DECL(orb_lapack_xzgetrf_local, ORB_Complex16);
ORB_GETRF_LOCAL_DECL(orb_lapack_sgetrf_local, float);
ORB_GETRF_LOCAL_DECL(orb_lapack_dgetrf_local, double);
ORB_GETRF_LOCAL_DECL(orb_lapack_cgetrf_local, ORB_Complex8);
ORB_GETRF_LOCAL_DECL(orb_lapack_zgetrf_local, ORB_Complex16);

/* ?laswp: the row interchanges k1 .. k2 of ipiv (increment incx) applied to
 * the n columns of a. */
#define ORB_LASWP_DECL(name, T)                                                                                \
  void name(const ORB_INT *n, T *a, const ORB_INT *lda, const ORB_INT *k1, const ORB_INT *k2, const ORB_INT *ipiv, \
            const ORB_INT *incx)
ORB_LASWP_DECL(orb_lapack_slaswp, float);
ORB_LASWP_DECL(orb_lapack_dlaswp, double);
ORB_LASWP_DECL(orb_lapack_claswp, ORB_Complex8);
ORB_LASWP_DECL(orb_lapack_zlaswp, ORB_Complex16);

/* ---- One-dimensional scheduler of the LU look-ahead scheme -------------- */

/* The state lives in the driver's memory: orb_lapack_dag1d_state_bytes(nt)
 * bytes (nt x 8 + 56), 8-byte aligned at least.  Block columns and steps are
 * numbered from 0; ranges are half-open.  Panel 0 is factored before the
 * scheduler starts; step s (s < last) is the update of a block column with
 * panel s; panel j (0 < j < last) is factored once block column j has had
 * steps 0 .. j - 1.  Block columns last .. nt - 1 only receive updates (the
 * driver factors them as one trailing block afterwards).
 *
 * params[0] is the look-ahead depth (ilaenv 17), params[1] the most block
 * columns one job may hold.  A thread's view keeps its current job. */
typedef struct orb_lapack_dag1d_view {
  ORB_INT ithr, nthr;
  ORB_INT code;                  /* 2 update then factor, 1 update, 0 none yet, -1 finished */
  ORB_INT step_first, step_end;  /* steps to apply */
  ORB_INT col_first, col_end;    /* block columns to apply them to */
} orb_lapack_dag1d_view;

ORB_INT orb_lapack_dag1d_state_bytes(ORB_INT nt);
void orb_lapack_dag1d_init(void *state, ORB_INT nt, ORB_INT last, const ORB_INT *params);
/* 0, or -1 when thread ithr of nthr has nothing to do in this factorization. */
ORB_INT orb_lapack_dag1d_task_init(void *state, ORB_INT ithr, ORB_INT nthr, orb_lapack_dag1d_view *view);
/* Commits the view's previous job as done and assigns the next one: its job
 * code.  Not thread-safe: the driver calls it under its mutex. */
ORB_INT orb_lapack_dag1d_task_commit_assign(void *state, orb_lapack_dag1d_view *view);
/* The assigned job's ranges: steps [*s0, *s1), block columns [*c0, *c1). */
void orb_lapack_dag1d_task_query(const void *state, const orb_lapack_dag1d_view *view, ORB_INT *s0, ORB_INT *s1,
                                 ORB_INT *c0, ORB_INT *c1);

/* ---- Products for the factorization graphs ------------------------------ */

/* 2 when orb_blas_x?gemm_internal takes pre-packed operands, 1 when it is the
 * plain product (this core: packed must be null). */
int orb_blas_get_kernel_api_version(void);
#define ORB_GEMM_INTERNAL_DECL(p, T)                                                                              \
  void orb_blas_x##p##gemm_internal(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n, \
                                    const ORB_INT *k, const T *alpha, const T *a, const ORB_INT *lda, const T *b, \
                                    const ORB_INT *ldb, const T *beta, T *c, const ORB_INT *ldc, void *packed)
ORB_GEMM_INTERNAL_DECL(s, float);
ORB_GEMM_INTERNAL_DECL(d, double);
ORB_GEMM_INTERNAL_DECL(c, ORB_Complex8);
ORB_GEMM_INTERNAL_DECL(z, ORB_Complex16);

ORB_END_DECLS

#endif
