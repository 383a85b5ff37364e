// The split of a matrix product along its inner dimension: how many slices of
// k, and which slice each worker multiplies.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Slices of k for this budget: min(budget, k div 336).  Below 2 the split
//! has nothing to gain.
int64_t split_k_slices(int64_t k, int64_t budget);

//! Worker i's steps of k, out of `slices` slices (0 <= i < slices).
Range split_k_slice(int64_t k, int64_t slices, int64_t i);

}  // namespace orb::thr
