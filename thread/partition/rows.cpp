// Balanced rows of a sparse matrix: where part p of P starts.
//
// The cost of the rows before row r is cost(r) = (row_start[r] - base) + r:
// one unit per stored entry, one per row (a row's own work of loading and
// storing y).  Part p should start where that cost reaches t = p (entries +
// rows) / P.
//
//   1. Part 0 starts at row 0.
//   2. The first guess is the even split of rows, g = rows p / P.
//   3. Small problems, under 100 units a part or under 1 unit a row on
//      average, keep g: a search would cost more than the imbalance.
//   4. cost(g) == t: g.
//   5. Within 20 times the average row cost of t: adjust g (step 8).
//   6. Otherwise gallop towards t from g in steps of a twentieth of the rows
//      on that side (at least 1), clamped to [0, rows), until the cost
//      crosses t; the last two rows visited bracket it.
//   7. Interpolate linearly between the bracket rows.
//   8. Adjust: above t, walk down to the first row whose cost is below t (0 if
//      none); below t, walk up while the next row exists and its cost does
//      not exceed t, never past rows - 1.
//
// Worked table (the same rows run as a test):
//
//   rows  entries         parts part | path                          | start
//     10       30             4    1 | 10 units a part: even split   |     2
//     10       30             4    3 | even split                    |     7
//   1000    10000 (10 a row)  2    1 | cost(500) == t = 5500         |   500
//   1000    19990 (row 0:     2    1 | cost(500) = 15490, t = 10495, |    45
//                  10000,            |   gallop down by 25 to row 25,|
//                  others 10)        |   interpolate 45, walk up: no |
//   1000    19990 (same)      4    3 | cost(750) = 18240, t = 15742, |   522
//                                    |   gallop down by 37 to 491,   |
//                                    |   interpolate 522 (cost 15732)|
//   1000    19990 (row 999:   2    1 | cost(500) = 5500, t = 10495,  |   954
//                  10000,            |   gallop up by 25 to 950,     |
//                  others 10)        |   cost(975) = 10725 brackets, |
//                                    |   interpolate 954 (10494)     |
//   1000    10190 (row 999:   2    1 | cost(500) = 5500, t = 5595,   |   508
//                  200, others 10)   |   within 20 x 11.19: walk up  |
//
// The analysis uses part 1 of P; findRowPartitioning fills every part's start.
#include "partition/rows.hpp"


namespace orb::thr {

template <class I>
I getStartRow(int part, int parts, const I *row_start, I base, I rows, I entries) {
  return start_row<I>(part, parts, row_start, base, rows, entries);
}

template <class I>
void findRowPartitioning(I rows, I entries, const I *row_start, I base, int32_t *block, int parts) {
  block[0] = 0;
  for (int p = 1; p < parts; ++p)
    block[p] = static_cast<int32_t>(getStartRow<I>(p, parts, row_start, base, rows, entries));
  block[parts] = static_cast<int32_t>(rows);
  block[1023] = parts;
}

template int32_t getStartRow<int32_t>(int, int, const int32_t *, int32_t, int32_t, int32_t);
template int64_t getStartRow<int64_t>(int, int, const int64_t *, int64_t, int64_t, int64_t);
template void findRowPartitioning<int32_t>(int32_t, int32_t, const int32_t *, int32_t, int32_t *, int);
template void findRowPartitioning<int64_t>(int64_t, int64_t, const int64_t *, int64_t, int32_t *, int);

}  // namespace orb::thr
