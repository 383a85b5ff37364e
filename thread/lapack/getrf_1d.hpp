// The one-dimensional LU scheme (min(m, n) below 5000): one long-running task
// per thread, each asking the core's scheduler for its next job under the
// call's mutex, and doing it outside the mutex.  The scheduler decides the
// look-ahead (which block columns are updated first, who factors the next
// panel); the tasks only apply the steps they are given to the columns they
// are given, and factor a panel when the job says so.
//
//   driver                      panel 0, then T tasks, then the trailing block
//   task i                      loop: commit + assign (mutex), do the job
//   job (steps s0..s1, cols c)  per step: interchanges, solve, product
//   job code 2                  ... then factor panel c0 with the core's routine
//
// Everything the call needs is allocated before panel 0 is factored, so that
// when memory is short the sequential routine factors the untouched matrix
// and the result is exactly the sequential one.
#pragma once

#include "lapack/lu_steps.hpp"
#include "runtime/task_compat.hpp"

#include <atomic>
#include <mutex>

namespace orb::thr::lu::omp_like {

using orb_lapack_tsq_compat::detail::task;
using orb_lapack_tsq_compat::detail::task_list;

//! What the tasks of one call share.
template <class P>
struct Shared {
  LuMatrix<P> A;
  ORB_INT nb;
  void *state;  //!< the core scheduler's
  std::mutex mutex;
  std::atomic<bool> error{false};
};

//! One thread's worker: asks for jobs until the scheduler says the
//! factorization is done or another task failed.
template <class P>
class lu_task final : public task {
 public:
  lu_task(Shared<P> &shared, ORB_INT ithr, ORB_INT nthr) : shared_(&shared), ithr_(ithr), nthr_(nthr) {}

  task *execute() override {
    Shared<P> &sh = *shared_;
    orb_lapack_dag1d_view view;
    if (orb_lapack_dag1d_task_init(sh.state, ithr_, nthr_, &view) < 0) return nullptr;
    while (!sh.error.load(std::memory_order_relaxed)) {
      ORB_INT code;
      {
        std::lock_guard<std::mutex> hold(sh.mutex);
        code = orb_lapack_dag1d_task_commit_assign(sh.state, &view);
      }
      if (code < 0) break;
      if (code == 0) {
        orb_serv_thread_yield();
        continue;
      }
      ORB_INT s0, s1, c0, c1;
      orb_lapack_dag1d_task_query(sh.state, &view, &s0, &s1, &c0, &c1);
      const ORB_INT first = c0 * sh.nb, width = std::min(sh.A.n, c1 * sh.nb) - first;
      for (ORB_INT s = s0; s < s1; ++s) apply_step(sh.A, sh.nb, s, first, width, Product::whole);
      if (code == 2 && !factor_panel(sh, c0)) sh.error.store(true);
    }
    return nullptr;
  }

 private:
  static bool factor_panel(Shared<P> &sh, ORB_INT c) {
    const LuMatrix<P> &A = sh.A;
    const ORB_INT r0 = c * sh.nb, rows = A.m - r0;
    ORB_INT k = 0;
    if (P::xgetrf_local(&rows, &sh.nb, A.at(r0, r0), &A.lda, A.ipiv + r0, &k) != 0) return false;
    settle_block(A, r0, rows, sh.nb, k);
    return true;
  }

  Shared<P> *shared_;
  ORB_INT ithr_, nthr_;
};

//! The tasks of one call, allocated up front; all or none.
template <class P>
class Workers {
 public:
  Workers(Shared<P> &shared, ORB_INT count) : count_(count) {
    tasks_ = static_cast<task **>(orb_serv_allocate(count * static_cast<ORB_INT>(sizeof(task *)), 128));
    if (!tasks_) return;
    for (ORB_INT i = 0; i < count; ++i) {
      tasks_[i] = task::allocate<lu_task<P>>(shared, i, count);
      if (!tasks_[i]) {
        for (ORB_INT j = 0; j < i; ++j) task::destroy(tasks_[j]);
        orb_serv_deallocate(tasks_);
        tasks_ = nullptr;
        return;
      }
    }
  }
  ~Workers() {
    if (!tasks_) return;
    if (!ran_)
      for (ORB_INT i = 0; i < count_; ++i) task::destroy(tasks_[i]);
    orb_serv_deallocate(tasks_);
  }
  Workers(const Workers &) = delete;
  Workers &operator=(const Workers &) = delete;

  bool ready() const { return tasks_ != nullptr; }

  //! Runs every task, one per thread, and returns when all have finished.
  void run() {
    task_list list;
    for (ORB_INT i = 0; i < count_; ++i) list.push_back(*tasks_[i]);
    ran_ = true;  // each task frees itself after its body
    task::spawn_root_and_wait(list);
  }

 private:
  ORB_INT count_;
  task **tasks_ = nullptr;
  bool ran_ = false;
};

//! The scheduler's state, from the core's allocator.
class SchedulerState {
 public:
  explicit SchedulerState(ORB_INT nt) : p_(orb_serv_allocate(orb_lapack_dag1d_state_bytes(nt), 128)) {}
  ~SchedulerState() { orb_serv_deallocate(p_); }
  SchedulerState(const SchedulerState &) = delete;
  SchedulerState &operator=(const SchedulerState &) = delete;
  void *get() const { return p_; }

 private:
  void *p_;
};

//! The one-dimensional scheme for a legal call with min(m, n) below the
//! graph's crossover.
template <class P>
void getrf(const LuMatrix<P> &A) {
  *A.info = 0;
  if (A.m < 1 || A.n < 1) return;
  const ORB_INT threads = orb_serv_get_max_threads();
  if (tuning<P>(3, A.m, A.n) != 0 || threads < 2) {
    P::xgetrf_local(&A.m, &A.n, A.a, &A.lda, A.ipiv, A.info);
    return;
  }
  const ORB_INT nb = tuning<P>(1, A.m, A.n), mn = A.min_mn();
  if (nb < 2 || nb >= mn) {
    P::getf2(&A.m, &A.n, A.a, &A.lda, A.ipiv, A.info);
    return;
  }
  const ORB_INT nt = (A.n - 1) / nb + 1, last = (mn - 1) / nb;
  SchedulerState state(nt);
  Shared<P> shared{A, nb, state.get(), {}, {false}};
  Workers<P> workers(shared, threads);
  if (!state.get() || !workers.ready()) {
    P::xgetrf(&A.m, &A.n, A.a, &A.lda, A.ipiv, A.info);
    return;
  }
  const ORB_INT params[2] = {tuning<P>(17, A.m, A.n), 1000000000};
  orb_lapack_dag1d_init(state.get(), nt, last, params);

  ORB_INT k = 0;
  if (P::getrf_local(&A.m, &nb, A.a, &A.lda, A.ipiv, &k) != 0) return;  // never for a legal call
  settle_block(A, 0, A.m, nb, k);
  workers.run();
  if (shared.error.load() || !factor_trailing(A, nb * last)) return;
  swap_left_columns(A, nb, last);
}

}  // namespace orb::thr::lu::omp_like
