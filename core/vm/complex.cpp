// The complex kernels.  Each element is computed in the element's own real
// type, one at a time: sums and conjugates exactly, products by the textbook
// formula (each part within 2 eps of |a| |b|), quotients by Smith's scaling
// so that neither part overflows before the result does; exponentials,
// logarithms, roots, powers and moduli through the C library.
#include "vm/elements.hpp"
#include "vm/errors.hpp"
#include "vm/kernels.hpp"

#include <cmath>
#include <complex>

namespace orb::vm {

namespace {

template <class C>
struct Part;
template <>
struct Part<ORB_Complex8> {
  using type = float;
};
template <>
struct Part<ORB_Complex16> {
  using type = double;
};

constexpr const char *kUnaryNames[2][kComplexUnary] = {{"cconj", "cexp", "cln", "csqrt", "cabs", "carg"},
                                                       {"zconj", "zexp", "zln", "zsqrt", "zabs", "zarg"}};
constexpr const char *kBinaryNames[2][kComplexBinary] = {{"cadd", "csub", "cmul", "cdiv", "cpow"},
                                                         {"zadd", "zsub", "zmul", "zdiv", "zpow"}};

template <class C>
constexpr int name_row() {
  return letter_of<C>() == 'c' ? 0 : 1;
}

template <class E>
bool finite(E re, E im) {
  return std::isfinite(re) && std::isfinite(im);
}

//! The status of result (re, im) from argument parts a, b, c, d.
template <class E>
int complex_status(bool pole, E a, E b, E c, E d, E re, E im) {
  if (pole) return ORB_VM_STATUS_SING;
  const bool args_nan = std::isnan(a) || std::isnan(b) || std::isnan(c) || std::isnan(d);
  if ((std::isnan(re) || std::isnan(im)) && !args_nan) return ORB_VM_STATUS_ERRDOM;
  if ((std::isinf(re) || std::isinf(im)) && finite(a, b) && finite(c, d))
    return pole ? ORB_VM_STATUS_SING : ORB_VM_STATUS_OVERFLOW;
  return 0;
}

template <class C>
std::complex<typename Part<C>::type> to_std(C v) {
  return {v.real, v.imag};
}
template <class C, class E>
C from_std(std::complex<E> v) {
  return C{v.real(), v.imag()};
}

template <class C, class E = typename Part<C>::type>
C divide(E a, E b, E c, E d) {
  if (std::fabs(c) >= std::fabs(d)) {
    if (c == 0 && d == 0)  // a pole: the infinite parts of a / 0, the zero ones kept
      return C{a == 0 ? a : a / c, b == 0 ? b : b / c};
    const E r = d / c, t = c + d * r;
    return C{(a + b * r) / t, (b - a * r) / t};
  }
  const E r = c / d, t = c * r + d;
  return C{(a * r + b) / t, (b * r - a) / t};
}

}  // namespace

template <class C>
int complex_unary(int f, int n, const C *x, int incx, C *y, int incy) {
  using E = typename Part<C>::type;
  if (n <= 0) return state().status = 0;
  KernelCall call(kUnaryNames[name_row<C>()][f], x, incx);
  for (int64_t i = 0; i < n; ++i) {
    const C v = x[i * incx];
    C r;
    switch (f) {
      case kc_conj:
        r = C{v.real, -v.imag};
        break;
      case kc_exp: {
        const E m = std::exp(v.real);
        r = v.imag == 0 ? C{m, v.imag} : C{m * std::cos(v.imag), m * std::sin(v.imag)};
        break;
      }
      case kc_ln:
        r = from_std<C>(std::log(to_std(v)));
        break;
      default:
        r = from_std<C>(std::sqrt(to_std(v)));
        break;
    }
    y[i * incy] = r;
    if (call.report.wanted() && !finite(r.real, r.imag))
      if (const int s =
              complex_status<E>(f == kc_ln && v.real == 0 && v.imag == 0, v.real, v.imag, 0, 0, r.real, r.imag))
        call.report.error(s, call.first + i, v.real, v.imag, r.real);
  }
  return call.finish();
}

template <class C, class E>
int complex_to_real(int f, int n, const C *x, int incx, E *y, int incy) {
  if (n <= 0) return state().status = 0;
  KernelCall call(kUnaryNames[name_row<C>()][f], x, incx);
  for (int64_t i = 0; i < n; ++i) {
    const C v = x[i * incx];
    const E r = f == kc_abs ? std::hypot(v.real, v.imag) : std::atan2(v.imag, v.real);
    y[i * incy] = r;
    if (call.report.wanted() && !std::isfinite(r))
      if (const int s = complex_status<E>(false, v.real, v.imag, 0, 0, r, 0))
        call.report.error(s, call.first + i, v.real, v.imag, r);
  }
  return call.finish();
}

//! y = op(a, b) element by element, each result looked over as it is made.
template <class C, class Op>
void complex_loop(int f, int n, const C *a, int inca, const C *b, int incb, C *y, int incy, KernelCall &call, Op op) {
  using E = typename Part<C>::type;
  for (int64_t i = 0; i < n; ++i) {
    const C u = a[i * inca], v = b[i * incb];
    const C r = op(u, v);
    y[i * incy] = r;
    if (call.report.wanted() && !finite(r.real, r.imag)) {
      const bool u_zero = u.real == 0 && u.imag == 0, v_zero = v.real == 0 && v.imag == 0;
      const bool pole = (f == kc_div && v_zero && !u_zero) || (f == kc_pow && u_zero && v.real < 0);
      if (const int s = complex_status<E>(pole, u.real, u.imag, v.real, v.imag, r.real, r.imag))
        call.report.error(s, call.first + i, u.real, v.real, r.real);
    }
  }
}

template <class C>
int complex_binary(int f, int n, const C *a, int inca, const C *b, int incb, C *y, int incy) {
  if (n <= 0) return state().status = 0;
  KernelCall call(kBinaryNames[name_row<C>()][f], a, inca);
  switch (f) {
    case kc_add:
      complex_loop(f, n, a, inca, b, incb, y, incy, call, [](C u, C v) { return C{u.real + v.real, u.imag + v.imag}; });
      break;
    case kc_sub:
      complex_loop(f, n, a, inca, b, incb, y, incy, call, [](C u, C v) { return C{u.real - v.real, u.imag - v.imag}; });
      break;
    case kc_mul:  // a fused multiply-add would be a library call here, built for every x86-64
      complex_loop(f, n, a, inca, b, incb, y, incy, call, [](C u, C v) {
        return C{u.real * v.real - u.imag * v.imag, u.real * v.imag + u.imag * v.real};
      });
      break;
    case kc_div:
      complex_loop(f, n, a, inca, b, incb, y, incy, call,
                   [](C u, C v) { return divide<C>(u.real, u.imag, v.real, v.imag); });
      break;
    default:
      complex_loop(f, n, a, inca, b, incb, y, incy, call,
                   [](C u, C v) { return from_std<C>(std::pow(to_std(u), to_std(v))); });
      break;
  }
  return call.finish();
}

#define ORB_VM_INSTANTIATE_COMPLEX(C, E)                                  \
  template int complex_unary<C>(int, int, const C *, int, C *, int);      \
  template int complex_to_real<C, E>(int, int, const C *, int, E *, int); \
  template int complex_binary<C>(int, int, const C *, int, const C *, int, C *, int);
ORB_VM_INSTANTIATE_COMPLEX(ORB_Complex8, float)
ORB_VM_INSTANTIATE_COMPLEX(ORB_Complex16, double)

}  // namespace orb::vm
