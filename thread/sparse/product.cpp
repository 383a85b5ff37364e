// The threaded general products of a CSR or BSR matrix with a vector,
// y := alpha A x + beta y, and the transposed CSR product, in s, d, c, z with
// 32- and 64-bit indices.
//
// The general products cut the rows with the task runtime's automatic
// partitioner, grain 1, in a task group context of their own: the runtime's
// splitting follows the idle threads, which balances rows of uneven length
// better than any fixed cut the analysis could store (the partition block the
// caller passes is kept for the solves and not read here).  Each sub-range is
// one kernel call with the row-start array, the values and the column indices
// advanced to its first row, y advanced to it and x shifted back by the index
// base.  Pieces write disjoint ranges of y; no lock is taken.  beta exactly
// zero (either sign) picks, per piece, the kernel that never reads y.
//
// The transposed product scatters into every entry of y from every row, so it
// runs as one task: one call of the transposed kernel into a buffer of the
// column count, then the merge of that one part into y.
#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"

namespace orb::thr {
namespace {

using sparse::SparseKernels;

constexpr rt::LoopShape kRowLoop{1, rt::Split::automatic, rt::Binding::own, nullptr};

//! Body of the general CSR (block 0) or BSR product over a sub-range of
//! rows or block rows.
template <class T, class I>
struct orb_sparse_rowsmv_worker {
  using K = SparseKernels<T, I>;
  const I *row_start, *col_index;
  const T *values, *x;
  T *y;
  I base, block;
  int32_t layout;
  T alpha, beta;
  bool beta_zero;

  void operator()(int64_t first, int64_t last) const {
    const I at = row_start[first] - base;
    const I count = static_cast<I>(last - first);
    const I *rs = row_start + first;
    if (block == 0) {
      if (beta_zero)
        K::rows(count, alpha, values + at, col_index + at, rs, x - base, y + first);
      else
        K::rows_beta(count, alpha, values + at, col_index + at, rs, x - base, beta, y + first);
      return;
    }
    const int64_t bb = int64_t{block} * block;
    const T *xs = x - int64_t{base} * block;
    T *ys = y + first * block;
    if (beta_zero)
      K::block_rows(count, block, layout, alpha, values + at * bb, col_index + at, rs, xs, ys);
    else
      K::block_rows_beta(count, block, layout, alpha, values + at * bb, col_index + at, rs, xs, beta, ys);
  }
};

template <class T, class I>
int32_t csr_product(I rows, I, const I *row_start, const I *col_index, const T *values, const T *x, T *y,
                    const int32_t *, I base, T alpha, T beta) {
  if (rows <= 0) return ORB_SPARSE_OK;
  const orb_sparse_rowsmv_worker<T, I> body{row_start, col_index, values, x, y, base, 0, 0, alpha, beta,
                                            Precision<T>::is_zero(beta)};
  rt::run_loop(rows, kRowLoop, body);
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t bsr_product(I rows, I, I block, int32_t layout, const I *row_start, const I *col_index, const T *values,
                    const T *x, T *y, const int32_t *, I base, T alpha, T beta) {
  if (rows <= 0) return ORB_SPARSE_OK;
  const orb_sparse_rowsmv_worker<T, I> body{row_start, col_index, values, x, y, base, block, layout, alpha, beta,
                                            Precision<T>::is_zero(beta)};
  rt::run_loop(rows, kRowLoop, body);
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t csr_transposed_product(I rows, I cols, const I *row_start, const I *col_index, const T *values, const T *x,
                               T *y, const int32_t *, I base, T alpha, T beta) {
  using K = SparseKernels<T, I>;
  if (cols <= 0) return ORB_SPARSE_OK;
  if (rows <= 0) {  // A^T x is zero: y := beta y
    K::merge(0, cols, cols, nullptr, beta, y);
    return ORB_SPARSE_OK;
  }
  Scratch<T> partial(cols, 64, Allocator::plain);
  if (!partial) return ORB_SPARSE_NO_MEMORY;
  const I at = row_start[0] - base;
  K::transposed(rows, cols, base, alpha, values + at, col_index + at, row_start, x, partial.get());
  K::merge(1, cols, cols, partial.get(), beta, y);
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::thr

using namespace orb::thr;

#define ORB_SPARSE_PRODUCT_ENTRIES(p, T, I, w)                                                                     \
  extern "C" int32_t orb_sparse_##p##_xcsr_ng_n_mv_##w(I rows, I cols, const I *rs, const I *ci, const T *v,       \
                                                       const T *x, T *y, const int32_t *part, I base, T alpha,    \
                                                       T beta) {                                                   \
    return csr_product<T, I>(rows, cols, rs, ci, v, x, y, part, base, alpha, beta);                                \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_xcsr_ng_t_mv_##w(I rows, I cols, const I *rs, const I *ci, const T *v,       \
                                                       const T *x, T *y, const int32_t *part, I base, T alpha,    \
                                                       T beta) {                                                   \
    return csr_transposed_product<T, I>(rows, cols, rs, ci, v, x, y, part, base, alpha, beta);                     \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_xbsr_ng_n_mv_##w(I rows, I cols, I block, int32_t layout, const I *rs,       \
                                                       const I *ci, const T *v, const T *x, T *y,                  \
                                                       const int32_t *part, I base, T alpha, T beta) {             \
    return bsr_product<T, I>(rows, cols, block, layout, rs, ci, v, x, y, part, base, alpha, beta);                 \
  }

ORB_SPARSE_EACH(ORB_SPARSE_PRODUCT_ENTRIES)
