// Member runs of a batch.  A group of `members` independent products runs on
//
//   W = min(ceil(members / 128), budget)
//
// workers, worker i taking the contiguous products [i s, min((i + 1) s, members))
// with s = ceil(members / W): plain blocks (blocks.cpp with quantum 1).  Each
// member is itself a threaded product, so a worker is worth its start only
// once it holds many of them; 128 small products are well past the cost of
// one task.  Contiguous runs keep each worker on neighbouring pointers.
//
// members, budget | W | s   | runs
//      1000     4 | 4 | 250 | [0,250) [250,500) [500,750) [750,1000)
//       100     8 | 1 | 100 | [0,100)
//      1000    16 | 8 | 125 | [0,125) [125,250) ... [875,1000)
//       129     4 | 2 |  65 | [0,65) [65,129)
//       257     4 | 3 |  86 | [0,86) [86,172) [172,257)
//       128     4 | 1 | 128 | [0,128)
//         0     4 | 0 |   - | no worker
// W never exceeds ceil(members / 128), so s >= 128 whenever members > 128 and
// no run is empty: (W - 1) s < members.
#include "partition/members.hpp"
#include "partition/threshold.hpp"

#include "partition/blocks.hpp"

#include <algorithm>

namespace orb::thr {

int64_t member_workers(int64_t members, int64_t budget) {
  return std::min(ceil_div(members, threshold(kMembersPerWorker)), budget);
}

Range member_run(int64_t members, int64_t w, int64_t i) { return block_range(members, w, 1, i); }

}  // namespace orb::thr
