// Out-of-place scaled copy and transposition: B := alpha * op(A), with plain
// (omatcopy) or strided (omatcopy2) lines.
//
// Arguments are checked in the order of the argument list and the first
// illegal one is reported by its position; B is written only after every
// check has passed.
#include "trans/element_loops.hpp"
#include "trans/trans_layout.hpp"
#include "precision.hpp"

#include <orb/orb_trans.h>

namespace orb::core::trans {

namespace {

//! omatcopy2 with its checks; omatcopy is the case of unit strides with
//! leading dimensions that cover a line.
//! Positions: 1 ordering, 2 trans, 3 rows, 4 cols, 5 alpha, 6 A, 7 lda,
//! 8 stridea, 9 B, 10 ldb, 11 strideb.
template <class S>
int omatcopy2(char ordering, char trans, ORB_INT rows, ORB_INT cols, typename S::value_type alpha,
              const typename S::value_type *A, ORB_INT lda, ORB_INT stridea, typename S::value_type *B, ORB_INT ldb,
              ORB_INT strideb) {
  ArgCheck check;
  const CopyHead h = check_copy_head(check, ordering, trans, rows, cols);
  check.require(h.empty || A, 6);
  check.require(lda >= 1, 7);
  check.require(stridea >= 1, 8);
  check.require(h.empty || B, 9);
  check.require(ldb >= 1, 10);
  check.require(strideb >= 1, 11);
  if (check.first()) return report<S>("OMATCOPY2", check.first());
  if (h.empty) return 0;
  scale_copy<S>(h.brows, h.bcols, alpha, h.op.conjugate, A, through(stored(h.row_major, lda, stridea), h.op), B,
                stored(h.row_major, ldb, strideb));
  return 0;
}

//! Positions: 1 ordering, 2 trans, 3 rows, 4 cols, 5 alpha, 6 A, 7 lda, 8 B, 9 ldb.
template <class S>
int omatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, typename S::value_type alpha,
             const typename S::value_type *A, ORB_INT lda, typename S::value_type *B, ORB_INT ldb) {
  ArgCheck check;
  const CopyHead h = check_copy_head(check, ordering, trans, rows, cols);
  check.require(h.empty || A, 6);
  check.require(lda >= min_ld(h.row_major, rows, cols), 7);
  check.require(h.empty || B, 8);
  check.require(ldb >= min_ld(h.row_major, h.brows, h.bcols), 9);
  if (check.first()) return report<S>("OMATCOPY", check.first());
  if (h.empty) return 0;
  scale_copy<S>(h.brows, h.bcols, alpha, h.op.conjugate, A, through(stored(h.row_major, lda), h.op), B,
                stored(h.row_major, ldb));
  return 0;
}

}  // namespace

}  // namespace orb::core::trans

#define ORB_OMATCOPY_ENTRIES(p, P, T)                                                                              \
  extern "C" int orb_trans_orb_##p##omatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols,             \
                                             T alpha, const T *A, ORB_INT lda, T *B,           \
                                             ORB_INT ldb) {                                                      \
    return ::orb::core::trans::omatcopy<::orb::Precision<T>>(ordering, trans, rows, cols, alpha, A, lda, B, ldb);                  \
  }                                                                                                              \
  extern "C" int orb_trans_orb_##p##omatcopy2_seq(char ordering, char trans, ORB_INT rows, ORB_INT cols,        \
                                                  T alpha, const T *A, ORB_INT lda, ORB_INT stridea, \
                                                  T *B, ORB_INT ldb, ORB_INT strideb) {                    \
    return ::orb::core::trans::omatcopy2<::orb::Precision<T>>(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb,         \
                                            strideb);                                                            \
  }
ORB_FOR_EACH_PRECISION(ORB_OMATCOPY_ENTRIES)
