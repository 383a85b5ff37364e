// The frame of the threaded level-1 drivers: the core kernels of each
// precision, the argument record as the level-1 routines fill it, the one
// worker they all run (level1_internal_thread), and the run of a reduction
// with its partial results.
//
// The record (blas_args_t) carries, for a level-1 call:
//   n              elements
//   a, lda         x and its increment (scal, swap, rot and rotm write x, which
//                  the caller passed as writable)
//   c, ldc         y and its increment (null for the one-vector routines)
//   alpha, beta    the scalars: alpha of scal, axpy, axpby; beta of axpby;
//                  c and s of rot; param of rotm
//   m, k           the budget T and the worker count W
//   ldb            the processor type of orb_serv_cpu_detect, for the kernels
//   scratch        the reductions' partial results, one per worker
#pragma once

#include <orb/internal/blas_args.h>
#include "partition/threshold.hpp"
#include "partition/level1.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"

#include <type_traits>

namespace orb::thr {

template <class T>
using RealOf = typename Precision<T>::real_type;

template <class T>
struct Level1Kernels;

//! A complex dot kernel seen as a function returning its value.
template <class T, void (*Kernel)(T *, const ORB_INT *, const T *, const ORB_INT *, const T *, const ORB_INT *)>
T complex_dot(const ORB_INT *n, const T *x, const ORB_INT *incx, const T *y, const ORB_INT *incy) {
  T result{};
  Kernel(&result, n, x, incx, y, incy);
  return result;
}

// The core's kernels of one precision under one set of names.  dotu and dotc
// are the same kernel for a real type; rscal scales by a real (csscal, or
// sscal itself); nrm2_of_norms is the real kernel that combines partial norms.
#define ORB_LEVEL1_KERNELS_OF(p, T, R, dotu_, dotc_, norm, real_scalar)                            \
  template <>                                                                                      \
  struct Level1Kernels<T> : ::orb::Precision<T> {                                                 \
    static constexpr const char *dot_name = "orb_blas_" #dotu_;                                    \
    static constexpr const char *dotc_name = "orb_blas_" #dotc_;                                   \
    static constexpr const char *asum_name = "orb_blas_" #norm "asum";                             \
    static constexpr const char *nrm2_name = "orb_blas_" #norm "nrm2";                             \
    static constexpr auto asum = &orb_blas_x##norm##asum;                                          \
    static constexpr auto nrm2 = &orb_blas_x##norm##nrm2;                                          \
    static constexpr auto scal = &orb_blas_x##p##scal;                                             \
    static constexpr auto rscal = &orb_blas_x##real_scalar##scal;                                  \
    static constexpr auto axpy = &orb_blas_x##p##axpy;                                             \
    static constexpr auto axpby = &orb_blas_x##p##axpby;                                           \
    static constexpr auto copy = &orb_blas_x##p##copy;                                             \
    static constexpr auto swap = &orb_blas_x##p##swap;                                             \
    static constexpr auto rot = &orb_blas_x##real_scalar##rot;                                     \
    static constexpr auto iamax = &orb_blas_xi##p##amax;                                           \
    static constexpr auto iamin = &orb_blas_xi##p##amin;                                           \
    ORB_LEVEL1_DOTS_##p                                                                            \
  };
#define ORB_LEVEL1_REAL_DOTS(p, T)                                 \
  static constexpr auto dotu = &orb_blas_x##p##dot;               \
  static constexpr auto dotc = &orb_blas_x##p##dot;               \
  static constexpr auto nrm2_of_norms = &orb_blas_x##p##nrm2;     \
  static constexpr auto rotm = &orb_blas_x##p##rotm;
#define ORB_LEVEL1_COMPLEX_DOTS(p, T, r)                               \
  static constexpr auto dotu = &complex_dot<T, orb_blas_x##p##dotu>; \
  static constexpr auto dotc = &complex_dot<T, orb_blas_x##p##dotc>; \
  static constexpr auto nrm2_of_norms = &orb_blas_x##r##nrm2;
#define ORB_LEVEL1_DOTS_s ORB_LEVEL1_REAL_DOTS(s, float)
#define ORB_LEVEL1_DOTS_d ORB_LEVEL1_REAL_DOTS(d, double)
#define ORB_LEVEL1_DOTS_c ORB_LEVEL1_COMPLEX_DOTS(c, ORB_Complex8, s)
#define ORB_LEVEL1_DOTS_z ORB_LEVEL1_COMPLEX_DOTS(z, ORB_Complex16, d)
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_LEVEL1_KERNELS_OF)
#undef ORB_LEVEL1_KERNELS_OF

//! The operands of one worker's piece: its length and where its x and y start.
template <class T>
struct Level1Piece {
  ORB_INT n;
  T *x;
  T *y;
};

