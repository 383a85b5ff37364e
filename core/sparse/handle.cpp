// Sparse matrix handles: creation from the caller's CSR, CSC, COO and BSR
// arrays, the copies the analysis asks for (the stored transpose, the general
// matrix of a symmetric one), and destruction with everything hung on them.
//
// A handle refers to the caller's arrays and never copies them: creation only
// checks them, so that every later product can trust them.  Checked, in this
// order (the first failure is the status, and no handle is made):
//   1. the handle pointer, then the arrays (1); arrays of entries may be null
//      when the matrix stores none;
//   2. index base 0 or 1, sizes not negative, BSR block size at least 1 and a
//      known block layout (3);
//   3. per row (column for CSC): start at least the base, end not before the
//      start, neither start nor end decreasing from one row to the next (3);
//   4. every stored index inside the matrix (3).
// The record is eligible for the threaded kernels when each row ends where the
// next begins (row_end[i] == row_start[i + 1]), the layout of one row-pointer
// array; separate arrays with gaps between rows take the plain kernels.
//
// Every allocation goes through orb_serv_malloc; one that fails frees what
// was taken before it, leaves the handle as it was and answers 2.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/copies.hpp"

#include <cstring>

namespace orb::sparse {
namespace {

template <class I>
int32_t check_pointers(int32_t base, I n, I other, const I *start, const I *end, const I *index, I *entries,
                       int32_t *eligible) {
  if (n > 0 && (!start || !end)) return ORB_SPARSE_NULL_POINTER;
  if (base != 0 && base != 1) return ORB_SPARSE_BAD_VALUE;
  if (n < 0 || other < 0) return ORB_SPARSE_BAD_VALUE;
  int32_t contiguous = 1;
  I stored = 0;
  for (I i = 0; i < n; ++i) {
    if (start[i] < base || end[i] < start[i]) return ORB_SPARSE_BAD_VALUE;
    if (i > 0 && (start[i] < start[i - 1] || end[i] < end[i - 1])) return ORB_SPARSE_BAD_VALUE;
    if (i + 1 < n && end[i] != start[i + 1]) contiguous = 0;
    stored += end[i] - start[i];
  }
  if (stored > 0 && !index) return ORB_SPARSE_NULL_POINTER;
  for (I i = 0; i < n; ++i)
    for (I k = start[i] - base; k < end[i] - base; ++k)
      if (index[k] < base || index[k] - base >= other) return ORB_SPARSE_BAD_VALUE;
  *entries = n > 0 ? end[n - 1] - base : 0;
  *eligible = contiguous;
  return ORB_SPARSE_OK;
}

//! A fresh handle holding one record; null when memory is short.
template <class T, class I>
SparseHandle<T, I> *new_handle(int32_t format) {
  auto *h = zeroed<SparseHandle<T, I>>();
  auto *r = zeroed<SparseRecord<T, I>>();
  if (!h || !r) {
    orb_serv_free(h);
    orb_serv_free(r);
    return nullptr;
  }
  h->value_kind = value_kind_of<T>();
  h->format = format;
  h->memory_policy = ORB_SPARSE_MEMORY_NONE;
  h->processor = orb_serv_cpu_detect();
  h->index_bytes = sizeof(I);
  h->primary = r;
  r->block = 1;
  return h;
}

template <class T, class I>
int32_t publish(orb_sparse_matrix *A, SparseHandle<T, I> *h) {
  if (!h) return ORB_SPARSE_NO_MEMORY;
  *A = reinterpret_cast<orb_sparse_matrix>(h);
  return ORB_SPARSE_OK;
}

//! CSR (by rows) and CSC (by columns): n pointer pairs over `other` indices.
template <class T, class I>
int32_t create_compressed(orb_sparse_matrix *A, int32_t format, int32_t base, I rows, I cols, I *start, I *end,
                          I *index, T *values) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  const bool by_rows = format == kFormatCsr;
  I entries = 0;
  int32_t eligible = 0;
  const int32_t s = check_pointers(base, by_rows ? rows : cols, by_rows ? cols : rows, start, end, index,
                                   &entries, &eligible);
  if (s != ORB_SPARSE_OK) return s;
  if (entries > 0 && !values) return ORB_SPARSE_NULL_POINTER;
  auto *h = new_handle<T, I>(format);
  if (h) *h->primary = {rows, cols, base, 1, eligible, 0, start, end, index, values, nullptr, nullptr, entries, 0, 0};
  return publish(A, h);
}

template <class T, class I>
int32_t create_bsr(orb_sparse_matrix *A, int32_t base, int32_t layout, I rows, I cols, I block, I *start, I *end,
                   I *index, T *values) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (block < 1 || block > (I{1} << 15) ||
      (layout != ORB_SPARSE_BLOCK_ROW_MAJOR && layout != ORB_SPARSE_BLOCK_COL_MAJOR))
    return ORB_SPARSE_BAD_VALUE;
  I entries = 0;
  int32_t eligible = 0;
  const int32_t s = check_pointers(base, rows, cols, start, end, index, &entries, &eligible);
  if (s != ORB_SPARSE_OK) return s;
  if (entries > 0 && !values) return ORB_SPARSE_NULL_POINTER;
  auto *h = new_handle<T, I>(kFormatBsr);
  if (h)
    *h->primary = {rows, cols, base, static_cast<int32_t>(block), eligible, layout, start, end, index, values,
                   nullptr, nullptr, entries, 0, 0};
  return publish(A, h);
}

