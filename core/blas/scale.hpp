// C = beta * C without the provider: what the standard product does when alpha
// or k is 0.  It reads neither A nor B (a caller may pass null for them), and
// beta = 0 stores exact zeros, so NaN or Inf already in C is overwritten.
//
// The core does this itself rather than trusting the provider: some providers'
// small-matrix kernels multiply through with alpha = 0, which reads A and B
// and turns 0 * NaN into NaN in C.
#pragma once

#include "precision.hpp"

#include <orb/orb_types.h>

#include <cstdlib>
#include <type_traits>

namespace orb::core {

//! Scales `count` elements spaced `stride` apart (stride > 0).
template <class T>
void scale_strided(const T &beta, T *x, ORB_INT count, ORB_INT stride) {
  const bool zero = is_zero(beta);
  for (ORB_INT i = 0; i < count; ++i) x[i * stride] = zero ? T{} : mul(beta, x[i * stride]);
}

//! Scales the m x n column-major block at c with leading dimension ldc.
template <class T>
void scale_matrix(const T &beta, T *c, ORB_INT m, ORB_INT n, ORB_INT ldc) {
  for (ORB_INT j = 0; j < n; ++j) scale_strided(beta, c + j * ldc, m, ORB_INT{1});
}

//! Scales the uplo triangle of C (order n) by the real or complex beta; a
//! Hermitian C keeps a real diagonal.
template <class T, class S>
void scale_triangle(const S &beta, T *c, ORB_INT n, ORB_INT ldc, bool upper, bool hermitian) {
  T b{};
  if constexpr (std::is_same_v<T, S>)
    b = beta;
  else
    b = T{beta, 0};
  for (ORB_INT j = 0; j < n; ++j) {
    const ORB_INT first = upper ? 0 : j, last = upper ? j + 1 : n;
    scale_strided(b, c + first + j * ldc, last - first, ORB_INT{1});
    if constexpr (!std::is_same_v<T, S>)
      if (hermitian) c[j + j * ldc].imag = 0;
  }
}

//! Scales a vector of `len` elements with increment inc (either sign; the
//! order does not matter, only the set of elements touched).
template <class T>
void scale_vector(const T &beta, T *y, ORB_INT len, ORB_INT inc) {
  scale_strided(beta, y, len, std::llabs(inc));
}

}  // namespace orb::core
