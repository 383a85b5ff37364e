// The symmetric Gauss-Seidel data of a square CSR record (prepare_symgs_
// optimal_data) and the block kernels that sweep over it.
//
// Blocking rule.  Rows are cut into blocks of B rows, B a multiple of the
// slice width W chosen so that there are about 4096 blocks:
//     B = W * max(1, ceil(n / (4096 W))),
// so every block but the last is whole slices and block b's first slice is
// block_row[b] / W.  The strictly lower entries of a row in block b reach
// back into earlier blocks: those are the blocks b waits for in the forward
// sweep (its lower predecessors); the strictly upper entries reach the
// blocks b waits for in the backward sweep.  Entries inside a block are
// handled by the kernel, row after row.  The level of a block is 0 without
// predecessors, else one more than the highest level among them; the task
// order lists the blocks by level, then by block number (the backward order
// by backward level, then from the last block), which is a topological
// order.  The graph is wide enough for P parts when the blocks outnumber the
// levels P times: parts = clamp(blocks / levels, 1, parts asked for); part p
// owns positions [p * blocks / parts, (p + 1) * blocks / parts) of the order.
//
// Worked example: the 2-D Laplacian of a 16 x 16 grid (n = 256, 5-point
// stencil, rows in grid order), W = 4: B = 4, 64 blocks, 4 to a grid line.
// Block (l, s) = 4l + s (line l, segment s) holds the rows 16l + 4s .. +3.
// Its first row's left neighbour is in block (l, s - 1) unless s = 0, and
// the upper neighbours of its rows are block (l - 1, s): so block (l, s)
// waits for (l, s - 1) and (l - 1, s), and its level is l + s.
//     level:   0    1       2          3 ...      18
//     blocks:  0    1 4     2 5 8      3 6 9 12   63
// 19 levels for 64 blocks: 64 / 19 = 3 parts at most; asked for 2, the
// order 0 1 4 2 5 8 3 6 9 12 ... splits at position 32.  Backward, block
// (l, s) waits for (l, s + 1) and (l + 1, s): block 63 comes first.
//
// The split matrices keep each row's strictly lower and strictly upper
// entries in their stored order, rows in matrix order: a kernel computes
// row i as alpha x_i minus each entry times its solved neighbour, in that
// order, divided by the diagonal, so any schedule that respects the
// dependencies gives the same bits as the plain row-by-row sweep.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/solve.hpp"

#include <algorithm>

