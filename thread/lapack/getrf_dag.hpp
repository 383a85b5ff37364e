// The two-dimensional LU scheme (min(m, n) of 5000 and more): a graph of
// tasks, one per step and block column, each released by its predecessors,
// with the panels on the critical path factored by a threaded recursive call
// of the same scheme with narrow inner blocks.
//
// Block columns j = 0 .. nt - 1, steps k = 0 .. steps - 1 (steps panels are
// factored by the graph; the trailing block from column nb x steps after it).
//
//   P(k)     at block column k + 1: step k, then factor panel k + 1 (kind 2);
//            the last step's P only updates (kind 1)
//   U(k, j)  at block column j = k + 2 .. nt - 1: step k (kind 1)
//
//   edges    P(k) -> every task of step k + 1;  U(k, j) -> the task of step
//            k + 1 at column j (P(k + 1) when j = k + 2);  the last step's
//            tasks and the last two P -> sink
//
// nt = 5, steps = 3 (ready first: P(0), U(0,2), U(0,3), U(0,4)):
//
//   step 0   P(0)@1   U(0,2)   U(0,3)   U(0,4)
//   step 1            P(1)@2   U(1,3)   U(1,4)
//   step 2                     P(2)@3   U(2,4)    -> sink
//
// Everything the graph needs is allocated before its first panel is
// factored: when memory is short the sequential routine factors the
// untouched matrix, and the result is exactly the sequential one.
#pragma once

#include "lapack/lu_steps.hpp"
#include "runtime/task_compat.hpp"

#include <atomic>

namespace orb::thr::lu::tsq_like {

using orb_lapack_tsq_compat::detail::empty_task;
using orb_lapack_tsq_compat::detail::task;
using orb_lapack_tsq_compat::detail::task_list;

//! Inner block of a recursive panel factorization: 8 columns, 16 from 12001
//! rows on, where the taller panel makes each narrow product worth its call.
inline ORB_INT inner_block(ORB_INT m) { return m < 12001 ? 8 : 16; }

template <class P>
ORB_INT xgetrf_generic(const LuMatrix<P> &A, ORB_INT nb_in);

template <class P>
class lu_task_dag;

//! One factorization by the graph.
template <class P>
struct getrf_ctxt {
  LuMatrix<P> A;
  ORB_INT nb, nt, steps;
  bool local_panel;  //!< panels by the core's routine instead of the recursive scheme
  std::atomic<bool> error{false};

  //! Applies the task's steps to its block column; the panel's own column
  //! (is_panel) gets its product in four parallel row slices.
  void update(const lu_task_dag<P> &t, bool is_panel) {
    if (error.load(std::memory_order_relaxed)) return;
    const ORB_INT c0 = t.first_column, w = std::min<ORB_INT>(A.n, ORB_INT{t.col_last} * nb) - c0;
    for (ORB_INT s = t.step_first; s <= t.step_last; ++s)
      apply_step(A, nb, s - 1, c0, w, is_panel ? Product::four_slices : Product::whole);
  }

  //! Factors the panel of block column c and settles it; a failure sets the
  //! error flag, and every later task skips its work.
  void factor_panel(ORB_INT c) {
    if (error.load(std::memory_order_relaxed)) return;
    const ORB_INT r0 = c * nb, rows = A.m - r0;
    ORB_INT k = 0;
    const LuMatrix<P> panel{rows, nb, A.at(r0, r0), A.lda, A.ipiv + r0, &k};
    const ORB_INT failed = local_panel ? P::xgetrf_local(&rows, &nb, panel.a, &A.lda, panel.ipiv, &k)
                                       : xgetrf_generic(panel, inner_block(A.m));
    if (failed != 0) {
      error.store(true);
      return;
    }
    settle_block(A, r0, rows, nb, k);
  }
};

//! A task of the graph: 1-based step and block column, as its fields say.
template <class P>
class lu_task_dag final : public task {
 public:
  lu_task_dag(getrf_ctxt<P> &ctxt, int kind, ORB_INT step, ORB_INT col, task **successors)
      : ctxt_(&ctxt),
        kind_(kind),
        step_first(static_cast<int32_t>(step)),
        step_last(static_cast<int32_t>(step)),
        col_first(static_cast<int32_t>(col)),
        col_last(static_cast<int32_t>(col)),
        first_column((col - 1) * ctxt.nb),
        successors_(successors) {}

  task *execute() override {
    ctxt_->update(*this, kind_ == 2);
    if (kind_ == 2) ctxt_->factor_panel(col_first - 1);  // this block column is the next panel
    release(successors_, successor_count_);
    return nullptr;
  }

  void add_successor(task &s) {
    successors_[successor_count_++] = &s;
    s.increment_ref_count();
  }

 private:
  getrf_ctxt<P> *ctxt_;
  int32_t kind_;
  int32_t reserved_ = 0;

 public:
  int32_t step_first, step_last, col_first, col_last;
  int64_t first_column;

 private:
  task **successors_;
  int64_t successor_count_ = 0;
};

static_assert(sizeof(lu_task_dag<LuPrecision<double>>) == 192, "a graph task fills three cache lines");

//! The tasks, their successor lists and the sink of one graph, allocated
//! together before anything runs; all or none.
template <class P>
class LuGraph {
 public:
  explicit LuGraph(getrf_ctxt<P> &ctxt) : c_(ctxt) {}
  ~LuGraph() { release_storage(); }
  LuGraph(const LuGraph &) = delete;
  LuGraph &operator=(const LuGraph &) = delete;

