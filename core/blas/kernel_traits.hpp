// What the dense kernels need to know about one precision: its routine names
// for reports, how to recognise 0 and 1, and its provider routines.
#pragma once

#include "blas/provider.hpp"
#include "scalar.hpp"

namespace orb::core {


template <class T>
struct kernel_traits;

template <>
struct kernel_traits<float> {
  static constexpr const char *gemm_name = "SGEMM";
  static constexpr const char *gemv_name = "SGEMV";
  static provider_gemm_fn<float> gemm() { return provider().sgemm; }
  static provider_gemv_fn<float> gemv() { return provider().sgemv; }
};

template <>
struct kernel_traits<double> {
  static constexpr const char *gemm_name = "DGEMM";
  static constexpr const char *gemv_name = "DGEMV";
  static provider_gemm_fn<double> gemm() { return provider().dgemm; }
  static provider_gemv_fn<double> gemv() { return provider().dgemv; }
};

template <>
struct kernel_traits<ORB_Complex8> {
  static constexpr const char *gemm_name = "CGEMM";
  static constexpr const char *gemv_name = "CGEMV";
  static provider_gemm_fn<ORB_Complex8> gemm() { return provider().cgemm; }
  static provider_gemv_fn<ORB_Complex8> gemv() { return provider().cgemv; }
};

template <>
struct kernel_traits<ORB_Complex16> {
  static constexpr const char *gemm_name = "ZGEMM";
  static constexpr const char *gemv_name = "ZGEMV";
  static provider_gemm_fn<ORB_Complex16> gemm() { return provider().zgemm; }
  static provider_gemv_fn<ORB_Complex16> gemv() { return provider().zgemv; }
};

}  // namespace orb::core
