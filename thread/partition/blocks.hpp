// Quantised blocks: len items onto w workers in blocks of a fixed size.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Worker i's items when len items are cut into blocks of ceil(len / w)
//! rounded up to a multiple of q, in worker order (len >= 0, w > 0, q > 0,
//! 0 <= i < w).  q = 1 gives plain blocks of ceil(len / w).
Range block_range(int64_t len, int64_t w, int64_t q, int64_t i);

}  // namespace orb::thr
