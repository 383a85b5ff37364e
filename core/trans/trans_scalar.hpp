// Element arithmetic of the copy and addition routines, one traits type per
// precision: the upper-case letter that names the routine, multiplication by
// the scalar, conjugation (the identity for real types) and addition.
#pragma once

#include "scalar.hpp"

#include <orb/orb_types.h>

namespace orb::core::trans {

//! float and double.
template <class T, char Letter>
struct RealScalar {
  using type = T;
  static constexpr char letter = Letter;
  static constexpr bool is_complex = false;
  static T conj(T x) { return x; }
  static T mul(T a, T x) { return orb::mul(a, x); }
  static T add(T x, T y) { return x + y; }
  static T zero() { return T(0); }
  static bool is_zero(T a) { return orb::is_zero(a); }
  static bool is_one(T a) { return orb::is_one(a); }
};

//! ORB_Complex8 and ORB_Complex16: pairs of R, real part first.
template <class T, class R, char Letter>
struct ComplexScalar {
  using type = T;
  static constexpr char letter = Letter;
  static constexpr bool is_complex = true;
  static T conj(T x) { return T{x.real, -x.imag}; }
  static T mul(T a, T x) { return orb::mul(a, x); }
  static T add(T x, T y) { return T{x.real + y.real, x.imag + y.imag}; }
  static T zero() { return T{R(0), R(0)}; }
  static bool is_zero(T a) { return orb::is_zero(a); }
  static bool is_one(T a) { return orb::is_one(a); }
};

using SScalar = RealScalar<float, 'S'>;
using DScalar = RealScalar<double, 'D'>;
using CScalar = ComplexScalar<ORB_Complex8, float, 'C'>;
using ZScalar = ComplexScalar<ORB_Complex16, double, 'Z'>;

}  // namespace orb::core::trans

//! Expands X(letter, traits) once per precision: the exported entries of each
//! routine are generated from it.
#define ORB_TRANS_FOR_EACH_PRECISION(X)    \
  X(s, ::orb::core::trans::SScalar)        \
  X(d, ::orb::core::trans::DScalar)        \
  X(c, ::orb::core::trans::CScalar)        \
  X(z, ::orb::core::trans::ZScalar)
