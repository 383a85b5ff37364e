// The two-dimensional worker that the threaded GEMM drivers run normally, and
// the constants of its grid rule.
#pragma once

#include <orb/internal/blas_args.h>
#include "partition/grid.hpp"

#include <cstdint>

namespace orb::thr {

//! The rule of the real precisions.
constexpr GridRule kRealGridRule = {64, 32, 144, 96, 192, 4};

//! The two-dimensional worker: one kernel call on its rectangle with the full k.
template <class P>
int64_t internal_thread(int64_t ithr, int64_t nthr, blas_args_t *args);

}  // namespace orb::thr
