// The product of a sparse matrix handle with several right-hand sides,
// Y := alpha op(A) X + beta Y, in s, d, c, z with 32- and 64-bit indices; X
// and Y dense, row-major (101) or column-major (102), with leading dimensions
// ldx and ldy.
//
// Checked before anything is written: null handle, X or Y (1, unless there are
// no right-hand sides); the operation and descriptor, the layout, a negative
// count of right-hand sides, a leading dimension under the length of a row
// (row-major: the count of right-hand sides) or of a column (column-major:
// op(A)'s column count for X, row count for Y), at least 1 (3).
//
// The general untransposed product of a CSR matrix whose rows follow one
// another runs in one parallel loop over (block of 16 right-hand sides, row)
// pairs, numbered block by block (partition/pairs.hpp): the automatic
// partitioner's sub-ranges are cut at block boundaries into one core kernel
// call per (block, row range), so that both many rows and many right-hand
// sides give work to every thread.  With 40 right-hand sides and 1000 rows
// the loop runs over 3000 pairs; a sub-range [900, 2100) is rows 900-999 of
// block 0, all rows of block 1 and rows 0-99 of block 2 (right-hand sides
// 32-39).
//
// Every other case is the single-vector product (with its own threading and
// analysed hints) once per right-hand side, in order; a row-major right-hand
// side is gathered into a vector first and its result scattered back, in
// scratch taken before the first product (2 without it, nothing written).
// A single-vector product that needs scratch of its own (the transposed CSR
// one) and cannot get it stops the loop with 2, the right-hand sides before
// it done.
#include <orb/orb_service.h>

#include "partition/pairs.hpp"
#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"
#include "sparse_rules.hpp"

namespace orb::thr {
namespace {

using sparse::SparseHandle;
using sparse::SparseKernels;
using sparse::SparseRecord;

constexpr int64_t kRhsBlock = 16;
constexpr rt::LoopShape kPairLoop{1, rt::Split::automatic, rt::Binding::own, nullptr};

//! Body over (block, row) pairs, pair = block * rows + row.
template <class T, class I>
struct orb_sparse_rowsmm_worker {
  const SparseRecord<T, I> *r;
  I columns;
  int32_t layout;
  const T *x;
  I ldx;
  T *y;
  I ldy;
  T alpha, beta;

  void operator()(int64_t begin, int64_t end) const {
    const int64_t rows = r->rows;
    const bool row_major = layout == ORB_SPARSE_BLOCK_ROW_MAJOR;
    const int64_t xr = row_major ? ldx : 1, xc = row_major ? 1 : ldx;
    const int64_t yr = row_major ? ldy : 1, yc = row_major ? 1 : ldy;
    for (int64_t at = begin; at < end;) {
      const auto [block, first, last] = pair_piece(at, end, rows);
      const int64_t c0 = block * kRhsBlock;
      const I width = static_cast<I>(columns - c0 < kRhsBlock ? columns - c0 : kRhsBlock);
      const I k0 = r->row_start[first] - r->base;
      SparseKernels<T, I>::rows_mm(static_cast<I>(last - first), width, layout, alpha, r->values + k0,
                                   r->col_index + k0, r->row_start + first, x - r->base * xr + c0 * xc, ldx, beta,
                                   y + first * yr + c0 * yc, ldy);
      at = block * rows + last;
    }
  }
};

template <class T, class I>
int32_t mm(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, int32_t layout, const T *x, I columns,
           I ldx, T beta, T *y, I ldy) {
  using K = SparseKernels<T, I>;
  if (!A || (columns > 0 && (!x || !y))) return ORB_SPARSE_NULL_POINTER;
  if (const int32_t s = sparse::descriptor_status(op, d)) return s;
  const SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  const SparseRecord<T, I> *r = h->primary;
  if (!r) return ORB_SPARSE_INTERNAL;
  const bool row_major = layout == ORB_SPARSE_BLOCK_ROW_MAJOR;
  const I rows = r->rows * r->block, cols = r->cols * r->block;
  const I lenx = op == ORB_SPARSE_OP_N ? cols : rows, leny = op == ORB_SPARSE_OP_N ? rows : cols;
  const auto short_ld = [&](I ld, I length) { return ld < 1 || ld < (row_major ? columns : length); };
  if ((!row_major && layout != ORB_SPARSE_BLOCK_COL_MAJOR) || columns < 0 || short_ld(ldx, lenx) ||
      short_ld(ldy, leny))
    return ORB_SPARSE_BAD_VALUE;
  if (columns == 0 || leny == 0) return ORB_SPARSE_OK;

  if (h->format == sparse::kFormatCsr && d.type == ORB_SPARSE_GENERAL && op == ORB_SPARSE_OP_N && r->eligible) {
    const orb_sparse_rowsmm_worker<T, I> body{r, columns, layout, x, ldx, y, ldy, alpha, beta};
    rt::run_loop((columns + kRhsBlock - 1) / kRhsBlock * int64_t{rows}, kPairLoop, body);
    return ORB_SPARSE_OK;
  }
  if (!row_major) {
    for (I c = 0; c < columns; ++c)
      if (const int32_t s = K::mv(op, alpha, A, d, x + int64_t{c} * ldx, beta, y + int64_t{c} * ldy)) return s;
    return ORB_SPARSE_OK;
  }
  Scratch<T> xs(lenx > 0 ? lenx : 1, 64, Allocator::plain), ys(leny, 64, Allocator::plain);
  if (!xs || !ys) return ORB_SPARSE_NO_MEMORY;
  const bool read_y = !Precision<T>::is_zero(beta);
  for (I c = 0; c < columns; ++c) {
    for (I i = 0; i < lenx; ++i) xs.get()[i] = x[int64_t{i} * ldx + c];
    if (read_y)
      for (I i = 0; i < leny; ++i) ys.get()[i] = y[int64_t{i} * ldy + c];
    if (const int32_t s = K::mv(op, alpha, A, d, xs.get(), beta, ys.get())) return s;
    for (I i = 0; i < leny; ++i) y[int64_t{i} * ldy + c] = ys.get()[i];
  }
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPARSE_MM_ENTRIES(p, T, I, w)                                                                        \
  extern "C" int32_t orb_sparse_##p##_mm_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,       \
                                             int32_t layout, const T *x, I columns, I ldx, T beta, T *y,         \
                                             I ldy) {                                                            \
    return orb::thr::mm<T, I>(op, alpha, A, d, layout, x, columns, ldx, beta, y, ldy);                           \
  }

ORB_SPARSE_EACH(ORB_SPARSE_MM_ENTRIES)
