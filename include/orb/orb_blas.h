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

/* Batches of products C_i := alpha_g op(A_i) op(B_i) + beta_g C_i, in groups
 * whose members share transa, transb, m, n, k, alpha, lda, ldb, beta and ldc
 * (arrays indexed by group g).  a, b and c hold one pointer per product,
 * numbered on across the groups.  The integer arrays, group_count and
 * group_size are 32-bit when int32 is nonzero, ORB_INT when it is 0.  The
 * groups run in order; each member's product is the threaded GEMM's. */
#define ORB_GEMM_BATCH_DECL(p, T)                                                                                \
  void orb_blas_##p##gemm_batch(const char *transa, const char *transb, const void *m, const void *n,           \
                                const void *k, const T *alpha, const T *const *a, const void *lda,              \
                                const T *const *b, const void *ldb, const T *beta, T *const *c, const void *ldc, \
                                const void *group_count, const void *group_size, int int32)
/* One group of batch_size products whose matrices lie stride elements apart:
 * A_i = a + i stridea, B_i = b + i strideb, C_i = c + i stridec. */
#define ORB_GEMM_BATCH_STRIDED_DECL(name, T, I)                                                                   \
  void name(const char *transa, const char *transb, const I *m, const I *n, const I *k, const T *alpha,         \
            const T *a, const I *lda, const I *stridea, const T *b, const I *ldb, const I *strideb, const T *beta, \
            T *c, const I *ldc, const I *stridec, const I *batch_size)

ORB_GEMM_BATCH_DECL(s, float);
ORB_GEMM_BATCH_DECL(d, double);
ORB_GEMM_BATCH_DECL(c, ORB_Complex8);
ORB_GEMM_BATCH_DECL(z, ORB_Complex16);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_sgemm_batch_strided, float, ORB_INT);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_dgemm_batch_strided, double, ORB_INT);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_cgemm_batch_strided, ORB_Complex8, ORB_INT);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_zgemm_batch_strided, ORB_Complex16, ORB_INT);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_lp64_sgemm_batch_strided, float, int);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_lp64_dgemm_batch_strided, double, int);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_lp64_cgemm_batch_strided, ORB_Complex8, int);
ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_lp64_zgemm_batch_strided, ORB_Complex16, int);
/* ---- Level 1: vector operations ---------------------------------------- */

/* One declaration per argument list; pre is the name's prefix (orb_blas_,
 * orb_blas_lp64_, orb_blas_x for the core's kernels), I the integer.  The
 * complex dot products return their value through result, the first
 * argument; the index routines return a 1-based index, 0 when n < 1. */
#define ORB_DOT_DECL(name, T, I) T name(const I *n, const T *x, const I *incx, const T *y, const I *incy)
#define ORB_CDOT_DECL(name, T, I) \
  void name(T *result, const I *n, const T *x, const I *incx, const T *y, const I *incy)
#define ORB_NORM_DECL(name, T, R, I) R name(const I *n, const T *x, const I *incx)
#define ORB_SCAL_DECL(name, T, S, I) void name(const I *n, const S *alpha, T *x, const I *incx)
#define ORB_AXPY_DECL(name, T, I) void name(const I *n, const T *alpha, const T *x, const I *incx, T *y, const I *incy)
#define ORB_AXPBY_DECL(name, T, I) \
  void name(const I *n, const T *alpha, const T *x, const I *incx, const T *beta, T *y, const I *incy)
#define ORB_COPY_DECL(name, T, I) void name(const I *n, const T *x, const I *incx, T *y, const I *incy)
#define ORB_SWAP_DECL(name, T, I) void name(const I *n, T *x, const I *incx, T *y, const I *incy)
#define ORB_ROT_DECL(name, T, R, I) void name(const I *n, T *x, const I *incx, T *y, const I *incy, const R *c, const R *s)
#define ORB_ROTM_DECL(name, T, I) void name(const I *n, T *x, const I *incx, T *y, const I *incy, const T *param)
#define ORB_INDEX_DECL(name, T, I) I name(const I *n, const T *x, const I *incx)

