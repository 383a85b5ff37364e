// Column blocks of equal area of a triangle of order n.
//
// Column j of the lower triangle holds n - j entries, column j of the upper
// one j + 1: a block of columns costs its area, not its width.  In the lower
// triangle the first b columns hold
//
//   area(b) = b (2n - b + 1) / 2,   of n (n + 1) / 2 in all,
//
// and worker i of w starts at the first column b with area(b) w >= i n (n + 1) / 2
// (a binary search: area grows with b); it ends where worker i + 1 starts.
// The upper triangle is the lower one read from its last column back, so its
// blocks are the lower triangle's mirrored: worker i of the upper triangle
// takes the columns that worker w - 1 - i takes in the lower one, counted
// from the right.  The first block of the lower triangle is the narrowest
// (its columns are the longest), the last the widest.
//
// A rank-k update then costs each worker about the same: its diagonal block
// is one SYRK (or HERK) call, the rectangle beside it one GEMM call.  The
// rectangle holds the rows of the triangle's columns [j0, j1) below the block
// in the lower triangle (rows j1..n), above it in the upper one (rows 0..j0):
//
//      n  w  i  triangle | columns      | rectangle rows
//   1000  2  0  lower    | 0..294       | 294..1000
//   1000  2  1  lower    | 294..1000    | none
//   1000  2  0  upper    | 0..706       | none
//   1000  2  1  upper    | 706..1000    | 0..706
//     10  4  1  lower    | 2..4         | 4..10
//
// A rank-2k update (SYR2K, HER2K) and one triangle of a product (GEMMT) cut
// the same way; the rank-2k update's rectangle is two GEMM calls.
//
// n columns onto w workers, lower triangle (the same table runs as a test;
// the upper triangle's sizes are the same, reversed):
//
//      n  w | starts                  | sizes              | areas
//   1000  2 | 0 294                   | 294 706            | 250929 249571
//   1000  4 | 0 135 294 501           | 135 159 207 499    | 125955 124974 124821 124750
//    100  3 | 0 19 43                 | 19 24 57           | 1729 1668 1653
//     10  4 | 0 2 4 6                 | 2 2 2 4            | 19 15 11 10
//      5  8 | 0 1 1 2 2 3 3 4         | 1 0 1 0 1 0 1 1    | a worker may get nothing
//
// The worker count, min(T, n div 32, area k div 2^17), at least 1, gives every
// worker 32 columns or more and 2^17 (about 131,000) multiply-adds or more,
// the work below which a worker costs more than it saves: n = 1000, k = 1000
// on a budget of 4 is 4 workers; n = 100 on 8 is 3; n = 31 is always 1.  A
// rank-2k update does twice a rank-k update's work and is counted with 2k:
// n = 100, k = 40 on 4 is one worker for SYRK (area k = 202000 < 2 x 2^17)
// and 3 for SYR2K (404000 div 2^17 = 3).
//
// Blocks of equal cost.  Where the diagonal block costs more per entry than
// the rectangle beside it (GEMMT builds its diagonal block of ever smaller
// products), equal areas leave the widest block, all diagonal, for last:
// n = 2000, k = 2000 on two workers of the Zen 5, columns 0..586 (GEMMT of
// 586 and a GEMM of 1414 x 586) took 49-51 ms and columns 586..2000 (GEMMT of
// 1414) 54-58 ms.  With weight d on diagonal entries a lower block [j0, j1)
// costs
//
//   cost(j0, j1) = (n - j1)(j1 - j0) + d (j1 - j0)(j1 - j0 + 1) / 2,
//
// and the blocks are cut greedily to a common target t: each ends at the
// first column where its cost reaches t; t is the bisection's answer to
// "the last block costs no more than t" (60 halvings of [0, cost(0, n)]).
// With d = 1.12 the example above starts worker 1 at column 619 (equal areas:
// 586), and the two took 50-51 and 51-54 ms.  The upper triangle mirrors the
// lower one as above.  The same table runs as a test:
//
//      n  w  d    | starts
//   2000  2  1.12 | 0 619
//   2000  2  1    | 0 586      (equal areas)
//   1000  4  1.12 | 0 139 304 520
//     10  4  1.12 | 0 2 4 6
#include "partition/triangle.hpp"
#include "partition/threshold.hpp"

