// The provider's routines of one precision, beside what every layer knows of
// it (precision.hpp): the dense kernels are templates over these types.
#pragma once

#include "blas/gemm_route.hpp"
#include "blas/provider.hpp"
#include "blas/provider2.hpp"
#include "precision.hpp"

namespace orb::core {

template <class T>
struct KernelTraits;

#define ORB_KERNEL_TRAITS(p, P, T)                                                 \
  template <>                                                                   \
  struct KernelTraits<T> : ::orb::Precision<T> {                               \
    static constexpr auto gemm_name = routine("GEMM");                          \
    static constexpr auto gemv_name = routine("GEMV");                          \
    static ProviderGemmFn<T> gemm() { return provider().p##gemm; }            \
    static ProviderGemvFn<T> gemv() { return provider().p##gemv; }            \
  };
ORB_FOR_EACH_PRECISION(ORB_KERNEL_TRAITS)
#undef ORB_KERNEL_TRAITS

//! The provider's GEMM for a product of `c`'s kind (blas/gemm_route.hpp):
//! the second provider's where the rule sends it there and the process has
//! one, the first's otherwise.
template <class T>
ProviderGemmFn<T> gemm_for(const GemmRouteCase &c) {
  if (gemm_provider_for(c) == GemmProvider::second)
    if (const Provider2Table *second = provider2())
      if (ProviderGemmFn<T> f = provider2_routine(*second, ProviderGemmFn<T>{})) return f;
  return KernelTraits<T>::gemm();
}

}  // namespace orb::core
