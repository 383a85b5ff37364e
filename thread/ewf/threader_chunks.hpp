// How the statistics loop groups n indices into chunks when its caller asks
// for fewer threads than the arena has.
//
// Each chunk holds L = n / t + 1 consecutive indices (integer division), and
// there are K = ceil(n / L) of them, so only the last one can be short.  One
// index more per chunk than the even share keeps K at or below t:
//
//    n   t |  L  K | chunks
//   10   1 | 11  1 | 0-9
//   10   2 |  6  2 | 0-5, 6-9
//   10   3 |  4  3 | 0-3, 4-7, 8-9
//   10   4 |  3  4 | 0-2, 3-5, 6-8, 9
//   12   5 |  3  4 | 0-2, 3-5, 6-8, 9-11     (fewer chunks than threads)
//    3   5 |  1  3 | 0, 1, 2
//
// The arithmetic is done in 64 bits: L reaches 2^31 for n = 2^31 - 1, t = 1.
#pragma once

#include <cstdint>

namespace orb::thr {

//! Chunk length and count of the statistics loop; count 0 means no work.
struct ChunkPlan {
  int64_t length = 0;  //!< L: indices per chunk
  int64_t count = 0;   //!< K: number of chunks
};

//! The chunks of n indices for t requested threads (t > 0).
inline ChunkPlan plan_chunks(int n, int t) {
  ChunkPlan p;
  if (n < 1 || t < 1) return p;
  p.length = static_cast<int64_t>(n) / t + 1;
  p.count = n / p.length;
  if (p.count * p.length < n) ++p.count;
  return p;
}

}  // namespace orb::thr
