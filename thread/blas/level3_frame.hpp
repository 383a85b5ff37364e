// The steps a threaded level-3 driver shares with every other, once it knows
// its call is legal and has taken none of its own shortcuts: fill the argument
// record, read the budget, make one kernel call when the budget is 1, let the
// driver cut its own way when it wants to, and otherwise run its
// two-dimensional worker over the grid of C.
//
// The driver brings what is its own: the whole-call kernel, its grid rule and
// worker, and the cut it may prefer to the grid (GEMM's split along k).  A
// budget-1 call, or one whose C is a single tile of the grid, reaches the
// kernel with the caller's own arguments, pointers included, exactly as a
// sequential library would make it.
//
// The drivers that cut their calls their own way (the solves and products by
// right-hand sides, the updates of a triangle) share run_cut instead, and
// every driver reads the strict reproducibility mode here.
#pragma once

#include <orb/internal/blas_args.h>
#include "partition/threshold.hpp"
#include "partition/grid.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

namespace orb::thr {

//! The record of a level-3 call: the caller's characters and pointers as they
//! came, the sizes and leading dimensions read once.  The split's fields stay
//! empty until the split sets them.
inline blas_args_t level3_args(const char *transa, const char *transb, ORB_INT m, ORB_INT n, ORB_INT k,
                               const void *alpha, const void *a, ORB_INT lda, const void *b, ORB_INT ldb,
                               const void *beta, void *c, ORB_INT ldc) {
  blas_args_t args{};
  args.transa = transa;
  args.transb = transb;
  args.m = m;
  args.n = n;
  args.k = k;
  args.alpha = alpha;
  args.beta = beta;
  args.a = a;
  args.b = b;
  args.c = c;
  args.lda = lda;
  args.ldb = ldb;
  args.ldc = ldc;
  return args;
}

//! Whether results must not depend on the number of threads: the strict
//! reproducibility mode (orb_serv_cbwr_get).  GEMM keeps it by never cutting
//! a sum and computing every entry of C in one kernel call of the whole k; a
//! driver whose pieces are other kernel calls than the whole call's (a
//! triangle's blocks by GEMM, a solve's right-hand sides, whose results the
//! provider's blocking may round otherwise) runs whole instead.
inline bool strict_reproducibility() { return (orb_serv_cbwr_get(-1) & ORB_CBWR_STRICT) != 0; }

//! The budget of a driver that cuts its call its own way: 1 in strict
//! reproducibility mode, where the call runs whole, else the thread budget.
inline int64_t cut_budget() { return strict_reproducibility() ? 1 : orb_serv_get_max_threads(); }

//! The steps of a driver that cuts its call its own way (the solves and the
//! triangle updates): whole() when `as_it_came` (an illegal call, or one with
//! nothing to cut: the kernel reports or returns early) or when
//! workers(budget) gives one worker, the budget being cut_budget(); else
//! launch(workers).
template <class Workers, class Whole, class Launch>
void run_cut(bool as_it_came, Workers &&workers, Whole &&whole, Launch &&launch) {
  const int64_t w = as_it_came ? 1 : workers(cut_budget());
  if (w <= 1)
    whole();
  else
    launch(w);
}

//! Whether C (m x n, the caller's pointers, possibly null or illegal) is one
//! tile of the grid: such a call is never cut, so a driver may hand it to its
//! kernel as it came, before reading anything else; an illegal one is then
//! reported by the kernel, once, as it would be after the driver's own check.
inline bool one_tile(const GridRule &rule, const ORB_INT *m, const ORB_INT *n) {
  return m && n && *m <= threshold(rule.tile_m) && *n <= threshold(rule.tile_n);
}

//! Runs a legal level-3 call described by args: whole() with a budget of 1;
//! otherwise own_cut(args, budget), which returns false when it does not take
//! the call; otherwise grid_worker on one worker per tile of rule, at most the
//! budget, or whole() when that is one worker.
template <class Whole, class OwnCut>
void level3_run(blas_args_t &args, const GridRule &rule, orb_blas_worker_fn grid_worker, Whole &&whole,
                OwnCut &&own_cut) {
  const ORB_INT budget = orb_serv_get_max_threads();
  if (budget <= 1) {
    whole();
    return;
  }
  if (own_cut(args, budget)) return;
  const int64_t workers = gemm_grid_workers(args.m, args.n, budget, rule);
  // One tile of C is the whole call: the caller's own kernel call, without the
  // launcher, as with a budget of 1.  Small products spend most of their time
  // outside the kernel, and every step skipped here shows in their speed.
  if (workers <= 1) {
    whole();
    return;
  }
  orb_blas_invoke_thin_thread(workers, grid_worker, &args, nullptr);
}

}  // namespace orb::thr
