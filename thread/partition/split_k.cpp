// The split of a matrix product along its inner dimension.
//
// P workers each multiply one slice of k, then the same P worker indices add
// the partial products into C, each over its own columns.
//
// Slices: P = min(budget, k div 336), so that every slice keeps at least 336
// steps of k for the kernel to stream; P below 2 is no split.  The slices are
// plain blocks (blocks.cpp, q = 1): kb = ceil(k / P), worker i takes
// [min(kb i, k), min(kb (i + 1), k)), and only the last slice is short.
//
//        k  budget |   P    kb | slices
//    10000       8 |   8  1250 | eight of 1250
//     1000       2 |   2   500 | [0,500) [500,1000)
//      600       2 |   1       | none: one slice would only cost a buffer
//     2693       8 |   8   337 | seven of 337, the last [2359,2693) of 334
//   113569     338 | 338   337 | 337 of 337, the last [113569,113569) empty
//
// No slice is empty while P < 337 (k >= 336 P > P (P - 1), and the last slice
// starts at kb (P - 1) < k); with larger budgets the worker of an empty slice
// must still leave its partial product defined.
//
// The summation gives the P workers balanced ranges (balanced.cpp) of the n
// columns of C; its table ends with two such cuts.
#include "partition/split_k.hpp"
#include "partition/threshold.hpp"

#include "partition/blocks.hpp"

#include <algorithm>

namespace orb::thr {

namespace {

constexpr int64_t kMinSliceK = 336;

}  // namespace

int64_t split_k_slices(int64_t k, int64_t budget) { return std::min(budget, k / threshold(kMinSliceK)); }

Range split_k_slice(int64_t k, int64_t slices, int64_t i) { return block_range(k, slices, 1, i); }

}  // namespace orb::thr
