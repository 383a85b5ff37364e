// Sequential level-3 kernels beyond the general product, in s, d, c and z.
//
// TRSM solves op(A) X = alpha B (side L) or X op(A) = alpha B (side R) for X,
// which overwrites B.  Like the GEMM kernel, it checks its arguments in the
// standard order and reports the first illegal one without touching B; it
// returns at once when m or n is 0; with alpha = 0 it sets B to zero itself,
// reading no element of A or B (the standard routine does the same, and a
// caller may rely on it to clear a B full of NaN); otherwise the provider
// solves.  The threaded driver calls it once per block of right-hand sides.
// TRMM (B := alpha op(A) B or alpha B op(A)) takes the same arguments, rules
// and quick returns.  The rank-k and rank-2k updates and the symmetric
// products return early where the standard does and scale C themselves when
// alpha (or k) is 0; everything else the provider computes.
#include "blas/gemm_route.hpp"
#include "blas/provider.hpp"
#include "blas/provider2.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "blas_rules.hpp"
#include "precision.hpp"

#include <type_traits>

namespace orb::core {

namespace {

//! The provider's level-3 routines of one precision.
template <class T>
struct Level3Traits;

#define ORB_LEVEL3_TRAITS(p, P, T)                                  \
  template <>                                                    \
  struct Level3Traits<T> : ::orb::Precision<T> {                \
    static ProviderTrsmFn<T> trsm() { return provider().p##trsm; } \
    static ProviderTrsmFn<T> trmm() { return provider().p##trmm; } \
    static ProviderSyr2kFn<T> syr2k() { return provider().p##syr2k; } \
    static ProviderSyrkFn<T> syrk() { return provider().p##syrk; } \
  };
ORB_FOR_EACH_PRECISION(ORB_LEVEL3_TRAITS)
#undef ORB_LEVEL3_TRAITS

//! `first`, or the second provider's routine (`get` of its table) where the
//! routing rule sends a double kernel of `work` multiply-adds there and it
//! has one.
template <class T, class F, class Get>
F routed(F first, Get get, double work) {
  if constexpr (std::is_same_v<T, double>) {
    const bool strict = (orb_serv_cbwr_get(-1) & ORB_CBWR_STRICT) != 0;
    if (level3_goes_to_second(work, strict, second_provider_wide()))
      if (const Provider2Table *second = provider2())
        if (const F f = get(*second)) return f;
  }
  return first;
}
#define ORB_SECOND(name) [](const Provider2Table &t) { return t.name; }

inline double product(ORB_INT a, ORB_INT b, ORB_INT c) {
  return static_cast<double>(a) * static_cast<double>(b) * static_cast<double>(c);
}

//! TRSM (multiply false) or TRMM: one argument list, one set of rules, the
//! same quick returns.
template <class T, bool multiply>
void xtriangular(const char *side, const char *uplo, const char *transa, const char *diag, const ORB_INT *m,
                 const ORB_INT *n, const T *alpha, const T *a, const ORB_INT *lda, T *b, const ORB_INT *ldb) {
  const int info = rules::check_trsm(side, uplo, transa, diag, m, n, alpha, lda, ldb);
  if (info != 0) {
    report_xerbla(Level3Traits<T>::routine(multiply ? "TRMM" : "TRSM").c_str(), info);
    return;
  }
  if (*m == 0 || *n == 0) return;
  if (is_zero(*alpha)) {
    scale_matrix(T{}, b, *m, *n, *ldb);
    return;
  }
  const double work = product(*m, *n, rules::same_letter(*side, 'L') ? *m : *n);
  const ProviderTrsmFn<T> kernel = multiply ? routed<T>(Level3Traits<T>::trmm(), ORB_SECOND(dtrmm), work)
                                            : routed<T>(Level3Traits<T>::trsm(), ORB_SECOND(dtrsm), work);
  kernel(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);
}

//! SYRK and SYR2K (S = T) or HERK and HER2K (S the real type of T): which
//! provider routines, which names, which letters (a rank-2k update takes its
//! rank-k twin's).
template <class T, class S>
struct RankK {
  static constexpr bool hermitian = !std::is_same_v<T, S>;
  static constexpr auto name = Level3Traits<T>::routine(hermitian ? "HERK" : "SYRK");
  static constexpr auto name_2k = Level3Traits<T>::routine(hermitian ? "HER2K" : "SYR2K");
  static const char *ops() {
    return hermitian ? rules::kHerkOps : Precision<T>::is_complex ? rules::kSyrkComplexOps : rules::kSyrkRealOps;
  }
  static ProviderSyrkFn<T, S> kernel(double work) {
    if constexpr (!hermitian)
      return routed<T>(Level3Traits<T>::syrk(), ORB_SECOND(dsyrk), work);
    else if constexpr (std::is_same_v<T, ORB_Complex8>)
      return provider().cherk;
    else
      return provider().zherk;
  }
  static ProviderSyr2kFn<T, S> kernel_2k(double work) {
    if constexpr (!hermitian)
      return routed<T>(Level3Traits<T>::syr2k(), ORB_SECOND(dsyr2k), work);
    else if constexpr (std::is_same_v<T, ORB_Complex8>)
      return provider().cher2k;
    else
      return provider().zher2k;
  }
};

//! What a rank-k and a rank-2k update do after their check (info): report an
//! illegal argument, return where the standard returns, scale the triangle
//! when alpha or k is 0, and otherwise let `compute` call the provider.
template <class T, class S, class A, class Compute>
void rank_k_update(int info, const char *name, const char *uplo, const ORB_INT *n, const ORB_INT *k, const A *alpha,
                   const S *beta, T *c, const ORB_INT *ldc, Compute &&compute) {
  if (info != 0) {
    report_xerbla(name, info);
    return;
  }
  if (*n == 0 || ((is_zero(*alpha) || *k == 0) && is_one(*beta))) return;
  if (is_zero(*alpha) || *k == 0) {
    scale_triangle(*beta, c, *n, *ldc, rules::same_letter(*uplo, 'U'), RankK<T, S>::hermitian);
    return;
  }
  compute();
}

template <class T, class S>
void xsyrk(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const S *alpha, const T *a,
           const ORB_INT *lda, const S *beta, T *c, const ORB_INT *ldc) {
  using kind = RankK<T, S>;
  rank_k_update(rules::check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, kind::ops()), kind::name.c_str(), uplo, n,
                k, alpha, beta, c, ldc,
                [&] { kind::kernel(product(*n, *n, *k))(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, 1, 1); });
}

template <class T, class S>
void xsyr2k(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const T *alpha, const T *a,
            const ORB_INT *lda, const T *b, const ORB_INT *ldb, const S *beta, T *c, const ORB_INT *ldc) {
  using kind = RankK<T, S>;
  rank_k_update(rules::check_syr2k(uplo, trans, n, k, alpha, lda, ldb, beta, ldc, kind::ops()),
                kind::name_2k.c_str(), uplo, n, k, alpha, beta, c, ldc,
                [&] { kind::kernel_2k(product(*n, *n, *k))(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1); });
}

//! SYMM (hermitian false) or HEMM.
template <class T, bool hermitian>
void xsymm(const char *side, const char *uplo, const ORB_INT *m, const ORB_INT *n, const T *alpha, const T *a,
           const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c, const ORB_INT *ldc,
           ProviderSymmFn<T> (*kernel)()) {
  const int info = rules::check_symm(side, uplo, m, n, alpha, lda, ldb, beta, ldc);
  if (info != 0) {
    report_xerbla(Level3Traits<T>::routine(hermitian ? "HEMM" : "SYMM").c_str(), info);
    return;
  }
  if (*m == 0 || *n == 0 || (is_zero(*alpha) && is_one(*beta))) return;
  if (is_zero(*alpha)) {
    scale_matrix(*beta, c, *m, *n, *ldc);
    return;
  }
  const double work = product(*m, *n, rules::same_letter(*side, 'L') ? *m : *n);
  routed<T>(kernel(), ORB_SECOND(dsymm), work)(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);
}

}  // namespace

}  // namespace orb::core

#define ORB_XTRIANGULAR(p, P, T)                                                              \
  extern "C" ORB_TRSM_DECL(orb_blas_x##p##trsm, T, ORB_INT) {                                 \
    orb::core::xtriangular<T, false>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);  \
  }                                                                                           \
  extern "C" ORB_TRSM_DECL(orb_blas_x##p##trmm, T, ORB_INT) {                                 \
    orb::core::xtriangular<T, true>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);   \
  }

ORB_FOR_EACH_PRECISION(ORB_XTRIANGULAR)

#define ORB_XSYRK(p, P, T)                                                                        \
  extern "C" ORB_SYRK_DECL(orb_blas_x##p##syrk, T, T, ORB_INT) {                                 \
    orb::core::xsyrk<T, T>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                      \
  }
ORB_FOR_EACH_PRECISION(ORB_XSYRK)

extern "C" ORB_SYRK_DECL(orb_blas_xcherk, ORB_Complex8, float, ORB_INT) {
  orb::core::xsyrk<ORB_Complex8, float>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
extern "C" ORB_SYRK_DECL(orb_blas_xzherk, ORB_Complex16, double, ORB_INT) {
  orb::core::xsyrk<ORB_Complex16, double>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}

#define ORB_XSYR2K(name, T, S)                                                                      \
  extern "C" ORB_SYR2K_DECL(orb_blas_x##name, T, S, ORB_INT) {                                      \
    orb::core::xsyr2k<T, S>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                \
  }
#define ORB_XSYR2K_EACH(p, P, T) ORB_XSYR2K(p##syr2k, T, T)
ORB_FOR_EACH_PRECISION(ORB_XSYR2K_EACH)
ORB_XSYR2K(cher2k, ORB_Complex8, float)
ORB_XSYR2K(zher2k, ORB_Complex16, double)

#define ORB_XSYMM(name, T, hermitian)                                                                           \
  extern "C" ORB_SYMM_DECL(orb_blas_x##name, T, ORB_INT) {                                                     \
    orb::core::xsymm<T, hermitian>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc,                      \
                                   [] { return orb::core::provider().name; });                                 \
  }
#define ORB_XSYMM_EACH(p, P, T) ORB_XSYMM(p##symm, T, false)
ORB_FOR_EACH_PRECISION(ORB_XSYMM_EACH)
ORB_XSYMM(chemm, ORB_Complex8, true)
ORB_XSYMM(zhemm, ORB_Complex16, true)
