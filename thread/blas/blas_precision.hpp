// One precision of the threaded BLAS drivers: its element type, the core
// kernels and drivers it calls, and the constants that differ between real and
// complex.  The drivers are templates over these types; nothing else is
// written per precision.
#pragma once

#include "blas/gemm_grid.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "precision.hpp"

namespace orb::thr {

//! The complex rule: the real constants (see gemm_grid.cpp for why).
constexpr GridRule kComplexGridRule = {64, 32, 144, 96, 192, 4};

template <class T>
struct BlasPrecision;

//! The grid rule of each precision, the core kernels, and the threaded drivers the others call.
#define ORB_BLAS_PRECISION(p, P, T)                                                                  \
  template <>                                                                                     \
  struct BlasPrecision<T> : ::orb::Precision<T> {                                                \
    static constexpr auto gemm_name = routine("GEMM");                                            \
    static constexpr GridRule grid = ::orb::Precision<T>::is_complex ? kComplexGridRule : kRealGridRule; \
    static constexpr auto gemm_kernel = &orb_blas_x##p##gemm;                                     \
    static constexpr auto gemv_kernel = &orb_blas_x##p##gemv;                                     \
    static constexpr auto gemv = &orb_blas_##p##gemv;                                             \
    static constexpr auto gemm = &orb_blas_##p##gemm;                                             \
    static constexpr auto gemm_batch = &orb_blas_##p##gemm_batch;                                 \
  };
ORB_FOR_EACH_PRECISION(ORB_BLAS_PRECISION)
#undef ORB_BLAS_PRECISION

//! Reals per element: 1, or 2 for the complex types.
template <class P>
constexpr ORB_INT reals_per_element = P::reals;

//! 'N' or 'n': the operand is used as stored; every other character means transposed.
inline bool not_transposed(const char *op) { return (*op | 0x20) == 'n'; }

}  // namespace orb::thr
