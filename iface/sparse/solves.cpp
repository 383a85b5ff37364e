// User entry points of the sparse solves: the triangular solve with one
// right-hand side (trsv) or several (trsm), and the symmetric Gauss-Seidel
// sweep pair, alone or with the product of its result (symgs, symgs_mv), in
// s, d, c, z; the handle's index width picks the threading layer's entry.
//
// This layer checks what only the caller's choice tells (the handle's value
// type, 3 otherwise; trsm's layout, count and leading dimensions, 3); the
// threading layer checks the rest before anything is written.  trsm solves
// the columns one after another, each on the threaded solve; a row-major
// column goes through scratch (2 without it).  Only the first column can be
// refused, since every column shares its checks and diagonal, so nothing is
// written when the call fails.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_sparse.h>

#include "scratch.hpp"
#include "sparse/made_as.hpp"
#include "sparse_kernels.hpp"

namespace orb::iface {
namespace {

template <class T, class I>
using SparseEntries = sparse::SparseKernels<T, I>;

template <class T, class I>
orb_sparse_status trsv(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, const T *x, T *y) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  return static_cast<orb_sparse_status>(SparseEntries<T, I>::trsv(op, alpha, A, d, x, y));
}

template <class T, class I>
orb_sparse_status trsm(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, int layout, const T *x,
                       int64_t columns, int64_t ldx, T *y, int64_t ldy) {
  using E = SparseEntries<T, I>;
  if (!A || !x || !y) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  const auto *h = sparse::handle_cast<T, I>(A);
  const int64_t n = h->primary ? int64_t{h->primary->rows} * (h->format == sparse::kFormatBsr ? h->primary->block : 1)
                               : 0;
  const bool col_major = layout == ORB_SPARSE_BLOCK_COL_MAJOR;
  if ((!col_major && layout != ORB_SPARSE_BLOCK_ROW_MAJOR) || columns < 0) return ORB_SPARSE_BAD_VALUE;
  const int64_t need = col_major ? n : columns;
  if (ldx < 1 || ldy < 1 || ldx < need || ldy < need) return ORB_SPARSE_BAD_VALUE;
  if (columns == 0) return ORB_SPARSE_OK;
  if (col_major) {
    for (int64_t c = 0; c < columns; ++c)
      if (const int32_t s = E::trsv(op, alpha, A, d, x + c * ldx, y + c * ldy)) return static_cast<orb_sparse_status>(s);
    return ORB_SPARSE_OK;
  }
  Scratch<T> in(n > 0 ? n : 1, 64), out(n > 0 ? n : 1, 64);
  if (!in || !out) return ORB_SPARSE_NO_MEMORY;
  for (int64_t c = 0; c < columns; ++c) {
    for (int64_t i = 0; i < n; ++i) in.get()[i] = x[i * ldx + c];
    if (const int32_t s = E::trsv(op, alpha, A, d, in.get(), out.get())) return static_cast<orb_sparse_status>(s);
    for (int64_t i = 0; i < n; ++i) y[i * ldy + c] = out.get()[i];
  }
  return ORB_SPARSE_OK;
}

template <class T, class I>
orb_sparse_status symgs(int op, orb_sparse_matrix A, orb_sparse_descr d, const T *b, T *x, T *y, bool product) {
  if (!A || (product && !y)) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  return static_cast<orb_sparse_status>(SparseEntries<T, I>::symgs(op, A, d, b, x, product ? y : nullptr));
}

bool wide(orb_sparse_matrix A) { return A && header(A)->index_bytes == 8; }

}  // namespace
}  // namespace orb::iface

using namespace orb::iface;

#define ORB_SPARSE_IFACE_SOLVES(p, P, T)                                                                         \
  extern "C" orb_sparse_status orb_sparse_##p##_trsv(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,  \
                                                     const T *x, T *y) {                                         \
    return wide(A) ? trsv<T, int64_t>(op, alpha, A, d, x, y) : trsv<T, int32_t>(op, alpha, A, d, x, y);          \
  }                                                                                                              \
  extern "C" orb_sparse_status orb_sparse_##p##_trsm(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,  \
                                                     int layout, const T *x, int64_t columns, int64_t ldx, T *y, \
                                                     int64_t ldy) {                                              \
    return wide(A) ? trsm<T, int64_t>(op, alpha, A, d, layout, x, columns, ldx, y, ldy)                          \
                   : trsm<T, int32_t>(op, alpha, A, d, layout, x, columns, ldx, y, ldy);                         \
  }                                                                                                              \
  extern "C" orb_sparse_status orb_sparse_##p##_symgs(int op, orb_sparse_matrix A, orb_sparse_descr d,          \
                                                      const T *b, T *x) {                                        \
    return wide(A) ? symgs<T, int64_t>(op, A, d, b, x, nullptr, false)                                           \
                   : symgs<T, int32_t>(op, A, d, b, x, nullptr, false);                                          \
  }                                                                                                              \
  extern "C" orb_sparse_status orb_sparse_##p##_symgs_mv(int op, orb_sparse_matrix A, orb_sparse_descr d,       \
                                                         const T *b, T *x, T *y) {                               \
    return wide(A) ? symgs<T, int64_t>(op, A, d, b, x, y, true) : symgs<T, int32_t>(op, A, d, b, x, y, true);    \
  }
ORB_FOR_EACH_PRECISION(ORB_SPARSE_IFACE_SOLVES)
