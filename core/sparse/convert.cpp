// The sliced layouts the analysis may convert a record to, and their product
// kernels over a range of slices (the threading layer runs the slices in
// parallel).  Both cut the rows into slices of 8, one 512-bit vector of
// doubles, so that a slice's 8 rows are computed side by side:
//
//   ESB  slice s pads its rows to its longest, L_s positions, and stores
//        position by position the 8 rows' column and value (a row shorter
//        than L_s is padded with value 0 at column 0).  Regular rows (a
//        stencil) waste nothing; one long row in a slice pads its 7 peers.
//   DIA  slice s stores, for each diagonal its rows touch (offset = column -
//        row), the 8 values of its rows on it (0 where a row has none).
//        Banded matrices store no index per entry at all.
//
// Example, 10 x 10, rows 0..7 tridiagonal and rows 8, 9 with one entry each:
// ESB: 2 slices, L = 3 and 1, 4 positions (32 stored values for 26 entries);
// DIA: slice 0 touches offsets -1, 0, 1 (3 segments), slice 1 offset 0 or
// whichever its entries have.
//
// A conversion that cannot get its memory frees what it took and answers 2;
// the analysis then keeps CSR.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/copies.hpp"

namespace orb::sparse {
namespace {

template <class T, class I>
void free_sliced(SlicedData<T, I> *d) {
  if (!d) return;
  orb_serv_free(d->start);
  orb_serv_free(d->index);
  orb_serv_free(d->values);
  orb_serv_free(d);
}

//! The data of `slices` slices with `units` positions or segments: indices
//! per unit times `index_per_unit`, 8 values per unit, all zero.
template <class T, class I>
SlicedData<T, I> *new_sliced(I rows, I cols, I slices, I units, I index_per_unit) {
  auto *d = zeroed<SlicedData<T, I>>();
  if (!d) return nullptr;
  *d = {rows, cols, slices, allocate<I>(slices + 1), allocate<I>(units * index_per_unit + 1),
        allocate<T>(units * kSliceRows + 1)};
  if (!d->start || !d->index || !d->values) {
    free_sliced(d);
    return nullptr;
  }
  for (I k = 0; k < units * index_per_unit; ++k) d->index[k] = 0;
  for (I k = 0; k < units * kSliceRows; ++k) d->values[k] = Precision<T>::zero();
  return d;
}

//! Runs build(record, slices) into the record's `slot` (esb or dia) of op's
//! record (primary for 10, transposed otherwise), once.
template <class T, class I, class Build>
int32_t convert(SparseHandle<T, I> *h, int32_t op, void *OptimizationRecord::*slot, Build build) {
  SparseRecord<T, I> *r = !h ? nullptr : op == ORB_SPARSE_OP_N ? h->primary : h->transposed;
  if (!r || !r->opt || r->block != 1) return ORB_SPARSE_INTERNAL;
  if (r->opt->*slot) return ORB_SPARSE_OK;
  SlicedData<T, I> *d = nullptr;
  const int32_t status = build(r, (r->rows + kSliceRows - 1) / kSliceRows, &d);
  if (status == ORB_SPARSE_OK) r->opt->*slot = d;
  return status;
}

template <class T, class I>
int32_t build_esb(const SparseRecord<T, I> *r, I slices, SlicedData<T, I> **out) {
  Scratch<I> longest(slices + 1, 64, Allocator::plain);
  if (!longest) return ORB_SPARSE_NO_MEMORY;
  I positions = 0;
  for (I s = 0; s < slices; ++s) {
    I most = 0;
    for (I i = s * kSliceRows; i < r->rows && i < (s + 1) * kSliceRows; ++i)
      if (r->row_end[i] - r->row_start[i] > most) most = r->row_end[i] - r->row_start[i];
    longest.get()[s] = most;
    positions += most;
  }
  SlicedData<T, I> *d = new_sliced<T, I>(r->rows, r->cols, slices, positions, kSliceRows);
  if (!d) return ORB_SPARSE_NO_MEMORY;
  d->start[0] = 0;
  for (I s = 0; s < slices; ++s) {
    d->start[s + 1] = d->start[s] + longest.get()[s];
    for (I i = s * kSliceRows; i < r->rows && i < (s + 1) * kSliceRows; ++i) {
      I at = d->start[s] * kSliceRows + (i - s * kSliceRows);
      for (I k = r->row_start[i] - r->base; k < r->row_end[i] - r->base; ++k, at += kSliceRows) {
        d->index[at] = r->col_index[k] - r->base;
        d->values[at] = r->values[k];
      }
    }
  }
  *out = d;
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t build_dia(const SparseRecord<T, I> *r, I slices, SlicedData<T, I> **out) {
  // seen[offset + rows]: 1 + the last slice that touched the diagonal, and
  // where[...] its segment in that slice.
  Scratch<I> seen(r->rows + r->cols + 1, 64, Allocator::plain), where(r->rows + r->cols + 1, 64, Allocator::plain);
  if (!seen || !where) return ORB_SPARSE_NO_MEMORY;
  for (I k = 0; k <= r->rows + r->cols; ++k) seen.get()[k] = 0;
  const auto each_entry = [&](I s, auto f) {
    for (I i = s * kSliceRows; i < r->rows && i < (s + 1) * kSliceRows; ++i)
      for (I k = r->row_start[i] - r->base; k < r->row_end[i] - r->base; ++k)
        f(i, r->col_index[k] - r->base - i + r->rows, k);
  };
  I segments = 0;
  for (I s = 0; s < slices; ++s)
    each_entry(s, [&](I, I m, I) {
      if (seen.get()[m] != s + 1) seen.get()[m] = s + 1, ++segments;
    });
  SlicedData<T, I> *d = new_sliced<T, I>(r->rows, r->cols, slices, segments, 1);
  if (!d) return ORB_SPARSE_NO_MEMORY;
  for (I k = 0; k <= r->rows + r->cols; ++k) seen.get()[k] = 0;
  d->start[0] = 0;
  for (I s = 0; s < slices; ++s) {
    I next = d->start[s];
    each_entry(s, [&](I i, I m, I k) {
      if (seen.get()[m] != s + 1) {
        seen.get()[m] = s + 1;
        where.get()[m] = next;
        d->index[next++] = m - r->rows;
      }
      T &v = d->values[where.get()[m] * kSliceRows + (i - s * kSliceRows)];
      v = Precision<T>::add(v, r->values[k]);
    });
    d->start[s + 1] = next;
  }
  *out = d;
  return ORB_SPARSE_OK;
}

//! y of the slices [first, last): alpha times the 8 sums of each slice, plus
//! beta y (not read for beta exactly 0).
template <class T, class I, bool Esb>
void sliced_product(const void *data, I first, I last, T alpha, const T *x, T beta, T *y) {
  using P = Precision<T>;
  const auto *d = static_cast<const SlicedData<T, I> *>(data);
  const bool beta_zero = P::is_zero(beta);
  for (I s = first; s < last; ++s) {
    T sum[kSliceRows];
    for (int r = 0; r < kSliceRows; ++r) sum[r] = P::zero();
    const I row0 = s * kSliceRows;
    for (I u = d->start[s]; u < d->start[s + 1]; ++u) {
      const T *v = d->values + u * kSliceRows;
      if (Esb) {
        const I *col = d->index + u * kSliceRows;
        for (int r = 0; r < kSliceRows; ++r) sum[r] = P::add(sum[r], P::mul(v[r], x[col[r]]));
      } else {
        const I offset = d->index[u];
        for (int r = 0; r < kSliceRows; ++r) {
          const I j = row0 + r + offset;
          if (j >= 0 && j < d->cols && row0 + r < d->rows) sum[r] = P::add(sum[r], P::mul(v[r], x[j]));
        }
      }
    }
    for (int r = 0; r < kSliceRows && row0 + r < d->rows; ++r) {
      T &out = y[row0 + r];
      out = beta_zero ? P::mul(alpha, sum[r]) : P::add(P::mul(alpha, sum[r]), P::mul(beta, out));
    }
  }
}

}  // namespace

template <class T, class I>
void free_sliced_copies(OptimizationRecord *o) {
  free_sliced(static_cast<SlicedData<T, I> *>(o->esb));
  free_sliced(static_cast<SlicedData<T, I> *>(o->dia));
  o->esb = o->dia = nullptr;
}
template void free_sliced_copies<double, int32_t>(OptimizationRecord *);
template void free_sliced_copies<double, int64_t>(OptimizationRecord *);

}  // namespace orb::sparse

using namespace orb::sparse;

#define ORB_SPARSE_CONVERT_ENTRIES(p, T, I, w)                                                                     \
  extern "C" int32_t orb_sparse_##p##_convert_esb_##w(orb_sparse_matrix A, int32_t op) {                           \
    return convert(handle_cast<T, I>(A), op, &OptimizationRecord::esb, build_esb<T, I>);                                                                  \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_convert_dia_##w(orb_sparse_matrix A, int32_t op) {                           \
    return convert(handle_cast<T, I>(A), op, &OptimizationRecord::dia, build_dia<T, I>);                                                                  \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_esb_mv_ker_##w(const void *esb, I first, I last, T alpha, const T *x, T beta,  \
                                                  T *y) {                                                          \
    sliced_product<T, I, true>(esb, first, last, alpha, x, beta, y);                                               \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_dia_mv_ker_##w(const void *dia, I first, I last, T alpha, const T *x, T beta,  \
                                                  T *y) {                                                          \
    sliced_product<T, I, false>(dia, first, last, alpha, x, beta, y);                                              \
  }

ORB_SPARSE_EACH(ORB_SPARSE_CONVERT_ENTRIES)
