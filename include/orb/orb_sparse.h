/* orb: sparse matrices through handles.
 *
 * A program describes its matrix once by the arrays it already has (CSR with
 * separate row-start and row-end arrays or with one row-pointer array, CSC,
 * COO or BSR), in s (float), d (double), c (ORB_Complex8) or z
 * (ORB_Complex16), with 32-bit indices or, in the names ending in _64, 64-bit
 * ones.  The handle refers to those arrays; it does not copy them, so they must
 * stay in place and unchanged while the handle lives.  What the analysis
 * builds (partitions, transposed or general copies) belongs to the handle and
 * goes with orb_sparse_destroy.
 *
 *   y := alpha * op(A) * x + beta * y          orb_sparse_?_mv
 *
 * op(A) is A, A^T or A^H; the descriptor says which part of the stored
 * arrays forms A (general; the lower or upper triangle of a symmetric,
 * Hermitian or triangular matrix, with a unit or stored diagonal; the
 * diagonal).  A beta of exactly zero never reads y.
 *
 * Every routine returns a status and writes nothing on failure: no handle is
 * made and y keeps its values.  The caller's arrays are never modified. */
#ifndef ORB_SPARSE_H
#define ORB_SPARSE_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

typedef enum {
  ORB_SPARSE_OK = 0,
  ORB_SPARSE_NULL_POINTER = 1, /* a required pointer (handle, array, x, y) is NULL */
  ORB_SPARSE_NO_MEMORY = 2,    /* an allocation failed; nothing was changed */
  ORB_SPARSE_BAD_VALUE = 3,    /* a code, size or index out of range */
  ORB_SPARSE_INTERNAL = 5,     /* analysis data that must exist is missing */
  ORB_SPARSE_UNSUPPORTED = 6   /* the combination is not supported */
} orb_sparse_status;

/* The operation op(A). */
enum { ORB_SPARSE_OP_N = 10, ORB_SPARSE_OP_T = 11, ORB_SPARSE_OP_C = 12 };
/* Which matrix the stored arrays describe. */
enum {
  ORB_SPARSE_GENERAL = 20,
  ORB_SPARSE_SYMMETRIC = 21,
  ORB_SPARSE_HERMITIAN = 22,
  ORB_SPARSE_TRIANGULAR = 23,
  ORB_SPARSE_DIAGONAL = 24,
  ORB_SPARSE_BLOCK_TRIANGULAR = 25,
  ORB_SPARSE_BLOCK_DIAGONAL = 26
};
enum { ORB_SPARSE_LOWER = 40, ORB_SPARSE_UPPER = 41, ORB_SPARSE_FULL = 42 };
enum { ORB_SPARSE_NON_UNIT = 50, ORB_SPARSE_UNIT = 51 };
/* Memory policy: whether the analysis may build converted copies. */
enum { ORB_SPARSE_MEMORY_NONE = 80, ORB_SPARSE_MEMORY_COPIES = 81 };
/* Layout of the dense blocks of a BSR matrix. */
enum { ORB_SPARSE_BLOCK_ROW_MAJOR = 101, ORB_SPARSE_BLOCK_COL_MAJOR = 102 };
/* Storage formats, as orb_sparse_export reports them. */
enum { ORB_SPARSE_COO = 0, ORB_SPARSE_CSR = 1, ORB_SPARSE_CSC = 2, ORB_SPARSE_BSR = 3 };

/* Type, fill mode and diagonal, passed by value.  The fill mode of a general
 * matrix and the diagonal of a general or symmetric one are not read. */
typedef struct {
  int32_t type;
  int32_t fill;
  int32_t diag;
} orb_sparse_descr;

typedef struct orb_sparse_handle *orb_sparse_matrix;

/* ---- Handles (liborb.so.2) --------------------------------------------- */

/* base is 0 or 1 for every array of the matrix.  CSR: rows x cols, row i
 * holds the entries [row_start[i] - base, row_end[i] - base) of col_index and
 * values; csr3 takes one array of rows + 1 pointers.  CSC: the same by
 * columns.  COO: nnz entries (row_index[k], col_index[k], values[k]).  BSR:
 * block rows x block columns of dense blocks of block x block values laid out
 * by `layout`, row_start/row_end counting blocks. */
