// Loops over (block, row) pairs: the product of a sparse matrix with several
// right-hand sides runs one loop over every pair of a block of right-hand
// sides and a row, numbered block by block (pair = block * rows + row), so
// that the runtime's splitting spreads many rows or many blocks alike.  A
// sub-range of pairs is then cut at block boundaries into pieces of one block
// and a range of its rows (pairs.cpp has the worked table).
#pragma once

#include <cstdint>

namespace orb::thr {

//! Rows [first, last) of block `block`.
struct PairPiece {
  int64_t block = 0;
  int64_t first = 0;
  int64_t last = 0;
};

//! The first piece of the pairs [at, end) over `rows` rows (at < end, rows
//! > 0); the next piece starts at block * rows + last.
PairPiece pair_piece(int64_t at, int64_t end, int64_t rows);

}  // namespace orb::thr