namespace orb::sparse {

template <class T, class I>
void destroy_symgs_optimal_data(void *data) {
  auto *g = static_cast<SymgsData<T, I> *>(data);
  if (!g) return;
  for (void *p : {static_cast<void *>(g->block_row), static_cast<void *>(g->lower_pred),
                  static_cast<void *>(g->lower_succ_start), static_cast<void *>(g->lower_succ),
                  static_cast<void *>(g->upper_pred), static_cast<void *>(g->upper_succ_start),
                  static_cast<void *>(g->upper_succ), static_cast<void *>(g->part_bound),
                  static_cast<void *>(g->order), static_cast<void *>(g->back_order),
                  static_cast<void *>(g->slice_start), static_cast<void *>(g->lower.ptr),
                  static_cast<void *>(g->lower.col), static_cast<void *>(g->lower.val),
                  static_cast<void *>(g->upper.ptr), static_cast<void *>(g->upper.col),
                  static_cast<void *>(g->upper.val)})
    orb_serv_free(p);
  orb_serv_free(g);
}
template void destroy_symgs_optimal_data<double, int32_t>(void *);
template void destroy_symgs_optimal_data<double, int64_t>(void *);

namespace {

constexpr int64_t kTargetBlocks = 4096;

template <class T, class I>
void *create_symgs_optimal_data(int32_t width, int32_t parts) {
  auto *g = zeroed<SymgsData<T, I>>(4096);
  if (!g) return nullptr;
  g->width = width > 0 ? width : 4;
  g->parts = parts > 0 ? parts : 1;
  return g;
}

//! Fills one direction's predecessor counts and successor lists: block b
//! waits for the distinct other blocks its split rows reach.
template <class T, class I>
bool dependencies(const SymgsData<T, I> &g, const SplitMatrix<T, I> &m, I B, int32_t *pred, int32_t **succ_start,
                  int32_t **succ) {
  const int32_t nb = g.blocks;
  Scratch<int32_t> stamp(nb, 64, Allocator::plain);
  *succ_start = allocate<int32_t>(int64_t{nb} + 1);
  if ((nb > 0 && !stamp) || !*succ_start) return false;
  int32_t *start = *succ_start;
  std::fill(start, start + nb + 1, 0);
  std::fill(stamp.get(), stamp.get() + nb, -1);
  std::fill(pred, pred + nb, 0);
  // Each pair (waiting block b, block c it waits for) once.
  const auto each_pair = [&](auto f) {
    for (int32_t b = 0; b < nb; ++b)
      for (I i = g.block_row[b]; i < g.block_row[b + 1]; ++i)
        for (I k = m.ptr[i]; k < m.ptr[i + 1]; ++k) {
          const int32_t c = static_cast<int32_t>(m.col[k] / B);
          if (c == b || stamp.get()[c] == b) continue;
          stamp.get()[c] = b;
          f(b, c);
        }
  };
  int64_t pairs = 0;
  each_pair([&](int32_t b, int32_t c) { ++pred[b], ++start[c + 1], ++pairs; });
  for (int32_t c = 0; c < nb; ++c) start[c + 1] += start[c];
  *succ = allocate<int32_t>(pairs > 0 ? pairs : 1);
  if (!*succ) return false;
  std::fill(stamp.get(), stamp.get() + nb, -1);
  Scratch<int32_t> next(nb > 0 ? nb : 1, 64, Allocator::plain);
  if (!next) return false;
  std::copy(start, start + nb, next.get());
  each_pair([&](int32_t b, int32_t c) { (*succ)[next.get()[c]++] = b; });
  return true;
}

//! Levels of one direction (forward: blocks ascending, successors later)
//! and the order by level, then by block in the direction's own sense.
//! Returns the level count, or -1 without memory.
int32_t order_by_level(int32_t nb, bool forward, const int32_t *succ_start, const int32_t *succ, int32_t *order) {
  Scratch<int32_t> level(nb > 0 ? nb : 1, 64, Allocator::plain);
  if (!level) return -1;
  std::fill(level.get(), level.get() + nb, 0);
  int32_t levels = 0;
  for (int32_t step = 0; step < nb; ++step) {
    const int32_t b = forward ? step : nb - 1 - step;
    const int32_t l = level.get()[b];
    levels = std::max(levels, l + 1);
    for (int32_t k = succ_start[b]; k < succ_start[b + 1]; ++k)
      level.get()[succ[k]] = std::max(level.get()[succ[k]], l + 1);
  }
  Scratch<int32_t> first(int64_t{levels} + 1, 64, Allocator::plain);
  if (!first) return -1;
  std::fill(first.get(), first.get() + levels + 1, 0);
  for (int32_t b = 0; b < nb; ++b) ++first.get()[level.get()[b] + 1];
  for (int32_t l = 0; l < levels; ++l) first.get()[l + 1] += first.get()[l];
  for (int32_t step = 0; step < nb; ++step) {
    const int32_t b = forward ? step : nb - 1 - step;
    order[first.get()[level.get()[b]]++] = b;
  }
  return levels;
}

//! The strictly lower (lower) or upper part of the record, rows from 0.
template <class T, class I>
bool split(const SparseRecord<T, I> &r, bool lower, SplitMatrix<T, I> &m) {
  const I n = r.rows;
  m.ptr = allocate<I>(int64_t{n} + 1);
  if (!m.ptr) return false;
  m.ptr[0] = 0;
  for (I i = 0; i < n; ++i) {
    I count = 0;
    for (I k = r.row_start[i] - r.base; k < r.row_end[i] - r.base; ++k) {
      const I j = r.col_index[k] - r.base;
      count += lower ? j < i : j > i;
    }
    m.ptr[i + 1] = m.ptr[i] + count;
  }
  m.col = allocate<I>(m.ptr[n] > 0 ? m.ptr[n] : 1);
  m.val = allocate<T>(m.ptr[n] > 0 ? m.ptr[n] : 1);
  if (!m.col || !m.val) return false;
  for (I i = 0; i < n; ++i) {
    I at = m.ptr[i];
    for (I k = r.row_start[i] - r.base; k < r.row_end[i] - r.base; ++k) {
      const I j = r.col_index[k] - r.base;
      if (lower ? j < i : j > i) m.col[at] = j, m.val[at++] = r.values[k];
    }
  }
  return true;
}

template <class T, class I>
int32_t prepare_symgs_optimal_data(const T *, const void *record, void *data) {
  const auto *r = static_cast<const SparseRecord<T, I> *>(record);
  auto *g = static_cast<SymgsData<T, I> *>(data);
  if (!r || !g || r->rows != r->cols || r->block != 1) return ORB_SPARSE_INTERNAL;
  const I n = r->rows, W = g->width;
  const I B = W * std::max<I>(1, static_cast<I>((int64_t{n} + W * kTargetBlocks - 1) / (W * kTargetBlocks)));
  const int32_t nb = static_cast<int32_t>(n > 0 ? (n + B - 1) / B : 0);
  g->rows = n;
  g->blocks = nb;
  g->block_row = allocate<I>(int64_t{nb} + 1);
  g->lower_pred = allocate<int32_t>(nb > 0 ? nb : 1);
  g->upper_pred = allocate<int32_t>(nb > 0 ? nb : 1);
  g->order = allocate<int32_t>(nb > 0 ? nb : 1);
  g->back_order = allocate<int32_t>(nb > 0 ? nb : 1);
  if (!g->block_row || !g->lower_pred || !g->upper_pred || !g->order || !g->back_order) return ORB_SPARSE_NO_MEMORY;
  for (int32_t b = 0; b <= nb; ++b) g->block_row[b] = std::min<I>(n, static_cast<I>(b) * B);
  if (!split(*r, true, g->lower) || !split(*r, false, g->upper)) return ORB_SPARSE_NO_MEMORY;
  if (!dependencies(*g, g->lower, B, g->lower_pred, &g->lower_succ_start, &g->lower_succ) ||
      !dependencies(*g, g->upper, B, g->upper_pred, &g->upper_succ_start, &g->upper_succ))
    return ORB_SPARSE_NO_MEMORY;
  g->levels = order_by_level(nb, true, g->lower_succ_start, g->lower_succ, g->order);
  g->back_levels = order_by_level(nb, false, g->upper_succ_start, g->upper_succ, g->back_order);
  if (g->levels < 0 || g->back_levels < 0) return ORB_SPARSE_NO_MEMORY;
  const int32_t deepest = std::max({g->levels, g->back_levels, 1});
  g->parts = std::max(1, std::min(g->parts, nb / deepest));
  g->part_bound = allocate<int32_t>(int64_t{g->parts} + 1);
  g->slice_start = allocate<int32_t>(g->parts);
  if (!g->part_bound || !g->slice_start) return ORB_SPARSE_NO_MEMORY;
  for (int32_t p = 0; p <= g->parts; ++p) g->part_bound[p] = static_cast<int32_t>(int64_t{p} * nb / g->parts);
  for (int32_t p = 0; p < g->parts; ++p)
    g->slice_start[p] = g->part_bound[p] < nb ? static_cast<int32_t>(g->block_row[g->order[g->part_bound[p]]] / W) : 0;
  return ORB_SPARSE_OK;
}

//! Rows of one block: s slices of W, the last one of rem rows when rem > 0.
template <class I>
I block_rows(int32_t width, I slices, I rem) {
  return rem > 0 ? (slices - 1) * width + rem : slices * width;
}

template <class T, class I, bool Forward>
void sweep_block(int32_t width, I slices, I rem, I first, const void *splitm, T alpha, const T *x, T *y,
                 const T *diag) {
  using P = Precision<T>;
  const auto &m = *static_cast<const SplitMatrix<T, I> *>(splitm);
  const I count = block_rows(width, slices, rem);
  const bool one = P::is_one(alpha);
  for (I step = 0; step < count; ++step) {
    const I i = Forward ? first + step : first + count - 1 - step;
    T s = one ? x[i] : P::mul(alpha, x[i]);
    for (I k = m.ptr[i]; k < m.ptr[i + 1]; ++k) s = minus_product(s, m.val[k], y[m.col[k]]);
    y[i] = divide(s, diag[i]);
  }
}

template <class T, class I>
void residual(const void *data, I first, I last, int32_t upper, const T *b, const T *x, T *t) {
  const auto *g = static_cast<const SymgsData<T, I> *>(data);
  const SplitMatrix<T, I> &m = upper ? g->upper : g->lower;
  for (I i = first; i < last; ++i) {
    T s = b[i];
    for (I k = m.ptr[i]; k < m.ptr[i + 1]; ++k) s = minus_product(s, m.val[k], x[m.col[k]]);
    t[i] = s;
  }
}

template <class T, class I>
void split_product(const void *data, const T *diag, I first, I last, int32_t which, int32_t accumulate, const T *x,
                   T *y) {
  using P = Precision<T>;
  const auto *g = static_cast<const SymgsData<T, I> *>(data);
  for (I i = first; i < last; ++i) {
    T s = accumulate ? y[i] : P::zero();
    if (which & 1)
      for (I k = g->lower.ptr[i]; k < g->lower.ptr[i + 1]; ++k) s = P::add(s, P::mul(g->lower.val[k], x[g->lower.col[k]]));
    if (which & 2) s = P::add(s, P::mul(diag[i], x[i]));
    if (which & 4)
      for (I k = g->upper.ptr[i]; k < g->upper.ptr[i + 1]; ++k) s = P::add(s, P::mul(g->upper.val[k], x[g->upper.col[k]]));
    y[i] = s;
  }
}

}  // namespace
}  // namespace orb::sparse

