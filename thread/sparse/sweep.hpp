// The dependency-driven sweeps over the row blocks of the Gauss-Seidel data,
// and the making of that data and of a record's diagonal, shared by the
// analysed triangular solve and the Gauss-Seidel iteration.
//
// One part: one kernel call sweeps every position of the plan in order on
// the calling thread.
//
// Several parts: as many tasks as parts, each taking the next block from a
// shared atomic position (blocks are numbered level by level, a topological
// order), waiting until that block has no unfinished predecessor, running
// its kernel over the block's positions, and then decrementing (release) the
// counter of each successor.  Blocks are taken in topological order, so a
// block waited for was always taken earlier by a task that is running: no
// task ever waits for one that has not started, however many threads the
// runtime actually gives the loop (with one, the tasks run one after
// another and never wait).  A row sees exactly the final values of the rows
// it reads, so the result is bitwise that of the one-part sweep.  The
// counters live in scratch for one call, so concurrent solves on one handle
// do not share them; without scratch the sweep runs as one part.
#pragma once

#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"

#include <atomic>
#include <mutex>
#include <thread>

namespace orb::thr {

//! Waits until *counter is zero: a short run of pause instructions, then a
//! yield, so that a waiting task leaves its core to a predecessor that the
//! system may have descheduled.
inline void wait_for_zero(const int32_t *counter) {
  for (;;) {
    for (int k = 0; k < 64; ++k) {
      if (__atomic_load_n(counter, __ATOMIC_ACQUIRE) == 0) return;
      __builtin_ia32_pause();
    }
    std::this_thread::yield();
  }
}

//! One sweep: forward (lower split) or backward (upper split); row i:
//! y_i := (alpha x_i - split row i . y) / d_i.
template <class T, class I>
void sweep(const sparse::SymgsData<T, I> &g, bool forward, T alpha, const T *x, T *y, const T *diag) {
  using K = sparse::SparseKernels<T, I>;
  const sparse::SweepPlan<T, I> &plan = forward ? g.forward : g.backward;
  const auto kernel = forward ? K::sv_fwd : K::sv_bwd;
  const int32_t W = g.width;
  const auto run = [&](I first, I n) {
    if (n > 0) kernel(W, n / W + (n % W > 0 ? 1 : 0), n % W, first, &plan, alpha, x, y, diag);
  };
  const int32_t blocks = plan.blocks;
  Scratch<int32_t> counters(g.parts > 1 ? blocks : 0, 64, Allocator::plain);
  if (!counters) {
    run(0, g.rows);
    return;
  }
  int32_t *count = counters.get();
  for (int32_t b = 0; b < blocks; ++b) count[b] = plan.pred[b];
  std::atomic<int32_t> next{0};
  rt::run_loop(g.parts, {1, rt::Split::simple, rt::Binding::own, nullptr}, [&](int64_t, int64_t) {
    for (;;) {
      const int32_t b = next.fetch_add(1, std::memory_order_relaxed);
      if (b >= blocks) return;
      wait_for_zero(count + b);
      run(plan.block_start[b], plan.block_start[b + 1] - plan.block_start[b]);
      for (int32_t k = plan.succ_start[b]; k < plan.succ_start[b + 1]; ++k)
        __atomic_fetch_sub(count + plan.succ[k], 1, __ATOMIC_RELEASE);
    }
  });
}

//! body(first, last) over row ranges of [0, rows) on the task runtime.
template <class I, class Body>
void for_rows(I rows, const Body &body) {
  rt::run_loop(rows, {2048, rt::Split::automatic, rt::Binding::own, nullptr},
               [&](int64_t first, int64_t last) { body(static_cast<I>(first), static_cast<I>(last)); });
}

//! Serialises the making and filling of diagonal and block data, so that
//! concurrent solves on one handle build them once.
inline std::mutex &analysis_lock() {
  static std::mutex lock;
  return lock;
}

//! The record's diagonal data, made and filled when it is not current: 0, 2,
//! the fill's failure, or 3 when a row has no usable diagonal.
template <class T, class I>
int32_t current_diagonal(sparse::SparseHandle<T, I> *h, sparse::SparseRecord<T, I> *r, const T **values) {
  using K = sparse::SparseKernels<T, I>;
  std::lock_guard<std::mutex> hold(analysis_lock());
  auto *d = static_cast<sparse::DiagonalData<T, I> *>(r->diagonal);
  if (!d) {
    const I rows = h->format == sparse::kFormatBsr ? r->rows * r->block : r->rows;
    d = static_cast<sparse::DiagonalData<T, I> *>(K::create_diagonal(rows));
    if (!d) return ORB_SPARSE_NO_MEMORY;
    r->diagonal = d;
  }
  if ((d->state & sparse::kDiagonalCurrent) == 0)
    if (const int32_t s = K::prepare_diagonal(d, r, h->format, {ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER,
                                                                ORB_SPARSE_NON_UNIT},
                                              ORB_SPARSE_NON_UNIT, 1))
      return s;
  if (d->missing + d->zero + d->nonfinite > 0) return ORB_SPARSE_BAD_VALUE;
  *values = d->values;
  return ORB_SPARSE_OK;
}

//! The record's optimization record, made on first use; null without memory.
template <class T, class I>
sparse::OptimizationRecord *optimization_of(sparse::SparseRecord<T, I> *r) {
  if (!r->opt) r->opt = zeroed<sparse::OptimizationRecord>(sparse::kPartitionBytes);
  return r->opt;
}

//! Block data for a record: the slice width and layout follow the handle's
//! processor code; the parts asked for are the current arena's concurrency.
//! 0, or 5 when it cannot be built (nothing is then left behind).
template <class T, class I>
int32_t build_block_data(sparse::SparseHandle<T, I> *h, const sparse::SparseRecord<T, I> *from, const T *diag, int32_t from_copy,
                         sparse::SymgsData<T, I> **out) {
  using K = sparse::SparseKernels<T, I>;
  const bool avx512 = h->processor == 3 || h->processor == 4;
  const int32_t width = avx512 && h->value_kind == 0 ? 8 : 4;
  auto *g = static_cast<sparse::SymgsData<T, I> *>(K::create_symgs(width, rt::max_concurrency()));
  if (!g) return ORB_SPARSE_INTERNAL;
  g->avx512 = avx512;
  g->high_opt = avx512 && width == 8;
  g->from_copy = from_copy;
  if (K::prepare_symgs(diag, from, g) != ORB_SPARSE_OK) {
    K::destroy_symgs(g);
    return ORB_SPARSE_INTERNAL;
  }
  *out = g;
  return ORB_SPARSE_OK;
}

}  // namespace orb::thr
