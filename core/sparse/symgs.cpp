// The symmetric Gauss-Seidel data of a square CSR record (prepare_symgs_
// optimal_data) and the block kernels that sweep over it.
//
// Blocking rule, per direction.  The level of a row is 0 when it reads no
// other row of the sweep (forward: its strictly lower entries; backward:
// its strictly upper ones), else one more than the highest level among the
// rows it reads.  Rows of one level do not read one another, so they may
// run in any order and at once.  Each level's rows (ascending forward,
// descending backward) are cut into blocks of at most B rows, B a multiple
// of the slice width W chosen so that there are about 4096 blocks,
//     B = W * max(1, ceil(n / (4096 W))),
// and blocks are numbered level by level, which makes block order a
// topological order.  Block b waits for the distinct blocks holding the
// rows its rows read.  The sweeps can keep P parts busy when the blocks
// outnumber the levels P times: parts = clamp(min over the two directions
// of blocks / levels, 1, parts asked for).  One part sweeps the positions
// in order on the calling thread.
//
// Worked example: the 2-D Laplacian of a 16 x 16 grid (n = 256, 5-point
// stencil, rows in grid order), W = 4, so B = 4.  Row (r, c) reads (r, c - 1)
// and (r - 1, c) forward: its level is r + c, 31 levels, level l holding
// min(l + 1, 31 - l) rows of one anti-diagonal:
//     level:   0    1      2        3          4          ...  15               30
//     rows:    0    1 16   2 17 32  3 18 33 48  4 19 34 49 64  15 30 .. 240 (16) 255
//     blocks:  0    1      2        3          4  5       ...  4 blocks          1
// Level sizes 1..16..1 make 2 (4 x 1 + 4 x 2 + 4 x 3 + 3 x 4) + 4 = 76
// blocks in 31 levels: 76 / 31 = 2 parts.  Block 4 (rows 4 19 34 49) waits
// for block 3 (rows 3 18 33 48); block 5 (row 64) for block 3 (row 48).
// Backward, row (r, c) reads (r, c + 1) and (r + 1, c): the same levels
// counted from row 255.
//
// Each plan stores its rows' entries (strictly lower forward, strictly
// upper backward) at the rows' positions, so a sweep streams them, each row
// keeping its entries in their stored order: a kernel computes row i as
// alpha x_i minus each entry times its solved neighbour, in that order,
// divided by the diagonal, so any schedule that respects the dependencies
// (the positions in order, or the blocks in parallel) gives the same bits
// as the plain row-by-row sweep.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/solve.hpp"

#include <algorithm>

