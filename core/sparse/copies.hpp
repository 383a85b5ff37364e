// Clean-up of what the analysis hangs on a record, for the handle's
// destruction: the sliced layouts (convert.cpp), the strict upper triangle of
// a full symmetric matrix (up_tri.cpp), the diagonal and the Gauss-Seidel
// data of the solves (trsv.cpp, symgs.cpp).
#pragma once

#include <orb/internal/sparse_layout.hpp>

namespace orb::sparse {

//! Frees the ESB and DIA copies an optimization record holds.  Only the
//! index width matters; instantiated for double with 32- and 64-bit indices.
template <class T, class I>
void free_sliced_copies(OptimizationRecord *o);

//! Frees the strict upper triangle, likewise instantiated.
template <class T, class I>
void destroy_up_tri_from_full_sym_data(OptimizationRecord *o);

//! Frees a record's diagonal data (trsv.cpp) and Gauss-Seidel data
//! (symgs.cpp), likewise instantiated; null does nothing.
template <class T, class I>
void destroy_diagonal_data(void *data);
template <class T, class I>
void destroy_symgs_optimal_data(void *data);

}  // namespace orb::sparse
