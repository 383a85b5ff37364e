// The threaded batch drivers: groups of independent products
// C_i = alpha_g * op(A_i) * op(B_i) + beta_g * C_i in s, d, c and z, and the
// strided batch, whose matrices lie a fixed stride apart.
//
// orb_blas_?gemm_batch, in this order:
//   1. Fewer than one group: nothing to do.
//   2. A batch of matrix-vector products: every group has n = 1, k != 0 and
//      transb 'N'.  One group of one product goes to the threaded GEMV;
//      otherwise every product of every group, in order, goes to the core's
//      sequential GEMV on the calling thread (gemv_shortcut.hpp maps each).
//      k = 0 is left to the products: a GEMV over no columns would leave y
//      unscaled by beta.
//   3. One group of one product: the threaded GEMM, which cuts it as it
//      would cut any single call.
//   4. Otherwise the groups in order, each finished before the next begins:
//      a group of s products runs on W = min(ceil(s / 128), budget) workers,
//      each taking a contiguous run of products (partition/members.cpp) and
//      calling the threaded GEMM on each in turn.  A product inside a worker
//      may itself be threaded, as nested loops of the task runtime.
// The integer arrays and the group count are 32-bit when int32 is nonzero,
// 64-bit otherwise.  The drivers check nothing beyond the group count: each
// product is checked by the GEMM it goes to (the interface layer checks the
// whole batch before it calls here).  A negative group size counts as an
// empty group, a missing array of the groups' arguments as an empty batch;
// a missing pointer array hands its products null matrices, which GEMM
// reads only where the product needs them.
//
// orb_blas_?gemm_batch_strided lists the strided products' pointers in one
// scratch block and runs them as a batch of one group with 64-bit integers.
// Without the scratch it runs them one after another through the threaded
// GEMM.
#include "blas/blas_precision.hpp"
#include "blas/gemv_shortcut.hpp"
#include "lp64.hpp"
#include "partition/members.hpp"
#include "runtime/loop.hpp"

#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "scratch.hpp"

#include <cstdint>

namespace orb::thr {

namespace {

//! Entries of an integer array of the caller's width.
class Integers {
 public:
  Integers(const void *array, bool int32) : array_(array), int32_(int32) {}
  ORB_INT operator[](ORB_INT i) const {
    return int32_ ? static_cast<const int32_t *>(array_)[i] : static_cast<const int64_t *>(array_)[i];
  }

 private:
  const void *array_;
  bool int32_;
};

//! One group as the threaded GEMM takes it: its shared arguments, read once,
//! and its slice of the pointer arrays.
template <class P>
struct Group {
  using T = typename P::value_type;
  const char *transa, *transb;
  ORB_INT m, n, k, lda, ldb, ldc;
  const T *alpha, *beta;
  const T *const *a;
  const T *const *b;
  T *const *c;
  ORB_INT members;

  //! Member i through the threaded GEMM.
  void product(ORB_INT i) const {
    P::gemm(transa, transb, &m, &n, &k, alpha, at(a, i), &lda, at(b, i), &ldb, beta, at(c, i), &ldc);
  }
  //! Member i (n = 1, B not transposed) through the core's sequential GEMV.
  void matrix_vector(ORB_INT i) const {
    gemv_shortcut<P>(P::gemv_kernel, transa, transb, &m, &k, alpha, at(a, i), &lda, at(b, i), &ldb, beta, at(c, i));
  }
  //! Member i, the batch's only one, through the threaded GEMV.
  void threaded_matrix_vector(ORB_INT i) const {
    gemv_shortcut<P>(P::gemv, transa, transb, &m, &k, alpha, at(a, i), &lda, at(b, i), &ldb, beta, at(c, i));
  }

 private:
  //! Entry i of a pointer array the caller may leave out where a product
  //! reads none of it (A and B when alpha is 0).
  template <class M>
  static M *at(M *const *array, ORB_INT i) {
    return array ? array[i] : nullptr;
  }
};

//! The caller's batch: groups read by index, products numbered on across them.
template <class P>
class Batch {
 public:
  using T = typename P::value_type;
  Batch(const char *transa, const char *transb, const void *m, const void *n, const void *k, const T *alpha,
        const T *const *a, const void *lda, const T *const *b, const void *ldb, const T *beta, T *const *c,
        const void *ldc, const void *group_size, bool int32)
      : transa_(transa), transb_(transb), m_(m, int32), n_(n, int32), k_(k, int32), lda_(lda, int32),
        ldb_(ldb, int32), ldc_(ldc, int32), size_(group_size, int32), alpha_(alpha), beta_(beta), a_(a), b_(b),
        c_(c) {}

  //! Group g whose first product is number `first` of the batch.
  Group<P> group(ORB_INT g, ORB_INT first) const {
    const ORB_INT members = size_[g] > 0 ? size_[g] : 0;
    // A missing pointer array stays missing for every group.
    const auto from = [first](auto *array) { return array ? array + first : nullptr; };
    return {transa_ + g, transb_ + g, m_[g],     n_[g],    k_[g],    lda_[g], ldb_[g],
            ldc_[g],     alpha_ + g,  beta_ + g, from(a_), from(b_), from(c_), members};
  }

  //! Every group has n = 1, k != 0 and B as stored.
  bool matrix_vector(ORB_INT groups) const {
    for (ORB_INT g = 0; g < groups; ++g)
      if (n_[g] != 1 || k_[g] == 0 || !not_transposed(transb_ + g)) return false;
    return true;
  }

