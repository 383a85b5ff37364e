// The product of a sparse matrix with a vector for every operation and
// descriptor, one stored entry at a time: y := alpha op(A) x + beta y.
//
// The descriptor says which stored entries form A:
//   general (20)                  every entry;
//   symmetric (21), Hermitian (22) the entries of the named triangle, each
//                                 off-diagonal one also at its mirror place
//                                 (conjugated for a complex Hermitian matrix);
//                                 fill mode 42 (full) reads every entry as is;
//   triangular (23), diagonal (24) the entries of the triangle or diagonal;
//   unit diagonal (51)            for every type but general, the stored
//                                 diagonal is not read and ones stand in for it;
//   block triangular (25), block diagonal (26) the same by blocks: a BSR
//                                 block (bi, bj) belongs to the triangle when
//                                 bj <= bi (lower); a unit diagonal makes the
//                                 diagonal blocks identities.
// beta is applied first (exactly zero clears y without reading it), then
// every entry adds its share, so no scratch is needed and any order of visits
// gives the same product up to rounding.  Each format only says how to visit
// its entries (CSR rows, CSC columns, BSR blocks, COO list).
#pragma once

#include <orb/internal/sparse_layout.hpp>

#include "precision.hpp"

namespace orb::sparse {


template <class T, class I>
class EntryProduct {
 public:
  using P = Precision<T>;

  //! rows and cols of A in scalars; block the BSR block size (1 otherwise).
  //! An untransposed product may cover only the rows [first, last) of y,
  //! when it is given only the entries of those rows (rows of A are cut
  //! that way); -1 for last means all rows.
  EntryProduct(int32_t op, orb_sparse_descr d, I rows, I cols, I block, T alpha, const T *x, T beta, T *y,
               I first = 0, I last = -1)
      : op_(op), d_(d), rows_(rows), cols_(cols), block_(block), alpha_(alpha), x_(x), y_(y), first_(first),
        last_(last < 0 ? rows : last) {
    const I lo = op == ORB_SPARSE_OP_N ? first_ : 0, hi = op == ORB_SPARSE_OP_N ? last_ : cols;
    if (P::is_zero(beta))
      for (I i = lo; i < hi; ++i) y[i] = P::zero();
    else if (!P::is_one(beta))
      for (I i = lo; i < hi; ++i) y[i] = P::mul(beta, y[i]);
    hermitian_ = d.type == ORB_SPARSE_HERMITIAN && P::is_complex;
    unit_ = d.diag == ORB_SPARSE_UNIT && d.type != ORB_SPARSE_GENERAL;
  }

  //! Stored entry (i, j) of A with value v, in scalar coordinates from 0.
  void entry(I i, I j, const T &v) {
    switch (d_.type) {
      case ORB_SPARSE_GENERAL:
        add(i, j, v);
        return;
      case ORB_SPARSE_SYMMETRIC:
      case ORB_SPARSE_HERMITIAN:
        if (unit_ && i == j) return;
        if (d_.fill == ORB_SPARSE_FULL) {
          add(i, j, v);
        } else if (in_triangle(i, j)) {
          add(i, j, v);
          if (i != j) add(j, i, hermitian_ ? P::conj(v) : v);
        }
        return;
      case kAntisymmetric:
        if (i != j && in_triangle(i, j)) {
          add(i, j, v);
          add(j, i, negated(v));
        }
        return;
      case ORB_SPARSE_TRIANGULAR:
      case ORB_SPARSE_BLOCK_TRIANGULAR: {
        const bool blocks = d_.type == ORB_SPARSE_BLOCK_TRIANGULAR;
        const I ti = blocks ? i / block_ : i, tj = blocks ? j / block_ : j;
        if (d_.fill != ORB_SPARSE_FULL && !in_triangle(ti, tj)) return;
        if (unit_ && ti == tj) return;
        add(i, j, v);
        return;
      }
      default: {  // diagonal and block diagonal
        const bool blocks = d_.type == ORB_SPARSE_BLOCK_DIAGONAL;
        if ((blocks ? i / block_ : i) != (blocks ? j / block_ : j) || unit_) return;
        add(i, j, v);
      }
    }
  }

  //! Adds the unit diagonal the stored entries left out.
  void finish() {
    if (!unit_) return;
    for (I e = first_; e < last_ && e < cols_; ++e) add(e, e, P::one());
  }

 private:

  bool in_triangle(I i, I j) const { return d_.fill == ORB_SPARSE_LOWER ? j <= i : j >= i; }

  void add(I i, I j, const T &v) {
    if (op_ == ORB_SPARSE_OP_N)
      y_[i] = P::add(y_[i], P::mul(alpha_, P::mul(v, x_[j])));
    else
      y_[j] = P::add(y_[j], P::mul(alpha_, P::mul(op_ == ORB_SPARSE_OP_C ? P::conj(v) : v, x_[i])));
  }

  int32_t op_;
  orb_sparse_descr d_;
  I rows_, cols_, block_;
  T alpha_;
  const T *x_;
  T *y_;
  I first_, last_;
  bool hermitian_ = false, unit_ = false;
};

//! Visits every stored entry of a CSR, CSC or BSR record: f(i, j, value) in
//! scalar coordinates of the matrix (a CSC record's rows are its columns).
template <class T, class I, class F>
void for_each_entry(const SparseRecord<T, I> &r, bool by_columns, F &&f) {
  const I n = by_columns ? r.cols : r.rows;
  const I b = r.block;
  const int64_t bb = int64_t{b} * b;
  const bool col_major = r.layout == ORB_SPARSE_BLOCK_COL_MAJOR;
  for (I line = 0; line < n; ++line)
    for (I k = r.row_start[line] - r.base; k < r.row_end[line] - r.base; ++k) {
      const I other = r.col_index[k] - r.base;
      const T *v = r.values + k * bb;
      for (I a = 0; a < b; ++a)
        for (I c = 0; c < b; ++c) {
          const T &value = v[col_major ? c * b + a : a * b + c];
          if (by_columns)
            f(other * b + c, line * b + a, value);
          else
            f(line * b + a, other * b + c, value);
        }
    }
}

}  // namespace orb::sparse
