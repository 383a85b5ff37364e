// Balanced ranges: n items onto p workers.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Worker i's items when n items fall onto p workers in consecutive ranges
//! whose sizes differ by at most one, the longer ones first (n >= 0, p > 0,
//! 0 <= i < p).
Range balanced_range(int64_t n, int64_t p, int64_t i);

}  // namespace orb::thr
