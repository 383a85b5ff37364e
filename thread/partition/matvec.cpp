// Workers of a driver that streams its matrix once: GEMV (cutting y, so the
// rows of op(A)) and GER (cutting the columns of A and the entries of y).
//
// Such a driver does two flops per element it reads, so a worker pays only
// when its share of the matrix outweighs starting a task.  The rule, for
// budget T, an m x n matrix and len the rows or columns that are cut:
//
//   W = min(T, len div 64, (m * n) div 32768)        W <= 1: one kernel call
//
// 32768 elements is where two workers start to beat one kernel call on
// square matrices; 64 rows or columns per worker keep every block several
// cache lines long (the same table runs as a test):
//
//     m     n  len   T   W
//   4096   512 4096  2   min(2, 64, 64) = 2
//    100  4096 4096  4   min(4, 64, 12) = 4
//    150   150  150  2   22500 div 32768 = 0: one call
//   2000  2000 2000  8   min(8, 31, 122) = 8
//     10 10^6   10  4   10 div 64 = 0: one call
#include "partition/matvec.hpp"

#include "partition/threshold.hpp"

#include <algorithm>

namespace orb::thr {

int64_t matvec_workers(int64_t len, int64_t m, int64_t n, int64_t budget) {
  int64_t w = std::min(budget, len / threshold(kMatvecLengthPerWorker));
  // m * n may overflow only when both are huge, and then every bound above is the smaller.
  if (n > 0 && m < (INT64_MAX / n)) w = std::min(w, m * n / threshold(kMatvecElementsPerWorker));
  return w;
}

}  // namespace orb::thr
