// The functions of the elementwise math module, numbered once for the core
// and the interface layer, and what the core needs to know about each: its SLEEF kernels at high and low accuracy, which
// arguments are poles (a finite argument whose infinite result is a
// singularity rather than an overflow), and the relative cost of one element.
//
// Costs are nanoseconds per double element of the widest kernel on the Zen 5
// the module was tuned on (AMD EPYC family 26 model 2, AVX-512): measured by
// orb-bench vm (SLEEF on one thread) for exp, ln, sin, pow, erf and sqrt,
// the others estimated from their kin.  The threaders cut a vector into
// pieces of at least 10000 / cost elements, so a piece is worth about 10
// microseconds of work whatever the function, and the core hands over only
// vectors of two pieces or more.
#pragma once

#include <cstdint>

namespace orb::vm {

//! Finite arguments at which a function has a pole.
enum class Pole : uint8_t {
  none,
  zero,         //!< log(0), 1/0, 1/sqrt(0)
  minus_one,    //!< log1p(-1)
  unit,         //!< atanh(+-1)
  nonpos_int,   //!< lgamma, tgamma at 0, -1, -2, ...
  zero_negpow,  //!< pow(0, y) with y < 0
  divisor_zero, //!< a / 0 with a != 0
};

// X(name, SLEEF stem, high-accuracy suffix, low-accuracy suffix, pole, cost)
#define ORB_VM_SLEEF_UNARY(X)                                 \
  X(exp, exp, _u10, _u10, none, 0.55f)                         \
  X(exp2, exp2, _u10, _u35, none, 1.0f)                       \
  X(exp10, exp10, _u10, _u35, none, 1.0f)                     \
  X(expm1, expm1, _u10, _u10, none, 1.5f)                     \
  X(ln, log, _u10, _u10, zero, 0.7f)  /* the 3.5-ulp log runs 50x slower on mixed magnitudes */ \
  X(log2, log2, _u10, _u35, zero, 1.0f)                       \
  X(log10, log10, _u10, _u10, zero, 1.0f)                     \
  X(log1p, log1p, _u10, _u10, minus_one, 1.5f)                \
  X(sqrt, sqrt, _u05, _u35, none, 0.7f)                       \
  X(cbrt, cbrt, _u10, _u35, none, 1.5f)                       \
  X(sin, sin, _u10, _u35, none, 1.6f)                         \
  X(cos, cos, _u10, _u35, none, 1.6f)                         \
  X(tan, tan, _u10, _u35, none, 2.5f)                         \
  X(asin, asin, _u10, _u35, none, 1.5f)                       \
  X(acos, acos, _u10, _u35, none, 1.5f)                       \
  X(atan, atan, _u10, _u35, none, 1.5f)                       \
  X(sinh, sinh, _u10, _u35, none, 1.5f)                       \
  X(cosh, cosh, _u10, _u35, none, 1.5f)                       \
  X(tanh, tanh, _u10, _u35, none, 1.5f)                       \
  X(asinh, asinh, _u10, _u10, none, 2.0f)                     \
  X(acosh, acosh, _u10, _u10, none, 2.0f)                     \
  X(atanh, atanh, _u10, _u10, unit, 2.0f)                     \
  X(erf, erf, _u10, _u10, none, 5.0f)                         \
  X(erfc, erfc, _u15, _u15, none, 5.0f)                       \
  X(lgamma, lgamma, _u10, _u10, nonpos_int, 5.0f)             \
  X(tgamma, tgamma, _u10, _u10, nonpos_int, 5.0f)             \
  X(floor, floor, , , none, 0.3f)                             \
  X(ceil, ceil, , , none, 0.3f)                               \
  X(round, round, , , none, 0.3f)                             \
  X(trunc, trunc, , , none, 0.3f)

// X(name, SLEEF stem, high-accuracy suffix, low-accuracy suffix, pole, cost)
#define ORB_VM_SLEEF_BINARY(X)                    \
  X(pow, pow, _u10, _u10, zero_negpow, 3.7f)      \
  X(atan2, atan2, _u10, _u35, none, 2.0f)         \
  X(hypot, hypot, _u05, _u35, none, 1.0f)

// The module's own kernels: X(name, pole, cost).
#define ORB_VM_OWN_UNARY(X)        \
  X(inv, zero, 0.3f)               \
  X(invsqrt, zero, 0.6f)           \
  X(sqr, none, 0.3f)               \
  X(abs, none, 0.3f)
#define ORB_VM_OWN_BINARY(X)       \
  X(add, none, 0.3f)               \
  X(sub, none, 0.3f)               \
  X(mul, none, 0.3f)               \
  X(div, divisor_zero, 0.3f)

//! Complex functions: of one argument (|z| and arg give a real result), and of two.
enum ComplexUnary : int { kc_conj, kc_exp, kc_ln, kc_sqrt, kc_abs, kc_arg, kComplexUnary };
enum ComplexBinary : int { kc_add, kc_sub, kc_mul, kc_div, kc_pow, kComplexBinary };

//! Every real function of one argument, numbered.
enum Unary : int {
#define ORB_VM_ENUM_SLEEF(name, stem, ha, la, pole, cost) k_##name,
#define ORB_VM_ENUM_OWN(name, pole, cost) k_##name,
  ORB_VM_SLEEF_UNARY(ORB_VM_ENUM_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_ENUM_OWN) kUnary,
  kSleefUnary = k_inv  //!< the functions before this one are SLEEF's
};

//! Every real function of two arguments, numbered.
enum Binary : int {
  ORB_VM_SLEEF_BINARY(ORB_VM_ENUM_SLEEF) ORB_VM_OWN_BINARY(ORB_VM_ENUM_OWN) kBinary,
  kSleefBinary = k_add  //!< the functions before this one are SLEEF's
};
#undef ORB_VM_ENUM_SLEEF
#undef ORB_VM_ENUM_OWN

}  // namespace orb::vm
