/* orb: scaled matrix copy, transposition and addition.
 *
 * Every routine exists for s (float), d (double), c (ORB_Complex8) and
 * z (ORB_Complex16); the scalars alpha and beta have the element type and are
 * passed by value.  Arguments:
 *   ordering   'R' row-major or 'C' column-major (either case), by value;
 *   trans      'N' op(X) = X, 'T' op(X) = X^T, 'R' op(X) = conj(X),
 *              'C' op(X) = conj(X)^T (either case); for s and d, 'R' is 'N'
 *              and 'C' is 'T';
 *   sizes      ORB_INT: signed 64 bits, the width of size_t on this platform,
 *              so a caller passing size_t values passes the same bits, and a
 *              negative (or above 2^63) value is reported, not used.
 * Element (i, j) of a matrix X with leading dimension ldx lies at
 * X[i + j*ldx] column-major and X[i*ldx + j] row-major; in the "2" forms,
 * whose lines may be strided, at X[i*stridex + j*ldx] and X[i*ldx + j*stridex].
 *
 * Out-of-place copy:  B := alpha * op(A), A being rows x cols.
 * In-place copy:      AB := alpha * op(AB), AB read as rows x cols with lda
 *                     and written as op's shape with ldb.  A square
 *                     transposition with lda == ldb is done by swapping
 *                     elements; any other reshaping goes through a scratch
 *                     copy of rows*cols elements.
 * Addition:           C := alpha * op(A) + beta * op(B), C being rows x cols.
 *                     C may be A (or B) only when that operand is not
 *                     transposed and has C's leading dimension.
 * A zero alpha (beta) means that its matrix is not read.
 *
 * A leading dimension must be at least max(1, length of a stored line): the
 * rows of the stored matrix column-major, its columns row-major.  Strides of
 * the "2" forms and their leading dimensions must be at least 1.  A and B may
 * be NULL only for an empty matrix.
 *
 * Illegal arguments are reported through the error handler with the
 * argument's position (1-based, in the order of the argument list) and the
 * routine's upper-case name (DOMATCOPY, DIMATCOPY, DOMATCOPY2, DOMATADD, ...);
 * the first illegal one is reported and nothing is written.  An in-place copy
 * that cannot obtain its scratch reports 1000 and leaves the matrix as it was.
 * The single-matrix routines of the core return the same number (0 when the
 * call succeeded). */
#ifndef ORB_TRANS_H
#define ORB_TRANS_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

/* ---- Sequential routines (liborb_core.so.2) ---------------------------- */

/* orb_trans_orb_?omatadd and orb_trans_orb_?omatadd_seq are the same routine:
 * the batches call the first, the threaded single entry the second. */
#define ORB_TRANS_CORE_DECLS(p, T)                                                                        \
  int orb_trans_orb_##p##omatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,         \
                                  const T *A, ORB_INT lda, T *B, ORB_INT ldb);                            \
  int orb_trans_orb_##p##imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB, \
                                  ORB_INT lda, ORB_INT ldb);                                              \
  int orb_trans_orb_##p##omatcopy2_seq(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,   \
                                       const T *A, ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb,       \
                                       ORB_INT strideb);                                                  \
  int orb_trans_orb_##p##omatadd(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols,    \
                                 T alpha, const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb, T *C, \
                                 ORB_INT ldc);                                                            \
  int orb_trans_orb_##p##omatadd_seq(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols,\
                                     T alpha, const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb,   \
                                     T *C, ORB_INT ldc)

ORB_TRANS_CORE_DECLS(s, float);
ORB_TRANS_CORE_DECLS(d, double);
ORB_TRANS_CORE_DECLS(c, ORB_Complex8);
ORB_TRANS_CORE_DECLS(z, ORB_Complex16);

/* ---- Threaded entries (liborb_tsq_thread.so.2) ------------------------- */

/* These run sequentially and check nothing themselves: every matrix is handed
 * to the sequential routine, which reports its illegal arguments, once per
 * matrix.
 *
 * ?imatcopy_square_t_par: a parallel in-place square transposition; it takes
 *   the in-place routine's arguments and returns 1 when it did the work.
 *   This layer has none and returns 0 without touching the matrix: the caller
 *   then runs orb_trans_orb_?imatcopy.
 * ?omatcopy2_par, ?omatadd_par: return the sequential routine's result.
 * Strided batches: matrix i starts i*stride elements after the first, for
 *   i = 0 .. batch_size-1 in order; a NULL base pointer is passed as NULL for
 *   every matrix.
 * Group batches: group g has group_size_array[g] matrices that share
 *   trans_array[g], alpha_array[g] and the sizes rows, cols, lda, ldb read
 *   from their arrays as int32_t elements when width is 1, int64_t when width
 *   is 0 or 2, and as -1 (so reported, matrix by matrix) for any other width.
 *   The matrix pointer arrays run on across groups: matrix k of group g is
 *   entry group_size_array[0] + ... + group_size_array[g-1] + k.  A negative
 *   group size counts as 0.  When group_count > 0 and an array the walk needs
 *   is NULL, nothing is done. */
