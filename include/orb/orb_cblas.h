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
 * (for a row-major gemm it exchanges m and n, lda and ldb; for gemv, trsm,
 * trmm, symm and hemm m and n; for gemmt a and b, lda and ldb)
 * and forwards it to the global xerbla_ under the routine's CBLAS name, e.g.
 * ("cblas_dgemm", 9) for a row-major call whose lda is too small.  A program
 * may define either cblas_xerbla or xerbla_ to catch the reports itself. */
#ifndef ORB_CBLAS_H
#define ORB_CBLAS_H

#include <orb/orb_types.h>
#include <orb/orb_blas.h>

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

/* Triangular solve: B := alpha op(A)^-1 B (CblasLeft) or alpha B op(A)^-1 (CblasRight) */
void cblas_strsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, float alpha, const float *a, int lda, float *b, int ldb);
void cblas_dtrsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, double alpha, const double *a, int lda, double *b, int ldb);
void cblas_ctrsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void *alpha, const void *a, int lda, void *b, int ldb);
void cblas_ztrsm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void *alpha, const void *a, int lda, void *b, int ldb);

/* Product with a triangular matrix: B := alpha op(A) B (CblasLeft) or alpha B op(A) (CblasRight) */
void cblas_strmm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, float alpha, const float *a, int lda, float *b, int ldb);
void cblas_dtrmm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, double alpha, const double *a, int lda, double *b, int ldb);
void cblas_ctrmm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void *alpha, const void *a, int lda, void *b, int ldb);
void cblas_ztrmm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void *alpha, const void *a, int lda, void *b, int ldb);

/* Rank-k update of one triangle: C := alpha op(A) op(A)^T + beta C (syrk), alpha op(A) op(A)^H + beta C (herk) */
void cblas_ssyrk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha, const float *a,
                 int lda, float beta, float *c, int ldc);
void cblas_dsyrk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha,
                 const double *a, int lda, double beta, double *c, int ldc);
void cblas_csyrk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                 const void *a, int lda, const void *beta, void *c, int ldc);
void cblas_zsyrk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                 const void *a, int lda, const void *beta, void *c, int ldc);
void cblas_cherk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha, const void *a,
                 int lda, float beta, void *c, int ldc);
void cblas_zherk(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha,
                 const void *a, int lda, double beta, void *c, int ldc);

/* Rank-2k update of one triangle: C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C (syr2k),
 * alpha op(A) op(B)^H + conj(alpha) op(B) op(A)^H + beta C (her2k) */
void cblas_ssyr2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha,
                  const float *a, int lda, const float *b, int ldb, float beta, float *c, int ldc);
void cblas_dsyr2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha,
                  const double *a, int lda, const double *b, int ldb, double beta, double *c, int ldc);
void cblas_csyr2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                  const void *a, int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_zsyr2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                  const void *a, int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_cher2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                  const void *a, int lda, const void *b, int ldb, float beta, void *c, int ldc);
void cblas_zher2k(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void *alpha,
                  const void *a, int lda, const void *b, int ldb, double beta, void *c, int ldc);

/* One triangle of a product: C := alpha op(A) op(B) + beta C, C of order n, only its uplo triangle updated */
void cblas_sgemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int n, int k,
                  float alpha, const float *a, int lda, const float *b, int ldb, float beta, float *c, int ldc);
void cblas_dgemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int n, int k,
                  double alpha, const double *a, int lda, const double *b, int ldb, double beta, double *c, int ldc);
void cblas_cgemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int n, int k,
                  const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, void *c,
                  int ldc);
void cblas_zgemmt(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int n, int k,
                  const void *alpha, const void *a, int lda, const void *b, int ldb, const void *beta, void *c,
                  int ldc);

/* C := alpha A B + beta C (CblasLeft) or alpha B A + beta C (CblasRight), A symmetric (symm) or Hermitian (hemm) */
void cblas_ssymm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, float alpha, const float *a,
                 int lda, const float *b, int ldb, float beta, float *c, int ldc);
