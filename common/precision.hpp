// What the three libraries know about a precision, in one place: the element
// and real types, the letters that name its routines, the scalars 0 and 1, the
// exact tests of alpha and beta that decide quick returns, the arithmetic the
// copy routines and scaling need, and the builder of routine names ("D" +
// "GEMM").  Each layer adds only its own kernel table on top of Precision<T>.
// Header-only, internal: not installed.
#pragma once

#include <orb/orb_types.h>

#include <cstddef>

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

inline float add(float x, float y) { return x + y; }
inline double add(double x, double y) { return x + y; }
inline ORB_Complex8 add(const ORB_Complex8 &x, const ORB_Complex8 &y) { return {x.real + y.real, x.imag + y.imag}; }
inline ORB_Complex16 add(const ORB_Complex16 &x, const ORB_Complex16 &y) { return {x.real + y.real, x.imag + y.imag}; }

inline float conjugate(float v) { return v; }
inline double conjugate(double v) { return v; }
inline ORB_Complex8 conjugate(const ORB_Complex8 &v) { return {v.real, -v.imag}; }
inline ORB_Complex16 conjugate(const ORB_Complex16 &v) { return {v.real, -v.imag}; }

//! -v, the sign bit of every part toggled.
inline float negated(float v) { return -v; }
inline double negated(double v) { return -v; }
inline ORB_Complex8 negated(const ORB_Complex8 &v) { return {-v.real, -v.imag}; }
inline ORB_Complex16 negated(const ORB_Complex16 &v) { return {-v.real, -v.imag}; }

//! The BLAS magnitude of the index routines: |re| + |im| for a complex value.
inline float abs1(float v) { return __builtin_fabsf(v); }
inline double abs1(double v) { return __builtin_fabs(v); }
inline float abs1(const ORB_Complex8 &v) { return __builtin_fabsf(v.real) + __builtin_fabsf(v.imag); }
inline double abs1(const ORB_Complex16 &v) { return __builtin_fabs(v.real) + __builtin_fabs(v.imag); }

//! Real and imaginary parts as doubles, for printing.
inline double real_part(float v) { return v; }
inline double real_part(double v) { return v; }
inline double real_part(const ORB_Complex8 &v) { return v.real; }
inline double real_part(const ORB_Complex16 &v) { return v.real; }
inline double imag_part(float) { return 0.0; }
inline double imag_part(double) { return 0.0; }
inline double imag_part(const ORB_Complex8 &v) { return v.imag; }
inline double imag_part(const ORB_Complex16 &v) { return v.imag; }

//! An upper-case routine name of N - 1 characters after the precision letter.
template <size_t N>
struct RoutineName {
  char text[N + 1];
  constexpr const char *c_str() const { return text; }
};

//! One precision: T is float, double, ORB_Complex8 or ORB_Complex16, R its real type.
template <class T, class R, char Lower>
struct PrecisionOf {
  using value_type = T;
  using real_type = R;
  static constexpr bool is_complex = sizeof(T) == 2 * sizeof(R);
  static constexpr char lower = Lower;
  static constexpr char upper = static_cast<char>(Lower - 'a' + 'A');
  //! Reals per element: 1, or 2 for the complex types.
  static constexpr int reals = is_complex ? 2 : 1;

  static constexpr T zero() { return T{}; }
  static constexpr T one() {
    if constexpr (is_complex)
      return T{R(1), R(0)};
    else
      return T(1);
  }
  static T conj(const T &x) { return conjugate(x); }
  static T mul(const T &a, const T &x) { return orb::mul(a, x); }
  static T add(const T &x, const T &y) { return orb::add(x, y); }
  static bool is_zero(const T &a) { return orb::is_zero(a); }
  static bool is_one(const T &a) { return orb::is_one(a); }

  //! The routine of `family` in this precision: routine("GEMM").c_str() is "DGEMM".
  template <size_t N>
  static constexpr RoutineName<N> routine(const char (&family)[N]) {
    RoutineName<N> name{};
    name.text[0] = upper;
    for (size_t i = 0; i + 1 < N; ++i) name.text[i + 1] = family[i];
    return name;
  }
};

template <class T>
struct Precision;
template <>
struct Precision<float> : PrecisionOf<float, float, 's'> {};
template <>
struct Precision<double> : PrecisionOf<double, double, 'd'> {};
template <>
struct Precision<ORB_Complex8> : PrecisionOf<ORB_Complex8, float, 'c'> {};
template <>
struct Precision<ORB_Complex16> : PrecisionOf<ORB_Complex16, double, 'z'> {};

}  // namespace orb

//! Expands X(letter, upper-case letter, element type) once per precision, in
//! the order s, d, c, z: every routine's exported entries are generated from it.
#define ORB_FOR_EACH_PRECISION(X) X(s, S, float) X(d, D, double) X(c, C, ORB_Complex8) X(z, Z, ORB_Complex16)

//! The level-1 names that do not follow the precision letter, once per
//! precision: X(letter, element type, real type, dotu, dotc, norm, real_scalar)
//! where dotu and dotc name the dot products (sdot twice for a real type),
//! norm prefixes the real-valued reductions (sasum, scasum) and real_scalar the
//! routines whose scalars are real (srot, csrot; csscal beside cscal).
#define ORB_FOR_EACH_LEVEL1_PRECISION(X)          \
  X(s, float, float, sdot, sdot, s, s)            \
  X(d, double, double, ddot, ddot, d, d)          \
  X(c, ORB_Complex8, float, cdotu, cdotc, sc, cs) \
  X(z, ORB_Complex16, double, zdotu, zdotc, dz, zd)
