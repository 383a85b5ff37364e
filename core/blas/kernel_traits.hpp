// The provider's routines of one precision, beside what every layer knows of
// it (precision.hpp): the dense kernels are templates over these types.
#pragma once

#include "blas/gemm_route.hpp"
#include "blas/provider.hpp"
#include "blas/provider2.hpp"
#include "precision.hpp"

namespace orb::core {

template <class T>
struct kernel_traits;

#define ORB_KERNEL_TRAITS(p, P, T)                                                 \
  template <>                                                                   \
  struct kernel_traits<T> : ::orb::precision<T> {                               \
    static constexpr auto gemm_name = routine("GEMM");                          \
    static constexpr auto gemv_name = routine("GEMV");                          \
    static provider_gemm_fn<T> gemm() { return provider().p##gemm; }            \
    static provider_gemv_fn<T> gemv() { return provider().p##gemv; }            \
  };
ORB_FOR_EACH_PRECISION(ORB_KERNEL_TRAITS)
#undef ORB_KERNEL_TRAITS

//! The provider's GEMM for a product of `c`'s kind (blas/gemm_route.hpp):
//! the second provider's where the rule sends it there and the process has
//! one, the first's otherwise.
template <class T>
provider_gemm_fn<T> gemm_for(const gemm_route_case &c) {
  if (gemm_provider_for(c) == gemm_provider::second)
    if (const provider2_table *second = provider2())
      if (provider_gemm_fn<T> f = provider2_routine(*second, provider_gemm_fn<T>{})) return f;
  return kernel_traits<T>::gemm();
}

}  // namespace orb::core
