// Member runs of a batch: the products of one group cut into contiguous runs,
// one run per worker.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Products one batch worker takes at least: a group of `members` runs on
//! min(ceil(members / 128), budget) workers (members >= 0, budget >= 1).
constexpr int64_t kMembersPerWorker = 128;
int64_t member_workers(int64_t members, int64_t budget);

//! Worker i's products: [i s, min((i + 1) s, members)) with s = ceil(members / w).
Range member_run(int64_t members, int64_t w, int64_t i);

}  // namespace orb::thr
