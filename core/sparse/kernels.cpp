// The sequential sparse product kernels the threading layer ends every piece
// in, for s, d, c, z and 32- or 64-bit indices:
//   - row ranges of the general CSR and BSR products, one writing y without
//     reading it (beta exactly zero: a NaN left in y stays out of the result),
//     one scaling it by beta;
//   - the transposed CSR product into a buffer of the column count, and the
//     merge that adds such buffers into y;
//   - the products for every operation and descriptor (walk.hpp) on a CSR,
//     CSC, BSR or COO matrix, which the threading layer calls for the cases
//     it does not cut.  The n and t kernels of a format give the same result;
//     the dispatch table names the one whose traversal suits the case, and
//     here both walk the stored entries once.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>

#include "precision.hpp"
#include "sparse/walk.hpp"

namespace orb::sparse {
namespace {

template <class T, class I, bool Beta>
void csr_rows(I rows, T alpha, const T *val, const I *col, const I *rs, const T *x, T beta, T *y) {
  using P = Precision<T>;
  const I first = rs[0];
  for (I i = 0; i < rows; ++i) {
    T sum = P::zero();
    for (I k = rs[i] - first; k < rs[i + 1] - first; ++k) sum = P::add(sum, P::mul(val[k], x[col[k]]));
    y[i] = Beta ? P::add(P::mul(alpha, sum), P::mul(beta, y[i])) : P::mul(alpha, sum);
  }
}

template <class T, class I, bool Beta>
void bsr_rows(I rows, I b, int32_t layout, T alpha, const T *val, const I *col, const I *rs, const T *x, T beta,
              T *y) {
  using P = Precision<T>;
  const I first = rs[0];
  const int64_t bb = int64_t{b} * b;
  const bool col_major = layout == ORB_SPARSE_BLOCK_COL_MAJOR;
  for (I i = 0; i < rows; ++i)
    for (I a = 0; a < b; ++a) {
      T sum = P::zero();
      for (I k = rs[i] - first; k < rs[i + 1] - first; ++k) {
        const T *blk = val + k * bb;
        const T *xb = x + int64_t{col[k]} * b;
        for (I c = 0; c < b; ++c) sum = P::add(sum, P::mul(blk[col_major ? c * b + a : a * b + c], xb[c]));
      }
      T &out = y[int64_t{i} * b + a];
      out = Beta ? P::add(P::mul(alpha, sum), P::mul(beta, out)) : P::mul(alpha, sum);
    }
}

template <class T, class I>
void csr_transposed(I rows, I cols, I base, T alpha, const T *val, const I *col, const I *rs, const T *x, T *out) {
  using P = Precision<T>;
  for (I j = 0; j < cols; ++j) out[j] = P::zero();
  const I first = rs[0];
  for (I i = 0; i < rows; ++i) {
    const T xi = P::mul(alpha, x[i]);
    for (I k = rs[i] - first; k < rs[i + 1] - first; ++k)
      out[col[k] - base] = P::add(out[col[k] - base], P::mul(val[k], xi));
  }
}

template <class T, class I>
void merge(I parts, I cols, I chunk, const T *partial, T beta, T *y) {
  using P = Precision<T>;
  const bool zero = P::is_zero(beta);
  for (I j = 0; j < cols; ++j) {
    T sum = zero ? P::zero() : P::mul(beta, y[j]);
    for (I p = 0; p < parts; ++p) sum = P::add(sum, partial[int64_t{p} * chunk + j]);
    y[j] = sum;
  }
}

//! Every operation and descriptor on the handle's primary record.
template <class T, class I>
int32_t any_product(int32_t format, int32_t op, orb_sparse_descr d, orb_sparse_matrix A, const T *x, T *y, T alpha,
                    T beta) {
  const SparseHandle<T, I> *h = handle_cast<T, I>(A);
  if (!h || !h->primary) return ORB_SPARSE_INTERNAL;
  const SparseRecord<T, I> &r = *h->primary;
  const I b = r.block;
  EntryProduct<T, I> product(op, d, r.rows * b, r.cols * b, b, alpha, x, beta, y);
  for_each_entry(r, format == kFormatCsc, [&](I i, I j, const T &v) { product.entry(i, j, v); });
  product.finish();
  return ORB_SPARSE_OK;
}

template <class T, class I>
void coo_product(int32_t op, orb_sparse_descr d, I rows, I cols, I nnz, I base, const I *row, const I *col,
                 const T *val, T alpha, const T *x, T beta, T *y) {
  EntryProduct<T, I> product(op, d, rows, cols, 1, alpha, x, beta, y);
  for (I k = 0; k < nnz; ++k) product.entry(row[k] - base, col[k] - base, val[k]);
  product.finish();
}

//! Rows of the general CSR product with several right-hand sides, Y := alpha
//! A X + beta Y (beta exactly zero never reads Y), the right-hand sides of a
//! row taken 16 at a time so that their sums stay in registers while the
//! row's entries are read once per 16.  Row-major X and Y hold a right-hand
//! side per column, column-major ones per column too, with the rows along it.
template <class T, class I>
void csr_rows_mm(I rows, I columns, int32_t layout, T alpha, const T *val, const I *col, const I *rs, const T *x,
                 I ldx, T beta, T *y, I ldy) {
  using P = Precision<T>;
  constexpr I kWidth = 16;
  const bool row_major = layout == ORB_SPARSE_BLOCK_ROW_MAJOR;
  const int64_t xr = row_major ? ldx : 1, xc = row_major ? 1 : ldx;
  const int64_t yr = row_major ? ldy : 1, yc = row_major ? 1 : ldy;
  const bool zero = P::is_zero(beta);
  const I first = rs[0];
  for (I c0 = 0; c0 < columns; c0 += kWidth) {
    const I width = columns - c0 < kWidth ? columns - c0 : kWidth;
    for (I i = 0; i < rows; ++i) {
      T acc[kWidth];
      for (I c = 0; c < width; ++c) acc[c] = P::zero();
      for (I k = rs[i] - first; k < rs[i + 1] - first; ++k) {
        const T v = val[k];
        const T *xk = x + int64_t{col[k]} * xr + c0 * xc;
        for (I c = 0; c < width; ++c) acc[c] = P::add(acc[c], P::mul(v, xk[c * xc]));
      }
      T *yi = y + int64_t{i} * yr + c0 * yc;
      for (I c = 0; c < width; ++c)
        yi[c * yc] = zero ? P::mul(alpha, acc[c]) : P::add(P::mul(alpha, acc[c]), P::mul(beta, yi[c * yc]));
    }
  }
}

//! The product of a matrix given by bare CSR, CSC or BSR arrays (rows and
//! cols in blocks for BSR), for the character-descriptor routines.
template <class T, class I>
void arrays_product(int32_t op, orb_sparse_descr d, int32_t format, I rows, I cols, I block, int32_t layout, I base,
                    const I *start, const I *end, const I *index, const T *val, T alpha, const T *x, T beta, T *y) {
  const SparseRecord<T, I> r{rows, cols, base, static_cast<int32_t>(block), 0, layout, const_cast<I *>(start),
                             const_cast<I *>(end), const_cast<I *>(index), const_cast<T *>(val), nullptr, nullptr,
                             0, 0, 0};
  EntryProduct<T, I> product(op, d, rows * block, cols * block, block, alpha, x, beta, y);
  for_each_entry(r, format == kFormatCsc, [&](I i, I j, const T &v) { product.entry(i, j, v); });
  product.finish();
}

}  // namespace
}  // namespace orb::sparse