  //! Runs f(group) over the groups in order.
  template <class F>
  void each_group(ORB_INT groups, F &&f) const {
    ORB_INT first = 0;
    for (ORB_INT g = 0; g < groups; ++g) {
      const Group<P> group_g = group(g, first);
      f(group_g);
      first += group_g.members;
    }
  }

 private:
  const char *transa_, *transb_;
  Integers m_, n_, k_, lda_, ldb_, ldc_, size_;
  const T *alpha_, *beta_;
  const T *const *a_;
  const T *const *b_;
  T *const *c_;
};

//! One group's products on min(ceil(members / 128), budget) workers.
template <class P>
void run_group(const Group<P> &group, ORB_INT budget) {
  const int64_t workers = member_workers(group.members, budget);
  const auto run = [&](int64_t i) {
    const Range r = member_run(group.members, workers, i);
    for (int64_t j = r.begin; j < r.end; ++j) group.product(j);
  };
  if (workers == 1) {
    run(0);
    return;
  }
  rt::run_loop(workers, rt::LoopShape{}, [&](int64_t begin, int64_t end) {
    for (int64_t i = begin; i < end; ++i) run(i);
  });
}

template <class P>
void gemm_batch(const char *transa, const char *transb, const void *m, const void *n, const void *k,
                const typename P::value_type *alpha, const typename P::value_type *const *a, const void *lda,
                const typename P::value_type *const *b, const void *ldb, const typename P::value_type *beta,
                typename P::value_type *const *c, const void *ldc, const void *group_count, const void *group_size,
                int int32) {
  if (!group_count) return;
  const ORB_INT groups = Integers(group_count, int32 != 0)[0];
  if (groups < 1) return;
  if (!transa || !transb || !m || !n || !k || !alpha || !lda || !ldb || !beta || !ldc || !group_size) return;
  const Batch<P> batch(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, group_size, int32 != 0);
  const Group<P> only = batch.group(0, 0);
  const bool single = groups == 1 && only.members == 1;

  if (batch.matrix_vector(groups)) {
    if (single) {
      only.threaded_matrix_vector(0);
      return;
    }
    batch.each_group(groups, [](const Group<P> &g) {
      for (ORB_INT i = 0; i < g.members; ++i) g.matrix_vector(i);
    });
    return;
  }
  if (single) {
    only.product(0);
    return;
  }
  const ORB_INT budget = orb_serv_get_max_threads();
  batch.each_group(groups, [budget](const Group<P> &g) { run_group(g, budget); });
}

//! Matrix i of a strided batch based at p; a missing base stays missing, so
//! that the product reports it instead of receiving a made-up address.
template <class T>
T *nth(T *p, ORB_INT i, ORB_INT stride) {
  return p ? p + i * stride : nullptr;
}

template <class P>
void gemm_batch_strided(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                        const ORB_INT *k, const typename P::value_type *alpha, const typename P::value_type *a,
                        const ORB_INT *lda, const ORB_INT *stridea, const typename P::value_type *b,
                        const ORB_INT *ldb, const ORB_INT *strideb, const typename P::value_type *beta,
                        typename P::value_type *c, const ORB_INT *ldc, const ORB_INT *stridec,
                        const ORB_INT *batch_size) {
  using T = typename P::value_type;
  if (!batch_size || *batch_size < 1 || !stridea || !strideb || !stridec) return;
  const ORB_INT count = *batch_size;
  const Scratch<const T *> operands(2 * count, 128);
  const Scratch<T *> results(count, 128);
  if (!operands || !results) {
    for (ORB_INT i = 0; i < count; ++i)
      P::gemm(transa, transb, m, n, k, alpha, nth(a, i, *stridea), lda, nth(b, i, *strideb), ldb, beta,
              nth(c, i, *stridec), ldc);
    return;
  }
  const T **as = operands.get(), **bs = operands.get() + count;
  for (ORB_INT i = 0; i < count; ++i) {
    as[i] = nth(a, i, *stridea);
    bs[i] = nth(b, i, *strideb);
    results.get()[i] = nth(c, i, *stridec);
  }
  const ORB_INT one_group = 1;
  P::gemm_batch(transa, transb, m, n, k, alpha, as, lda, bs, ldb, beta, results.get(), ldc, &one_group, batch_size,
                0);
}

}  // namespace

}  // namespace orb::thr

#define ORB_GEMM_BATCH_ENTRIES(p, P, T)                                                                            \
  extern "C" ORB_GEMM_BATCH_DECL(p, T) {                                                                           \
    orb::thr::gemm_batch<orb::thr::BlasPrecision<T>>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, \
                                                      group_count, group_size, int32);                             \
  }                                                                                                                \
  extern "C" ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_##p##gemm_batch_strided, T, ORB_INT) {                          \
    orb::thr::gemm_batch_strided<orb::thr::BlasPrecision<T>>(transa, transb, m, n, k, alpha, a, lda, stridea, b,  \
                                                              ldb, strideb, beta, c, ldc, stridec, batch_size);    \
  }                                                                                                                \
  extern "C" ORB_GEMM_BATCH_STRIDED_DECL(orb_blas_lp64_##p##gemm_batch_strided, T, int) {                         \
    orb::thr::call_lp64(orb_blas_##p##gemm_batch_strided, transa, transb, m, n, k, alpha, a, lda, stridea, b, ldb, \
                        strideb, beta, c, ldc, stridec, batch_size);                                               \
  }

ORB_FOR_EACH_PRECISION(ORB_GEMM_BATCH_ENTRIES)
