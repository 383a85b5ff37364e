// Scalar helpers shared by the three libraries: whether an alpha or beta is
// exactly 0 or 1, which decides the quick returns and the operands a routine
// may leave unread, and the product of two scalars of one precision.
// Header-only, internal: not installed.
#pragma once

#include <orb/orb_types.h>

namespace orb {

inline bool is_zero(float v) { return v == 0.0f; }
inline bool is_zero(double v) { return v == 0.0; }
inline bool is_zero(const ORB_Complex8 &v) { return v.real == 0.0f && v.imag == 0.0f; }
inline bool is_zero(const ORB_Complex16 &v) { return v.real == 0.0 && v.imag == 0.0; }

inline bool is_one(float v) { return v == 1.0f; }
inline bool is_one(double v) { return v == 1.0; }
inline bool is_one(const ORB_Complex8 &v) { return v.real == 1.0f && v.imag == 0.0f; }
inline bool is_one(const ORB_Complex16 &v) { return v.real == 1.0 && v.imag == 0.0; }

inline float mul(float a, float x) { return a * x; }
inline double mul(double a, double x) { return a * x; }
inline ORB_Complex8 mul(const ORB_Complex8 &a, const ORB_Complex8 &x) {
  return {a.real * x.real - a.imag * x.imag, a.real * x.imag + a.imag * x.real};
}
inline ORB_Complex16 mul(const ORB_Complex16 &a, const ORB_Complex16 &x) {
  return {a.real * x.real - a.imag * x.imag, a.real * x.imag + a.imag * x.real};
}

}  // namespace orb
