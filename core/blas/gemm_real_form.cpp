// The complex product as a real product of twice the size (gemm_real_form.hpp).
#include "blas/gemm_real_form.hpp"

#include "blas/gemm.hpp"
#include "blas/scale.hpp"
#include "precision.hpp"
#include "scratch.hpp"

#include <algorithm>

namespace orb::core {

namespace {

template <class T>
using Real = typename Precision<T>::real_type;

// The element (i, l) of op(A), conjugated for 'C'.
template <class T>
T op_entry(char trans, const T *a, ORB_INT lda, ORB_INT i, ORB_INT l) {
  if (trans == 'n') return a[i + l * lda];
  const T x = a[l + i * lda];
  return trans == 'c' ? conjugate(x) : x;
}

// Transposed operands are read in square tiles of this many entries a side,
// so that the lines a tile touches stay in the first-level cache.
constexpr ORB_INT kTile = 16;

// Calls f(i, l) over rows x depth, in tiles when the operand is transposed
// (its rows then lie across columns of the stored matrix).
template <class F>
void for_each_entry(char trans, ORB_INT rows, ORB_INT depth, F f) {
  const ORB_INT tile = trans == 'n' ? rows : kTile;
  for (ORB_INT ib = 0; ib < rows; ib += tile)
    for (ORB_INT l = 0; l < depth; ++l)
      for (ORB_INT i = ib; i < std::min(rows, ib + tile); ++i) f(i, l);
}

// X (2 rows x 2 depth reals, leading dimension 2 rows) from the block of
// alpha op(A) at (i0, l0).
template <class T>
void expand_a(char trans, const T &alpha, const T *a, ORB_INT lda, ORB_INT i0, ORB_INT rows, ORB_INT l0,
              ORB_INT depth, Real<T> *x) {
  const ORB_INT ldx = 2 * rows;
  for_each_entry(trans, rows, depth, [&](ORB_INT i, ORB_INT l) {
    const T v = mul(alpha, op_entry(trans, a, lda, i0 + i, l0 + l));
    Real<T> *re_col = x + 2 * l * ldx, *im_col = re_col + ldx;
    re_col[2 * i] = v.real;
    re_col[2 * i + 1] = v.imag;
    im_col[2 * i] = -v.imag;
    im_col[2 * i + 1] = v.real;
  });
}

// The block of op(B) at (l0, j0), transposed, as a plain complex depth x cols
// matrix.
template <class T>
void copy_b(char trans, const T *b, ORB_INT ldb, ORB_INT l0, ORB_INT depth, ORB_INT j0, ORB_INT cols, T *y) {
  // Entry (l, j) of op(B) is entry (j, l) of op(B)^T, whose rows run along B's columns.
  for_each_entry(trans, depth, cols, [&](ORB_INT l, ORB_INT j) {
    y[l + j * depth] = op_entry(trans, b, ldb, l0 + l, j0 + j);
  });
}

// The blocks stay with their thread between calls (see kRealFormBlocks).
struct RealFormTag;
using RealFormScratch = ThreadScratch<RealFormTag, kRealFormScratchLimit>;

}  // namespace

template <class T>
bool gemm_real_form(char transa, char transb, ORB_INT m, ORB_INT n, ORB_INT k, const T &alpha, const T *a,
                    ORB_INT lda, const T *b, ORB_INT ldb, const T &beta, T *c, ORB_INT ldc, RealFormBlocks blocks) {
  using R = Real<T>;
  transa |= 0x20;
  transb |= 0x20;
  const ORB_INT rows = std::min(m, blocks.rows), depth = std::min(k, blocks.depth);
  const bool copies_b = transb != 'n';
  const ORB_INT cols = copies_b ? std::min(n, blocks.cols) : n;
  const int64_t x_count = 4 * rows * depth, y_count = copies_b ? depth * cols : 0;
  void *scratch = RealFormScratch::get(static_cast<int64_t>(sizeof(R)) * x_count + static_cast<int64_t>(sizeof(T)) * y_count);
  if (!scratch) return false;
  R *const x = static_cast<R *>(scratch);
  T *const y = reinterpret_cast<T *>(x + x_count);

  // A beta with an imaginary part scales C first; a real one goes with the
  // first depth block, which then reads C only where beta is nonzero.
  R first_beta = beta.real;
  if (beta.imag != 0) {
    scale_matrix(beta, c, m, n, ldc);
    first_beta = 1;
  }
  const R one = 1;
  const char no = 'N';
  for (ORB_INT j0 = 0; j0 < n; j0 += cols) {
    const ORB_INT nj = std::min(cols, n - j0);
    for (ORB_INT l0 = 0; l0 < k; l0 += depth) {
      const ORB_INT kl = std::min(depth, k - l0);
      const R *breal = reinterpret_cast<const R *>(b + l0 + j0 * ldb);
      ORB_INT ldy = 2 * ldb;
      if (copies_b) {
        copy_b(transb, b, ldb, l0, kl, j0, nj, y);
        breal = reinterpret_cast<const R *>(y);
        ldy = 2 * kl;
      }
      const R *bt = l0 == 0 ? &first_beta : &one;
      for (ORB_INT i0 = 0; i0 < m; i0 += rows) {
        const ORB_INT mi = std::min(rows, m - i0);
        expand_a(transa, alpha, a, lda, i0, mi, l0, kl, x);
        const ORB_INT mr = 2 * mi, kr = 2 * kl, ldx = 2 * mi, ldcr = 2 * ldc;
        gemm_legal<R>(&no, &no, &mr, &nj, &kr, &one, x, &ldx, breal, &ldy, bt,
                      reinterpret_cast<R *>(c + i0 + j0 * ldc), &ldcr);
      }
    }
  }
  return true;
}

template bool gemm_real_form<ORB_Complex8>(char, char, ORB_INT, ORB_INT, ORB_INT, const ORB_Complex8 &,
                                           const ORB_Complex8 *, ORB_INT, const ORB_Complex8 *, ORB_INT,
                                           const ORB_Complex8 &, ORB_Complex8 *, ORB_INT, RealFormBlocks);
template bool gemm_real_form<ORB_Complex16>(char, char, ORB_INT, ORB_INT, ORB_INT, const ORB_Complex16 &,
                                            const ORB_Complex16 *, ORB_INT, const ORB_Complex16 *, ORB_INT,
                                            const ORB_Complex16 &, ORB_Complex16 *, ORB_INT, RealFormBlocks);

}  // namespace orb::core