  //! Builds the graph; false (nothing kept) when memory is short.
  bool build() {
    const ORB_INT nt = c_.nt, steps = c_.steps;
    tasks_ = static_cast<lu_task_dag<P> **>(orb_serv_allocate(nt * steps * ORB_INT{sizeof(void *)}, 128));
    if (tasks_) std::fill(tasks_, tasks_ + nt * steps, nullptr);
    ORB_INT slots = 0;
    for (ORB_INT k = 0; k < steps; ++k)
      for (ORB_INT j = k + 1; j < nt; ++j) slots += successors_of(k, j);
    successor_storage_ = static_cast<task **>(orb_serv_allocate(slots * ORB_INT{sizeof(task *)}, 128));
    sink_ = task::allocate<empty_task>();
    if (!tasks_ || !successor_storage_ || !sink_) return fail();
    task **slot = successor_storage_;
    for (ORB_INT k = 0; k < steps; ++k)
      for (ORB_INT j = k + 1; j < nt; ++j) {
        const int kind = j == k + 1 && k + 1 < steps ? 2 : 1;
        lu_task_dag<P> *t = task::allocate<lu_task_dag<P>>(c_, kind, k + 1, j + 1, slot);
        if (!t) return fail();
        at(k, j) = t;
        slot += successors_of(k, j);
      }
    for (ORB_INT k = 0; k < steps; ++k)
      for (ORB_INT j = k + 1; j < nt; ++j) {
        lu_task_dag<P> &t = *at(k, j);
        if (k + 1 < steps) {
          if (j == k + 1) {
            for (ORB_INT jj = k + 2; jj < nt; ++jj) t.add_successor(*at(k + 1, jj));
          } else {
            t.add_successor(*at(k + 1, j));
          }
        }
        if (k + 1 == steps || (j == k + 1 && k + 2 == steps)) t.add_successor(*sink_);
      }
    return true;
  }

  //! Runs the graph from the tasks of step 0 and returns when every task ran.
  void run() {
    task_list ready;
    for (ORB_INT j = 1; j < c_.nt; ++j) ready.push_back(*at(0, j));
    spawned_ = true;
    sink_->increment_ref_count();  // the owner's reference
    sink_->spawn_and_wait_for_all(ready);
  }

 private:
  lu_task_dag<P> *&at(ORB_INT k, ORB_INT j) { return tasks_[k * c_.nt + j]; }

  //! Successors of the task at step k and block column j (j > k).
  ORB_INT successors_of(ORB_INT k, ORB_INT j) const {
    const bool panel = j == k + 1, last_step = k + 1 == c_.steps;
    if (last_step) return 1;
    ORB_INT count = panel ? c_.nt - (k + 2) : 1;
    if (panel && k + 2 == c_.steps) ++count;
    return count;
  }

  bool fail() {
    release_storage();
    return false;
  }

  void release_storage() {
    if (tasks_ && !spawned_)
      for (ORB_INT i = 0; i < c_.nt * c_.steps; ++i) task::destroy(tasks_[i]);
    task::destroy(sink_);
    orb_serv_deallocate(tasks_);
    orb_serv_deallocate(successor_storage_);
    tasks_ = nullptr;
    successor_storage_ = nullptr;
    sink_ = nullptr;
  }

  getrf_ctxt<P> &c_;
  lu_task_dag<P> **tasks_ = nullptr;
  task **successor_storage_ = nullptr;
  empty_task *sink_ = nullptr;
  bool spawned_ = false;
};

//! Runs a built graph to its end.
template <class P>
void exec_dag(LuGraph<P> &graph) {
  graph.run();
}

//! The two-dimensional scheme: nb_in is -1 at the top level (block size by
//! the tuning answer), or the inner block of a recursive panel call.  Returns
//! 0, or 1 when a panel failed (info then says nothing).
template <class P>
ORB_INT xgetrf_generic(const LuMatrix<P> &A, ORB_INT nb_in) {
  *A.info = 0;
  if (A.m < 1 || A.n < 1) return 0;
  const ORB_INT threads = orb_serv_get_max_threads(), mn = A.min_mn();
  const ORB_INT nb = nb_in == -1 ? tuning<P>(1, A.m, A.n) : nb_in;
  if (tuning<P>(3, A.m, A.n) != 0 || threads < 2 || nb < 2 || nb >= mn)
    return P::xgetrf_local(&A.m, &A.n, A.a, &A.lda, A.ipiv, A.info) != 0;

  getrf_ctxt<P> ctxt{A, nb, (A.n - 1) / nb + 1, (mn - 1) / nb, nb_in != -1 || tuning<P>(18, A.m, A.n) != 0};
  LuGraph<P> graph(ctxt);
  if (!graph.build()) {
    P::xgetrf(&A.m, &A.n, A.a, &A.lda, A.ipiv, A.info);
    return 0;
  }
  ORB_INT k = 0;
  const LuMatrix<P> first{A.m, nb, A.a, A.lda, A.ipiv, &k};
  const ORB_INT failed =
      nb_in == -1 ? xgetrf_generic(first, inner_block(A.m)) : P::xgetrf_local(&A.m, &nb, A.a, &A.lda, A.ipiv, &k);
  if (failed != 0) return 1;  // the graph is freed unrun
  settle_block(A, 0, A.m, nb, k);
  exec_dag(graph);
  if (ctxt.error.load() || !factor_trailing(A, nb * ctxt.steps)) return 1;
  swap_left_columns(A, nb, ctxt.steps);
  return 0;
}

}  // namespace orb::thr::lu::tsq_like
