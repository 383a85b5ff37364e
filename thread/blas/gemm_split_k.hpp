// The split of a GEMM along its inner dimension.
#pragma once

#include <orb/internal/blas_args.h>

#include <cstdint>

namespace orb::thr {

//! Whether a call with this record and budget cuts k instead of C.
template <class P>
bool gemm_split_k_applies(const blas_args_t &args, ORB_INT budget, bool strict);

//! Runs the split along k.  Returns false, having written nothing, when the
//! split has fewer than two pieces or its scratch cannot be had; the caller
//! then runs the two-dimensional cut.
template <class P>
bool gemm_split_k(blas_args_t &args, ORB_INT budget);

//! Phase 1: worker ithr multiplies its slice of k into C (worker 0) or into
//! its partial buffer (the others).
template <class P>
int64_t tsq_gemm_block_by_k(int64_t ithr, int64_t nthr, blas_args_t *args);

//! Phase 2: worker ithr adds the partial buffers into its columns of C.
template <class P>
int64_t tsq_gemm_sum_c(int64_t ithr, int64_t nthr, blas_args_t *args);

}  // namespace orb::thr