using namespace orb::sparse;

#define ORB_SPARSE_KERNEL_ENTRIES(p, T, I, w)                                                                      \
  extern "C" void orb_sparse_##p##_csr_ng_n_mv_ker_##w(I rows, T alpha, const T *val, const I *col, const I *rs,   \
                                                       const T *x, T *y) {                                         \
    csr_rows<T, I, false>(rows, alpha, val, col, rs, x, T{}, y);                                                   \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_csr_ng_n_mv_ker_beta_##w(I rows, T alpha, const T *val, const I *col,          \
                                                            const I *rs, const T *x, T beta, T *y) {               \
    csr_rows<T, I, true>(rows, alpha, val, col, rs, x, beta, y);                                                   \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_csr_ng_t_mv_ker_##w(I rows, I cols, I base, T alpha, const T *val,             \
                                                       const I *col, const I *rs, const T *x, T *out) {            \
    csr_transposed<T, I>(rows, cols, base, alpha, val, col, rs, x, out);                                           \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_csr_mv_merge1_##w(I parts, I cols, I chunk, const T *partial, T beta, T *y) {   \
    merge<T, I>(parts, cols, chunk, partial, beta, y);                                                             \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_bsr_ng_n_mv_ker_##w(I rows, I block, int32_t layout, T alpha, const T *val,    \
                                                       const I *col, const I *rs, const T *x, T *y) {              \
    bsr_rows<T, I, false>(rows, block, layout, alpha, val, col, rs, x, T{}, y);                                    \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_bsr_ng_n_mv_ker_beta_##w(I rows, I block, int32_t layout, T alpha,             \
                                                            const T *val, const I *col, const I *rs, const T *x,   \
                                                            T beta, T *y) {                                        \
    bsr_rows<T, I, true>(rows, block, layout, alpha, val, col, rs, x, beta, y);                                    \
  }                                                                                                                \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xcsr_mv_n_def, kFormatCsr)                                                      \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xcsr_mv_t_def, kFormatCsr)                                                      \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xcsc_mv_n_def, kFormatCsc)                                                      \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xcsc_mv_t_def, kFormatCsc)                                                      \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xbsr_mv_n_def, kFormatBsr)                                                      \
  ORB_SPARSE_DEF_ENTRY(p, T, I, w, xbsr_mv_t_def, kFormatBsr)                                                      \
  extern "C" void orb_sparse_##p##_xcoo_mv_def_##w(int32_t op, orb_sparse_descr d, I rows, I cols, I nnz, I base, \
                                                   const I *row, const I *col, const T *val, T alpha, const T *x, \
                                                   T beta, T *y) {                                                 \
    coo_product<T, I>(op, d, rows, cols, nnz, base, row, col, val, alpha, x, beta, y);                             \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_csr_ng_n_mm_ker_##w(I rows, I columns, int32_t layout, T alpha, const T *val,  \
                                                       const I *col, const I *rs, const T *x, I ldx, T beta, T *y, \
                                                       I ldy) {                                                    \
    csr_rows_mm<T, I>(rows, columns, layout, alpha, val, col, rs, x, ldx, beta, y, ldy);                           \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_xarrays_mv_def_##w(int32_t op, orb_sparse_descr d, int32_t format, I rows,      \
                                                      I cols, I block, int32_t layout, I base, const I *start,     \
                                                      const I *end, const I *index, const T *val, T alpha,         \
                                                      const T *x, T beta, T *y) {                                  \
    arrays_product<T, I>(op, d, format, rows, cols, block, layout, base, start, end, index, val, alpha, x, beta, y); \
  }
#define ORB_SPARSE_DEF_ENTRY(p, T, I, w, name, format)                                                           \
  extern "C" int32_t orb_sparse_##p##_##name##_##w(int32_t op, orb_sparse_descr d, orb_sparse_matrix A,           \
                                                   const T *x, T *y, T alpha, T beta) {                            \
    return any_product<T, I>(format, op, d, A, x, y, alpha, beta);                                                 \
  }

ORB_SPARSE_EACH(ORB_SPARSE_KERNEL_ENTRIES)
