// Rows of a sparse matrix onto parts of about equal cost, one unit per stored
// entry and one per row.
#pragma once

#include <cmath>
#include <cstdint>

namespace orb::thr {

//! The rule of getStartRow over any row-start accessor: row_start[r] for r
//! in [0, rows] (rows.cpp has the rule and its worked table).  The core's
//! character-descriptor kernels, whose rows have separate start and end
//! arrays, cut their rows with it too.
template <class I, class Starts>
I start_row(int part, int parts, const Starts &row_start, I base, I rows, I entries) {
  if (part <= 0) return 0;
  const I g = static_cast<I>(static_cast<double>(rows) * part / parts);
  const double total = static_cast<double>(entries) + static_cast<double>(rows);
  if (total / parts < 100.0 || total / static_cast<double>(rows) < 1.0) return g;
  const auto cost = [&](I r) { return (row_start[r] - base) + r; };
  const I t = static_cast<I>(part * total / parts);
  if (cost(g) == t) return g;
  I r = g;
  const double tolerance = 20.0 * total / static_cast<double>(rows);
  if (std::fabs(static_cast<double>(cost(g) - t)) > tolerance) {
    I lo = g, hi = g;
    if (cost(g) < t) {
      const I step = rows - g < 20 ? 1 : (rows - g) / 20;
      while (cost(hi) < t) {
        lo = hi;
        hi = hi + step < rows ? hi + step : rows;
      }
    } else {
      const I step = g < 20 ? 1 : g / 20;
      while (cost(lo) > t) {
        hi = lo;
        lo = lo - step > 0 ? lo - step : 0;
      }
    }
    const I span = cost(hi) - cost(lo);
    r = span == 0 ? lo : lo + static_cast<I>(static_cast<double>(hi - lo) * (t - cost(lo)) / span);
  }
  if (cost(r) > t) {
    for (I s = r - 1; s >= 0; --s)
      if (cost(s) < t) return s;
    return 0;
  }
  if (cost(r) < t)
    while (r + 1 <= rows - 1 && cost(r + 1) <= t) ++r;
  return r;
}

//! First row of part `part` of `parts` for a CSR matrix of `rows` rows and
//! `entries` entries whose row-start array (rows + 1 pointers counted from
//! `base`) is row_start: the row where the cost of the rows before it reaches
//! part / parts of the whole (rows.cpp has the rule and its worked table).
template <class I>
I getStartRow(int part, int parts, const I *row_start, I base, I rows, I entries);

//! Fills a 1024-integer partition block for `parts` parts: entry 0 is 0, entry
//! p the first row of part p, entry `parts` the row count, entry 1023 the part
//! count (1 <= parts <= 1022).
template <class I>
void findRowPartitioning(I rows, I entries, const I *row_start, I base, int32_t *block, int parts);

}  // namespace orb::thr
