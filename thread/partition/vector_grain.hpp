// Vector functions: how finely a long vector may be cut, and by which splitter.
//
// A piece of a vector-function loop should hold about 10000 units of work, so
// the grain (the fewest elements the runtime leaves in a piece) is 10000 over
// the caller's cost of one element, computed in single precision and truncated:
//
//   cost      grain   (a piece of a vector of 10^6 elements)
//   1         10000   at least 10000 elements: an exponential of doubles
//   2.5        4000
//   100         100   at least 100 elements: a function costlier than a call
//   10000         1
//   20000         0   no lower bound: every element pays for a task
//
// A cost of 0 or one whose quotient overflows an int gives INT_MAX (the vector
// in one piece: nothing says it is worth cutting); a negative or NaN cost 0.
//
// The splitter comes from the mode word's bits 0x30000: 0x10000 one piece per
// thread fixed in advance, 0x20000 pieces down to the grain, 0 or 0x30000 the
// runtime's adaptive splitting.
#pragma once

#include "runtime/loop.hpp"

#include <cstdint>

namespace orb::thr {

//! The fewest elements of a piece for a per-element cost (see above).
int vector_grain(float cost);

//! The splitter the mode word asks for.
rt::Split vector_split(unsigned mode);

}  // namespace orb::thr
