// The rules every layer applies to a sparse product's codes: which operation
// and descriptor are valid, and which analysed product serves a call.  The
// interface checks a hint with them, the threading layer's product entry a
// call; writing them once keeps the two from disagreeing.
#pragma once

#include <orb/orb_sparse.h>

namespace orb::sparse {

inline bool fill_valid(int32_t fill) { return fill >= ORB_SPARSE_LOWER && fill <= ORB_SPARSE_FULL; }
inline bool diag_valid(int32_t diag) { return diag == ORB_SPARSE_NON_UNIT || diag == ORB_SPARSE_UNIT; }

//! 0 when the operation and descriptor are valid, else 3.  The fill mode of a
//! general matrix is not read, nor is the fill mode of a (block) diagonal one.
inline int32_t descriptor_status(int32_t op, orb_sparse_descr d) {
  if (op < ORB_SPARSE_OP_N || op > ORB_SPARSE_OP_C) return ORB_SPARSE_BAD_VALUE;
  switch (d.type) {
    case ORB_SPARSE_GENERAL:
      return ORB_SPARSE_OK;
    case ORB_SPARSE_SYMMETRIC:
    case ORB_SPARSE_HERMITIAN:
    case ORB_SPARSE_TRIANGULAR:
    case ORB_SPARSE_BLOCK_TRIANGULAR:
      return fill_valid(d.fill) && diag_valid(d.diag) ? ORB_SPARSE_OK : ORB_SPARSE_BAD_VALUE;
    case ORB_SPARSE_DIAGONAL:
    case ORB_SPARSE_BLOCK_DIAGONAL:
      return diag_valid(d.diag) ? ORB_SPARSE_OK : ORB_SPARSE_BAD_VALUE;
    default:
      return ORB_SPARSE_BAD_VALUE;
  }
}

//! Whether an analysed product for (op, hint) serves a call with (op, d): the
//! same operation and type, and what of the rest the type reads: fill and
//! diagonal for symmetric, Hermitian and triangular, the diagonal for a
//! diagonal matrix, the fill mode for a block triangular one.
inline bool hint_matches(int32_t hint_op, orb_sparse_descr hint, int32_t op, orb_sparse_descr d) {
  if (hint_op != op || hint.type != d.type) return false;
  switch (d.type) {
    case ORB_SPARSE_SYMMETRIC:
    case ORB_SPARSE_HERMITIAN:
    case ORB_SPARSE_TRIANGULAR:
      return hint.fill == d.fill && hint.diag == d.diag;
    case ORB_SPARSE_DIAGONAL:
      return hint.diag == d.diag;
    case ORB_SPARSE_BLOCK_TRIANGULAR:
      return hint.fill == d.fill;
    default:
      return true;
  }
}

}  // namespace orb::sparse
