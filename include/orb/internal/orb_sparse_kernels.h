/* orb: the contract between the three libraries for sparse matrices (not
 * installed).  The core builds and frees handles and computes every product
 * piece; the threading layer chooses the piece, the rows and the task count.
 * Every name exists once per value type (s, d, c, z) and index width (_i4:
 * 32-bit indices and counts, _i8: 64-bit); programs call orb_sparse.h.
 *
 * Row-range kernels take the row-start array advanced to the first row of
 * the range, and the values and column indices advanced to that row's first
 * entry: row i of the range holds entries [row_start[i] - row_start[0],
 * row_start[i + 1] - row_start[0]).  x is shifted back by the index base, so
 * that the stored column indices address it directly. */
#ifndef ORB_INTERNAL_SPARSE_KERNELS_H
#define ORB_INTERNAL_SPARSE_KERNELS_H

#include <orb/orb_sparse.h>

ORB_BEGIN_DECLS

#define ORB_SPARSE_DEF_DECL(p, T, w, name)                                                                     \
  int32_t orb_sparse_##p##_##name##_##w(int32_t op, orb_sparse_descr descr, orb_sparse_matrix A, const T *x, T *y, \
                                        T alpha, T beta);

#define ORB_SPARSE_SYRKD_DECL(p, T, I, w, name)                                                                \
  void orb_sparse_##p##_csr__g_t_syrkd_##name##_ker_##w(I m, I n, T alpha, const T *val, const I *col,          \
                                                        const I *rs, const I *re, I base, T beta, T *c, I ldc);

