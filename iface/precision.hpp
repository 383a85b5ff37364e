// What the interface templates need to know about an element type: its
// precision letter, whether it is complex, the scalar tests of the standard's
// quick returns, and how a scalar reads in a verbose line.
#pragma once

#include "scalar.hpp"

#include <orb/orb_types.h>

namespace orb::iface {

template <class T>
struct Precision;

template <>
struct Precision<float> {
  static constexpr char lower = 's', upper = 'S';
  static constexpr bool complex = false;
};
template <>
struct Precision<double> {
  static constexpr char lower = 'd', upper = 'D';
  static constexpr bool complex = false;
};
template <>
struct Precision<ORB_Complex8> {
  static constexpr char lower = 'c', upper = 'C';
  static constexpr bool complex = true;
};
template <>
struct Precision<ORB_Complex16> {
  static constexpr char lower = 'z', upper = 'Z';
  static constexpr bool complex = true;
};


template <class T>
inline T one();
template <>
inline float one<float>() {
  return 1.0f;
}
template <>
inline double one<double>() {
  return 1.0;
}
template <>
inline ORB_Complex8 one<ORB_Complex8>() {
  return {1.0f, 0.0f};
}
template <>
inline ORB_Complex16 one<ORB_Complex16>() {
  return {1.0, 0.0};
}

inline float conjugate(float v) { return v; }
inline double conjugate(double v) { return v; }
inline ORB_Complex8 conjugate(const ORB_Complex8 &v) { return {v.real, -v.imag}; }
inline ORB_Complex16 conjugate(const ORB_Complex16 &v) { return {v.real, -v.imag}; }

//! Real and imaginary parts as doubles, for printing.
inline double real_part(float v) { return v; }
inline double real_part(double v) { return v; }
inline double real_part(const ORB_Complex8 &v) { return v.real; }
inline double real_part(const ORB_Complex16 &v) { return v.real; }
inline double imag_part(float) { return 0.0; }
inline double imag_part(double) { return 0.0; }
inline double imag_part(const ORB_Complex8 &v) { return v.imag; }
inline double imag_part(const ORB_Complex16 &v) { return v.imag; }

}  // namespace orb::iface