void cblas_dsymm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, double alpha, const double *a,
                 int lda, const double *b, int ldb, double beta, double *c, int ldc);
void cblas_csymm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void *alpha, const void *a,
                 int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_zsymm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void *alpha, const void *a,
                 int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_chemm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void *alpha, const void *a,
                 int lda, const void *b, int ldb, const void *beta, void *c, int ldc);
void cblas_zhemm(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void *alpha, const void *a,
                 int lda, const void *b, int ldb, const void *beta, void *c, int ldc);

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

/* ---- Level 1 ---------------------------------------------------------- */

/* The index routines answer a 0-based index (0 also when n < 1). */
#ifndef CBLAS_INDEX
#define CBLAS_INDEX size_t
#endif

float cblas_sdot(int n, const float *x, int incx, const float *y, int incy);
double cblas_ddot(int n, const double *x, int incx, const double *y, int incy);
void cblas_cdotu_sub(int n, const void *x, int incx, const void *y, int incy, void *dotu);
void cblas_cdotc_sub(int n, const void *x, int incx, const void *y, int incy, void *dotc);
void cblas_zdotu_sub(int n, const void *x, int incx, const void *y, int incy, void *dotu);
void cblas_zdotc_sub(int n, const void *x, int incx, const void *y, int incy, void *dotc);

float cblas_sasum(int n, const float *x, int incx);
double cblas_dasum(int n, const double *x, int incx);
float cblas_scasum(int n, const void *x, int incx);
double cblas_dzasum(int n, const void *x, int incx);
float cblas_snrm2(int n, const float *x, int incx);
double cblas_dnrm2(int n, const double *x, int incx);
float cblas_scnrm2(int n, const void *x, int incx);
double cblas_dznrm2(int n, const void *x, int incx);

void cblas_sscal(int n, float alpha, float *x, int incx);
void cblas_dscal(int n, double alpha, double *x, int incx);
void cblas_cscal(int n, const void *alpha, void *x, int incx);
void cblas_zscal(int n, const void *alpha, void *x, int incx);
void cblas_csscal(int n, float alpha, void *x, int incx);
void cblas_zdscal(int n, double alpha, void *x, int incx);

void cblas_saxpy(int n, float alpha, const float *x, int incx, float *y, int incy);
void cblas_daxpy(int n, double alpha, const double *x, int incx, double *y, int incy);
void cblas_caxpy(int n, const void *alpha, const void *x, int incx, void *y, int incy);
void cblas_zaxpy(int n, const void *alpha, const void *x, int incx, void *y, int incy);
void cblas_saxpby(int n, float alpha, const float *x, int incx, float beta, float *y, int incy);
void cblas_daxpby(int n, double alpha, const double *x, int incx, double beta, double *y, int incy);
void cblas_caxpby(int n, const void *alpha, const void *x, int incx, const void *beta, void *y, int incy);
void cblas_zaxpby(int n, const void *alpha, const void *x, int incx, const void *beta, void *y, int incy);

void cblas_scopy(int n, const float *x, int incx, float *y, int incy);
void cblas_dcopy(int n, const double *x, int incx, double *y, int incy);
void cblas_ccopy(int n, const void *x, int incx, void *y, int incy);
void cblas_zcopy(int n, const void *x, int incx, void *y, int incy);
void cblas_sswap(int n, float *x, int incx, float *y, int incy);
void cblas_dswap(int n, double *x, int incx, double *y, int incy);
void cblas_cswap(int n, void *x, int incx, void *y, int incy);
void cblas_zswap(int n, void *x, int incx, void *y, int incy);

void cblas_srot(int n, float *x, int incx, float *y, int incy, float c, float s);
void cblas_drot(int n, double *x, int incx, double *y, int incy, double c, double s);
void cblas_csrot(int n, void *x, int incx, void *y, int incy, float c, float s);
void cblas_zdrot(int n, void *x, int incx, void *y, int incy, double c, double s);
void cblas_srotm(int n, float *x, int incx, float *y, int incy, const float *param);
void cblas_drotm(int n, double *x, int incx, double *y, int incy, const double *param);