#define ORB_SPARSE_CREATE_DECLS(p, T, I, W)                                                                   \
  orb_sparse_status orb_sparse_##p##_create_csr##W(orb_sparse_matrix *A, int base, I rows, I cols,             \
                                                  I *row_start, I *row_end, I *col_index, T *values);         \
  orb_sparse_status orb_sparse_##p##_create_csr3##W(orb_sparse_matrix *A, int base, I rows, I cols,            \
                                                   I *row_ptr, I *col_index, T *values);                      \
  orb_sparse_status orb_sparse_##p##_create_csc##W(orb_sparse_matrix *A, int base, I rows, I cols,             \
                                                  I *col_start, I *col_end, I *row_index, T *values);         \
  orb_sparse_status orb_sparse_##p##_create_coo##W(orb_sparse_matrix *A, int base, I rows, I cols, I nnz,      \
                                                  I *row_index, I *col_index, T *values);                     \
  orb_sparse_status orb_sparse_##p##_create_bsr##W(orb_sparse_matrix *A, int base, int layout, I rows, I cols, \
                                                  I block, I *row_start, I *row_end, I *col_index, T *values); \
  orb_sparse_status orb_sparse_##p##_export##W(orb_sparse_matrix A, int *format, int *base, I *rows, I *cols,  \
                                              I *block, I **row_start, I **row_end, I **col_index,           \
                                              T **values);                                                    \
  orb_sparse_status orb_sparse_##p##_export_coo##W(orb_sparse_matrix A, int *base, I *rows, I *cols, I *nnz,  \
                                                  I **row_index, I **col_index, T **values);                  \
  orb_sparse_status orb_sparse_##p##_mv(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,         \
                                        const T *x, T beta, T *y);

ORB_SPARSE_CREATE_DECLS(s, float, int32_t, )
ORB_SPARSE_CREATE_DECLS(d, double, int32_t, )
ORB_SPARSE_CREATE_DECLS(c, ORB_Complex8, int32_t, )
ORB_SPARSE_CREATE_DECLS(z, ORB_Complex16, int32_t, )
#define ORB_SPARSE_CREATE_DECLS_64(p, T)                                                                     \
  orb_sparse_status orb_sparse_##p##_create_csr_64(orb_sparse_matrix *A, int base, int64_t rows, int64_t cols, \
                                                   int64_t *row_start, int64_t *row_end, int64_t *col_index,  \
                                                   T *values);                                                \
  orb_sparse_status orb_sparse_##p##_create_csr3_64(orb_sparse_matrix *A, int base, int64_t rows,             \
                                                    int64_t cols, int64_t *row_ptr, int64_t *col_index,       \
                                                    T *values);                                               \
  orb_sparse_status orb_sparse_##p##_create_csc_64(orb_sparse_matrix *A, int base, int64_t rows, int64_t cols, \
                                                   int64_t *col_start, int64_t *col_end, int64_t *row_index,  \
                                                   T *values);                                                \
  orb_sparse_status orb_sparse_##p##_create_coo_64(orb_sparse_matrix *A, int base, int64_t rows, int64_t cols, \
                                                   int64_t nnz, int64_t *row_index, int64_t *col_index,       \
                                                   T *values);                                                \
  orb_sparse_status orb_sparse_##p##_create_bsr_64(orb_sparse_matrix *A, int base, int layout, int64_t rows,  \
                                                   int64_t cols, int64_t block, int64_t *row_start,           \
                                                   int64_t *row_end, int64_t *col_index, T *values);          \
  orb_sparse_status orb_sparse_##p##_export_64(orb_sparse_matrix A, int *format, int *base, int64_t *rows,    \
                                               int64_t *cols, int64_t *block, int64_t **row_start,            \
                                               int64_t **row_end, int64_t **col_index, T **values);           \
  orb_sparse_status orb_sparse_##p##_export_coo_64(orb_sparse_matrix A, int *base, int64_t *rows,              \
                                                   int64_t *cols, int64_t *nnz, int64_t **row_index,          \
                                                   int64_t **col_index, T **values);
ORB_SPARSE_CREATE_DECLS_64(s, float)
ORB_SPARSE_CREATE_DECLS_64(d, double)
ORB_SPARSE_CREATE_DECLS_64(c, ORB_Complex8)
ORB_SPARSE_CREATE_DECLS_64(z, ORB_Complex16)

/* orb_sparse_?_export (CSR, CSC, BSR) and orb_sparse_?_export_coo (COO) read
 * a handle's arrays back: those it was made from, or those a copy or a
 * conversion built (owned by that handle and gone with it).  A handle of the
 * other kind answers ORB_SPARSE_UNSUPPORTED.
 *
 * Y := alpha op(A) X + beta Y for `columns` right-hand sides, X and Y dense,
 * row-major (ORB_SPARSE_BLOCK_ROW_MAJOR) or column-major (_COL_MAJOR), with
 * leading dimensions ldx and ldy.  Many rows or many right-hand sides both
 * run on every thread for a general CSR matrix; other cases run the product
 * orb_sparse_?_mv once per right-hand side. */
