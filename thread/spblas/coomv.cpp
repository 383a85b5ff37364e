// The character-descriptor COO product y := alpha op(A) x + beta y, in s, d,
// c, z with 64-bit integers and their int (lp64) forms.
//
// The characters are read case-insensitively: transa "N", "C" (conjugate
// transpose), anything else transposed; matdescra 1 the kind (G general,
// S symmetric, H Hermitian, T triangular, D diagonal), 2 "L" lower or else
// upper, 3 "N" non-unit or else unit, 4 "C" zero-based or else one-based.
// A kind outside those five returns at once and leaves y as it was.  The
// product itself is the core's, on the calling thread: the entries of a COO
// matrix come in no order, so rows cannot be cut without sorting them first.
#include <orb/orb_service.h>

#include "spblas/decode.hpp"
#include "sparse_kernels.hpp"

namespace orb::thr {
namespace {

using sparse::SparseKernels;

template <class T, class I>
void coo_product(const char *transa, I m, I k, const T *alpha, const char *matdescra, const T *val,
                 const I *rowind, const I *colind, I nnz, const T *x, const T *beta, T *y) {
  const Descriptor c = decode(transa, matdescra);
  static const char kKinds[] = "GSHTD";
  int32_t type = 0;
  for (int i = 0; i < 5; ++i)
    if (c.kind == kKinds[i]) type = ORB_SPARSE_GENERAL + i;
  if (type == 0) return;
  const orb_sparse_descr d{type, c.lower ? ORB_SPARSE_LOWER : ORB_SPARSE_UPPER,
                           c.non_unit ? ORB_SPARSE_NON_UNIT : ORB_SPARSE_UNIT};
  const int32_t op = !c.transposed ? ORB_SPARSE_OP_N : c.conjugated ? ORB_SPARSE_OP_C : ORB_SPARSE_OP_T;
  SparseKernels<T, I>::coo_def(op, d, m, k, nnz, c.zero_based ? 0 : 1, rowind, colind, val, *alpha, x, *beta, y);
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPBLAS_COO_ENTRIES(p, P, T)                                                                           \
  extern "C" void orb_spblas_orb_##p##coomv(const char *transa, const ORB_INT *m, const ORB_INT *k,                \
                                            const T *alpha, const char *matdescra, const T *val,                   \
                                            const ORB_INT *rowind, const ORB_INT *colind, const ORB_INT *nnz,      \
                                            const T *x, const T *beta, T *y) {                                     \
    orb::thr::coo_product<T, int64_t>(transa, *m, *k, alpha, matdescra, val, rowind, colind, *nnz, x, beta, y);   \
  }                                                                                                                \
  extern "C" void orb_spblas_lp64_orb_##p##coomv(const char *transa, const int *m, const int *k, const T *alpha,   \
                                                 const char *matdescra, const T *val, const int *rowind,           \
                                                 const int *colind, const int *nnz, const T *x, const T *beta,     \
                                                 T *y) {                                                           \
    orb::thr::coo_product<T, int32_t>(transa, *m, *k, alpha, matdescra, val, rowind, colind, *nnz, x, beta, y);   \
  }

ORB_FOR_EACH_PRECISION(ORB_SPBLAS_COO_ENTRIES)
