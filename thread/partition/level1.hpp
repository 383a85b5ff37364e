// The cut of a level-1 vector operation: how many workers, which elements
// each takes, and where its elements start in memory.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! When a level-1 routine threads, and how much each worker must get.
struct Level1Rule {
  int64_t min_n;       //!< fewer elements run as one kernel call
  int64_t per_worker;  //!< elements that pay for one worker
};

//! Two-vector routines (dot, axpy, axpby, copy, swap, rot, rotm).
constexpr Level1Rule kLevel1Pair = {4096, 2048};
//! One-vector routines (asum, nrm2, scal).
constexpr Level1Rule kLevel1Single = {8192, 4096};

//! Workers for n elements under `rule` with budget T: 1 below the rule's
//! threshold or for T <= 1, else min(ceil(n / per_worker), T).
int64_t level1_workers(int64_t n, Level1Rule rule, int64_t budget);

//! Worker i's elements when n elements are cut among w workers
//! (n >= 0, w > 0, 0 <= i < w).
Range level1_range(int64_t n, int64_t w, int64_t i);

//! Where the elements r of a vector of n elements with increment inc start,
//! in elements from the vector's base, so that a kernel called from there
//! with the same increment visits the elements the whole call would.
int64_t level1_offset(int64_t n, int64_t inc, Range r);

}  // namespace orb::thr