#define ORB_SPARSE_CORE_DECLS(p, T, I, w)                                                                      \
  /* Handles: the record refers to the caller's arrays (checked, never copied). */                            \
  int32_t orb_sparse_##p##_create_csr_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I *row_start,     \
                                         I *row_end, I *col_index, T *values);                                 \
  int32_t orb_sparse_##p##_create_csc_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I *col_start,     \
                                         I *col_end, I *row_index, T *values);                                 \
  int32_t orb_sparse_##p##_create_coo_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I nnz,            \
                                         I *row_index, I *col_index, T *values);                               \
  int32_t orb_sparse_##p##_create_bsr_##w(orb_sparse_matrix *A, int32_t base, int32_t layout, I rows, I cols,   \
                                         I block, I *row_start, I *row_end, I *col_index, T *values);          \
  /* Analysis copies: the stored transpose of the primary record, the general */                              \
  /* copy of a symmetric one (fill 40 lower, else upper).  0, 2 or 5. */                                      \
  int32_t orb_sparse_##p##_create_transposed_##w(orb_sparse_matrix A);                                          \
  int32_t orb_sparse_##p##_create_gen_from_sym_##w(orb_sparse_matrix A, int32_t fill);                          \
  /* Format conversions of the primary (op 10) or transposed record: 0 when the */                            \
  /* copy was built (or was there), 2 without memory, 5 without the record. */                                                                       \
  int32_t orb_sparse_##p##_convert_esb_##w(orb_sparse_matrix A, int32_t op);                                    \
  int32_t orb_sparse_##p##_convert_dia_##w(orb_sparse_matrix A, int32_t op);                                    \
  /* Slices [first, last) of a converted copy: y := alpha A x + beta y on their rows. */                       \
  void orb_sparse_##p##_esb_mv_ker_##w(const void *esb, I first, I last, T alpha, const T *x, T beta, T *y);    \
  void orb_sparse_##p##_dia_mv_ker_##w(const void *dia, I first, I last, T alpha, const T *x, T beta, T *y);    \
  /* The strict upper triangle of a full symmetric unit-diagonal primary record, */                            \
  /* kept in its optimization record (0, or 5 when it cannot be built), and its */                              \
  /* product y := alpha A x + beta y on the calling thread. */                                                  \
  int32_t orb_sparse_##p##_fill_up_tri_from_full_sym_data_##w(orb_sparse_matrix A);                             \
  void orb_sparse_##p##_up_tri_sym_mv_ker_##w(const void *data, T alpha, const T *x, T beta, T *y);             \
  /* Triangular solves.  The diagonal data of a record (DiagonalData in            */ \
  /* sparse_layout.hpp): made empty, filled from the record for a non-unit        */ \
  /* descriptor (0, or 5 without a record), freed.                               */ \
  void *orb_sparse_##p##_create_diagonal_data_##w(I rows);                                                     \
  int32_t orb_sparse_##p##_prepare_diagonal_data_##w(void *data, const void *record, int32_t format,           \
                                                     orb_sparse_descr descr, int32_t diag, int32_t flag);      \
  void orb_sparse_##p##_destroy_diagonal_data_##w(void *data);                                                 \
  /* y := alpha inv(op(A)) x on the calling thread, for every format and triangular */                        \
  /* descriptor; diag the prepared diagonal or null (then found here).  0, 2, 3    */                        \
  /* (a missing or zero diagonal entry, y untouched) or 6.                         */                        \
  int32_t orb_sparse_##p##_trsv_def_##w(int32_t op, orb_sparse_descr descr, orb_sparse_matrix A, const T *diag, \
                                        T alpha, const T *x, T *y);                                            \
  /* The Gauss-Seidel data (SymgsData): made with the slice width and the parts  */                           \
  /* wanted, filled from a square CSR record and its diagonal (0, 2 or 5), freed. */                          \
  void *orb_sparse_##p##_create_symgs_optimal_data_##w(int32_t width, int32_t parts);                          \
  int32_t orb_sparse_##p##_prepare_symgs_optimal_data_##w(const T *diag, const void *record, void *data);      \
  void orb_sparse_##p##_destroy_symgs_optimal_data_##w(void *data);                                            \
  /* One block of the forward or backward sweep over its plan (SweepPlan):   */                               \
  /* the positions from first on, s slices of W rows, the last one of rem     */                               \
  /* rows when rem is positive; the row i at each position:                   */                               \
  /* y_i := (alpha x_i - its entries . y) / d_i.                              */                               \
  void orb_sparse_##p##_sv_fwd_ker_n_##w(int32_t width, I slices, I rem, I first, const void *plan,           \
                                          T alpha, const T *x, T *y, const T *diag);         \
  void orb_sparse_##p##_sv_bwd_ker0_##w(int32_t width, I slices, I rem, I first, const void *plan,            \
                                         T alpha, const T *x, T *y, const T *diag);          \
  /* Rows [first, last): t_i := b_i - row i's entries in a plan (the backward  */                           \
  /* one when upper is nonzero, else the forward one) . x; and y := (y) + the  */                           \
  /* parts which names (1 lower, 2 diagonal, 4 upper) times x, accumulating   */                           \
  /* into y when asked.                                                       */                           \
  void orb_sparse_##p##_symgs_residual_ker_##w(const void *data, I first, I last, int32_t upper, const T *b,   \
                                               const T *x, T *t);                                              \
  void orb_sparse_##p##_split_mv_ker_##w(const void *data, const T *diag, I first, I last, int32_t which,      \
                                         int32_t accumulate, const T *x, T *y); \
  /* Row ranges of the general product: y := alpha A x (+ beta y). */                                         \
  void orb_sparse_##p##_csr_ng_n_mv_ker_##w(I rows, T alpha, const T *values, const I *col_index,              \
                                            const I *row_start, const T *x, T *y);                             \
  void orb_sparse_##p##_csr_ng_n_mv_ker_beta_##w(I rows, T alpha, const T *values, const I *col_index,         \
                                                 const I *row_start, const T *x, T beta, T *y);                \
  /* Transposed product of rows: out[0, cols) := alpha A^T x, out indexed by column - base. */                \
  void orb_sparse_##p##_csr_ng_t_mv_ker_##w(I rows, I cols, I base, T alpha, const T *values,                  \
                                            const I *col_index, const I *row_start, const T *x, T *out);       \
  /* y := sum of parts partial results + beta y, each part's columns at p * chunk. */                          \
  void orb_sparse_##p##_csr_mv_merge1_##w(I parts, I cols, I chunk, const T *partial, T beta, T *y);            \
  /* Block rows of the general BSR product (x, y in scalars; x shifted by base * block). */                    \
  void orb_sparse_##p##_bsr_ng_n_mv_ker_##w(I rows, I block, int32_t layout, T alpha, const T *values,         \
                                            const I *col_index, const I *row_start, const T *x, T *y);         \
  void orb_sparse_##p##_bsr_ng_n_mv_ker_beta_##w(I rows, I block, int32_t layout, T alpha, const T *values,    \
                                                 const I *col_index, const I *row_start, const T *x, T beta,   \
                                                 T *y);                                                        \
  /* Rows of the general product with `columns` right-hand sides: Y := alpha A X */                          \
  /* + beta Y (beta exactly 0 never reads Y); layout 101 row-major X and Y, else */                           \
  /* column-major; X shifted back by the index base along its rows. */                                        \
  void orb_sparse_##p##_csr_ng_n_mm_ker_##w(I rows, I columns, int32_t layout, T alpha, const T *values,       \
                                            const I *col_index, const I *row_start, const T *x, I ldx, T beta, \
                                            T *y, I ldy);                                                      \
  /* A new handle owning its arrays: a copy of A in its format, or op(A) as CSR */                            \
  /* (format 1) or as BSR (3) of block x block blocks laid out by `layout`.  0, */                             \
  /* 1, 2 or 3 (block not dividing the sizes); nothing made on failure. */                                     \
  int32_t orb_sparse_##p##_copy_##w(orb_sparse_matrix A, orb_sparse_matrix *B);                                \
  int32_t orb_sparse_##p##_convert_##w(orb_sparse_matrix A, int32_t op, int32_t format, I block,               \
                                       int32_t layout, orb_sparse_matrix *B);                                  \
  /* Any operation and descriptor of a matrix given by bare CSR, CSC (format 2) */                            \
  /* or BSR (3; rows, cols in blocks) arrays, on the calling thread. */                                         \
  void orb_sparse_##p##_xarrays_mv_def_##w(int32_t op, orb_sparse_descr descr, int32_t format, I rows, I cols, \
                                           I block, int32_t layout, I base, const I *start, const I *end,      \
                                           const I *index, const T *values, T alpha, const T *x, T beta, T *y); \
  /* Every operation and descriptor on the calling thread.  The n and t kernels */                             \
  /* of a format agree; the product entry names the one whose walk suits. */                                 \
  ORB_SPARSE_DEF_DECL(p, T, w, xcsr_mv_n_def) ORB_SPARSE_DEF_DECL(p, T, w, xcsr_mv_t_def)                        \
  ORB_SPARSE_DEF_DECL(p, T, w, xcsc_mv_n_def) ORB_SPARSE_DEF_DECL(p, T, w, xcsc_mv_t_def)                        \
  ORB_SPARSE_DEF_DECL(p, T, w, xbsr_mv_n_def) ORB_SPARSE_DEF_DECL(p, T, w, xbsr_mv_t_def)                        \
  /* C := alpha A^T A + beta C (beta on each row of C from its diagonal on), row-major */                     \
  /* (c) or column-major (f), alpha exactly 1 or any (alf). */                                                 \
  ORB_SPARSE_SYRKD_DECL(p, T, I, w, c) ORB_SPARSE_SYRKD_DECL(p, T, I, w, f)                                    \
  ORB_SPARSE_SYRKD_DECL(p, T, I, w, alf_c) ORB_SPARSE_SYRKD_DECL(p, T, I, w, alf_f)                            \
  /* The COO product of the character-descriptor routines (codes already decoded). */                        \
  void orb_sparse_##p##_xcoo_mv_def_##w(int32_t op, orb_sparse_descr descr, I rows, I cols, I nnz, I base,     \
                                        const I *row_index, const I *col_index, const T *values, T alpha,     \
                                        const T *x, T beta, T *y);

