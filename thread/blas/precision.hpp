// One precision of the threaded BLAS drivers: its element type, the core
// kernels and drivers it calls, and the constants that differ between real and
// complex.  The drivers are templates over these types; nothing else is
// written per precision.
#pragma once

#include "blas/gemm_grid.hpp"

#include <orb/orb_blas.h>

namespace orb::thr {

//! The complex rule: the real constants (see gemm_grid.cpp for why).
constexpr grid_rule kComplexGridRule = {64, 32, 144, 96, 192, 4};

template <class T>
struct blas_precision;

template <>
struct blas_precision<float> {
  using value_type = float;
  using real_type = float;
  static constexpr bool is_complex = false;
  static constexpr const char *gemm_name = "SGEMM";
  static constexpr grid_rule grid = kRealGridRule;
  static constexpr auto gemm_kernel = &orb_blas_xsgemm;
  static constexpr auto gemv_kernel = &orb_blas_xsgemv;
  static constexpr auto gemv = &orb_blas_sgemv;
};

template <>
struct blas_precision<double> {
  using value_type = double;
  using real_type = double;
  static constexpr bool is_complex = false;
  static constexpr const char *gemm_name = "DGEMM";
  static constexpr grid_rule grid = kRealGridRule;
  static constexpr auto gemm_kernel = &orb_blas_xdgemm;
  static constexpr auto gemv_kernel = &orb_blas_xdgemv;
  static constexpr auto gemv = &orb_blas_dgemv;
};

template <>
struct blas_precision<ORB_Complex8> {
  using value_type = ORB_Complex8;
  using real_type = float;
  static constexpr bool is_complex = true;
  static constexpr const char *gemm_name = "CGEMM";
  static constexpr grid_rule grid = kComplexGridRule;
  static constexpr auto gemm_kernel = &orb_blas_xcgemm;
  static constexpr auto gemv_kernel = &orb_blas_xcgemv;
  static constexpr auto gemv = &orb_blas_cgemv;
};

template <>
struct blas_precision<ORB_Complex16> {
  using value_type = ORB_Complex16;
  using real_type = double;
  static constexpr bool is_complex = true;
  static constexpr const char *gemm_name = "ZGEMM";
  static constexpr grid_rule grid = kComplexGridRule;
  static constexpr auto gemm_kernel = &orb_blas_xzgemm;
  static constexpr auto gemv_kernel = &orb_blas_xzgemv;
  static constexpr auto gemv = &orb_blas_zgemv;
};

//! Reals per element: 1, or 2 for the complex types.
template <class P>
constexpr ORB_INT reals_per_element = sizeof(typename P::value_type) / sizeof(typename P::real_type);

//! 'N' or 'n': the operand is used as stored; every other character means transposed.
inline bool not_transposed(const char *op) { return (*op | 0x20) == 'n'; }

//! Instantiates a driver template for the four precisions.
#define ORB_FOR_EACH_PRECISION(X) \
  X(float)                        \
  X(double)                       \
  X(ORB_Complex8)                 \
  X(ORB_Complex16)

}  // namespace orb::thr
