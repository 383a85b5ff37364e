// The provider's routines of one precision, beside what every layer knows of
// it (precision.hpp): the dense kernels are templates over these types.
#pragma once

#include "blas/provider.hpp"
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

}  // namespace orb::core