namespace orb::sparse {

template <class T, class I>
void free_plan(SweepPlan<T, I> &p) {
  for (void *a : {static_cast<void *>(p.block_start), static_cast<void *>(p.rows), static_cast<void *>(p.position),
                  static_cast<void *>(p.ptr), static_cast<void *>(p.col), static_cast<void *>(p.val),
                  static_cast<void *>(p.pred), static_cast<void *>(p.succ_start), static_cast<void *>(p.succ)})
    orb_serv_free(a);
}

template <class T, class I>
void destroy_symgs_optimal_data(void *data) {
  auto *g = static_cast<SymgsData<T, I> *>(data);
  if (!g) return;
  free_plan(g->forward);
  free_plan(g->backward);
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

//! One direction's plan from the record: forward reads the strictly lower
//! entries (rows ascending), backward the strictly upper ones (descending).
//! False without memory.
template <class T, class I>
bool make_plan(const SparseRecord<T, I> &r, I B, bool forward, SweepPlan<T, I> &p) {
  const I n = r.rows;
  const auto reads = [&](I i, I j) { return forward ? j < i : j > i; };
  const auto each_read = [&](I i, auto f) {
    for (I k = r.row_start[i] - r.base; k < r.row_end[i] - r.base; ++k)
      if (reads(i, r.col_index[k] - r.base)) f(k, r.col_index[k] - r.base);
  };
  Scratch<int32_t> level(n > 0 ? n : 1, 64, Allocator::plain), block_of(n > 0 ? n : 1, 64, Allocator::plain);
  if (!level || !block_of) return false;
  int32_t levels = 0;
  for (I step = 0; step < n; ++step) {
    const I i = forward ? step : n - 1 - step;
    int32_t l = 0;
    each_read(i, [&](I, I j) { l = std::max(l, level.get()[j] + 1); });
    level.get()[i] = l;
    levels = std::max(levels, l + 1);
  }
  // Positions level by level (a counting sort, each level in the sweep's direction).
  Scratch<I> at(int64_t{levels} + 1, 64, Allocator::plain);
  p.rows = allocate<I>(n > 0 ? n : 1);
  p.position = allocate<I>(n > 0 ? n : 1);
  p.ptr = allocate<I>(int64_t{n} + 1);
  if (!at || !p.rows || !p.position || !p.ptr) return false;
  std::fill(at.get(), at.get() + levels + 1, I{0});
  for (I i = 0; i < n; ++i) ++at.get()[level.get()[i] + 1];
  int64_t blocks = 0;
  for (int32_t l = 0; l < levels; ++l) blocks += (at.get()[l + 1] + B - 1) / B;
  for (int32_t l = 0; l < levels; ++l) at.get()[l + 1] += at.get()[l];
  for (I step = 0; step < n; ++step) {
    const I i = forward ? step : n - 1 - step;
    const I q = at.get()[level.get()[i]]++;
    p.rows[q] = i;
    p.position[i] = q;
  }
  // Each row's entries at its position, in their stored order.
  p.ptr[0] = 0;
  for (I q = 0; q < n; ++q) {
    I count = 0;
    each_read(p.rows[q], [&](I, I) { ++count; });
    p.ptr[q + 1] = p.ptr[q] + count;
  }
  p.col = allocate<I>(n > 0 && p.ptr[n] > 0 ? p.ptr[n] : 1);
  p.val = allocate<T>(n > 0 && p.ptr[n] > 0 ? p.ptr[n] : 1);
  if (!p.col || !p.val) return false;
  for (I q = 0; q < n; ++q) {
    I e = p.ptr[q];
    each_read(p.rows[q], [&](I k, I j) { p.col[e] = j, p.val[e++] = r.values[k]; });
  }
  // at[l] is now where level l + 1 starts; cut each level into blocks of B.
  p.blocks = static_cast<int32_t>(blocks);
  p.levels = levels;
  p.block_start = allocate<I>(blocks + 1);
  p.pred = allocate<int32_t>(blocks > 0 ? blocks : 1);
  p.succ_start = allocate<int32_t>(blocks + 1);
  if (!p.block_start || !p.pred || !p.succ_start) return false;
  int32_t b = 0;
  for (int32_t l = 0; l < levels; ++l)
    for (I first = l > 0 ? at.get()[l - 1] : 0; first < at.get()[l]; first += B) p.block_start[b++] = first;
  p.block_start[b] = n;
  for (b = 0; b < p.blocks; ++b)
    for (I q = p.block_start[b]; q < p.block_start[b + 1]; ++q) block_of.get()[p.rows[q]] = b;
  // Each pair (block, block it waits for) once: a stamp per block.
  Scratch<int32_t> stamp(blocks > 0 ? blocks : 1, 64, Allocator::plain);
  if (!stamp) return false;
  const auto each_pair = [&](auto f) {
    std::fill(stamp.get(), stamp.get() + p.blocks, -1);
    for (int32_t w = 0; w < p.blocks; ++w)
      for (I e = p.ptr[p.block_start[w]]; e < p.ptr[p.block_start[w + 1]]; ++e) {
        const int32_t c = block_of.get()[p.col[e]];
        if (stamp.get()[c] == w) continue;
        stamp.get()[c] = w;
        f(w, c);
      }
  };
  std::fill(p.pred, p.pred + p.blocks, 0);
  std::fill(p.succ_start, p.succ_start + p.blocks + 1, 0);
  int64_t pairs = 0;
  each_pair([&](int32_t w, int32_t c) { ++p.pred[w], ++p.succ_start[c + 1], ++pairs; });
  for (b = 0; b < p.blocks; ++b) p.succ_start[b + 1] += p.succ_start[b];
  p.succ = allocate<int32_t>(pairs > 0 ? pairs : 1);
  Scratch<int32_t> next(blocks > 0 ? blocks : 1, 64, Allocator::plain);
  if (!p.succ || !next) return false;
  std::copy(p.succ_start, p.succ_start + p.blocks, next.get());
  each_pair([&](int32_t w, int32_t c) { p.succ[next.get()[c]++] = w; });
  return true;
}

template <class T, class I>
int32_t prepare_symgs_optimal_data(const T *, const void *record, void *data) {
  const auto *r = static_cast<const SparseRecord<T, I> *>(record);
  auto *g = static_cast<SymgsData<T, I> *>(data);
  if (!r || !g || r->rows != r->cols || r->block != 1) return ORB_SPARSE_INTERNAL;
  const I n = r->rows, W = g->width;
  const I B = W * std::max<I>(1, static_cast<I>((int64_t{n} + W * kTargetBlocks - 1) / (W * kTargetBlocks)));
  g->rows = n;
  g->block_rows = B;
  if (!make_plan(*r, B, true, g->forward) || !make_plan(*r, B, false, g->backward)) return ORB_SPARSE_NO_MEMORY;
  const int32_t wide = std::min(g->forward.blocks / std::max(1, g->forward.levels),
                                g->backward.blocks / std::max(1, g->backward.levels));
  g->parts = std::max(1, std::min(g->parts, wide));
  return ORB_SPARSE_OK;
}

//! Rows of one block: s slices of W, the last one of rem rows when rem > 0.
template <class I>
I block_rows(int32_t width, I slices, I rem) {
  return rem > 0 ? (slices - 1) * width + rem : slices * width;
}

template <class T, class I>
void sweep_block(int32_t width, I slices, I rem, I first, const void *plan, T alpha, const T *x, T *y,
                 const T *diag) {
  using P = Precision<T>;
  const auto &p = *static_cast<const SweepPlan<T, I> *>(plan);
  const I last = first + block_rows(width, slices, rem);
  const bool one = P::is_one(alpha);
  for (I q = first; q < last; ++q) {
    const I i = p.rows[q];
    T s = one ? x[i] : P::mul(alpha, x[i]);
    for (I k = p.ptr[q]; k < p.ptr[q + 1]; ++k) s = minus_product(s, p.val[k], y[p.col[k]]);
    y[i] = divide(s, diag[i]);
  }
}

template <class T, class I>
void residual(const void *data, I first, I last, int32_t upper, const T *b, const T *x, T *t) {
  const auto *g = static_cast<const SymgsData<T, I> *>(data);
  const SweepPlan<T, I> &p = upper ? g->backward : g->forward;
  for (I i = first; i < last; ++i) {
    const I q = p.position[i];
    T s = b[i];
    for (I k = p.ptr[q]; k < p.ptr[q + 1]; ++k) s = minus_product(s, p.val[k], x[p.col[k]]);
    t[i] = s;
  }
}

template <class T, class I>
void split_product(const void *data, const T *diag, I first, I last, int32_t which, int32_t accumulate, const T *x,
                   T *y) {
  using P = Precision<T>;
  const auto *g = static_cast<const SymgsData<T, I> *>(data);
  const auto part = [&](const SweepPlan<T, I> &p, I i, T s) {
    const I q = p.position[i];
    for (I k = p.ptr[q]; k < p.ptr[q + 1]; ++k) s = P::add(s, P::mul(p.val[k], x[p.col[k]]));
    return s;
  };
  for (I i = first; i < last; ++i) {
    T s = accumulate ? y[i] : P::zero();
    if (which & 1) s = part(g->forward, i, s);
    if (which & 2) s = P::add(s, P::mul(diag[i], x[i]));
    if (which & 4) s = part(g->backward, i, s);
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
  extern "C" void orb_sparse_##p##_sv_fwd_ker_n_##w(int32_t width, I slices, I rem, I first, const void *plan,    \
                                                    T alpha, const T *x, T *y, const T *diag) {                    \
    sweep_block<T, I>(width, slices, rem, first, plan, alpha, x, y, diag);                                         \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_sv_bwd_ker0_##w(int32_t width, I slices, I rem, I first, const void *plan,     \
                                                   T alpha, const T *x, T *y, const T *diag) {                     \
    sweep_block<T, I>(width, slices, rem, first, plan, alpha, x, y, diag);                                         \
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
