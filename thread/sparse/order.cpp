// Sorting the rows of a handle's matrix by column index, in place in the
// caller's arrays (the columns of a CSC matrix by row index, the block rows
// of a BSR matrix by block column, each block moving whole), in s, d, c, z
// with 32- and 64-bit indices.
//
// Rows are disjoint, so the row range is one parallel loop with the
// automatic partitioner and no lock: each sub-range sorts its rows one by one
// (row_sort.hpp).  A COO matrix has no rows to sort (6).
#include "runtime/loop.hpp"
#include "sparse/row_sort.hpp"
#include "sparse_kernels.hpp"

namespace orb::thr {
namespace {

using sparse::SparseHandle;
using sparse::SparseRecord;

//! Body of the row loop: rows [first, last), their entries between row start
//! and row end (minus the base), the values moved as scalars (block 1) or
//! blocks.
template <class T, class I>
struct orb_sparse_sortrows_worker {
  const I *row_start, *row_end;
  I base;
  I *col_index;
  T *values;
  int64_t block;

  void operator()(int64_t first, int64_t last) const {
    for (int64_t r = first; r < last; ++r) {
      const int64_t at = row_start[r] - base;
      T *v = values ? values + at * block * block : nullptr;
      if (!v)
        orb_spb2_quicksort_csr_row_struct(row_end[r] - row_start[r], col_index + at);
      else if (block == 1)
        orb_spb2_quicksort_csr_row(row_end[r] - row_start[r], col_index + at, v);
      else
        orb_spb2_quicksort_bsr_row(row_end[r] - row_start[r], block, col_index + at, v);
    }
  }
};

template <class T, class I>
int32_t order(SparseHandle<T, I> *h) {
  if (!h) return ORB_SPARSE_NULL_POINTER;
  if (h->format == sparse::kFormatCoo) return ORB_SPARSE_UNSUPPORTED;
  const SparseRecord<T, I> *r = h->primary;
  if (!r) return ORB_SPARSE_INTERNAL;
  const I lines = h->format == sparse::kFormatCsc ? r->cols : r->rows;
  const orb_sparse_sortrows_worker<T, I> body{r->row_start, r->row_end, static_cast<I>(r->base), r->col_index,
                                              r->values, r->block};
  rt::run_loop(lines, {1, rt::Split::automatic, rt::Binding::own, nullptr}, body);
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPARSE_ORDER_ENTRY(p, T, I, w)                                  \
  extern "C" int32_t orb_sparse_##p##_order_##w(orb_sparse_matrix A) {      \
    return orb::thr::order(orb::sparse::handle_cast<T, I>(A));              \
  }

ORB_SPARSE_EACH(ORB_SPARSE_ORDER_ENTRY)