#define ORB_SPARSE_THREAD_DECLS(p, T, I, w)                                                                    \
  int32_t orb_sparse_##p##_mv_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,            \
                                  const T *x, T beta, T *y);                                                   \
  /* Triangular solve y := alpha inv(op(A)) x and its pieces. */                                                \
  int32_t orb_sparse_##p##_trsv_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,          \
                                    const T *x, T *y);                                                         \
  int32_t orb_sparse_##p##_default_trsv_procedure_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr descr, \
                                                      const T *x, T *y, T alpha);                              \
  int32_t orb_sparse_##p##_optimize_csr_trsv_##w(orb_sparse_matrix A, void *hint);                              \
  int32_t orb_sparse_##p##_optimize_csr_symgs_##w(orb_sparse_matrix A, void *hint);                             \
  int32_t orb_sparse_##p##_sv_with_symgs_data_##w(T alpha, int32_t op, orb_sparse_matrix A,                    \
                                                  orb_sparse_descr descr, const T *diag, const T *x, T *y);    \
  int32_t orb_sparse_##p##_sv_with_symgs_data_avx512_##w(T alpha, int32_t op, orb_sparse_matrix A,             \
                                                         orb_sparse_descr descr, const T *diag, const T *x,    \
                                                         T *y);                                                \
  int32_t orb_sparse_##p##_sv_with_symgs_data_avx512_high_opt_##w(T alpha, int32_t op, orb_sparse_matrix A,    \
                                                                  orb_sparse_descr descr, const T *diag,       \
                                                                  const T *x, T *y);                           \
  int32_t orb_sparse_##p##_mv_with_symgs_data_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr descr,     \
                                                  const T *x, T *y, T alpha, T beta);                          \
  /* One symmetric Gauss-Seidel sweep pair for A x = b, x updated in place; y,   */                           \
  /* when not null, receives A x of the updated x.                               */                           \
  int32_t orb_sparse_##p##_symgs_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr descr, const T *b, T *x, \
                                     T *y);                                                                    \
  int32_t orb_sparse_##p##_default_mv_procedure_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr descr,   \
                                                    const T *x, T *y, T alpha, T beta);                        \
  /* hint: the handle's product hint node to analyse. */                                                      \
  int32_t orb_sparse_##p##_optimize_csr_mv_##w(orb_sparse_matrix A, void *hint);                                \
  int32_t orb_sparse_##p##_optimize_bsr_mv_##w(orb_sparse_matrix A, void *hint);                                \
  /* For an eligible general record of op's analysis: 1 ESB, 2 DIA, 0 keep CSR. */                            \
  /* Sorts each row (CSC: column) of the caller's arrays by index, values moving along. */                    \
  int32_t orb_sparse_##p##_order_##w(orb_sparse_matrix A);                                                      \
  int32_t orb_sparse_##p##_inspector_gen_mv_##w(orb_sparse_matrix A, int32_t op);                               \
  int32_t orb_sparse_##p##_xcsr_ng_n_mv_##w(I rows, I cols, const I *row_start, const I *col_index,           \
                                            const T *values, const T *x, T *y, const int32_t *partition,       \
                                            I base, T alpha, T beta);                                          \
  int32_t orb_sparse_##p##_xcsr_ng_t_mv_##w(I rows, I cols, const I *row_start, const I *col_index,           \
                                            const T *values, const T *x, T *y, const int32_t *partition,       \
                                            I base, T alpha, T beta);                                          \
  /* C := alpha A^T A + beta C for a CSR matrix A of m rows and n columns; layout 102 */                       \
  /* column-major, else row-major; returns 0. */                                                               \
  int32_t orb_sparse_##p##_csr__g_t_syrkd_##w(I m, I n, T alpha, const T *val, const I *col, const I *rs,       \
                                              const I *re, I base, T beta, T *c, I ldc, int32_t layout);         \
  int32_t orb_sparse_##p##_xbsr_ng_n_mv_##w(I rows, I cols, I block, int32_t layout, const I *row_start,       \
                                            const I *col_index, const T *values, const T *x, T *y,             \
                                            const int32_t *partition, I base, T alpha, T beta);                           \
  /* Y := alpha op(A) X + beta Y for `columns` right-hand sides, X and Y dense, */                            \
  /* row-major (layout 101) or column-major (102), leading dimensions ldx, ldy. */                             \
  int32_t orb_sparse_##p##_mm_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,            \
                                  int32_t layout, const T *x, I columns, I ldx, T beta, T *y, I ldy);

