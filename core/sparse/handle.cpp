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
#include "sparse/walk.hpp"

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
    orb_serv_free(r->coo_row);
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

//! The general matrix of a symmetric CSR or BSR one from its lower (fill 40)
//! or upper triangle: each stored entry of the triangle, and its mirror off
//! the diagonal; entries outside the triangle are not part of the matrix.
//! For BSR the triangle is one of scalars: a block off the diagonal is kept
//! whole and mirrored transposed, a diagonal block is made symmetric from its
//! own triangle.  Null without memory.
template <class T, class I>
SparseRecord<T, I> *create_gen_from_sym(const SparseRecord<T, I> *a, bool upper) {
  const I b = a->block;
  const int64_t bb = int64_t{b} * b;
  const bool col_major = a->layout == ORB_SPARSE_BLOCK_COL_MAJOR;
  const auto at = [&](I r, I c) { return col_major ? int64_t{c} * b + r : int64_t{r} * b + c; };
  Scratch<T> block(bb, 64, Allocator::plain);
  if (!block) return nullptr;
  T *buf = block.get();
  return build_by_rows<T, I>(a->rows, a->cols, a->base, b, a->layout, [&](auto f) {
    for (I i = 0; i < a->rows; ++i)
      for (I k = a->row_start[i] - a->base; k < a->row_end[i] - a->base; ++k) {
        const I j = a->col_index[k] - a->base;
        if (upper ? j < i : j > i) continue;
        const T *v = a->values + k * bb;
        if (i == j) {
          for (I r = 0; r < b; ++r)
            for (I c = 0; c < b; ++c) buf[at(r, c)] = (upper ? c >= r : c <= r) ? v[at(r, c)] : v[at(c, r)];
          f(i, j, buf);
          continue;
        }
        f(i, j, v);
        for (I r = 0; r < b; ++r)
          for (I c = 0; c < b; ++c) buf[at(r, c)] = v[at(c, r)];
        f(j, i, buf);
      }
  });
}

template <class T, class I>
int32_t create_general_copy(SparseHandle<T, I> *h, int32_t fill) {
  const bool upper = fill != ORB_SPARSE_LOWER;
  SparseRecord<T, I> *&slot = upper ? h->general_from_upper : h->general_from_lower;
  if (slot) return ORB_SPARSE_OK;
  if (!h->primary || (h->format != kFormatCsr && h->format != kFormatBsr) || h->primary->rows != h->primary->cols)
    return ORB_SPARSE_INTERNAL;
  slot = create_gen_from_sym(h->primary, upper);
  return slot ? ORB_SPARSE_OK : ORB_SPARSE_NO_MEMORY;
}

//! A handle of the format around a record that owns its arrays (null: 2).
template <class T, class I>
int32_t adopt(const SparseHandle<T, I> *from, int32_t format, SparseRecord<T, I> *r, orb_sparse_matrix *B) {
  SparseHandle<T, I> *h = r ? new_handle<T, I>(format) : nullptr;
  if (!h) {
    free_record(r);
    return ORB_SPARSE_NO_MEMORY;
  }
  free_record(h->primary);
  h->primary = r;
  h->memory_policy = from->memory_policy;
  *B = reinterpret_cast<orb_sparse_matrix>(h);
  return ORB_SPARSE_OK;
}

//! Calls f(i, j, value) for every stored entry of a record in scalar
//! coordinates from 0, the COO list included.
template <class T, class I, class F>
void each_stored(const SparseHandle<T, I> *h, F &&f) {
  const SparseRecord<T, I> &r = *h->primary;
  if (h->format != kFormatCoo) {
    for_each_entry(r, h->format == kFormatCsc, f);
    return;
  }
  for (I k = 0; k < r.entries; ++k) f(r.coo_row[k] - r.base, r.col_index[k] - r.base, r.values[k]);
}

//! The copy of a handle's matrix in its own format, owning its arrays: the
//! lines (rows, columns, block rows) keep their entries in their order and
//! follow one another; a COO list keeps its order.
template <class T, class I>
int32_t copy(const SparseHandle<T, I> *h, orb_sparse_matrix *B) {
  const SparseRecord<T, I> &a = *h->primary;
  if (h->format == kFormatCoo) {
    SparseRecord<T, I> *r = new_owned_record<T, I>(0, a.cols, a.base, 1, 0, a.entries);
    I *rows = r ? allocate<I>(a.entries > 0 ? a.entries : 1) : nullptr;
    if (!rows) {
      free_record(r);
      return ORB_SPARSE_NO_MEMORY;
    }
    r->rows = a.rows;
    r->row_end = nullptr;
    r->eligible = 0;
    r->coo_row = rows;
    if (a.entries > 0) {
      std::memcpy(rows, a.coo_row, sizeof(I) * a.entries);
      std::memcpy(r->col_index, a.col_index, sizeof(I) * a.entries);
      std::memcpy(r->values, a.values, sizeof(T) * a.entries);
    }
    return adopt(h, h->format, r, B);
  }
  const bool by_columns = h->format == kFormatCsc;
  const I lines = by_columns ? a.cols : a.rows, other = by_columns ? a.rows : a.cols;
  const int64_t bb = int64_t{a.block} * a.block;
  SparseRecord<T, I> *r = build_by_rows<T, I>(lines, other, a.base, a.block, a.layout, [&](auto f) {
    for (I l = 0; l < lines; ++l)
      for (I k = a.row_start[l] - a.base; k < a.row_end[l] - a.base; ++k)
        f(l, a.col_index[k] - a.base, a.values + k * bb);
  });
  if (r && by_columns) r->rows = a.rows, r->cols = a.cols;
  return adopt(h, h->format, r, B);
}