#define ORB_TRANS_PAR_DECLS(p, T)                                                                          \
  int orb_trans_orb_##p##imatcopy_square_t_par(char ordering, char trans, ORB_INT rows, ORB_INT cols,      \
                                               T alpha, T *AB, ORB_INT lda, ORB_INT ldb);                  \
  int orb_trans_orb_##p##omatcopy2_par(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,     \
                                       const T *A, ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb,        \
                                       ORB_INT strideb);                                                   \
  int orb_trans_orb_##p##omatadd_par(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols,  \
                                     T alpha, const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb,    \
                                     T *C, ORB_INT ldc);                                                   \
  void orb_trans_orb_##p##omatcopy_batch_strided_par(char ordering, char trans, ORB_INT rows, ORB_INT cols, \
                                                     T alpha, const T *A, ORB_INT lda, ORB_INT stridea,     \
                                                     T *B, ORB_INT ldb, ORB_INT strideb, ORB_INT batch_size); \
  void orb_trans_orb_##p##imatcopy_batch_strided_par(char ordering, char trans, ORB_INT rows, ORB_INT cols, \
                                                     T alpha, T *AB, ORB_INT lda, ORB_INT ldb,              \
                                                     ORB_INT stride, ORB_INT batch_size);                   \
  void orb_trans_orb_##p##omatadd_batch_strided_par(char ordering, char transa, char transb, ORB_INT rows,  \
                                                    ORB_INT cols, const T *A, ORB_INT lda, ORB_INT stridea, \
                                                    const T *B, ORB_INT ldb, ORB_INT strideb, T *C,         \
                                                    ORB_INT ldc, ORB_INT stridec, ORB_INT batch_size,       \
                                                    T alpha, T beta);                                       \
  void orb_trans_orb_##p##omatcopy_batch_par(char ordering, const char *trans_array, const void *rows_array, \
                                             const void *cols_array, const T *alpha_array,                  \
                                             const T *const *A_array, const void *lda_array,                \
                                             T *const *B_array, const void *ldb_array, ORB_INT group_count, \
                                             const ORB_INT *group_size_array, int width);                   \
  void orb_trans_orb_##p##imatcopy_batch_par(char ordering, const char *trans_array, const void *rows_array, \
                                             const void *cols_array, const T *alpha_array,                  \
                                             T *const *AB_array, const void *lda_array,                     \
                                             const void *ldb_array, ORB_INT group_count,                    \
                                             const ORB_INT *group_size_array, int width)

ORB_TRANS_PAR_DECLS(s, float);
ORB_TRANS_PAR_DECLS(d, double);
ORB_TRANS_PAR_DECLS(c, ORB_Complex8);
ORB_TRANS_PAR_DECLS(z, ORB_Complex16);

/* ---- User entry points (liborb.so.2) ----------------------------------- */

/* What a program calls.  The single-matrix forms report through the error
 * handler as described above.  The batch forms first check what the
 * per-matrix routine cannot see - a negative batch_size or group_count, a
 * negative group size, a NULL array - and report it under their own name
 * (orb_domatcopy_batch_strided, orb_domatcopy_batch, ...) with the argument's
 * position, before any matrix is touched; each matrix is then checked and
 * reported on its own. */
#define ORB_TRANS_USER_DECLS(p, T)                                                                          \
  void orb_##p##omatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A,        \
                         ORB_INT lda, T *B, ORB_INT ldb);                                                   \
  void orb_##p##imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB, ORB_INT lda,\
                         ORB_INT ldb);                                                                      \
  void orb_##p##omatcopy2(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A,       \
                          ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb, ORB_INT strideb);                \
  void orb_##p##omatadd(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, T alpha,       \
                        const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb, T *C, ORB_INT ldc);       \
  void orb_##p##omatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,      \
                                       const T *A, ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb,         \
                                       ORB_INT strideb, ORB_INT batch_size);                                \
  void orb_##p##imatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,      \
                                       T *AB, ORB_INT lda, ORB_INT ldb, ORB_INT stride, ORB_INT batch_size); \
  void orb_##p##omatadd_batch_strided(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols,  \
                                      T alpha, const T *A, ORB_INT lda, ORB_INT stridea, T beta,            \
                                      const T *B, ORB_INT ldb, ORB_INT strideb, T *C, ORB_INT ldc,          \
                                      ORB_INT stridec, ORB_INT batch_size);                                 \
  void orb_##p##omatcopy_batch(char ordering, const char *trans_array, const ORB_INT *rows_array,           \
                               const ORB_INT *cols_array, const T *alpha_array, const T *const *A_array,    \
                               const ORB_INT *lda_array, T *const *B_array, const ORB_INT *ldb_array,       \
                               ORB_INT group_count, const ORB_INT *group_size_array);                       \
  void orb_##p##imatcopy_batch(char ordering, const char *trans_array, const ORB_INT *rows_array,           \
                               const ORB_INT *cols_array, const T *alpha_array, T *const *AB_array,         \
                               const ORB_INT *lda_array, const ORB_INT *ldb_array, ORB_INT group_count,     \
                               const ORB_INT *group_size_array)

ORB_TRANS_USER_DECLS(s, float);
ORB_TRANS_USER_DECLS(d, double);
ORB_TRANS_USER_DECLS(c, ORB_Complex8);
ORB_TRANS_USER_DECLS(z, ORB_Complex16);

ORB_END_DECLS

#endif