#include <algorithm>

namespace orb::thr {

namespace {

using wide = unsigned __int128;

//! Entries in the first b columns of the lower triangle of order n.
wide lower_area(int64_t n, int64_t b) { return static_cast<wide>(b) * static_cast<wide>(2 * n - b + 1) / 2; }

//! The first column of worker i of w in the lower triangle of order n.
int64_t lower_start(int64_t n, int64_t w, int64_t i) {
  const wide goal = static_cast<wide>(i) * lower_area(n, n);
  int64_t lo = 0, hi = n;
  while (lo < hi) {
    const int64_t mid = lo + (hi - lo) / 2;
    if (lower_area(n, mid) * static_cast<wide>(w) >= goal)
      hi = mid;
    else
      lo = mid + 1;
  }
  return lo;
}

}  // namespace

int64_t triangle_workers(int64_t n, int64_t k, int64_t budget) {
  const wide by_work = lower_area(n, n) * static_cast<wide>(k) / threshold(kTriangleWorkPerWorker);
  int64_t w = std::min(budget, n / threshold(kTriangleColumnsPerWorker));
  if (by_work < static_cast<wide>(w)) w = static_cast<int64_t>(by_work);
  return std::max<int64_t>(w, 1);
}

Range triangle_columns(int64_t n, int64_t w, int64_t i, bool upper) {
  if (!upper) return {lower_start(n, w, i), lower_start(n, w, i + 1)};
  const int64_t mirror = w - 1 - i;
  return {n - lower_start(n, w, mirror + 1), n - lower_start(n, w, mirror)};
}

TriangleBlock triangle_block(int64_t n, int64_t w, int64_t i, bool upper) {
  const Range cols = triangle_columns(n, w, i, upper);
  return {cols, upper ? Range{0, cols.begin} : Range{cols.end, n}};
}

namespace {

double lower_cost(int64_t n, int64_t j0, int64_t j1, double d) {
  const double w = static_cast<double>(j1 - j0);
  return static_cast<double>(n - j1) * w + d * w * (w + 1) / 2;
}

// The end of the lower block starting at j0 whose cost first reaches t.
int64_t lower_end(int64_t n, int64_t j0, double t, double d) {
  int64_t lo = j0, hi = n;
  while (lo < hi) {
    const int64_t mid = lo + (hi - lo) / 2;
    if (lower_cost(n, j0, mid, d) >= t)
      hi = mid;
    else
      lo = mid + 1;
  }
  return lo;
}

// Where block i of w starts in the lower triangle under target t (w for n).
int64_t lower_weighted_start(int64_t n, int64_t w, int64_t i, double t, double d) {
  if (i >= w) return n;
  int64_t j = 0;
  for (int64_t b = 0; b < i; ++b) j = lower_end(n, j, t, d);
  return j;
}

double lower_weighted_target(int64_t n, int64_t w, double d) {
  double lo = 0, hi = lower_cost(n, 0, n, d);
  for (int step = 0; step < 60; ++step) {
    const double t = (lo + hi) / 2;
    if (lower_cost(n, lower_weighted_start(n, w, w - 1, t, d), n, d) <= t)
      hi = t;
    else
      lo = t;
  }
  return hi;
}

}  // namespace

TriangleBlock weighted_triangle_block(int64_t n, int64_t w, int64_t i, bool upper, double diagonal_cost) {
  const double t = lower_weighted_target(n, w, diagonal_cost);
  const int64_t li = upper ? w - 1 - i : i;
  const Range lower{lower_weighted_start(n, w, li, t, diagonal_cost), lower_weighted_start(n, w, li + 1, t, diagonal_cost)};
  const Range cols = upper ? Range{n - lower.end, n - lower.begin} : lower;
  return {cols, upper ? Range{0, cols.begin} : Range{cols.end, n}};
}

}  // namespace orb::thr
