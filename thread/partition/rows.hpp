// Rows of a sparse matrix onto parts of about equal cost, one unit per stored
// entry and one per row.
#pragma once

#include <cstdint>

namespace orb::thr {

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