using namespace orb::sparse;

#define ORB_SPARSE_SYMGS_ENTRIES(p, T, I, w)                                                                       \
  extern "C" void *orb_sparse_##p##_create_symgs_optimal_data_##w(int32_t width, int32_t parts) {                  \
    return create_symgs_optimal_data<T, I>(width, parts);                                                          \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_prepare_symgs_optimal_data_##w(const T *diag, const void *record,            \
                                                                     void *data) {                                 \
    return prepare_symgs_optimal_data<T, I>(diag, record, data);                                                   \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_destroy_symgs_optimal_data_##w(void *data) {                                    \
    destroy_symgs_optimal_data<T, I>(data);                                                                        \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_sv_fwd_ker_n_##w(int32_t width, I slices, I rem, I first, const void *split,    \
                                                    T alpha, const T *x, T *y, const T *diag) {                    \
    sweep_block<T, I, true>(width, slices, rem, first, split, alpha, x, y, diag);                                  \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_sv_bwd_ker0_##w(int32_t width, I slices, I rem, I first, const void *split,     \
                                                   T alpha, const T *x, T *y, const T *diag) {                     \
    sweep_block<T, I, false>(width, slices, rem, first, split, alpha, x, y, diag);                                 \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_symgs_residual_ker_##w(const void *data, I first, I last, int32_t upper,        \
                                                          const T *b, const T *x, T *t) {                          \
    residual<T, I>(data, first, last, upper, b, x, t);                                                             \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_split_mv_ker_##w(const void *data, const T *diag, I first, I last,              \
                                                    int32_t which, int32_t accumulate, const T *x, T *y) {         \
    split_product<T, I>(data, diag, first, last, which, accumulate, x, y);                                         \
  }

ORB_SPARSE_EACH(ORB_SPARSE_SYMGS_ENTRIES)