#define ORB_SPARSE_USER_MM(p, T)                                                                             \
  orb_sparse_status orb_sparse_##p##_mm(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,         \
                                        int layout, const T *x, int64_t columns, int64_t ldx, T beta, T *y,   \
                                        int64_t ldy);
ORB_SPARSE_USER_MM(s, float)
ORB_SPARSE_USER_MM(d, double)
ORB_SPARSE_USER_MM(c, ORB_Complex8)
ORB_SPARSE_USER_MM(z, ORB_Complex16)

/* C := alpha A^T A + beta C for a CSR handle A of m rows and n columns, C
 * dense n x n with leading dimension ldc >= max(1, n), laid out by `layout`
 * (ORB_SPARSE_BLOCK_ROW_MAJOR or _COL_MAJOR).  beta applies to the entries
 * (r, c) with c >= r, the product adds into every entry, so that a C whose
 * lower part is zero ends with the full product there.  Rows of A run in
 * parallel, adding into C atomically. */
#define ORB_SPARSE_USER_SYRKD(p, T)                                                                          \
  orb_sparse_status orb_sparse_##p##_syrkd(orb_sparse_matrix A, T alpha, T beta, T *C, int layout, int64_t ldc);
ORB_SPARSE_USER_SYRKD(s, float)
ORB_SPARSE_USER_SYRKD(d, double)
ORB_SPARSE_USER_SYRKD(c, ORB_Complex8)
ORB_SPARSE_USER_SYRKD(z, ORB_Complex16)

/* Triangular solves and symmetric Gauss-Seidel on square matrices.
 *
 *   y := alpha * inv(op(A)) * x                 orb_sparse_?_trsv
 *   Y := alpha * inv(op(A)) * X                 orb_sparse_?_trsm (columns
 *        right-hand sides, column-major or row-major by `layout`, leading
 *        dimensions ldx and ldy)
 *   x := one symmetric Gauss-Seidel sweep pair  orb_sparse_?_symgs
 *        for A x = b (forward, then backward; x updated in place), and
 *        also y := A x of the new x                orb_sparse_?_symgs_mv
 *
 * A solve reads the triangle the descriptor's fill mode names (lower or
 * upper; full is refused) of a triangular, symmetric, Hermitian or block
 * triangular descriptor, or the diagonal of a diagonal one; a general
 * descriptor answers ORB_SPARSE_UNSUPPORTED.  With a non-unit diagonal, a row
 * that stores no diagonal entry or a zero one answers ORB_SPARSE_BAD_VALUE
 * and y keeps its values.  Gauss-Seidel takes a symmetric descriptor (a
 * Hermitian one for real matrices) and the triangle it names, or the full
 * matrix.  Solves and sweeps announced by orb_sparse_set_sv_hint and
 * orb_sparse_set_symgs_hint are analysed by orb_sparse_optimize: the rows
 * are cut into blocks run in parallel in the order their dependencies allow,
 * with exactly the result of the sequential sweep. */
#define ORB_SPARSE_SOLVE_DECLS(p, T)                                                                             \
  orb_sparse_status orb_sparse_##p##_trsv(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,        \
                                          const T *x, T *y);                                                   \
  orb_sparse_status orb_sparse_##p##_trsm(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr descr,        \
                                          int layout, const T *x, int64_t columns, int64_t ldx, T *y,          \
                                          int64_t ldy);                                                        \
  orb_sparse_status orb_sparse_##p##_symgs(int op, orb_sparse_matrix A, orb_sparse_descr descr, const T *b,    \
                                           T *x);                                                              \
  orb_sparse_status orb_sparse_##p##_symgs_mv(int op, orb_sparse_matrix A, orb_sparse_descr descr,             \
                                              const T *b, T *x, T *y);
ORB_SPARSE_SOLVE_DECLS(s, float)
ORB_SPARSE_SOLVE_DECLS(d, double)
ORB_SPARSE_SOLVE_DECLS(c, ORB_Complex8)
ORB_SPARSE_SOLVE_DECLS(z, ORB_Complex16)

/* A new handle *B that owns copies of A's arrays, in A's format (copy), or
 * holds op(A) as CSR with A's index base (convert_csr), or as BSR of block x
 * block blocks laid out by `layout` (convert_bsr; the sizes of op(A) must be
 * multiples of block, and every block holding a stored entry is kept whole).
 * B starts without hints or analysis and keeps A's memory policy; A is not
 * changed.  On failure *B is not written. */
orb_sparse_status orb_sparse_copy(orb_sparse_matrix A, orb_sparse_matrix *B);
orb_sparse_status orb_sparse_convert_csr(orb_sparse_matrix A, int op, orb_sparse_matrix *B);
orb_sparse_status orb_sparse_convert_bsr(orb_sparse_matrix A, int64_t block, int layout, int op,
                                         orb_sparse_matrix *B);

