// Relaxed amalgamation of supernodes: a chain of columns stays one supernode
// while the explicit zeros it stores are few enough for its width.  Narrow
// supernodes cost more in kernel calls and scatters than in zeros, wide ones
// in the dense work on the zeros.
//   width   zeros at most (of the entries stored)
//   <= 4    80 %
//   <= 16   50 %
//   <= 48   10 %
//   wider    5 %
// A tridiagonal matrix of 10 rows: five columns store 20 entries, 10 of them
// zeros (50 %, kept); a sixth would make 27 with 15 zeros (56 %, refused).
#include "kst/kst.hpp"

namespace orb::kst {

bool keep_merged(int64_t width, int64_t stored, int64_t zeros) {
  if (width <= 4) return zeros * 5 <= stored * 4;
  if (width <= 16) return zeros * 2 <= stored;
  if (width <= 48) return zeros * 10 <= stored;
  return zeros * 20 <= stored;
}

}  // namespace orb::kst
