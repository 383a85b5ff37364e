// The pieces of a sub-range of (block, row) pairs.  With 40 right-hand sides
// in blocks of 16 and 1000 rows there are 3000 pairs:
//
//   pairs          pieces (block: rows)
//   [0, 1000)      0: [0, 1000)
//   [900, 2100)    0: [900, 1000), 1: [0, 1000), 2: [0, 100)
//   [1500, 1700)   1: [500, 700)
//   [2999, 3000)   2: [999, 1000)
#include "partition/pairs.hpp"

namespace orb::thr {

PairPiece pair_piece(int64_t at, int64_t end, int64_t rows) {
  const int64_t block = at / rows;
  const int64_t last = end - block * rows < rows ? end - block * rows : rows;
  return {block, at % rows, last};
}

}  // namespace orb::thr
