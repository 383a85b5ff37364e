// The character-descriptor CSR product y := alpha op(A) x + beta y, in s, d,
// c, z with 64-bit integers and their int (lp64) forms: it decodes its
// characters (spblas/decode.hpp) and hands the whole product to the core's
// kernel of the case, computing nothing and starting no task itself.
//
//   kind             "N"                       "T" (or any other letter)
//   general          ng__ (_omp)               tg__ (_omp)
//   symmetric        ns{l,u}{n,u} (_omp)       the same kernels
//   Hermitian        as symmetric; complex values take nh{l,u}{n,u}
//   triangular       nt{l,u}{n,u} (_omp)       tt{l,u}{n,u} (_seq)
//   antisymmetric    na{l,u}_ (_omp)           the same, alpha negated
//   diagonal         nd_{n,u} (_seq)           the same kernels
//
// The transpose of an antisymmetric matrix is its negative, so "T" runs the
// untransposed kernel with a local copy of alpha whose sign is flipped.  An
// unknown kind returns at once and leaves y as it was.  Examples: a one-based
// lower triangular unit matrix under "T" runs orb_spblas_dcsr1ttluf__mvout_seq;
// a zero-based general one under "N" runs orb_spblas_dcsr0ng__c__mvout_omp.
#include <orb/internal/orb_sparse_kernels.h>

#include "precision.hpp"
#include "spblas/decode.hpp"

namespace orb::thr {
namespace {

template <class T, class I>
using CsrKernel = void (*)(const I *, const I *, const T *, const T *, const I *, const I *, const I *, const T *, T *,
                           const T *);

//! The kernels of one value type and width: [zero-based][case], cases in
//! the order of ORB_SPBLAS_CSR_CASES.
template <class T, class I>
struct CsrKernels;
#define ORB_SPBLAS_CSR_ENTRY(p, prefix, base, letter, name, type, fill, diag, op, run) \
  &orb_spblas_##prefix##p##csr##base##name##letter##__mvout_##run,
#define ORB_SPBLAS_CSR_ZERO(p, prefix, name, ...) ORB_SPBLAS_CSR_ENTRY(p, prefix, 0, c, name, __VA_ARGS__)
#define ORB_SPBLAS_CSR_ONE(p, prefix, name, ...) ORB_SPBLAS_CSR_ENTRY(p, prefix, 1, f, name, __VA_ARGS__)
#define ORB_SPBLAS_CSR_TABLE(p, T, I, prefix)                                         \
  template <>                                                                         \
  struct CsrKernels<T, I> {                                                           \
    static constexpr CsrKernel<T, I> kernels[2][22] = {                              \
        {ORB_SPBLAS_CSR_CASES(ORB_SPBLAS_CSR_ONE, p, prefix)},                        \
        {ORB_SPBLAS_CSR_CASES(ORB_SPBLAS_CSR_ZERO, p, prefix)}};                      \
  };
ORB_SPBLAS_EACH(ORB_SPBLAS_CSR_TABLE)

//! The case of the decoded characters in the order of ORB_SPBLAS_CSR_CASES,
//! or -1 for an unknown kind.
inline int csr_case(const Descriptor &c, bool complex) {
  const int triangle = (c.lower ? 0 : 2) + (c.non_unit ? 0 : 1);
  switch (c.kind) {
    case 'G': return c.transposed ? 1 : 0;
    case 'S': return 2 + triangle;
    case 'H': return (complex ? 6 : 2) + triangle;
    case 'T': return (c.transposed ? 14 : 10) + triangle;
    case 'A': return c.lower ? 18 : 19;
    case 'D': return c.non_unit ? 20 : 21;
    default: return -1;
  }
}

template <class T, class I>
void csr_product(const char *transa, const I *m, const I *k, const T *alpha, const char *matdescra, const T *val,
                 const I *indx, const I *pntrb, const I *pntre, const T *x, const T *beta, T *y) {
  const Descriptor c = decode(transa, matdescra);
  const int which = csr_case(c, Precision<T>::is_complex);
  if (which < 0) return;
  T a = *alpha;
  if (c.kind == 'A' && c.transposed) a = negated(a);
  CsrKernels<T, I>::kernels[c.zero_based ? 1 : 0][which](m, k, &a, val, indx, pntrb, pntre, x, y, beta);
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPBLAS_CSRMV_ENTRIES(p, P, T)                                                                         \
  extern "C" void orb_spblas_orb_##p##csrmv(const char *transa, const ORB_INT *m, const ORB_INT *k,                \
                                            const T *alpha, const char *matdescra, const T *val,                   \
                                            const ORB_INT *indx, const ORB_INT *pntrb, const ORB_INT *pntre,       \
                                            const T *x, const T *beta, T *y) {                                     \
    orb::thr::csr_product<T, ORB_INT>(transa, m, k, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y);      \
  }                                                                                                                \
  extern "C" void orb_spblas_lp64_orb_##p##csrmv(const char *transa, const int *m, const int *k, const T *alpha,   \
                                                 const char *matdescra, const T *val, const int *indx,             \
                                                 const int *pntrb, const int *pntre, const T *x, const T *beta,    \
                                                 T *y) {                                                           \
    orb::thr::csr_product<T, int>(transa, m, k, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y);          \
  }

ORB_FOR_EACH_PRECISION(ORB_SPBLAS_CSRMV_ENTRIES)