template <class T, class I>
int32_t create_coo(orb_sparse_matrix *A, int32_t base, I rows, I cols, I nnz, I *row, I *col, T *values) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (nnz > 0 && (!row || !col || !values)) return ORB_SPARSE_NULL_POINTER;
  if ((base != 0 && base != 1) || rows < 0 || cols < 0 || nnz < 0) return ORB_SPARSE_BAD_VALUE;
  for (I k = 0; k < nnz; ++k)
    if (row[k] < base || row[k] - base >= rows || col[k] < base || col[k] - base >= cols)
      return ORB_SPARSE_BAD_VALUE;
  auto *h = new_handle<T, I>(kFormatCoo);
  if (h) *h->primary = {rows, cols, base, 1, 0, 0, nullptr, nullptr, col, values, nullptr, row, nnz, 0, 0};
  return publish(A, h);
}

//! A record that owns its arrays: rows + 1 pointers (row_end is row_start + 1)
//! and `entries` indices and values of block^2 scalars each.
template <class T, class I>
SparseRecord<T, I> *new_owned_record(I rows, I cols, int32_t base, int32_t block, int32_t layout, I entries) {
  auto *r = zeroed<SparseRecord<T, I>>();
  if (!r) return nullptr;
  r->row_start = allocate<I>(rows + 1);
  r->col_index = allocate<I>(entries > 0 ? entries : 1);
  r->values = allocate<T>(entries > 0 ? entries * block * block : 1);
  if (!r->row_start || !r->col_index || !r->values) {
    orb_serv_free(r->row_start);
    orb_serv_free(r->col_index);
    orb_serv_free(r->values);
    orb_serv_free(r);
    return nullptr;
  }
  *r = {rows, cols, base, block, 1, layout, r->row_start, r->row_start + 1, r->col_index, r->values, nullptr,
        nullptr, entries, 1, 0};
  return r;
}

template <class T, class I>
void free_record(SparseRecord<T, I> *r) {
  if (!r) return;
  if (OptimizationRecord *o = r->opt) {
    orb_serv_free(o->partition);
    destroy_up_tri_from_full_sym_data<double, I>(o);
    free_sliced_copies<double, I>(o);
    destroy_symgs_optimal_data<double, I>(o->symgs_data);
    orb_serv_free(o);
  }
  destroy_diagonal_data<double, I>(r->diagonal);
  if (r->owns) {
    orb_serv_free(r->row_start);
    orb_serv_free(r->col_index);
    orb_serv_free(r->values);
  }
  orb_serv_free(r);
}

template <class T, class I>
void free_hints(SparseHint<T, I> *node) {
  while (node) {
    SparseHint<T, I> *next = node->next;
    orb_serv_free(node);
    node = next;
  }
}

template <class T, class I>
void destroy(SparseHandle<T, I> *h) {
  free_hints(h->solve_hints);
  free_hints(h->mv_hints);
  free_hints(h->symgs_hints);
  free_hints(h->pending_hints);
  free_record(h->primary);
  free_record(h->transposed);
  free_record(h->general_from_lower);
  free_record(h->general_from_upper);
  orb_serv_free(h);
}

//! A record that owns its arrays, built from a walk over its future entries:
//! each(f) calls f(row, col, value) for every entry, in the order the entries
//! are to stand within a row (a value is block^2 scalars).  Two walks: one
//! counts the rows' lengths, one places the entries.
template <class T, class I, class Each>
SparseRecord<T, I> *build_by_rows(I rows, I cols, int32_t base, int32_t block, int32_t layout, Each each) {
  I stored = 0;
  each([&](I, I, const T *) { ++stored; });
  SparseRecord<T, I> *g = new_owned_record<T, I>(rows, cols, base, block, layout, stored);
  if (!g) return nullptr;
  const int64_t bb = int64_t{block} * block;
  I *ptr = g->row_start;
  for (I i = 0; i <= rows; ++i) ptr[i] = 0;
  each([&](I row, I, const T *) { ++ptr[row + 1]; });
  for (I i = 0; i < rows; ++i) ptr[i + 1] += ptr[i];
  // ptr[i] is the next free place of row i; afterwards it is row i + 1's start.
  each([&](I row, I col, const T *v) {
    const I at = ptr[row]++;
    g->col_index[at] = col + base;
    std::memcpy(g->values + at * bb, v, sizeof(T) * bb);
  });
  for (I i = rows; i > 0; --i) ptr[i] = ptr[i - 1] + base;
  ptr[0] = base;
  return g;
}

