/* orb: the C interface to the BLAS (CBLAS) served by liborb.
 *
 * Matrices may be row-major or column-major (the layout argument); sizes,
 * leading dimensions and increments are 32-bit ints.  Complex scalars and
 * arrays are passed as void pointers to interleaved (real, imaginary) pairs.
 *
 * An illegal argument is reported through cblas_xerbla, and the call returns
 * without touching its output.  The report follows the C interface's
 * convention, so that handlers written for it keep working: a row-major call
 * is checked as the column-major call that computes it, info is one more than
 * that call's standard argument number (the layout is argument 1), and
 * RowMajorStrg is 1 while the report of a row-major call runs.  orb's own
 * cblas_xerbla maps info back to the position in the caller's argument list
 * (for a row-major gemm it exchanges m and n, lda and ldb; for gemv m and n)
 * and forwards it to the global xerbla_ under the routine's CBLAS name, e.g.
 * ("cblas_dgemm", 9) for a row-major call whose lda is too small.  A program
 * may define either cblas_xerbla or xerbla_ to catch the reports itself. */
#ifndef ORB_CBLAS_H
#define ORB_CBLAS_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

typedef enum CBLAS_LAYOUT { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;
typedef enum CBLAS_UPLO { CblasUpper = 121, CblasLower = 122 } CBLAS_UPLO;
typedef enum CBLAS_DIAG { CblasNonUnit = 131, CblasUnit = 132 } CBLAS_DIAG;
typedef enum CBLAS_SIDE { CblasLeft = 141, CblasRight = 142 } CBLAS_SIDE;
typedef CBLAS_LAYOUT CBLAS_ORDER; /* the older name of the layout type */

/* Receives argument reports of the cblas_ routines: info is the position of
 * the illegal argument, rout the routine's name ("cblas_dgemm"), form a
 * printf format for further detail (may be empty). */
void cblas_xerbla(int info, const char *rout, const char *form, ...);
/* 1 while cblas_xerbla reports on a row-major call, else 0. */
extern int RowMajorStrg;

/* C := alpha op(A) op(B) + beta C */
void cblas_sgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, float alpha,
                 const float *a, int lda, const float *b, int ldb, float beta, float *c, int ldc);
void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, double alpha,
                 const double *a, int lda, const double *b, int ldb, double beta, double *c, int ldc);
void cblas_cgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_zgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, void *c, int ldc);

/* Batches of C := alpha op(A) op(B) + beta C: group_count groups of
 * group_size[g] products sharing the group's arguments (arrays indexed by
 * group), a, b and c one pointer per product numbered on across the groups;
 * or batch_size products whose matrices lie a stride apart. */
void cblas_sgemm_batch(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb,
                       const int *m, const int *n, const int *k, const float *alpha, const float **a, const int *lda,
                       const float **b, const int *ldb, const float *beta, float **c, const int *ldc,
                       int group_count, const int *group_size);
void cblas_dgemm_batch(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb,
                       const int *m, const int *n, const int *k, const double *alpha, const double **a,
                       const int *lda, const double **b, const int *ldb, const double *beta, double **c,
                       const int *ldc, int group_count, const int *group_size);
void cblas_cgemm_batch(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb,
                       const int *m, const int *n, const int *k, const void *alpha, const void **a, const int *lda,
                       const void **b, const int *ldb, const void *beta, void **c, const int *ldc, int group_count,
                       const int *group_size);
void cblas_zgemm_batch(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb,
                       const int *m, const int *n, const int *k, const void *alpha, const void **a, const int *lda,
                       const void **b, const int *ldb, const void *beta, void **c, const int *ldc, int group_count,
                       const int *group_size);
void cblas_sgemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n,
                               int k, float alpha, const float *a, int lda, int stridea, const float *b, int ldb,
                               int strideb, float beta, float *c, int ldc, int stridec, int batch_size);
void cblas_dgemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n,
                               int k, double alpha, const double *a, int lda, int stridea, const double *b, int ldb,
                               int strideb, double beta, double *c, int ldc, int stridec, int batch_size);
void cblas_cgemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n,
                               int k, const void *alpha, const void *a, int lda, int stridea, const void *b, int ldb,
                               int strideb, const void *beta, void *c, int ldc, int stridec, int batch_size);
void cblas_zgemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n,
                               int k, const void *alpha, const void *a, int lda, int stridea, const void *b, int ldb,
                               int strideb, const void *beta, void *c, int ldc, int stridec, int batch_size);

/* y := alpha op(A) x + beta y, A of m rows and n columns */
void cblas_sgemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, float alpha, const float *a, int lda,
                 const float *x, int incx, float beta, float *y, int incy);
void cblas_dgemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, double alpha, const double *a, int lda,
                 const double *x, int incx, double beta, double *y, int incy);
void cblas_cgemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, const void *alpha, const void *a, int lda,
                 const void *x, int incx, const void *beta, void *y, int incy);
void cblas_zgemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, const void *alpha, const void *a, int lda,
                 const void *x, int incx, const void *beta, void *y, int incy);

ORB_END_DECLS

#endif