/* The character-descriptor COO product y := alpha op(A) x + beta y: transa
 * 'N', 'T' or 'C'; matdescra characters 1 to 4 (kind G S H T D, L or U, N or
 * U, C zero-based or F one-based); 64-bit integers, or int in the lp64 form. */
#define ORB_SPBLAS_COO_DECLS(p, T)                                                                             \
  void orb_spblas_orb_##p##coomv(const char *transa, const ORB_INT *m, const ORB_INT *k, const T *alpha,       \
                                 const char *matdescra, const T *val, const ORB_INT *rowind,                   \
                                 const ORB_INT *colind, const ORB_INT *nnz, const T *x, const T *beta, T *y);  \
  void orb_spblas_lp64_orb_##p##coomv(const char *transa, const int *m, const int *k, const T *alpha,          \
                                      const char *matdescra, const T *val, const int *rowind,                  \
                                      const int *colind, const int *nnz, const T *x, const T *beta, T *y);

#define ORB_SPARSE_EACH(X)                                                                       \
  X(s, float, int32_t, i4) X(d, double, int32_t, i4) X(c, ORB_Complex8, int32_t, i4)              \
  X(z, ORB_Complex16, int32_t, i4) X(s, float, int64_t, i8) X(d, double, int64_t, i8)             \
  X(c, ORB_Complex8, int64_t, i8) X(z, ORB_Complex16, int64_t, i8)