//! The stored transpose of a CSR or BSR record, each row in increasing order
//! of the original rows; a BSR block keeps its values and flips its layout,
//! since a row-major block read column-major is its transpose.
template <class T, class I>
int32_t create_transposed(SparseHandle<T, I> *h) {
  if (h->transposed) return ORB_SPARSE_OK;
  const SparseRecord<T, I> *a = h->primary;
  if (!a || (h->format != kFormatCsr && h->format != kFormatBsr)) return ORB_SPARSE_INTERNAL;
  const int64_t bb = int64_t{a->block} * a->block;
  const int32_t layout = a->block == 1 ? 0
                         : a->layout == ORB_SPARSE_BLOCK_ROW_MAJOR ? ORB_SPARSE_BLOCK_COL_MAJOR
                                                                   : ORB_SPARSE_BLOCK_ROW_MAJOR;
  h->transposed = build_by_rows<T, I>(a->cols, a->rows, a->base, a->block, layout, [&](auto f) {
    for (I i = 0; i < a->rows; ++i)
      for (I k = a->row_start[i] - a->base; k < a->row_end[i] - a->base; ++k)
        f(a->col_index[k] - a->base, i, a->values + k * bb);
  });
  return h->transposed ? ORB_SPARSE_OK : ORB_SPARSE_NO_MEMORY;
}

//! The general matrix of a symmetric CSR one from its lower (fill 40) or
//! upper triangle: each stored entry of the triangle, and its mirror off the
//! diagonal; entries outside the triangle are not part of the matrix.
template <class T, class I>
SparseRecord<T, I> *create_gen_from_sym(const SparseRecord<T, I> *a, bool upper) {
  return build_by_rows<T, I>(a->rows, a->cols, a->base, 1, 0, [&](auto f) {
    for (I i = 0; i < a->rows; ++i)
      for (I k = a->row_start[i] - a->base; k < a->row_end[i] - a->base; ++k) {
        const I j = a->col_index[k] - a->base;
        if (upper ? j < i : j > i) continue;
        f(i, j, a->values + k);
        if (i != j) f(j, i, a->values + k);
      }
  });
}

template <class T, class I>
int32_t create_general_copy(SparseHandle<T, I> *h, int32_t fill) {
  const bool upper = fill != ORB_SPARSE_LOWER;
  SparseRecord<T, I> *&slot = upper ? h->general_from_upper : h->general_from_lower;
  if (slot) return ORB_SPARSE_OK;
  if (!h->primary || h->format != kFormatCsr || h->primary->rows != h->primary->cols) return ORB_SPARSE_INTERNAL;
  slot = create_gen_from_sym(h->primary, upper);
  return slot ? ORB_SPARSE_OK : ORB_SPARSE_NO_MEMORY;
}

template <class I>
void destroy_any(orb_sparse_matrix A) {
  destroy(handle_cast<double, I>(A));
}

}  // namespace
}  // namespace orb::sparse

using namespace orb::sparse;

extern "C" void orb_sparse_destroy_matrix(orb_sparse_matrix A) {
  if (!A) return;
  // Destruction frees pointers only; the value type does not matter, the width does.
  if (handle_cast<double, int32_t>(A)->index_bytes == 8)
    destroy_any<int64_t>(A);
  else
    destroy_any<int32_t>(A);
}

#define ORB_SPARSE_HANDLE_ENTRIES(p, T, I, w)                                                                     \
  extern "C" int32_t orb_sparse_##p##_create_csr_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I *rs,   \
                                                    I *re, I *ci, T *v) {                                         \
    return create_compressed<T, I>(A, kFormatCsr, base, rows, cols, rs, re, ci, v);                                \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_create_csc_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I *cs,   \
                                                    I *ce, I *ri, T *v) {                                         \
    return create_compressed<T, I>(A, kFormatCsc, base, rows, cols, cs, ce, ri, v);                                \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_create_coo_##w(orb_sparse_matrix *A, int32_t base, I rows, I cols, I nnz,   \
                                                    I *ri, I *ci, T *v) {                                         \
    return create_coo<T, I>(A, base, rows, cols, nnz, ri, ci, v);                                                  \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_create_bsr_##w(orb_sparse_matrix *A, int32_t base, int32_t layout, I rows,  \
                                                    I cols, I block, I *rs, I *re, I *ci, T *v) {                 \
    return create_bsr<T, I>(A, base, layout, rows, cols, block, rs, re, ci, v);                                    \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_create_transposed_##w(orb_sparse_matrix A) {                                \
    return A ? create_transposed(handle_cast<T, I>(A)) : ORB_SPARSE_NULL_POINTER;                                 \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_create_gen_from_sym_##w(orb_sparse_matrix A, int32_t fill) {               \
    return A ? create_general_copy(handle_cast<T, I>(A), fill) : ORB_SPARSE_NULL_POINTER;                         \
  }

ORB_SPARSE_EACH(ORB_SPARSE_HANDLE_ENTRIES)
