// The cut of a level-1 vector operation.
//
// Workers.  Below the threshold of its rule, a routine makes one kernel call;
// above it each worker must get per_worker elements or more:
//
//   W = min(ceil(n / per_worker), T)          (W = 1 when n < min_n or T <= 1)
//
//    rule     n      T | W
//    pair   4095     4 | 1        below the threshold of 4096
//    pair   4096     4 | 2        ceil(4096 / 2048) = 2
//    pair  10000     4 | 4        ceil(10000 / 2048) = 5, held to T
//    pair  10000     1 | 1        no budget
//    single 8191     4 | 1        below the threshold of 8192
//    single 8192    16 | 2        ceil(8192 / 4096) = 2
//
// Elements.  Each worker takes a contiguous run of logical elements, the
// first `rest` workers one more than the others:
//
//   base = max(n div w, 1),  rest = max(n - base w, 0)
//   i < rest:  [i (base + 1), i (base + 1) + base + 1)
//   i >= rest: [i base + rest, i base + rest + base), clipped to n
//
// n elements onto 4 workers (the same table runs as a test):
//
//     n  w | base rest | sizes           | ranges
//    10  4 |   2    2  | 3 3 2 2         | [0,3) [3,6) [6,8) [8,10)
//     8  4 |   2    0  | 2 2 2 2         | [0,2) [2,4) [4,6) [6,8)
//     3  4 |   1    0  | 1 1 1 0         | [0,1) [1,2) [2,3) [3,3)
//  4096  2 | 2048   0  | 2048 2048       | [0,2048) [2048,4096)
// 10001  4 | 2500   1  | 2501 2500 x 3   | [0,2501) [2501,5001) ...
//
// Memory.  With inc >= 0, logical element j lives at j inc.  With inc < 0 the
// standard walks the vector from its far end: element j lives at
// (n - 1 - j) |inc|.  A worker with elements [s, s + len) then starts at
// inc (s + len - n), and the kernel, given the piece and the same negative
// increment, walks it from the piece's far end, s.  For n = 10, inc = -1:
// [0,3) starts at 7 and covers 9, 8, 7; [8,10) starts at 0 and covers 1, 0.
#include "partition/level1.hpp"
#include "partition/threshold.hpp"

#include <algorithm>

namespace orb::thr {

int64_t level1_workers(int64_t n, Level1Rule rule, int64_t budget) {
  if (n < threshold(rule.min_n) || budget <= 1) return 1;
  return std::min(ceil_div(n, threshold(rule.per_worker)), budget);
}

Range level1_range(int64_t n, int64_t w, int64_t i) {
  const int64_t base = std::max<int64_t>(n / w, 1);
  const int64_t rest = std::max<int64_t>(n - base * w, 0);
  const int64_t start = i < rest ? i * (base + 1) : i * base + rest;
  const int64_t length = i < rest ? base + 1 : base;
  if (start >= n) return {n, n};
  return {start, std::min(start + length, n)};
}

int64_t level1_offset(int64_t n, int64_t inc, Range r) {
  return inc >= 0 ? inc * r.begin : inc * (r.end - n);
}

}  // namespace orb::thr
