// How the copy and addition routines read their character codes, address a
// matrix element, and check and report their arguments.
//
// Element (i, j) of a matrix is X[i*rs + j*cs]: column-major rs is the
// stride inside a column (1 for plain matrices) and cs the leading dimension;
// row-major the two swap.  Transposing an operand swaps its rs and cs, so
// every routine reduces to "element (i, j) of the result from element (i, j)
// of each operand's view".
#pragma once

#include "service/report.hpp"

#include <orb/orb_types.h>

#include <cstddef>

namespace orb::core::trans {

//! Storage order from 'R' / 'C' (either case); false for any other character.
inline bool decode_ordering(char c, bool &row_major) {
  if (c != 'R' && c != 'r' && c != 'C' && c != 'c') return false;
  row_major = c == 'R' || c == 'r';
  return true;
}

//! What op() does to an operand.
struct Op {
  bool transpose = false;
  bool conjugate = false;  //!< ignored by the real types
};

//! op() from 'N', 'T', 'R' (conjugate) or 'C' (conjugate transpose), either case.
inline bool decode_op(char c, Op &op) {
  switch (c) {
    case 'N': case 'n': op = {false, false}; return true;
    case 'T': case 't': op = {true, false}; return true;
    case 'R': case 'r': op = {false, true}; return true;
    case 'C': case 'c': op = {true, true}; return true;
    default: return false;
  }
}

//! Element (i, j) lies at offset i*rs + j*cs.
struct View {
  ORB_INT rs;
  ORB_INT cs;
};

//! The view of a stored matrix with leading dimension ld and line stride.
inline View stored(bool row_major, ORB_INT ld, ORB_INT stride = 1) {
  return row_major ? View{ld, stride} : View{stride, ld};
}

//! The same matrix seen through op(): transposition swaps the strides.
inline View through(View v, Op op) { return op.transpose ? View{v.cs, v.rs} : v; }

//! The smallest legal leading dimension of a stored rows x cols matrix.
inline ORB_INT min_ld(bool row_major, ORB_INT rows, ORB_INT cols) {
  const ORB_INT line = row_major ? cols : rows;
  return line > 1 ? line : 1;
}

//! Records the position of the first argument that fails its requirement.
class ArgCheck {
 public:
  //! Notes `position` as illegal unless `ok`, if no earlier argument was.
  void require(bool ok, int position) {
    if (!ok && first_ == 0) first_ = position;
  }
  //! 0 when every requirement held.
  int first() const { return first_; }

 private:
  int first_ = 0;
};

//! What the opening checks of a copy decode: the storage order, op(), and
//! the shape of the result op(A).
struct CopyHead {
  bool row_major = false;
  Op op;
  bool empty = false;  //!< rows or cols is 0 (or negative, which the check reports)
  ORB_INT brows = 0;   //!< rows of op(A)
  ORB_INT bcols = 0;   //!< columns of op(A)
};

//! The checks every copy opens with (1 ordering, 2 trans, 3 rows, 4 cols).
inline CopyHead check_copy_head(ArgCheck &check, char ordering, char trans, ORB_INT rows, ORB_INT cols) {
  CopyHead h;
  check.require(decode_ordering(ordering, h.row_major), 1);
  check.require(decode_op(trans, h.op), 2);
  check.require(rows >= 0, 3);
  check.require(cols >= 0, 4);
  h.empty = rows <= 0 || cols <= 0;
  h.brows = h.op.transpose ? cols : rows;
  h.bcols = h.op.transpose ? rows : cols;
  return h;
}

//! Reports `info` for routine `family` of precision S and returns it.
template <class S, size_t N>
int report(const char (&family)[N], int info) {
  report_xerbla(S::routine(family).c_str(), info);
  return info;
}

}  // namespace orb::core::trans
