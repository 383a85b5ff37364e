// The matrix products a gemm comparison measures.
//
// The full list covers the regimes where a threaded gemm decides differently:
// small squares (is threading worth it at all), large squares (how well the
// two-dimensional cut scales), a tall-skinny product (few column tiles), and
// long inner dimensions with a small C (where only a split along k keeps every
// core busy).  One single and one double-complex square show that the other
// precisions take the same path, and two transposed squares that the products
// the core leaves to its provider do too.
#pragma once

#include "libraries.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace orb::bench {

//! C (m x n) = alpha op(A) op(B) + beta C, op(A) m x k and op(B) k x n; each op is
//! 'N' (as stored), 'T' (transposed) or 'C' (conjugate-transposed).
struct GemmShape {
  Precision prec = Precision::d;
  int64_t m = 0, n = 0, k = 0;
  std::string group;  //!< square, tall-skinny, long-k, transposed, or custom
  char transa = 'N', transb = 'N';
};

//! The shapes of a full run, in the order they are measured.
std::vector<GemmShape> full_shapes();

//! A few shapes for a demonstration that finishes in well under a minute.
std::vector<GemmShape> quick_shapes();

//! Parses "[s|d|z:][OPS:]M" (a square) or "[s|d|z:][OPS:]MxNxK", OPS being the
//! two ops of A and B ("TN"); false on anything else.
bool parse_shape(const std::string &text, GemmShape &shape);

//! "dgemm 1000x1000x1000", or "dgemm TN 2000x2000x2000" when an operand is transposed.
std::string shape_name(const GemmShape &shape);

//! The precision's letter: 's', 'd' or 'z'.
char precision_letter(Precision p);

//! Floating-point operations of one product: 2mnk, or 8mnk for complex.
double gemm_flops(const GemmShape &shape);

}  // namespace orb::bench
