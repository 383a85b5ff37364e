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

/* ---- Level 2: matrix-vector products, triangles, rank updates ----------- */

/* Every level-2 routine of the standard in one list: X(list, name, NAME, T,
 * S, E, A, B) with list the argument list it takes (below), T its element type, S
 * the type of its alpha (real for ?her and ?hpr), and E, A, B the element,
 * alpha and beta types of its CBLAS name (void and const void * for the
 * complex ones, whose scalars come by address). */
#define ORB_L2_REAL(X, list, family, FAMILY)                                    \
  X(list, s##family, S##FAMILY, float, float, float, float, float)              \
  X(list, d##family, D##FAMILY, double, double, double, double, double)
#define ORB_L2_COMPLEX(X, list, family, FAMILY)                                                  \
  X(list, c##family, C##FAMILY, ORB_Complex8, ORB_Complex8, void, const void *, const void *)   \
  X(list, z##family, Z##FAMILY, ORB_Complex16, ORB_Complex16, void, const void *, const void *)
#define ORB_L2_COMPLEX_REAL_ALPHA(X, list, family, FAMILY)                      \
  X(list, c##family, C##FAMILY, ORB_Complex8, float, void, float, const void *) \
  X(list, z##family, Z##FAMILY, ORB_Complex16, double, void, double, const void *)
#define ORB_LEVEL2_ROUTINES(X)                                                        \
  ORB_L2_REAL(X, Gbmv, gbmv, GBMV) ORB_L2_COMPLEX(X, Gbmv, gbmv, GBMV)                           \
  ORB_L2_REAL(X, Symv, symv, SYMV) ORB_L2_COMPLEX(X, Symv, hemv, HEMV)                           \
  ORB_L2_REAL(X, Sbmv, sbmv, SBMV) ORB_L2_COMPLEX(X, Sbmv, hbmv, HBMV)                           \
  ORB_L2_REAL(X, Spmv, spmv, SPMV) ORB_L2_COMPLEX(X, Spmv, hpmv, HPMV)                           \
  ORB_L2_REAL(X, Trmv, trmv, TRMV) ORB_L2_COMPLEX(X, Trmv, trmv, TRMV)                           \
  ORB_L2_REAL(X, Trmv, trsv, TRSV) ORB_L2_COMPLEX(X, Trmv, trsv, TRSV)                           \
  ORB_L2_REAL(X, Tbmv, tbmv, TBMV) ORB_L2_COMPLEX(X, Tbmv, tbmv, TBMV)                           \
  ORB_L2_REAL(X, Tbmv, tbsv, TBSV) ORB_L2_COMPLEX(X, Tbmv, tbsv, TBSV)                           \
  ORB_L2_REAL(X, Tpmv, tpmv, TPMV) ORB_L2_COMPLEX(X, Tpmv, tpmv, TPMV)                           \
  ORB_L2_REAL(X, Tpmv, tpsv, TPSV) ORB_L2_COMPLEX(X, Tpmv, tpsv, TPSV)                           \
  ORB_L2_REAL(X, Ger, ger, GER) ORB_L2_COMPLEX(X, Ger, geru, GERU) ORB_L2_COMPLEX(X, Ger, gerc, GERC)  \
  ORB_L2_REAL(X, Syr, syr, SYR) ORB_L2_COMPLEX_REAL_ALPHA(X, Syr, her, HER)                    \
  ORB_L2_REAL(X, Spr, spr, SPR) ORB_L2_COMPLEX_REAL_ALPHA(X, Spr, hpr, HPR)                    \
  ORB_L2_REAL(X, Syr2, syr2, SYR2) ORB_L2_COMPLEX(X, Syr2, her2, HER2)                           \
  ORB_L2_REAL(X, Spr2, spr2, SPR2) ORB_L2_COMPLEX(X, Spr2, hpr2, HPR2)

/* The twelve argument lists, with integers I, as the standard names take
 * them, and the names of their arguments. */
#define ORB_L2_PARAMS_Gbmv(T, S, I)                                                                      \
  const char *trans, const I *m, const I *n, const I *kl, const I *ku, const S *alpha, const T *a,       \
      const I *lda, const T *x, const I *incx, const T *beta, T *y, const I *incy
#define ORB_L2_ARGS_Gbmv trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy
#define ORB_L2_PARAMS_Symv(T, S, I)                                                                      \
  const char *uplo, const I *n, const S *alpha, const T *a, const I *lda, const T *x, const I *incx,     \
      const T *beta, T *y, const I *incy
#define ORB_L2_ARGS_Symv uplo, n, alpha, a, lda, x, incx, beta, y, incy
#define ORB_L2_PARAMS_Sbmv(T, S, I)                                                                      \
  const char *uplo, const I *n, const I *k, const S *alpha, const T *a, const I *lda, const T *x,        \
      const I *incx, const T *beta, T *y, const I *incy
#define ORB_L2_ARGS_Sbmv uplo, n, k, alpha, a, lda, x, incx, beta, y, incy
#define ORB_L2_PARAMS_Spmv(T, S, I)                                                                      \
  const char *uplo, const I *n, const S *alpha, const T *ap, const T *x, const I *incx, const T *beta,   \
      T *y, const I *incy
#define ORB_L2_ARGS_Spmv uplo, n, alpha, ap, x, incx, beta, y, incy
#define ORB_L2_PARAMS_Trmv(T, S, I) \
  const char *uplo, const char *trans, const char *diag, const I *n, const T *a, const I *lda, T *x, const I *incx
#define ORB_L2_ARGS_Trmv uplo, trans, diag, n, a, lda, x, incx
#define ORB_L2_PARAMS_Tbmv(T, S, I)                                                                      \
  const char *uplo, const char *trans, const char *diag, const I *n, const I *k, const T *a, const I *lda, \
      T *x, const I *incx
#define ORB_L2_ARGS_Tbmv uplo, trans, diag, n, k, a, lda, x, incx
#define ORB_L2_PARAMS_Tpmv(T, S, I) \
  const char *uplo, const char *trans, const char *diag, const I *n, const T *ap, T *x, const I *incx
#define ORB_L2_ARGS_Tpmv uplo, trans, diag, n, ap, x, incx
#define ORB_L2_PARAMS_Ger(T, S, I)                                                                       \
  const I *m, const I *n, const S *alpha, const T *x, const I *incx, const T *y, const I *incy, T *a,    \
      const I *lda
#define ORB_L2_ARGS_Ger m, n, alpha, x, incx, y, incy, a, lda
#define ORB_L2_PARAMS_Syr(T, S, I) \
  const char *uplo, const I *n, const S *alpha, const T *x, const I *incx, T *a, const I *lda
#define ORB_L2_ARGS_Syr uplo, n, alpha, x, incx, a, lda
#define ORB_L2_PARAMS_Spr(T, S, I) const char *uplo, const I *n, const S *alpha, const T *x, const I *incx, T *ap
#define ORB_L2_ARGS_Spr uplo, n, alpha, x, incx, ap
#define ORB_L2_PARAMS_Syr2(T, S, I)                                                                      \
  const char *uplo, const I *n, const S *alpha, const T *x, const I *incx, const T *y, const I *incy,    \
      T *a, const I *lda
#define ORB_L2_ARGS_Syr2 uplo, n, alpha, x, incx, y, incy, a, lda
#define ORB_L2_PARAMS_Spr2(T, S, I)                                                                      \
  const char *uplo, const I *n, const S *alpha, const T *x, const I *incx, const T *y, const I *incy,    \
      T *ap
#define ORB_L2_ARGS_Spr2 uplo, n, alpha, x, incx, y, incy, ap

/* The drivers: orb_blas_dsymv (ORB_INT) and orb_blas_lp64_dsymv (int). */
#define ORB_L2_DRIVER_DECLS(list, name, NAME, T, S, E, A, B)       \
  void orb_blas_##name(ORB_L2_PARAMS_##list(T, S, ORB_INT)); \
  void orb_blas_lp64_##name(ORB_L2_PARAMS_##list(T, S, int));
ORB_LEVEL2_ROUTINES(ORB_L2_DRIVER_DECLS)

/* ---- Level 1 completions: rotations built from scalars, mixed-precision
 * dot products, and the magnitude the index searches use. */

/* Givens rotation: on return a holds r, b the reconstruction value z, c and
 * s the rotation (s complex for crotg and zrotg). */
#define ORB_ROTG_DECL(name, T, R, I) void name(T *a, T *b, R *c, T *s)
/* Modified Givens rotation of (sqrt(d1) x1, sqrt(d2) y1): param as for ?rotm. */
#define ORB_ROTMG_DECL(name, T, I) void name(T *d1, T *d2, T *x1, const T *y1, T *param)
/* sb + sum x_i y_i accumulated in double, rounded to float. */
#define ORB_SDSDOT_DECL(name, I) float name(const I *n, const float *sb, const float *x, const I *incx, const float *y, const I *incy)
/* sum x_i y_i of floats, accumulated and returned in double. */
#define ORB_DSDOT_DECL(name, I) double name(const I *n, const float *x, const I *incx, const float *y, const I *incy)

ORB_END_DECLS

#endif
