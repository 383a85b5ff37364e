// Sequential LU routines of the core in s, d, c and z, over the provider:
// the unblocked ?getf2, the blocked x?getrf, their local forms for the
// blocks of a threaded factorization, and the row interchanges ?laswp.
//
// The standard forms check their arguments in the standard order and report
// the first illegal one without touching A; the local forms are asked only by
// the threaded drivers, which pass legal blocks, and say "illegal" by their
// result instead of a report, so that a driver can stop its other workers.
// The provider runs on the calling thread (it is held to one thread), so
// every worker of a threaded factorization may call these at once.
#include "blas/provider.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_lapack_kernels.h>

#include "blas_rules.hpp"
#include "precision.hpp"

namespace orb::core {

namespace {

//! The provider's LU routines of one precision.
template <class T>
struct LuTraits;

#define ORB_LU_TRAITS(p, P, T)                                      \
  template <>                                                       \
  struct LuTraits<T> : ::orb::Precision<T> {                        \
    static ProviderGetrfFn<T> getrf() { return provider().p##getrf; } \
    static ProviderLaswpFn<T> laswp() { return provider().p##laswp; } \
  };
ORB_FOR_EACH_PRECISION(ORB_LU_TRAITS)
#undef ORB_LU_TRAITS

//! The factorization `kernel` of the provider, reported under `family` when
//! the call is illegal.
template <class T>
void factor_checked(const char *family, ProviderGetrfFn<T> kernel, const ORB_INT *m, const ORB_INT *n, T *a,
                    const ORB_INT *lda, ORB_INT *ipiv, ORB_INT *info) {
  const int illegal = rules::check_getrf(m, n, a, lda, ipiv, info);
  if (illegal != 0) {
    if (info) *info = -illegal;
    char name[8] = {LuTraits<T>::upper};
    for (int i = 0; family[i] && i < 6; ++i) name[i + 1] = family[i];
    report_xerbla(name, illegal);
    return;
  }
  *info = 0;
  if (*m == 0 || *n == 0) return;
  kernel(m, n, a, lda, ipiv, info);
}

template <class T>
ORB_INT factor_local(const ORB_INT *m, const ORB_INT *n, T *a, const ORB_INT *lda, ORB_INT *ipiv, ORB_INT *info) {
  const int illegal = rules::check_getrf(m, n, a, lda, ipiv, info);
  if (illegal != 0) return illegal;
  ORB_INT local = 0;
  if (*m > 0 && *n > 0) LuTraits<T>::getrf()(m, n, a, lda, ipiv, &local);
  if (local < 0) return -local;
  *info = local;
  return 0;
}

template <class T>
void laswp(const ORB_INT *n, T *a, const ORB_INT *lda, const ORB_INT *k1, const ORB_INT *k2, const ORB_INT *ipiv,
           const ORB_INT *incx) {
  if (*n < 1 || *incx == 0 || *k2 < *k1) return;
  LuTraits<T>::laswp()(n, a, lda, k1, k2, ipiv, incx);
}

}  // namespace

}  // namespace orb::core

#define ORB_LU_ENTRIES(p, P, T)                                                                       \
  extern "C" ORB_GETRF_DECL(orb_lapack_##p##getf2, T, ORB_INT) {                                     \
    orb::core::factor_checked<T>("GETF2", orb::core::provider().p##getf2, m, n, a, lda, ipiv, info); \
  }                                                                                                   \
  extern "C" ORB_GETRF_DECL(orb_lapack_x##p##getrf, T, ORB_INT) {                                    \
    orb::core::factor_checked<T>("GETRF", orb::core::provider().p##getrf, m, n, a, lda, ipiv, info); \
  }                                                                                                   \
  extern "C" ORB_GETRF_LOCAL_DECL(orb_lapack_x##p##getrf_local, T) {                                 \
    return orb::core::factor_local<T>(m, n, a, lda, ipiv, info);                                     \
  }                                                                                                   \
  extern "C" ORB_GETRF_LOCAL_DECL(orb_lapack_##p##getrf_local, T) {                                  \
    return orb::core::factor_local<T>(m, n, a, lda, ipiv, info);                                     \
  }                                                                                                   \
  extern "C" ORB_LASWP_DECL(orb_lapack_##p##laswp, T) { orb::core::laswp<T>(n, a, lda, k1, k2, ipiv, incx); }

ORB_FOR_EACH_PRECISION(ORB_LU_ENTRIES)