ORB_SPARSE_EACH(ORB_SPARSE_CORE_DECLS)
ORB_SPARSE_EACH(ORB_SPARSE_THREAD_DECLS)
ORB_SPBLAS_COO_DECLS(s, float)
ORB_SPBLAS_COO_DECLS(d, double)
ORB_SPBLAS_COO_DECLS(c, ORB_Complex8)
ORB_SPBLAS_COO_DECLS(z, ORB_Complex16)


/* The kernels of the character-descriptor CSR product, one per case (see
 * core/spblas/csr_kernels.cpp): X(args..., case, type, fill, diag, op, run)
 * for each case in this order; the driver indexes them in it. */
#define ORB_SPBLAS_CSR_CASES(X, ...)                                                                            \
  X(__VA_ARGS__, ng__, 20, 40, 50, 10, omp) X(__VA_ARGS__, tg__, 20, 40, 50, 11, omp)                          \
  X(__VA_ARGS__, nsln, 21, 40, 50, 10, omp) X(__VA_ARGS__, nslu, 21, 40, 51, 10, omp)                          \
  X(__VA_ARGS__, nsun, 21, 41, 50, 10, omp) X(__VA_ARGS__, nsuu, 21, 41, 51, 10, omp)                          \
  X(__VA_ARGS__, nhln, 22, 40, 50, 10, omp) X(__VA_ARGS__, nhlu, 22, 40, 51, 10, omp)                          \
  X(__VA_ARGS__, nhun, 22, 41, 50, 10, omp) X(__VA_ARGS__, nhuu, 22, 41, 51, 10, omp)                          \
  X(__VA_ARGS__, ntln, 23, 40, 50, 10, omp) X(__VA_ARGS__, ntlu, 23, 40, 51, 10, omp)                          \
  X(__VA_ARGS__, ntun, 23, 41, 50, 10, omp) X(__VA_ARGS__, ntuu, 23, 41, 51, 10, omp)                          \
  X(__VA_ARGS__, ttln, 23, 40, 50, 11, seq) X(__VA_ARGS__, ttlu, 23, 40, 51, 11, seq)                          \
  X(__VA_ARGS__, ttun, 23, 41, 50, 11, seq) X(__VA_ARGS__, ttuu, 23, 41, 51, 11, seq)                          \
  X(__VA_ARGS__, nal_, 27, 40, 50, 10, omp) X(__VA_ARGS__, nau_, 27, 41, 50, 10, omp)                          \
  X(__VA_ARGS__, nd_n, 24, 40, 50, 10, seq) X(__VA_ARGS__, nd_u, 24, 40, 51, 10, seq)

