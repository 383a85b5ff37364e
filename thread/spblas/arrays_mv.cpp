// The character-descriptor CSC and BSR products y := alpha op(A) x + beta y,
// in s, d, c, z with 64-bit integers and their int (lp64) forms:
//
//   cscmv(transa, m, k, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y)
//   bsrmv(transa, m, k, lb, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y)
//
// A is m x k (in lb x lb blocks for BSR); column j of a CSC matrix holds the
// entries [pntrb[j], pntre[j]) with their row indices in indx, block row i of
// a BSR matrix the blocks [pntrb[i], pntre[i]) with their block columns.  The
// characters are those of the CSR product (spblas/decode.hpp): transa "N",
// "C" (conjugate transpose), anything else transposed; matdescra kinds G S H
// T A D, "L" lower or else upper, "N" non-unit or else unit, "C" zero-based
// or else one-based; a symmetric, Hermitian or diagonal matrix is its own
// product under every letter.  A BSR block is row-major with zero-based indices and
// column-major with one-based ones.  An unknown kind returns at once and
// leaves y as it was.
//
// When the pointers are one array (pntre == pntrb + 1) the general cases that
// gather by lines run threaded: a CSC matrix used transposed is the CSR
// matrix of its arrays, so it takes the threaded CSR product; a BSR matrix
// untransposed takes the threaded BSR product.  Every other case is the
// core's walk over the stored entries on the calling thread.
#include <orb/orb_service.h>

#include "spblas/decode.hpp"
#include "sparse_kernels.hpp"

namespace orb::thr {
namespace {

using sparse::SparseKernels;

//! The decoded characters as an operation and a descriptor; false for an
//! unknown kind.
inline bool described(const Descriptor &c, int32_t *op, orb_sparse_descr *d) {
  static const char kKinds[] = "GSHTDA";
  static const int32_t kTypes[] = {ORB_SPARSE_GENERAL, ORB_SPARSE_SYMMETRIC, ORB_SPARSE_HERMITIAN,
                                   ORB_SPARSE_TRIANGULAR, ORB_SPARSE_DIAGONAL, sparse::kAntisymmetric};
  int32_t type = 0;
  for (int i = 0; i < 6; ++i)
    if (c.kind == kKinds[i]) type = kTypes[i];
  if (type == 0) return false;
  // An antisymmetric matrix has a zero diagonal whatever character 3 says.
  const bool unit = !c.non_unit && type != sparse::kAntisymmetric;
  *d = {type, c.lower ? ORB_SPARSE_LOWER : ORB_SPARSE_UPPER, unit ? ORB_SPARSE_UNIT : ORB_SPARSE_NON_UNIT};
  // Symmetric, Hermitian and diagonal matrices take the untransposed product
  // under every letter, as in the CSR product.
  const bool own_transpose = type == ORB_SPARSE_SYMMETRIC || type == ORB_SPARSE_HERMITIAN || type == ORB_SPARSE_DIAGONAL;
  *op = !c.transposed || own_transpose ? ORB_SPARSE_OP_N : c.conjugated ? ORB_SPARSE_OP_C : ORB_SPARSE_OP_T;
  return true;
}

//! Both products: format kFormatCsc or kFormatBsr, block 1 for CSC.
template <class T, class I>
void arrays_product(int32_t format, const char *transa, I m, I k, I block, const T *alpha, const char *matdescra,
                    const T *val, const I *indx, const I *pntrb, const I *pntre, const T *x, const T *beta, T *y) {
  using K = SparseKernels<T, I>;
  const Descriptor c = decode(transa, matdescra);
  int32_t op = 0;
  orb_sparse_descr d{};
  if (!described(c, &op, &d)) return;
  const I base = c.zero_based ? 0 : 1;
  const int32_t layout = c.zero_based ? ORB_SPARSE_BLOCK_ROW_MAJOR : ORB_SPARSE_BLOCK_COL_MAJOR;
  const bool one_array = pntre == pntrb + 1;
  const bool plain_t = op == ORB_SPARSE_OP_T || (op == ORB_SPARSE_OP_C && !Precision<T>::is_complex);
  if (one_array && d.type == ORB_SPARSE_GENERAL) {
    if (format == sparse::kFormatCsc && plain_t) {
      K::xcsr_ng_n(k, m, pntrb, indx, val, x, y, nullptr, base, *alpha, *beta);
      return;
    }
    if (format == sparse::kFormatBsr && op == ORB_SPARSE_OP_N) {
      K::xbsr_ng_n(m, k, block, layout, pntrb, indx, val, x, y, nullptr, base, *alpha, *beta);
      return;
    }
  }
  K::arrays_def(op, d, format, m, k, block, layout, base, pntrb, pntre, indx, val, *alpha, x, *beta, y);
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPBLAS_ARRAYS_ENTRIES(p, P, T)                                                                        \
  extern "C" void orb_spblas_orb_##p##cscmv(const char *transa, const ORB_INT *m, const ORB_INT *k,                \
                                            const T *alpha, const char *matdescra, const T *val,                   \
                                            const ORB_INT *indx, const ORB_INT *pntrb, const ORB_INT *pntre,       \
                                            const T *x, const T *beta, T *y) {                                     \
    orb::thr::arrays_product<T, int64_t>(orb::sparse::kFormatCsc, transa, *m, *k, int64_t{1}, alpha, matdescra,    \
                                         val, indx, pntrb, pntre, x, beta, y);                                     \
  }                                                                                                                \
  extern "C" void orb_spblas_lp64_orb_##p##cscmv(const char *transa, const int *m, const int *k, const T *alpha,   \
                                                 const char *matdescra, const T *val, const int *indx,             \
                                                 const int *pntrb, const int *pntre, const T *x, const T *beta,    \
                                                 T *y) {                                                           \
    orb::thr::arrays_product<T, int32_t>(orb::sparse::kFormatCsc, transa, *m, *k, 1, alpha, matdescra, val, indx,  \
                                         pntrb, pntre, x, beta, y);                                                \
  }                                                                                                                \
  extern "C" void orb_spblas_orb_##p##bsrmv(const char *transa, const ORB_INT *m, const ORB_INT *k,                \
                                            const ORB_INT *lb, const T *alpha, const char *matdescra,              \
                                            const T *val, const ORB_INT *indx, const ORB_INT *pntrb,               \
                                            const ORB_INT *pntre, const T *x, const T *beta, T *y) {               \
    orb::thr::arrays_product<T, int64_t>(orb::sparse::kFormatBsr, transa, *m, *k, *lb, alpha, matdescra, val,      \
                                         indx, pntrb, pntre, x, beta, y);                                          \
  }                                                                                                                \
  extern "C" void orb_spblas_lp64_orb_##p##bsrmv(const char *transa, const int *m, const int *k, const int *lb,    \
                                                 const T *alpha, const char *matdescra, const T *val,              \
                                                 const int *indx, const int *pntrb, const int *pntre, const T *x,  \
                                                 const T *beta, T *y) {                                            \
    orb::thr::arrays_product<T, int32_t>(orb::sparse::kFormatBsr, transa, *m, *k, *lb, alpha, matdescra, val,      \
                                         indx, pntrb, pntre, x, beta, y);                                          \
  }

ORB_FOR_EACH_PRECISION(ORB_SPBLAS_ARRAYS_ENTRIES)
