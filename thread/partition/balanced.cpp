// Balanced ranges: n items onto p workers in consecutive ranges whose sizes
// differ by at most one.
//
// Every worker takes base = n div p items and the first rest = n mod p
// workers one more, so worker i starts at i (base + 1) when i < rest and at
// i base + rest after them.  No worker is idle while n >= p; with fewer items
// than workers, workers n .. p - 1 get an empty range at n.
//
// n items onto 4 workers in each case, and the columns of C that 8 workers sum
// after a split along k (the same table runs as a test):
//
//     n  p | base rest | sizes                    | ranges
//    10  4 |   2    2  | 3 3 2 2                  | [0,3) [3,6) [6,8) [8,10)
//    12  4 |   3    0  | 3 3 3 3                  | [0,3) [3,6) [6,9) [9,12)
//     3  4 |   0    3  | 1 1 1 0                  | [0,1) [1,2) [2,3) [3,3)
//     0  4 |   0    0  | 0 0 0 0                  | all [0,0)
//   100  8 |  12    4  | 13 13 13 13 12 12 12 12  | [0,13) ... [52,64) ... [88,100)
//     5  8 |   0    5  | 1 1 1 1 1 0 0 0          | [0,1) ... [4,5), then [5,5)
#include "partition/balanced.hpp"

namespace orb::thr {

Range balanced_range(int64_t n, int64_t p, int64_t i) {
  const int64_t base = n / p, rest = n % p;
  const int64_t begin = i < rest ? i * (base + 1) : i * base + rest;
  return {begin, begin + (i < rest ? base + 1 : base)};
}

}  // namespace orb::thr