#define ORB_SPBLAS_CSR_KERNEL_DECL(p, T, I, prefix, base, letter, name, run)                                   \
  void orb_spblas_##prefix##p##csr##base##name##letter##__mvout_##run(const I *m, const I *k, const T *alpha,   \
                                                                     const T *val, const I *indx,               \
                                                                     const I *pntrb, const I *pntre,            \
                                                                     const T *x, T *y, const T *beta);
#define ORB_SPBLAS_CSR_DECLS(p, T, I, prefix, name, type, fill, diag, op, run) \
  ORB_SPBLAS_CSR_KERNEL_DECL(p, T, I, prefix, 0, c, name, run)                 \
  ORB_SPBLAS_CSR_KERNEL_DECL(p, T, I, prefix, 1, f, name, run)
/* X(letter, type, integer, name prefix) for each value type with 64-bit
 * integers (no prefix) and with int (lp64_). */
#define ORB_SPBLAS_EACH(X)                                                                                    \
  X(s, float, ORB_INT, ) X(d, double, ORB_INT, ) X(c, ORB_Complex8, ORB_INT, ) X(z, ORB_Complex16, ORB_INT, )  \
  X(s, float, int, lp64_) X(d, double, int, lp64_) X(c, ORB_Complex8, int, lp64_) X(z, ORB_Complex16, int, lp64_)
#define ORB_SPBLAS_CSR_DECL_ALL(p, T, I, prefix) ORB_SPBLAS_CSR_CASES(ORB_SPBLAS_CSR_DECLS, p, T, I, prefix)
ORB_SPBLAS_EACH(ORB_SPBLAS_CSR_DECL_ALL)

/* The character-descriptor CSR product y := alpha op(A) x + beta y: transa
 * "N", or anything else for the transpose; matdescra characters 1 to 4 (G S
 * H T A D, L or else upper, N or else unit, C zero-based or else one-based);
 * rows [pntrb[i], pntre[i]).  An unknown kind returns with y untouched. */
#define ORB_SPBLAS_CSRMV_DECLS(p, T)                                                                           \
  void orb_spblas_orb_##p##csrmv(const char *transa, const ORB_INT *m, const ORB_INT *k, const T *alpha,       \
                                 const char *matdescra, const T *val, const ORB_INT *indx, const ORB_INT *pntrb, \
                                 const ORB_INT *pntre, const T *x, const T *beta, T *y);                       \
  void orb_spblas_lp64_orb_##p##csrmv(const char *transa, const int *m, const int *k, const T *alpha,          \
                                      const char *matdescra, const T *val, const int *indx, const int *pntrb,  \
                                      const int *pntre, const T *x, const T *beta, T *y);
/* The character-descriptor CSC and BSR products, with the characters of the
 * CSR one: CSC columns [pntrb[j], pntre[j]) of row indices; BSR block rows
 * of lb x lb blocks, row-major with zero-based indices, column-major with
 * one-based ones; m and k count blocks. */
#define ORB_SPBLAS_ARRAYS_DECLS(p, T, I, prefix)                                                              \
  void orb_spblas_##prefix##orb_##p##cscmv(const char *transa, const I *m, const I *k, const T *alpha,         \
                                           const char *matdescra, const T *val, const I *indx, const I *pntrb, \
                                           const I *pntre, const T *x, const T *beta, T *y);                   \
  void orb_spblas_##prefix##orb_##p##bsrmv(const char *transa, const I *m, const I *k, const I *lb,            \
                                           const T *alpha, const char *matdescra, const T *val, const I *indx, \
                                           const I *pntrb, const I *pntre, const T *x, const T *beta, T *y);
ORB_SPBLAS_EACH(ORB_SPBLAS_ARRAYS_DECLS)
ORB_SPBLAS_CSRMV_DECLS(s, float)
ORB_SPBLAS_CSRMV_DECLS(d, double)
ORB_SPBLAS_CSRMV_DECLS(c, ORB_Complex8)
ORB_SPBLAS_CSRMV_DECLS(z, ORB_Complex16)

/* Frees a handle made by the core with everything its analysis built. */
void orb_sparse_destroy_matrix(orb_sparse_matrix A);

ORB_END_DECLS

#endif
