// Scaled addition of two matrices, each possibly transposed or conjugated:
// C := alpha * op(A) + beta * op(B), C being rows x cols.
//
// The routine is exported twice, as orb_trans_orb_?omatadd and as
// orb_trans_orb_?omatadd_seq: callers that loop over batches name the first,
// the threading layer's single-matrix entry the second.
#include "trans/element_loops.hpp"
#include "trans/trans_layout.hpp"
#include "precision.hpp"

#include <orb/orb_trans.h>

namespace orb::core::trans {

namespace {

//! Positions: 1 ordering, 2 transa, 3 transb, 4 rows, 5 cols, 6 alpha, 7 A,
//! 8 lda, 9 beta, 10 B, 11 ldb, 12 C, 13 ldc.
template <class S>
int omatadd(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, typename S::value_type alpha,
            const typename S::value_type *A, ORB_INT lda, typename S::value_type beta, const typename S::value_type *B, ORB_INT ldb,
            typename S::value_type *C, ORB_INT ldc) {
  bool row_major = false;
  Op opa, opb;
  ArgCheck check;
  check.require(decode_ordering(ordering, row_major), 1);
  check.require(decode_op(transa, opa), 2);
  check.require(decode_op(transb, opb), 3);
  check.require(rows >= 0, 4);
  check.require(cols >= 0, 5);
  const bool empty = rows <= 0 || cols <= 0;
  // A and B are stored as op's inverse shape: cols x rows when transposed.
  check.require(empty || A, 7);
  check.require(lda >= (opa.transpose ? min_ld(row_major, cols, rows) : min_ld(row_major, rows, cols)), 8);
  check.require(empty || B, 10);
  check.require(ldb >= (opb.transpose ? min_ld(row_major, cols, rows) : min_ld(row_major, rows, cols)), 11);
  check.require(empty || C, 12);
  check.require(ldc >= min_ld(row_major, rows, cols), 13);
  if (check.first()) return report<S>("OMATADD", check.first());
  if (empty) return 0;
  scale_add<S>(rows, cols, alpha, opa.conjugate, A, through(stored(row_major, lda), opa), beta, opb.conjugate, B,
               through(stored(row_major, ldb), opb), C, stored(row_major, ldc));
  return 0;
}

}  // namespace

}  // namespace orb::core::trans

#define ORB_OMATADD_ENTRY(name, T)                                                                             \
  extern "C" int name(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, T alpha,       \
                      const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb, T *C,   \
                      ORB_INT ldc) {                                                                            \
    return ::orb::core::trans::omatadd<::orb::Precision<T>>(ordering, transa, transb, rows, cols, alpha, A, lda, beta, B, ldb, C, \
                                          ldc);                                                                 \
  }
#define ORB_OMATADD_ENTRIES(p, P, T)                  \
  ORB_OMATADD_ENTRY(orb_trans_orb_##p##omatadd, T) \
  ORB_OMATADD_ENTRY(orb_trans_orb_##p##omatadd_seq, T)
ORB_FOR_EACH_PRECISION(ORB_OMATADD_ENTRIES)
