// The sequential product of a CSR matrix's transpose with itself into a
// dense matrix, C := alpha A^T A + beta C, for s, d, c, z and 32- or 64-bit
// indices; c kernels for a row-major C, f kernels for a column-major one,
// alf kernels for any alpha other than exactly 1.
//
// beta applies to the entries (r, c) with c >= r only - row r of C from its
// diagonal to its last column - and the product adds into every entry: the
// threaded product does the same, and one thread must give its result.
// Each row of A adds the outer product of its entries: for every ordered pair
// (k, l) of the row's entries, val(k) val(l) at (col(k), col(l)).
#include <orb/internal/orb_sparse_kernels.h>

#include "precision.hpp"

namespace orb::sparse {
namespace {

template <class T, class I, bool ColMajor, bool Alpha>
void syrkd(I m, I n, T alpha, const T *val, const I *col, const I *rs, const I *re, I base, T beta, T *c, I ldc) {
  using P = Precision<T>;
  const bool zero = P::is_zero(beta);
  for (I r = 0; r < n; ++r)
    for (I j = r; j < n; ++j) {
      T &e = ColMajor ? c[r + j * ldc] : c[r * ldc + j];
      e = zero ? P::zero() : P::mul(beta, e);
    }
  for (I i = 0; i < m; ++i)
    for (I k = rs[i] - base; k < re[i] - base; ++k) {
      const T vk = Alpha ? P::mul(alpha, val[k]) : val[k];
      for (I l = rs[i] - base; l < re[i] - base; ++l) {
        T &e = ColMajor ? c[(col[k] - base) + (col[l] - base) * ldc] : c[(col[k] - base) * ldc + (col[l] - base)];
        e = P::add(e, P::mul(vk, val[l]));
      }
    }
}

}  // namespace
}  // namespace orb::sparse

#define ORB_SPARSE_SYRKD_KERNEL(p, T, I, w, name, col_major, with_alpha)                                       \
  extern "C" void orb_sparse_##p##_csr__g_t_syrkd_##name##_ker_##w(I m, I n, T alpha, const T *val,             \
                                                                   const I *col, const I *rs, const I *re,       \
                                                                   I base, T beta, T *c, I ldc) {                \
    orb::sparse::syrkd<T, I, col_major, with_alpha>(m, n, alpha, val, col, rs, re, base, beta, c, ldc);          \
  }
#define ORB_SPARSE_SYRKD_KERNELS(p, T, I, w)                   \
  ORB_SPARSE_SYRKD_KERNEL(p, T, I, w, c, false, false)         \
  ORB_SPARSE_SYRKD_KERNEL(p, T, I, w, f, true, false)          \
  ORB_SPARSE_SYRKD_KERNEL(p, T, I, w, alf_c, false, true)      \
  ORB_SPARSE_SYRKD_KERNEL(p, T, I, w, alf_f, true, true)

ORB_SPARSE_EACH(ORB_SPARSE_SYRKD_KERNELS)
