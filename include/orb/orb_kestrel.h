/* orb: the direct sparse solver "Kestrel" for A x = b with a sparse A in CSR
 * form, in phases on a handle: analyse (ordering, elimination tree,
 * supernodes: the pattern only), factor (the values, as often as they
 * change), solve (any number of right-hand sides, as often as needed).
 *
 * This release factors symmetric positive definite (real) and Hermitian
 * positive definite (complex) matrices by supernodal Cholesky, A = P^T L L^H P.
 *
 * The CSR arrays of the analysis are read with the index width and base the
 * options name; unsorted rows are accepted, and duplicate entries are summed.
 * Of a symmetric matrix the analysis reads the triangle the options name; the
 * values given to factor are in the order of the column indices given to the
 * analysis.  Every call returns a status; nothing is written when a call
 * fails, and a failed factorization leaves the handle without a factor. */
#ifndef ORB_KESTREL_H
#define ORB_KESTREL_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

typedef enum {
  ORB_KESTREL_SUCCESS = 0,
  ORB_KESTREL_BAD_INPUT = 1,            /* a null pointer, a size, an index or an option out of range */
  ORB_KESTREL_OUT_OF_MEMORY = 2,
  ORB_KESTREL_NOT_POSITIVE_DEFINITE = 3, /* a pivot of the Cholesky factorization is not positive */
  ORB_KESTREL_WRONG_PHASE = 4            /* solve before factor, or values of another type than before */
} orb_kestrel_status;

/* Which triangle of a symmetric matrix the CSR arrays hold. */
typedef enum {
  ORB_KESTREL_UPPER = 0, /* entries with column >= row are read, the others ignored */
  ORB_KESTREL_LOWER = 1, /* entries with column <= row are read, the others ignored */
  ORB_KESTREL_FULL = 2   /* both triangles stored; the lower one is read */
} orb_kestrel_triangle;

typedef enum {
  ORB_KESTREL_NESTED_DISSECTION = 0, /* fill-reducing, by graph partitioning */
  ORB_KESTREL_NATURAL = 1,           /* the matrix's own order */
  ORB_KESTREL_USER_ORDER = 2         /* options.permutation */
} orb_kestrel_ordering;

typedef enum { ORB_KESTREL_POSITIVE_DEFINITE = 0 } orb_kestrel_matrix_type;

typedef struct {
  int32_t matrix_type;  /* orb_kestrel_matrix_type */
  int32_t triangle;     /* orb_kestrel_triangle */
  int32_t ordering;     /* orb_kestrel_ordering */
  int32_t index_bits;   /* 32 or 64: the width of the CSR index arrays */
  int32_t index_base;   /* 0 or 1 */
  /* With ORB_KESTREL_USER_ORDER: n zero-based entries, entry k the row of A
   * eliminated k-th (a permutation of 0 .. n-1, checked). */
  const int64_t *permutation;
} orb_kestrel_options;

typedef struct {
  int64_t n;
  int64_t entries;          /* entries of the triangle read, duplicates counted once */
  int64_t factor_entries;   /* entries of L, with the zeros that supernodes store */
  int64_t supernodes;
  int64_t widest_supernode; /* columns */
  double factor_flops;      /* floating-point operations of the factorization (real ones) */
  double solve_flops;       /* of one right-hand side's solve */
  int64_t tiny_pivots;      /* pivots below sqrt(eps) * the largest diagonal entry */
  int64_t failed_row;       /* zero-based row of A whose pivot failed, or -1 */
  double seconds_analyse, seconds_factor, seconds_solve; /* the last call of each phase */
} orb_kestrel_statistics;

typedef struct orb_kestrel_state *orb_kestrel_handle;

/* Positive definite, upper triangle, nested dissection, 32-bit zero-based indices. */
void orb_kestrel_default_options(orb_kestrel_options *options);

/* Analyses the pattern of the n x n matrix (row_ptr: n + 1 entries,
 * col_index: row_ptr[n] - base entries) and makes a handle. */
orb_kestrel_status orb_kestrel_analyse(orb_kestrel_handle *handle, int64_t n, const void *row_ptr,
                                       const void *col_index, const orb_kestrel_options *options);

/* Factors the values (one per column index of the analysis), then solves
 * A X = B for nrhs columns of B (n x nrhs, leading dimension ldb) into X
 * (leading dimension ldx; X may be B). */
#define ORB_KESTREL_DECLS(p, T)                                                                               \
  orb_kestrel_status orb_kestrel_##p##_factor(orb_kestrel_handle handle, const T *values);                    \
  orb_kestrel_status orb_kestrel_##p##_solve(orb_kestrel_handle handle, int64_t nrhs, const T *b, int64_t ldb, \
                                             T *x, int64_t ldx);
ORB_KESTREL_DECLS(s, float)
ORB_KESTREL_DECLS(d, double)
ORB_KESTREL_DECLS(c, ORB_Complex8)
ORB_KESTREL_DECLS(z, ORB_Complex16)
#undef ORB_KESTREL_DECLS

orb_kestrel_status orb_kestrel_get_statistics(orb_kestrel_handle handle, orb_kestrel_statistics *statistics);
void orb_kestrel_destroy(orb_kestrel_handle handle);

ORB_END_DECLS

#endif