/* Every level-1 routine under one prefix. */
#define ORB_LEVEL1_DECLS(pre, I)                                                                             \
  ORB_DOT_DECL(pre##sdot, float, I);                                                                        \
  ORB_DOT_DECL(pre##ddot, double, I);                                                                       \
  ORB_CDOT_DECL(pre##cdotu, ORB_Complex8, I);                                                               \
  ORB_CDOT_DECL(pre##cdotc, ORB_Complex8, I);                                                               \
  ORB_CDOT_DECL(pre##zdotu, ORB_Complex16, I);                                                              \
  ORB_CDOT_DECL(pre##zdotc, ORB_Complex16, I);                                                              \
  ORB_NORM_DECL(pre##sasum, float, float, I);                                                               \
  ORB_NORM_DECL(pre##dasum, double, double, I);                                                             \
  ORB_NORM_DECL(pre##scasum, ORB_Complex8, float, I);                                                       \
  ORB_NORM_DECL(pre##dzasum, ORB_Complex16, double, I);                                                     \
  ORB_NORM_DECL(pre##snrm2, float, float, I);                                                               \
  ORB_NORM_DECL(pre##dnrm2, double, double, I);                                                             \
  ORB_NORM_DECL(pre##scnrm2, ORB_Complex8, float, I);                                                       \
  ORB_NORM_DECL(pre##dznrm2, ORB_Complex16, double, I);                                                     \
  ORB_SCAL_DECL(pre##sscal, float, float, I);                                                               \
  ORB_SCAL_DECL(pre##dscal, double, double, I);                                                             \
  ORB_SCAL_DECL(pre##cscal, ORB_Complex8, ORB_Complex8, I);                                                 \
  ORB_SCAL_DECL(pre##zscal, ORB_Complex16, ORB_Complex16, I);                                               \
  ORB_SCAL_DECL(pre##csscal, ORB_Complex8, float, I);                                                       \
  ORB_SCAL_DECL(pre##zdscal, ORB_Complex16, double, I);                                                     \
  ORB_LEVEL1_EACH_TYPE(ORB_AXPY_DECL, pre, axpy, I)                                                         \
  ORB_LEVEL1_EACH_TYPE(ORB_AXPBY_DECL, pre, axpby, I)                                                       \
  ORB_LEVEL1_EACH_TYPE(ORB_COPY_DECL, pre, copy, I)                                                         \
  ORB_LEVEL1_EACH_TYPE(ORB_SWAP_DECL, pre, swap, I)                                                         \
  ORB_ROT_DECL(pre##srot, float, float, I);                                                                 \
  ORB_ROT_DECL(pre##drot, double, double, I);                                                               \
  ORB_ROT_DECL(pre##csrot, ORB_Complex8, float, I);                                                         \
  ORB_ROT_DECL(pre##zdrot, ORB_Complex16, double, I);                                                       \
  ORB_ROTM_DECL(pre##srotm, float, I);                                                                      \
  ORB_ROTM_DECL(pre##drotm, double, I);                                                                     \
  ORB_INDEX_DECL(pre##isamax, float, I);                                                                    \
  ORB_INDEX_DECL(pre##idamax, double, I);                                                                   \
  ORB_INDEX_DECL(pre##icamax, ORB_Complex8, I);                                                             \
  ORB_INDEX_DECL(pre##izamax, ORB_Complex16, I);                                                            \
  ORB_INDEX_DECL(pre##isamin, float, I);                                                                    \
  ORB_INDEX_DECL(pre##idamin, double, I);                                                                   \
  ORB_INDEX_DECL(pre##icamin, ORB_Complex8, I);                                                             \
  ORB_INDEX_DECL(pre##izamin, ORB_Complex16, I);
#define ORB_LEVEL1_EACH_TYPE(DECL, pre, family, I) \
  DECL(pre##s##family, float, I);                  \
  DECL(pre##d##family, double, I);                 \
  DECL(pre##c##family, ORB_Complex8, I);           \
  DECL(pre##z##family, ORB_Complex16, I);

ORB_LEVEL1_DECLS(orb_blas_, ORB_INT)
ORB_LEVEL1_DECLS(orb_blas_lp64_, int)

/* ---- Level 3 beyond the general product --------------------------------- */

/* Triangular solve with many right-hand sides: B := alpha op(A)^-1 B for side
 * 'L' (A of order m), B := alpha B op(A)^-1 for side 'R' (A of order n); uplo
 * names the triangle of A that is read, diag 'U' a unit diagonal (not read). */
#define ORB_TRSM_DECL(name, T, I)                                                                             \
  void name(const char *side, const char *uplo, const char *transa, const char *diag, const I *m, const I *n, \
            const T *alpha, const T *a, const I *lda, T *b, const I *ldb)

ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_, trsm, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_lp64_, trsm, int)

/* Product with a triangular matrix, the solve's argument list: B := alpha
 * op(A) B for side 'L' (A of order m), B := alpha B op(A) for side 'R'. */
ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_, trmm, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_TRSM_DECL, orb_blas_lp64_, trmm, int)

/* Rank-k update of a symmetric or Hermitian C of order n, only its uplo
 * triangle referenced: C := alpha op(A) op(A)^T + beta C (?syrk; trans 'N':
 * A is n x k, else k x n) or C := alpha op(A) op(A)^H + beta C (?herk, with
 * real alpha and beta S). */
#define ORB_SYRK_DECL(name, T, S, I)                                                                       \
  void name(const char *uplo, const char *trans, const I *n, const I *k, const S *alpha, const T *a,       \
            const I *lda, const S *beta, T *c, const I *ldc)
#define ORB_SYRK_HERK_DECLS(pre, I)                        \
  ORB_SYRK_DECL(pre##ssyrk, float, float, I);              \
  ORB_SYRK_DECL(pre##dsyrk, double, double, I);            \
  ORB_SYRK_DECL(pre##csyrk, ORB_Complex8, ORB_Complex8, I); \
  ORB_SYRK_DECL(pre##zsyrk, ORB_Complex16, ORB_Complex16, I); \
  ORB_SYRK_DECL(pre##cherk, ORB_Complex8, float, I);       \
  ORB_SYRK_DECL(pre##zherk, ORB_Complex16, double, I);

ORB_SYRK_HERK_DECLS(orb_blas_, ORB_INT)
ORB_SYRK_HERK_DECLS(orb_blas_lp64_, int)

/* Product with a symmetric (?symm) or Hermitian (?hemm) A, only its uplo
 * triangle referenced: C := alpha A B + beta C for side 'L' (A of order m),
 * C := alpha B A + beta C for side 'R' (A of order n). */
#define ORB_SYMM_DECL(name, T, I)                                                                          \
  void name(const char *side, const char *uplo, const I *m, const I *n, const T *alpha, const T *a,        \
            const I *lda, const T *b, const I *ldb, const T *beta, T *c, const I *ldc)
#define ORB_SYMM_HEMM_DECLS(pre, I)                  \
  ORB_LEVEL1_EACH_TYPE(ORB_SYMM_DECL, pre, symm, I)  \
  ORB_SYMM_DECL(pre##chemm, ORB_Complex8, I);        \
  ORB_SYMM_DECL(pre##zhemm, ORB_Complex16, I);

ORB_SYMM_HEMM_DECLS(orb_blas_, ORB_INT)
ORB_SYMM_HEMM_DECLS(orb_blas_lp64_, int)

/* Rank-2k update of a symmetric or Hermitian C of order n, only its uplo
 * triangle referenced: C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C
 * (?syr2k; trans 'N': A and B are n x k, else k x n) or C := alpha op(A)
 * op(B)^H + conj(alpha) op(B) op(A)^H + beta C (?her2k, with a real beta S). */
#define ORB_SYR2K_DECL(name, T, S, I)                                                                       \
  void name(const char *uplo, const char *trans, const I *n, const I *k, const T *alpha, const T *a,        \
            const I *lda, const T *b, const I *ldb, const S *beta, T *c, const I *ldc)
#define ORB_SYR2K_HER2K_DECLS(pre, I)                          \
  ORB_SYR2K_DECL(pre##ssyr2k, float, float, I);                \
  ORB_SYR2K_DECL(pre##dsyr2k, double, double, I);              \
  ORB_SYR2K_DECL(pre##csyr2k, ORB_Complex8, ORB_Complex8, I);   \
  ORB_SYR2K_DECL(pre##zsyr2k, ORB_Complex16, ORB_Complex16, I); \
  ORB_SYR2K_DECL(pre##cher2k, ORB_Complex8, float, I);         \
  ORB_SYR2K_DECL(pre##zher2k, ORB_Complex16, double, I);

ORB_SYR2K_HER2K_DECLS(orb_blas_, ORB_INT)
ORB_SYR2K_HER2K_DECLS(orb_blas_lp64_, int)

/* One triangle of a general product: C := alpha op(A) op(B) + beta C with C
 * of order n (op(A) n x k, op(B) k x n), only its uplo triangle referenced and
 * updated. */
#define ORB_GEMMT_DECL(name, T, I)                                                                          \
  void name(const char *uplo, const char *transa, const char *transb, const I *n, const I *k, const T *alpha, \
            const T *a, const I *lda, const T *b, const I *ldb, const T *beta, T *c, const I *ldc)

ORB_LEVEL1_EACH_TYPE(ORB_GEMMT_DECL, orb_blas_, gemmt, ORB_INT)
ORB_LEVEL1_EACH_TYPE(ORB_GEMMT_DECL, orb_blas_lp64_, gemmt, int)

ORB_END_DECLS

#endif
