// Arithmetic and diagonal bookkeeping shared by the triangular solves and the
// Gauss-Seidel sweeps of the core: one subtraction and one division per
// value type, written once so that every solve rounds the same way (a block
// kernel and the default solve give the same bits for the same row order).
#pragma once

#include <orb/internal/sparse_layout.hpp>

#include "precision.hpp"

#include <cmath>

namespace orb::sparse {

//! s - v * y.
template <class T>
inline T minus_product(const T &s, const T &v, const T &y) {
  return add(s, negated(mul(v, y)));
}

//! a / b; complex by Smith's rule, which keeps |b|^2 from overflowing.
inline float divide(float a, float b) { return a / b; }
inline double divide(double a, double b) { return a / b; }
template <class C>
inline C divide_complex(const C &a, const C &b) {
  using R = decltype(a.real);
  if (std::fabs(b.real) >= std::fabs(b.imag)) {
    const R r = b.imag / b.real, den = b.real + b.imag * r;
    return {(a.real + a.imag * r) / den, (a.imag - a.real * r) / den};
  }
  const R r = b.real / b.imag, den = b.real * r + b.imag;
  return {(a.real * r + a.imag) / den, (a.imag * r - a.real) / den};
}
inline ORB_Complex8 divide(const ORB_Complex8 &a, const ORB_Complex8 &b) { return divide_complex(a, b); }
inline ORB_Complex16 divide(const ORB_Complex16 &a, const ORB_Complex16 &b) { return divide_complex(a, b); }

inline bool finite(float v) { return std::isfinite(v); }
inline bool finite(double v) { return std::isfinite(v); }
inline bool finite(const ORB_Complex8 &v) { return std::isfinite(v.real) && std::isfinite(v.imag); }
inline bool finite(const ORB_Complex16 &v) { return std::isfinite(v.real) && std::isfinite(v.imag); }

//! The problem counts of a diagonal of n values, `seen[i]` telling whether
//! row i stores a diagonal entry at all.
template <class T, class I>
void count_problems(DiagonalData<T, I> &d, const unsigned char *seen) {
  d.missing = d.zero = d.nonfinite = 0;
  for (I i = 0; i < d.rows; ++i) {
    if (!seen[i]) ++d.missing;
    else if (is_zero(d.values[i])) ++d.zero;
    else if (!finite(d.values[i])) ++d.nonfinite;
  }
}

}  // namespace orb::sparse
