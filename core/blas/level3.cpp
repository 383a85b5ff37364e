// Sequential level-3 kernels beyond the general product, in s, d, c and z.
//
// TRSM solves op(A) X = alpha B (side L) or X op(A) = alpha B (side R) for X,
// which overwrites B.  Like the GEMM kernel, it checks its arguments in the
// standard order and reports the first illegal one without touching B; it
// returns at once when m or n is 0; with alpha = 0 it sets B to zero itself,
// reading no element of A or B (the standard routine does the same, and a
// caller may rely on it to clear a B full of NaN); otherwise the provider
// solves.  The threaded driver calls it once per block of right-hand sides.
#include "blas/provider.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "blas_rules.hpp"
#include "precision.hpp"

namespace orb::core {

namespace {

//! The provider's level-3 routines of one precision.
template <class T>
struct level3_traits;

#define ORB_LEVEL3_TRAITS(p, P, T)                                  \
  template <>                                                    \
  struct level3_traits<T> : ::orb::precision<T> {                \
    static constexpr auto trsm_name = routine("TRSM");           \
    static provider_trsm_fn<T> trsm() { return provider().p##trsm; } \
  };
ORB_FOR_EACH_PRECISION(ORB_LEVEL3_TRAITS)
#undef ORB_LEVEL3_TRAITS

template <class T>
void xtrsm(const char *side, const char *uplo, const char *transa, const char *diag, const ORB_INT *m,
           const ORB_INT *n, const T *alpha, const T *a, const ORB_INT *lda, T *b, const ORB_INT *ldb) {
  const int info = rules::check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb);
  if (info != 0) {
    report_xerbla(level3_traits<T>::trsm_name.c_str(), info);
    return;
  }
  if (*m == 0 || *n == 0) return;
  if (is_zero(*alpha)) {
    scale_matrix(T{}, b, *m, *n, *ldb);
    return;
  }
  level3_traits<T>::trsm()(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);
}

}  // namespace

}  // namespace orb::core

#define ORB_XTRSM(p, P, T)                                                 \
  extern "C" ORB_TRSM_DECL(orb_blas_x##p##trsm, T, ORB_INT) {              \
    orb::core::xtrsm<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb); \
  }

ORB_FOR_EACH_PRECISION(ORB_XTRSM)