/* Releases the handle and everything its analysis built (A may be NULL). */
orb_sparse_status orb_sparse_destroy(orb_sparse_matrix A);

/* Announces products with this operation and descriptor; orb_sparse_optimize
 * then analyses each announced one.  A second hint for the same operation and
 * descriptor replaces nothing and is accepted.  expected_calls must be
 * positive. */
orb_sparse_status orb_sparse_set_mv_hint(orb_sparse_matrix A, int op, orb_sparse_descr descr, int expected_calls);
/* The same for triangular solves and for Gauss-Seidel sweeps. */
orb_sparse_status orb_sparse_set_sv_hint(orb_sparse_matrix A, int op, orb_sparse_descr descr, int expected_calls);
orb_sparse_status orb_sparse_set_symgs_hint(orb_sparse_matrix A, int op, orb_sparse_descr descr,
                                            int expected_calls);
orb_sparse_status orb_sparse_set_memory_hint(orb_sparse_matrix A, int policy);
/* Analyses every announced product: the balanced row partition of a general
 * matrix, the general copy of a symmetric one, the stored transpose of a
 * general matrix used transposed. */
orb_sparse_status orb_sparse_optimize(orb_sparse_matrix A);

/* Sorts the entries of each row (of each column for CSC, of each block row
 * for BSR) by index, in place in the arrays the handle was made from, the
 * values moving with their indices; the rows run in parallel.  A COO handle
 * answers ORB_SPARSE_UNSUPPORTED.  Call it before the analysis: analysed
 * copies are not sorted again. */
orb_sparse_status orb_sparse_order(orb_sparse_matrix A);

/* ---- Character-descriptor products -------------------------------------- */

/* y := alpha op(A) x + beta y from bare arrays, all arguments by reference:
 * transa "N", "T" or "C" (any other letter transposes); matdescra characters
 * 1 to 4: the kind (G general, S symmetric, H Hermitian, T triangular, A
 * antisymmetric, D diagonal; coomv knows all but A), "L" lower or else upper,
 * "N" non-unit or else unit diagonal, "C" zero-based or else one-based
 * indices.  csrmv rows and cscmv columns [pntrb[i], pntre[i]); coomv nnz
 * entries (rowind, colind, val); bsrmv block rows of lb x lb blocks, a block
 * row-major with zero-based indices and column-major with one-based ones (m,
 * k count blocks).  The names take 64-bit integers, the _lp64 names int.  An
 * unknown kind, a null argument, a negative size or lb < 1 return at once
 * and leave y as it was.  csrmv under "C" transposes without conjugating. */
#define ORB_SPARSE_LEGACY_DECLS(p, T, I, W)                                                                  \
  void orb_##p##csrmv##W(const char *transa, const I *m, const I *k, const T *alpha, const char *matdescra,   \
                         const T *val, const I *indx, const I *pntrb, const I *pntre, const T *x, const T *beta, \
                         T *y);                                                                               \
  void orb_##p##cscmv##W(const char *transa, const I *m, const I *k, const T *alpha, const char *matdescra,   \
                         const T *val, const I *indx, const I *pntrb, const I *pntre, const T *x, const T *beta, \
                         T *y);                                                                               \
  void orb_##p##coomv##W(const char *transa, const I *m, const I *k, const T *alpha, const char *matdescra,   \
                         const T *val, const I *rowind, const I *colind, const I *nnz, const T *x,            \
                         const T *beta, T *y);                                                                \
  void orb_##p##bsrmv##W(const char *transa, const I *m, const I *k, const I *lb, const T *alpha,            \
                         const char *matdescra, const T *val, const I *indx, const I *pntrb, const I *pntre,  \
                         const T *x, const T *beta, T *y);
ORB_SPARSE_LEGACY_DECLS(s, float, ORB_INT, )
ORB_SPARSE_LEGACY_DECLS(d, double, ORB_INT, )
ORB_SPARSE_LEGACY_DECLS(c, ORB_Complex8, ORB_INT, )
ORB_SPARSE_LEGACY_DECLS(z, ORB_Complex16, ORB_INT, )
ORB_SPARSE_LEGACY_DECLS(s, float, int, _lp64)
ORB_SPARSE_LEGACY_DECLS(d, double, int, _lp64)
ORB_SPARSE_LEGACY_DECLS(c, ORB_Complex8, int, _lp64)
ORB_SPARSE_LEGACY_DECLS(z, ORB_Complex16, int, _lp64)

ORB_END_DECLS

#endif