//! Element type and stride helpers of the record.
template <class T>
T *level1_x(const blas_args_t *args) {
  return const_cast<T *>(static_cast<const T *>(args->a));
}
template <class T>
T *level1_y(const blas_args_t *args) {
  return static_cast<T *>(args->c);
}

//! The worker of every level-1 driver.  Op is a Level1Op (below).
template <class Op>
int64_t level1_internal_thread(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename Op::element;
  using Partial = typename Op::partial;
  const Range r = level1_range(args->n, nthr, ithr);
  T *x = level1_x<T>(args), *y = level1_y<T>(args);
  Level1Piece<T> piece{r.size(), x ? x + level1_offset(args->n, args->lda, r) : x,
                        y ? y + level1_offset(args->n, args->ldc, r) : y};
  if constexpr (std::is_void_v<Partial>) {
    if (!r.empty()) Op::run(*args, piece);
  } else {
    static_cast<Partial *>(args->scratch)[ithr] = r.empty() ? Partial{} : Op::run(*args, piece);
  }
  return 0;
}

//! A driver's decision: its budget and its worker count (1: one kernel call).
struct Level1Plan {
  ORB_INT budget = 1;
  ORB_INT workers = 1;
};

//! Threads n elements under `rule` when `threadable` (the increments allow
//! it), asking for the budget only when n reaches the rule's threshold.
inline Level1Plan plan_level1(ORB_INT n, Level1Rule rule, bool threadable) {
  if (!threadable || n < threshold(rule.min_n)) return {};
  const ORB_INT budget = orb_serv_get_max_threads();
  return {budget, level1_workers(n, rule, budget)};
}

//! The record of a call on n elements of x (increment incx) and y (incy).
inline blas_args_t level1_args(Level1Plan plan, ORB_INT n, const void *x, ORB_INT incx, void *y, ORB_INT incy,
                               const void *alpha = nullptr, const void *beta = nullptr) {
  blas_args_t args{};
  args.n = n;
  args.a = x;
  args.lda = incx;
  args.c = y;
  args.ldc = incy;
  args.alpha = alpha;
  args.beta = beta;
  args.m = plan.budget;
  args.k = plan.workers;
  args.ldb = orb_serv_cpu_detect();
  return args;
}

//! The whole call as one piece: what the driver runs when it does not thread.
template <class T>
Level1Piece<T> level1_whole(const blas_args_t &args) {
  return {args.n, level1_x<T>(&args), level1_y<T>(&args)};
}

//! The kernel call of one routine on one piece, with its result (void for
//! the routines that only write).
template <class T, class Partial>
using level1_piece_fn = Partial (*)(const blas_args_t &, const Level1Piece<T> &);

//! A routine as the worker sees it: its element type, its partial result
//! and its call on one piece.
template <class T, class Partial, level1_piece_fn<T, Partial> Run>
struct Level1Op {
  using element = T;
  using partial = Partial;
  static Partial run(const blas_args_t &args, const Level1Piece<T> &p) { return Run(args, p); }
};

//! Runs an update (no partial results) on args.k workers.
template <class T, level1_piece_fn<T, void> Run>
void level1_update(blas_args_t &args) {
  if (args.k <= 1) {
    Run(args, level1_whole<T>(args));
    return;
  }
  orb_blas_invoke_thin_thread(args.k, level1_internal_thread<Level1Op<T, void, Run>>, &args, nullptr);
}

//! Partial results up to this many workers live on the driver's stack.
constexpr ORB_INT kLevel1StackPartials = 512;

//! Runs a reduction on args.k workers and combines the partial results with
//! combine(partials, W), on the calling thread, once every worker is done.
//! Without room for the partial results it computes the whole vector as one
//! piece.
template <class T, class Partial, level1_piece_fn<T, Partial> Run, class Combine>
Partial level1_reduce(blas_args_t &args, const char *name, Combine combine) {
  using Op = Level1Op<T, Partial, Run>;
  const ORB_INT workers = args.k;
  if (workers <= 1) return Run(args, level1_whole<T>(args));
  Partial on_stack[kLevel1StackPartials];
  const Scratch<Partial> on_heap(workers > kLevel1StackPartials ? workers : 0, 128);
  Partial *partials = workers <= kLevel1StackPartials ? on_stack : on_heap.get();
  if (orb_serv_check_ptr_and_warn(partials, name) != 0) return Run(args, level1_whole<T>(args));
  args.scratch = partials;
  orb_blas_invoke_thin_thread(workers, level1_internal_thread<Op>, &args, nullptr);
  return combine(static_cast<const Partial *>(partials), workers);
}

}  // namespace orb::thr
