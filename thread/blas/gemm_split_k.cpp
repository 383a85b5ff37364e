// The split of a GEMM along its inner dimension.
//
// A small C with a long k (64 <= m <= 128, 64 <= n <= 256, k >= budget * m and
// k >= budget * n) gives too few tiles of C to keep every worker busy, so the
// workers cut k instead, into the slices of partition/split_k.cpp.  Worker 0
// multiplies its slice straight into C with the caller's beta; every other
// worker writes alpha * op(A)[:, slice] * op(B)[slice, :] into its own m x n
// partial buffer (beta = 0, so nothing of the buffer's earlier contents
// survives).  A second phase gives the same worker indices balanced ranges of
// the columns of C, and each adds the buffers into its columns, in increasing
// buffer order.  Both phases run with one affinity partitioner, so that a
// worker index tends to sum, in phase 2, on the thread whose cache holds the
// partial sums it wrote in phase 1.
//
// Phase 2 adds every buffer, so the worker of an empty slice (budgets of 338
// and more) clears its buffer instead of leaving it as the allocator gave it.
//
// The split is never taken in strict reproducibility mode: the summation order
// depends on the budget.
//
// The complex drivers add one condition, lda == ldb (split_k_extra below): it
// keeps the complex split to the products it is most often for, long-k Gram
// and correlation products of two tall operands stored alike, such as A^H A.
#include <orb/internal/orb_kernels.h>
#include "blas/gemm_split_k.hpp"

#include "blas/blas_precision.hpp"
#include "partition/balanced.hpp"
#include "partition/split_k.hpp"
#include "runtime/loop.hpp"
#include "scratch.hpp"

#include <orb/orb_service.h>

#include <algorithm>
#include <cstring>

namespace orb::thr {

namespace {

//! The further condition of the complex drivers.
template <class P>
bool split_k_extra(const blas_args_t &args) {
  if constexpr (P::is_complex)
    return args.lda == args.ldb;
  else
    return true;
}

}  // namespace

template <class P>
bool gemm_split_k_applies(const blas_args_t &args, ORB_INT budget, bool strict) {
  const ORB_INT m = args.m, n = args.n, k = args.k;
  return budget > 1 && !strict && m >= 64 && m <= 128 && n >= 64 && n <= 256 && k >= m * budget &&
         k >= budget * n && split_k_extra<P>(args);
}

template <class P>
bool gemm_split_k(blas_args_t &args, ORB_INT budget) {
  using T = typename P::value_type;
  const ORB_INT pieces = split_k_slices(args.k, budget);
  // One piece would need no buffer and gain nothing: the caller cuts C instead.
  if (pieces < 2) return false;
  args.part_ld = args.m;
  args.part_size = args.m * args.n;
  const Scratch<T> scratch((pieces - 1) * args.part_size, 2048);
  if (orb_serv_check_ptr_and_warn(scratch.get(), P::gemm_name.c_str()) != 0) return false;
  args.scratch = scratch.get();
  const rt::Affinity affinity;  // without a record both phases run without affinity
  orb_blas_invoke_thin_thread(pieces, tsq_gemm_block_by_k<P>, &args, affinity.get());
  orb_blas_invoke_thin_thread(pieces, tsq_gemm_sum_c<P>, &args, affinity.get());
  args.scratch = nullptr;
  return true;
}

template <class P>
int64_t tsq_gemm_block_by_k(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using T = typename P::value_type;
  const Range ks = split_k_slice(args->k, nthr, ithr);
  T *part = ithr == 0 ? nullptr : static_cast<T *>(args->scratch) + (ithr - 1) * args->part_size;
  if (ks.empty()) {
    if (part) std::memset(static_cast<void *>(part), 0, static_cast<size_t>(args->part_size) * sizeof(T));
    return 0;
  }
  const ORB_INT slice = ks.size(), k0 = ks.begin;
  const T *a = static_cast<const T *>(args->a) + (not_transposed(args->transa) ? k0 * args->lda : k0);
  const T *b = static_cast<const T *>(args->b) + (not_transposed(args->transb) ? k0 : k0 * args->ldb);
  const T *alpha = static_cast<const T *>(args->alpha);
  if (!part) {
    P::gemm_kernel(args->transa, args->transb, &args->m, &args->n, &slice, alpha, a, &args->lda, b, &args->ldb,
                   static_cast<const T *>(args->beta), static_cast<T *>(args->c), &args->ldc);
  } else {
    static const T zero{};
    P::gemm_kernel(args->transa, args->transb, &args->m, &args->n, &slice, alpha, a, &args->lda, b, &args->ldb,
                   &zero, part, &args->part_ld);
  }
  return 0;
}

template <class P>
int64_t tsq_gemm_sum_c(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using R = typename P::real_type;
  const ORB_INT m = args->m, n = args->n;
  const Range cols = balanced_range(n, nthr, ithr);
  if (m < 1 || cols.empty()) return 0;
  const ORB_INT j0 = cols.begin, j1 = cols.end;

  // A complex column is a real column twice as long: sum in reals.
  constexpr ORB_INT r = reals_per_element<P>;
  const ORB_INT rows = m * r, ldc = args->ldc * r, part_ld = args->part_ld * r, part_size = args->part_size * r;
  const ORB_INT nparts = nthr - 1;
  const R *parts = static_cast<const R *>(args->scratch);
  R *c = static_cast<R *>(args->c);

  // Per chunk of a column: acc = buffer 0 + buffer 1 + ... in order, then C += acc.
  constexpr ORB_INT kChunk = 512;
  R acc[kChunk];
  for (ORB_INT j = j0; j < j1; ++j) {
    R *cj = c + j * ldc;
    const R *pj = parts + j * part_ld;
    for (ORB_INT i0 = 0; i0 < rows; i0 += kChunk) {
      const ORB_INT len = std::min(kChunk, rows - i0);
      for (ORB_INT i = 0; i < len; ++i) acc[i] = pj[i0 + i];
      for (ORB_INT p = 1; p < nparts; ++p) {
        const R *src = pj + p * part_size + i0;
        for (ORB_INT i = 0; i < len; ++i) acc[i] += src[i];
      }
      for (ORB_INT i = 0; i < len; ++i) cj[i0 + i] += acc[i];
    }
  }
  return 0;
}

#define ORB_INSTANTIATE(p, P, T)                                                                          \
  template bool gemm_split_k_applies<BlasPrecision<T>>(const blas_args_t &, ORB_INT, bool);       \
  template bool gemm_split_k<BlasPrecision<T>>(blas_args_t &, ORB_INT);                           \
  template int64_t tsq_gemm_block_by_k<BlasPrecision<T>>(int64_t, int64_t, blas_args_t *);        \
  template int64_t tsq_gemm_sum_c<BlasPrecision<T>>(int64_t, int64_t, blas_args_t *);
ORB_FOR_EACH_PRECISION(ORB_INSTANTIATE)
#undef ORB_INSTANTIATE

}  // namespace orb::thr