//! op(A) as CSR, owning its arrays, with A's index base; each row holds its
//! entries in the order a walk by rows (CSC: by columns) meets them.
template <class T, class I>
SparseRecord<T, I> *csr_of(const SparseHandle<T, I> *h, int32_t op) {
  using P = Precision<T>;
  const SparseRecord<T, I> &a = *h->primary;
  const I b = a.block;
  const bool n = op == ORB_SPARSE_OP_N, conj = op == ORB_SPARSE_OP_C;
  return build_by_rows<T, I>(n ? a.rows * b : a.cols * b, n ? a.cols * b : a.rows * b, a.base, 1, 0, [&](auto f) {
    each_stored(h, [&](I i, I j, const T &v) {
      const T value = conj ? P::conj(v) : v;
      if (n)
        f(i, j, &value);
      else
        f(j, i, &value);
    });
  });
}

//! The BSR matrix of blocks b x b of a CSR record (rows and columns multiples
//! of b): every block holding a stored entry, in the order the rows first
//! meet them, the entries the CSR matrix does not store zero and those it
//! stores twice summed.
template <class T, class I>
SparseRecord<T, I> *bsr_of(const SparseRecord<T, I> &c, I b, int32_t layout) {
  const I block_rows = c.rows / b, block_cols = c.cols / b;
  I *at = allocate<I>(block_cols > 0 ? block_cols : 1);
  if (!at) return nullptr;
  // at[bj]: the place of block (bi, bj) among the entries, or -1; two walks,
  // one counting the blocks and one placing them.
  const auto walk = [&](auto place) {
    for (I bj = 0; bj < block_cols; ++bj) at[bj] = -1;
    I placed = 0;
    for (I bi = 0; bi < block_rows; ++bi) {
      const I first = placed;
      for (I i = bi * b; i < (bi + 1) * b; ++i)
        for (I k = c.row_start[i] - c.base; k < c.row_end[i] - c.base; ++k) {
          const I j = c.col_index[k] - c.base;
          I &slot = at[j / b];
          if (slot < first) slot = placed++;
          place(bi, slot, i - bi * b, j, c.values[k]);
        }
    }
    return placed;
  };
  const I blocks = walk([](I, I, I, I, const T &) {});
  SparseRecord<T, I> *r = new_owned_record<T, I>(block_rows, block_cols, c.base, static_cast<int32_t>(b), layout,
                                                 blocks);
  if (r) {
    const int64_t bb = int64_t{b} * b;
    for (int64_t e = 0; e < blocks * bb; ++e) r->values[e] = Precision<T>::zero();
    r->row_start[0] = c.base;
    I row = 0;
    walk([&](I bi, I slot, I a, I j, const T &v) {
      while (row < bi) r->row_start[++row] = slot + c.base;
      r->col_index[slot] = j / b + c.base;
      const I col = j % b;
      T &to = r->values[slot * bb + (layout == ORB_SPARSE_BLOCK_COL_MAJOR ? col * b + a : a * b + col)];
      to = Precision<T>::add(to, v);  // an entry stored twice counts twice, as in the products
    });
    while (row < block_rows) r->row_start[++row] = blocks + c.base;
  }
  orb_serv_free(at);
  return r;
}

//! A new handle of op(A) as CSR (format 1) or as BSR of b x b blocks laid
//! out by `layout` (format 3), owning its arrays.
template <class T, class I>
int32_t convert(const SparseHandle<T, I> *h, int32_t op, int32_t format, I b, int32_t layout,
                orb_sparse_matrix *B) {
  if (op < ORB_SPARSE_OP_N || op > ORB_SPARSE_OP_C || (format != kFormatCsr && format != kFormatBsr))
    return ORB_SPARSE_BAD_VALUE;
  const SparseRecord<T, I> &a = *h->primary;
  const I rows = (op == ORB_SPARSE_OP_N ? a.rows : a.cols) * a.block;
  const I cols = (op == ORB_SPARSE_OP_N ? a.cols : a.rows) * a.block;
  if (format == kFormatBsr &&
      (b < 1 || b > (I{1} << 15) || rows % b != 0 || cols % b != 0 ||
       (layout != ORB_SPARSE_BLOCK_ROW_MAJOR && layout != ORB_SPARSE_BLOCK_COL_MAJOR)))
    return ORB_SPARSE_BAD_VALUE;
  SparseRecord<T, I> *c = csr_of(h, op);
  if (format == kFormatCsr || !c) return adopt(h, kFormatCsr, c, B);
  SparseRecord<T, I> *r = bsr_of(*c, b, layout);
  free_record(c);
  return adopt(h, kFormatBsr, r, B);
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
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_copy_##w(orb_sparse_matrix A, orb_sparse_matrix *B) {                        \
    return A && B ? copy(handle_cast<T, I>(A), B) : ORB_SPARSE_NULL_POINTER;                                      \
  }                                                                                                               \
  extern "C" int32_t orb_sparse_##p##_convert_##w(orb_sparse_matrix A, int32_t op, int32_t format, I block,        \
                                                 int32_t layout, orb_sparse_matrix *B) {                          \
    return A && B ? convert(handle_cast<T, I>(A), op, format, block, layout, B) : ORB_SPARSE_NULL_POINTER;         \
  }

ORB_SPARSE_EACH(ORB_SPARSE_HANDLE_ENTRIES)
