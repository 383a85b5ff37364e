// In-place scaled copy and transposition: AB := alpha * op(AB), read with
// leading dimension lda and written with ldb.
//
// Three cases.  Without transposition and with lda == ldb every element
// stays where it is and is scaled.  A square transposition with lda == ldb
// swaps each element with its mirror image.  Anything else changes the shape
// or the spacing of the lines, so that an element can land on one not yet
// read: the result is built in a scratch copy first and copied back.  The
// scratch is taken before anything is written, so a caller whose request
// cannot be met (info 1000) keeps its matrix as it was.
#include "trans/element_loops.hpp"
#include "trans/trans_layout.hpp"
#include "precision.hpp"
#include "scratch.hpp"

#include <orb/orb_service.h>
#include <orb/orb_trans.h>

#include <cstdint>
#include "report_ids.hpp"

namespace orb::core::trans {

namespace {

// Scratch of the reshaping case: cache-line aligned.
constexpr int kScratchAlignment = 64;

//! a(i, j) <-> a(j, i) scaled by alpha, conjugated when conj, for an n x n
//! matrix, tile by tile above the diagonal, then the diagonal itself.
template <class S>
void transpose_square(ORB_INT n, typename S::value_type alpha, bool conj, typename S::value_type *a, View v) {
  using T = typename S::value_type;
  with_conj<S>(conj, [&](auto c) {
    auto f = [&](T x) { return S::mul(alpha, decltype(c)::value ? S::conj(x) : x); };
    for (ORB_INT i0 = 0; i0 < n; i0 += kTile) {
      const ORB_INT i1 = n - i0 < kTile ? n : i0 + kTile;
      for (ORB_INT j0 = i0; j0 < n; j0 += kTile) {
        const ORB_INT j1 = n - j0 < kTile ? n : j0 + kTile;
        for (ORB_INT i = i0; i < i1; ++i) {
          for (ORB_INT j = (j0 > i ? j0 : i + 1); j < j1; ++j) {
            T &upper = a[i * v.rs + j * v.cs];
            T &lower = a[j * v.rs + i * v.cs];
            const T x = upper;
            upper = f(lower);
            lower = f(x);
          }
        }
      }
    }
    for (ORB_INT i = 0; i < n; ++i) a[i * (v.rs + v.cs)] = f(a[i * (v.rs + v.cs)]);
  });
}

//! Elements of a rows x cols scratch, or 0 when the count overflows.
inline int64_t scratch_count(ORB_INT rows, ORB_INT cols) {
  int64_t count = 0;
  return __builtin_mul_overflow(rows, cols, &count) ? 0 : count;
}

//! Positions: 1 ordering, 2 trans, 3 rows, 4 cols, 5 alpha, 6 AB, 7 lda,
//! 8 ldb; 1000 when the scratch of a reshaping copy cannot be had.
template <class S>
int imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, typename S::value_type alpha, typename S::value_type *AB,
             ORB_INT lda, ORB_INT ldb) {
  using T = typename S::value_type;
  ArgCheck check;
  const CopyHead h = check_copy_head(check, ordering, trans, rows, cols);
  check.require(h.empty || AB, 6);
  check.require(lda >= min_ld(h.row_major, rows, cols), 7);
  check.require(ldb >= min_ld(h.row_major, h.brows, h.bcols), 8);
  if (check.first()) return report<S>("IMATCOPY", check.first());
  if (h.empty) return 0;

  const bool conj = S::is_complex && h.op.conjugate;
  const View source = stored(h.row_major, lda);
  if (!h.op.transpose && lda == ldb) {
    if (!conj && S::is_one(alpha)) return 0;  // every element is already in place
    scale_copy<S>(rows, cols, alpha, conj, AB, source, AB, source);
    return 0;
  }
  if (h.op.transpose && rows == cols && lda == ldb) {
    transpose_square<S>(rows, alpha, conj, AB, source);
    return 0;
  }

  const Scratch<T> scratch(scratch_count(rows, cols), kScratchAlignment, Allocator::plain);
  if (!scratch) return report<S>("IMATCOPY", orb::kInfoNoMemory);
  const View packed = stored(h.row_major, min_ld(h.row_major, h.brows, h.bcols));
  scale_copy<S>(h.brows, h.bcols, alpha, conj, AB, through(source, h.op), scratch.get(), packed);
  plain_copy<S>(h.brows, h.bcols, scratch.get(), packed, AB, stored(h.row_major, ldb));
  return 0;
}

}  // namespace

}  // namespace orb::core::trans

#define ORB_IMATCOPY_ENTRY(p, P, T)                                                                               \
  extern "C" int orb_trans_orb_##p##imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols,            \
                                             T alpha, T *AB, ORB_INT lda, ORB_INT ldb) {            \
    return ::orb::core::trans::imatcopy<::orb::Precision<T>>(ordering, trans, rows, cols, alpha, AB, lda, ldb);                   \
  }
ORB_FOR_EACH_PRECISION(ORB_IMATCOPY_ENTRY)