CBLAS_INDEX cblas_isamax(int n, const float *x, int incx);
CBLAS_INDEX cblas_idamax(int n, const double *x, int incx);
CBLAS_INDEX cblas_icamax(int n, const void *x, int incx);
CBLAS_INDEX cblas_izamax(int n, const void *x, int incx);
CBLAS_INDEX cblas_isamin(int n, const float *x, int incx);
CBLAS_INDEX cblas_idamin(int n, const double *x, int incx);
CBLAS_INDEX cblas_icamin(int n, const void *x, int incx);
CBLAS_INDEX cblas_izamin(int n, const void *x, int incx);


/* ---- Level 2 ------------------------------------------------------------ */

/* The argument lists of orb_blas.h's level-2 routines as CBLAS takes them:
 * the layout first, integers by value, E the element type of the arrays (void
 * for the complex routines), A and B the types of alpha and beta. */
#define ORB_CBLAS_L2_PARAMS_Gbmv(E, A, B)                                                                 \
  CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku, A alpha, const E *a, int lda, \
      const E *x, int incx, B beta, E *y, int incy
#define ORB_CBLAS_L2_PARAMS_Symv(E, A, B)                                                                  \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *a, int lda, const E *x, int incx, B beta, \
      E *y, int incy
#define ORB_CBLAS_L2_PARAMS_Sbmv(E, A, B)                                                                 \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, int k, A alpha, const E *a, int lda, const E *x, int incx, \
      B beta, E *y, int incy
#define ORB_CBLAS_L2_PARAMS_Spmv(E, A, B) \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *ap, const E *x, int incx, B beta, E *y, int incy
#define ORB_CBLAS_L2_PARAMS_Trmv(E, A, B)                                                                  \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const E *a, int lda, \
      E *x, int incx
#define ORB_CBLAS_L2_PARAMS_Tbmv(E, A, B)                                                                  \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k, const E *a,  \
      int lda, E *x, int incx
#define ORB_CBLAS_L2_PARAMS_Tpmv(E, A, B) \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const E *ap, E *x, int incx
#define ORB_CBLAS_L2_PARAMS_Ger(E, A, B) \
  CBLAS_LAYOUT layout, int m, int n, A alpha, const E *x, int incx, const E *y, int incy, E *a, int lda
#define ORB_CBLAS_L2_PARAMS_Syr(E, A, B) \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *x, int incx, E *a, int lda
#define ORB_CBLAS_L2_PARAMS_Spr(E, A, B) CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *x, int incx, E *ap
#define ORB_CBLAS_L2_PARAMS_Syr2(E, A, B) \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *x, int incx, const E *y, int incy, E *a, int lda
#define ORB_CBLAS_L2_PARAMS_Spr2(E, A, B) \
  CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha, const E *x, int incx, const E *y, int incy, E *ap
#define ORB_CBLAS_L2_DECL(list, name, NAME, T, S, E, A, B) void cblas_##name(ORB_CBLAS_L2_PARAMS_##list(E, A, B));
ORB_LEVEL2_ROUTINES(ORB_CBLAS_L2_DECL)
#undef ORB_CBLAS_L2_DECL

/* Rotations from scalars, mixed-precision dot products, |re| + |im|. */
void cblas_srotg(float *a, float *b, float *c, float *s);
void cblas_drotg(double *a, double *b, double *c, double *s);
void cblas_crotg(void *a, void *b, float *c, void *s);
void cblas_zrotg(void *a, void *b, double *c, void *s);
void cblas_srotmg(float *d1, float *d2, float *x1, float y1, float *param);
void cblas_drotmg(double *d1, double *d2, double *x1, double y1, double *param);
float cblas_sdsdot(int n, float alpha, const float *x, int incx, const float *y, int incy);
double cblas_dsdot(int n, const float *x, int incx, const float *y, int incy);
float cblas_scabs1(const void *z);
double cblas_dcabs1(const void *z);

ORB_END_DECLS

#endif
