// Quantised blocks: len items onto w workers in blocks of one size, a multiple
// of a quantum q, worker i taking block i.
//
//   block = ceil(ceil(len / w) / q) * q,   worker i: [min(block i, len), min(block (i + 1), len))
//
// Every block starts at a multiple of q, so a block of rows or of vector
// entries starts on the boundary the quantum stands for (GEMV's 16 entries
// keep every row block of A on a cache-line boundary when A is on one).  Only
// the last non-empty block can be short.  Rounding up can leave trailing
// workers without items, also with q = 1: 9 items on 4 workers take blocks of
// 3 and leave the fourth worker nothing.  Callers give such a worker nothing
// to do, or a kernel call of 0 items.
//
// len items onto 4 workers in each case, and GEMV's cuts of y (the same table
// runs as a test):
//
//    len  w   q | block | sizes            | ranges
//     10  4   1 |    3  | 3 3 3 1          | [0,3) [3,6) [6,9) [9,10)
//      9  4   1 |    3  | 3 3 3 0          | [0,3) [3,6) [6,9) [9,9)
//      0  4   1 |    0  | 0 0 0 0          | all [0,0)
//    100  4  16 |   32  | 32 32 32 4       | [0,32) [32,64) [64,96) [96,100)
//     40  4  16 |   16  | 16 16 8 0        | [0,16) [16,32) [32,40) [40,40)
//   4096  2  16 | 2048  | 2048 2048        | [0,2048) [2048,4096)
//   4096  4  16 | 1024  | 1024 x 4         | [0,1024) ... [3072,4096)
#include "partition/blocks.hpp"

#include <algorithm>

namespace orb::thr {

Range block_range(int64_t len, int64_t w, int64_t q, int64_t i) {
  const int64_t block = ceil_div(ceil_div(len, w), q) * q;
  return {std::min(block * i, len), std::min(block * (i + 1), len)};
}

}  // namespace orb::thr
