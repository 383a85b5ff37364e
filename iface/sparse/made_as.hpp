// What the interface reads of any handle before it knows its type: the
// value kind and index width it was made with.
#pragma once

#include <orb/internal/sparse_layout.hpp>

namespace orb::iface {

//! What every handle starts with, whatever its type and width.
inline const sparse::SparseHandle<double, int32_t> *header(orb_sparse_matrix A) {
  return sparse::handle_cast<double, int32_t>(A);
}

//! Whether the handle was made with value type T and index type I.
template <class T, class I>
bool made_as(orb_sparse_matrix A) {
  return header(A)->value_kind == sparse::value_kind_of<T>() && header(A)->index_bytes == sizeof(I);
}

}  // namespace orb::iface
