// Right-hand sides of a triangular solve onto workers, and the columns (or
// rows) of C of a product with a symmetric or Hermitian A, which fall the
// same way: each column of C is A times a column of B, order^2 multiply-adds,
// independent of the others.  The rule counts a solve's order^2 / 2, so a
// product reaches each worker count at half the work a solve needs for it.
//
// Each right-hand side (a column of B when A stands on the left, a row of B
// when it stands on the right) is solved on its own: the pieces are
// independent, and every one costs the same, order^2 / 2 multiply-adds per
// right-hand side.  So the cut needs no balancing by shape, only equal
// counts: balanced ranges of the right-hand sides, one kernel call each.
//
//   W = min(T, rhs div 32, (order^2 rhs / 2) div 2^17), at least 1
//
// Every worker's kernel call packs the whole triangle for itself, order^2 / 2
// elements, beside its order^2 / 2 multiply-adds per right-hand side; with at
// least 32 right-hand sides the packing is a few percent of the piece.  The
// second bound keeps every worker at 2^17 (about 131,000) multiply-adds or
// more, the work below which starting the worker costs more than it saves:
// a tiny triangle with many right-hand sides is one call.
//
// A few cases (the same table runs as a test):
//
//   order   rhs   T | rhs/32  work/2^17 |  W | sizes
//    1000  1000   4 |    31       3814  |  4 | 250 250 250 250
//    1000   130   4 |     4        495  |  4 | 33 33 32 32
//    1000   100   8 |     3        381  |  3 | 34 33 33
//    1000    31   4 |     0        118  |  1 | 31
//      64  1000   4 |    31         15  |  4 | 250 250 250 250
//      64   200   8 |     6          3  |  3 | 67 67 66
//      16  1000   8 |    31          0  |  1 | 1000
//    4000  4000  16 |   125     244140  | 16 | 250 x 16
//    1000  1000   1 |    31       3814  |  1 | 1000
#include "partition/rhs.hpp"
#include "partition/threshold.hpp"

#include "partition/balanced.hpp"

#include <algorithm>

namespace orb::thr {

int64_t rhs_workers(int64_t order, int64_t rhs, int64_t budget) {
  // order^2 rhs overflows 64 bits only for operands far beyond any memory,
  // but the bound is cheap to keep exact.
  const unsigned __int128 work = static_cast<unsigned __int128>(order) * order * rhs / 2;
  const unsigned __int128 by_work = work / threshold(kRhsWorkPerWorker);
  int64_t w = std::min(budget, rhs / threshold(kRhsPerWorker));
  if (by_work < static_cast<unsigned __int128>(w)) w = static_cast<int64_t>(by_work);
  return std::max<int64_t>(w, 1);
}

Range rhs_range(int64_t rhs, int64_t w, int64_t i) { return balanced_range(rhs, w, i); }

}  // namespace orb::thr
