// Argument helpers shared by the interface's routine families: the CBLAS
// enumerators and the position exchange of row-major calls.  The argument
// rules themselves are in blas_rules.hpp.
#pragma once

#include <orb/orb_cblas.h>

#include <cstdint>

#include "report.hpp"

namespace orb::iface {

//! 'N', 'T' or 'C' for a CBLAS transposition; 0 for any other value.
inline char transpose_letter(int trans) {
  switch (trans) {
    case CblasNoTrans: return 'N';
    case CblasTrans: return 'T';
    case CblasConjTrans: return 'C';
    default: return 0;
  }
}

//! 'L' or 'R' for a CBLAS side, 'U' or 'L' for a triangle, 'U' or 'N' for a
//! diagonal; 0 for any other value.
inline char side_letter(int side) { return side == CblasLeft ? 'L' : side == CblasRight ? 'R' : 0; }
inline char uplo_letter(int uplo) { return uplo == CblasUpper ? 'U' : uplo == CblasLower ? 'L' : 0; }
inline char diag_letter(int diag) { return diag == CblasUnit ? 'U' : diag == CblasNonUnit ? 'N' : 0; }

inline bool known_layout(int layout) { return layout == CblasRowMajor || layout == CblasColMajor; }

//! Appends a CBLAS layout or transposition by its enumerator's name, or by
//! its number when it has none.
inline CallText &cblas_layout(CallText &t, int layout) {
  if (layout == CblasRowMajor) return t.word("CblasRowMajor");
  if (layout == CblasColMajor) return t.word("CblasColMajor");
  return t.integer(static_cast<int64_t>(layout));
}
inline CallText &cblas_transpose(CallText &t, int trans) {
  switch (trans) {
    case CblasNoTrans: return t.word("CblasNoTrans");
    case CblasTrans: return t.word("CblasTrans");
    case CblasConjTrans: return t.word("CblasConjTrans");
    default: return t.integer(static_cast<int64_t>(trans));
  }
}

//! Appends a CBLAS side, triangle or diagonal by its enumerator's name, or by
//! its number when it has none.
inline CallText &cblas_side(CallText &t, int side) {
  return side_letter(side) ? t.word(side == CblasLeft ? "CblasLeft" : "CblasRight") : t.integer(int64_t{side});
}
inline CallText &cblas_uplo(CallText &t, int uplo) {
  return uplo_letter(uplo) ? t.word(uplo == CblasUpper ? "CblasUpper" : "CblasLower") : t.integer(int64_t{uplo});
}
inline CallText &cblas_diag(CallText &t, int diag) {
  return diag_letter(diag) ? t.word(diag == CblasUnit ? "CblasUnit" : "CblasNonUnit") : t.integer(int64_t{diag});
}

//! Swaps the report positions a and b: a row-major call reaches the column-
//! major check with its two sizes (and its two matrices) exchanged.
inline int swap_positions(int info, int a, int b) { return info == a ? b : info == b ? a : info; }

}  // namespace orb::iface
