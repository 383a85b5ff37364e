// The sliced layouts' clean-up, for the handle's destruction (convert.cpp
// builds them).
#pragma once

#include <orb/internal/sparse_layout.hpp>

namespace orb::sparse {

//! Frees the ESB and DIA copies an optimization record holds.  Only the
//! index width matters; instantiated for double with 32- and 64-bit indices.
template <class T, class I>
void free_sliced_copies(OptimizationRecord *o);

}  // namespace orb::sparse
