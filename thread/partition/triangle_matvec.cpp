// The cuts of the products with a triangle (SYMV, HEMV, TRMV) and the blocks
// of the triangular solve (TRSV).
//
// A product with one triangle of A reads each stored entry once and does two
// flops (SYMV: four) with it, so it is bound by memory as GEMV is, and the
// worker count has GEMV's form with the triangle's area for the matrix.  A
// worker needs far more than GEMV's 32768 entries, though: up to about a
// million entries the triangle sits in the caches, where one call of the
// provider's kernel runs at 35 to 50 GFLOPS, and a second worker, whose start
// on the task runtime can cost tens of microseconds, only loses (measured on
// a Zen 5 at n = 400 and 1000: 0.66x and 0.83x of one call for SYMV, 0.8x to
// 0.9x for TRMV).  So a worker takes 2^19 entries or more:
//
//   W = min(T, n div 64, (n (n + 1) / 2) div 2^19)      W <= 1: one call
//
//      n   T   W
//   1000   4   500500 div 2^19 = 0: one call
//   1100   4   min(4, 17, 1) = 1: one call
//   1500   4   min(4, 23, 2) = 2
//   2000   2   min(2, 31, 3) = 2
//   4000   8   min(8, 62, 15) = 8
//
// SYMV (HEMV) cuts the stored triangle into column blocks of equal area, the
// rank-k update's blocks (partition/triangle.cpp): a worker's diagonal block
// and the rectangle beside it.
//
// TRMV computes x := op(A) x.  Entry r of the result reads row r of op(A):
// with a lower A as stored, or an upper A transposed, that row holds entries
// 0..r (r + 1 of them); otherwise r..n - 1.  So the result's entries cost
// what the columns of an upper (respectively lower) triangle cost, and take
// the same blocks of equal area; a worker computes entries [r0, r1) from the
// diagonal block's r1 - r0 entries of x and from the entries before r0 (after
// r1) of the original x, through the rectangle of A between them:
//
//      n  w  i  uplo  op | entries      | reads beyond them | rectangle of A
//   1000  2  0  lower N  | 0..706       | none              | none
//   1000  2  1  lower N  | 706..1000    | 0..706            | rows 706..1000, cols 0..706
//   1000  2  0  lower T  | 0..294       | 294..1000         | rows 294..1000, cols 0..294
//   1000  2  1  lower T  | 294..1000    | none              | none
//   1000  2  0  upper N  | 0..294       | 294..1000         | rows 0..294, cols 294..1000
//   1000  2  1  upper T  | 706..1000    | 0..706            | rows 0..706, cols 706..1000
//
// TRSV is a chain: entry r of the solution needs every entry before it (in
// the order of the solve), so it is not cut but blocked.  The diagonal blocks
// of kTrsvBlock = 256 are solved one after the other by the sequential kernel,
// and the rectangles between them are GEMV calls through the threaded GEMV,
// which cuts each of them; a solve of order n from kTrsvBlockedFrom = 2048 on
// a budget of 2 or more is blocked (below it the rectangles are too small for
// a second worker to pay for its start).  n = 4000: blocks of 256, the last
// of 160; 15 GEMV calls of 3744 down to 160 rows by 256 columns.
#include "partition/triangle_matvec.hpp"
#include "partition/matvec.hpp"
#include "partition/threshold.hpp"

#include <algorithm>

namespace orb::thr {

int64_t triangle_matvec_workers(int64_t n, int64_t budget) {
  if (n <= 0) return 1;
  int64_t w = std::min(budget, n / threshold(kMatvecLengthPerWorker));
  const unsigned __int128 area = static_cast<unsigned __int128>(n) * static_cast<unsigned __int128>(n + 1) / 2;
  const unsigned __int128 by_area = area / static_cast<unsigned __int128>(threshold(kTriangleMatvecEntriesPerWorker));
  if (by_area < static_cast<unsigned __int128>(w)) w = static_cast<int64_t>(by_area);
  return w;
}

TriangleBlock trmv_block(int64_t n, int64_t w, int64_t i, bool lower, bool transposed) {
  return triangle_block(n, w, i, lower != transposed);
}

bool trsv_blocked(int64_t n, int64_t budget) { return budget > 1 && n >= threshold(kTrsvBlockedFrom); }

}  // namespace orb::thr
