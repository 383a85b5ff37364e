// How a call of the module reaches its kernel: through the threading layer's
// threader of the kernel's signature when that layer is loaded in the process
// (looked up by name, once: the core does not link against the layer above
// it), on the calling thread otherwise.
//
// The threaders take a plain kernel function and 32-bit counts, so every
// function has one kernel instance per form (unit strides, any strides),
// gathered in tables indexed by function number, and a vector longer than a
// 32-bit count goes over in pieces of 2^30 elements.  Each function's cost
// figure (vm_functions.hpp) sets how finely the threader may cut it.
#include "vm_functions.hpp"
#include "vm/elements.hpp"
#include "vm/kernels.hpp"
#include "vm/state.hpp"

#include <orb/internal/orb_ewf.h>
#include <orb/internal/orb_vm_kernels.h>

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <string>
#include <utility>

namespace orb::vm {

namespace {

#define ORB_VM_COST_SLEEF(name, stem, ha, la, pole, cost) cost,
#define ORB_VM_COST_OWN(name, pole, cost) cost,
constexpr float kUnaryCost[kUnary] = {ORB_VM_SLEEF_UNARY(ORB_VM_COST_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_COST_OWN)};
constexpr float kBinaryCost[kBinary] = {ORB_VM_SLEEF_BINARY(ORB_VM_COST_SLEEF) ORB_VM_OWN_BINARY(ORB_VM_COST_OWN)};
constexpr float kSinCosCost = 2.5f, kLinearFracCost = 0.5f;
constexpr float kComplexUnaryCost[kComplexUnary] = {0.3f, 20.0f, 20.0f, 10.0f, 5.0f, 10.0f};
constexpr float kComplexBinaryCost[kComplexBinary] = {0.5f, 0.5f, 1.0f, 3.0f, 60.0f};

//! The longest piece handed over at once: a 32-bit count.
constexpr int64_t kPiece = int64_t{1} << 30;

//! This library's handle, from which a threader loads the module's entry points.
void *core_handle() {
  static void *const handle = [] {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void *>(&orb_ewf_kernel_GetMode), &info) || !info.dli_fname) return (void *)nullptr;
    return dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  }();
  return handle;
}

//! The threader orb_ewf_serv_threader_<form>, or null without a threading
//! layer: in the process's global scope, or in the layer's own scope when a
//! program opened it privately.
template <class Fn>
Fn find_threader(const char *form) {
  char name[64];
  std::snprintf(name, sizeof name, "orb_ewf_serv_threader_%s", form);
  void *fn = dlsym(RTLD_DEFAULT, name);
  if (!fn) {
    static void *const layer = dlopen("liborb_tsq_thread.so.2", RTLD_LAZY | RTLD_NOLOAD);
    if (layer) fn = dlsym(layer, name);
  }
  return reinterpret_cast<Fn>(fn);
}

//! Whether a vector is worth the threader: the threader would cut nothing
//! from a vector shorter than two pieces of its grain (10000 / cost), and
//! handing one piece over costs more than a short kernel runs.
bool worth_threading(int64_t n, float cost) { return static_cast<float>(n) * cost >= 20000.0f; }

//! Runs piece(offset, count) over n elements in 32-bit pieces; the status of
//! the call is the last non-zero one, left as the thread's status.
template <class Piece>
int in_pieces(int64_t n, Piece piece) {
  if (n <= kPiece) return piece(0, static_cast<int>(n));
  int status = 0;
  for (int64_t off = 0; off < n; off += kPiece)
    if (const int s = piece(off, static_cast<int>(std::min(kPiece, n - off)))) status = s;
  return state().status = status;
}

// Kernels with the threaders' signatures, one per function and form.
template <class T, int F>
int unary_unit(int n, const T *x, T *y) {
  return real_unary<T>(F, n, x, 1, y, 1);
}
template <class T, int F>
int unary_strided(int n, const T *x, int incx, T *y, int incy) {
  return real_unary<T>(F, n, x, incx, y, incy);
}
template <class T, int F>
int binary_unit(int n, const T *a, const T *b, T *y) {
  return real_binary<T>(F, n, a, 1, b, 1, y, 1);
}
template <class T, int F>
int binary_strided(int n, const T *a, int inca, const T *b, int incb, T *y, int incy) {
  return real_binary<T>(F, n, a, inca, b, incb, y, incy);
}
template <class T, int F>
int fixed_unit(int n, const T *a, T *y, T b) {
  return real_binary<T>(F, n, a, 1, &b, 0, y, 1);
}
template <class T, int F>
int fixed_strided(int n, const T *a, int inca, T *y, int incy, T b) {
  return real_binary<T>(F, n, a, inca, &b, 0, y, incy);
}
template <class C, int F>
int cunary_unit(int n, const C *x, C *y) {
  return complex_unary<C>(F, n, x, 1, y, 1);
}
template <class C, int F>
int cunary_strided(int n, const C *x, int incx, C *y, int incy) {
  return complex_unary<C>(F, n, x, incx, y, incy);
}
template <class C, class E, int F>
int creal_unit(int n, const C *x, E *y) {
  return complex_to_real<C, E>(F, n, x, 1, y, 1);
}
template <class C, class E, int F>
int creal_strided(int n, const C *x, int incx, E *y, int incy) {
  return complex_to_real<C, E>(F, n, x, incx, y, incy);
}
template <class C, int F>
int cbinary_unit(int n, const C *a, const C *b, C *y) {
  return complex_binary<C>(F, n, a, 1, b, 1, y, 1);
}
template <class C, int F>
int cbinary_strided(int n, const C *a, int inca, const C *b, int incb, C *y, int incy) {
  return complex_binary<C>(F, n, a, inca, b, incb, y, incy);
}
template <class T>
int sincos_unit(int n, const T *x, T *s, T *c) {
  return real_sincos<T>(n, x, 1, s, 1, c, 1);
}
template <class T>
int sincos_strided(int n, const T *x, int incx, T *s, int incs, T *c, int incc) {
  return real_sincos<T>(n, x, incx, s, incs, c, incc);
}
template <class T>
int frac_unit(int n, const T *a, const T *b, T *y, T p, T q, T u, T v) {
  return real_linear_frac<T>(n, a, 1, b, 1, y, 1, p, q, u, v);
}
template <class T>
int frac_strided(int n, const T *a, int inca, const T *b, int incb, T *y, int incy, T p, T q, T u, T v) {
  return real_linear_frac<T>(n, a, inca, b, incb, y, incy, p, q, u, v);
}

//! The table {K<0>, ..., K<count - 1>} of one kernel template.
template <class Fn, template <int> class K, size_t... F>
constexpr std::array<Fn, sizeof...(F)> table(std::index_sequence<F...>) {
  return {K<static_cast<int>(F)>::fn...};
}

template <class T>
struct UnaryKernels {
  template <int F>
  struct Unit {
    static constexpr auto fn = &unary_unit<T, F>;
  };
  template <int F>
  struct Strided {
    static constexpr auto fn = &unary_strided<T, F>;
  };
};
template <class T>
struct BinaryKernels {
  template <int F>
  struct Unit {
    static constexpr auto fn = &binary_unit<T, F>;
  };
  template <int F>
  struct Strided {
    static constexpr auto fn = &binary_strided<T, F>;
  };
  template <int F>
  struct FixedUnit {
    static constexpr auto fn = &fixed_unit<T, F>;
  };
  template <int F>
  struct FixedStrided {
    static constexpr auto fn = &fixed_strided<T, F>;
  };
};
template <class C, class E>
struct ComplexKernels {
  template <int F>
  struct Unit {
    static constexpr auto fn = &cunary_unit<C, F>;
  };
  template <int F>
  struct Strided {
    static constexpr auto fn = &cunary_strided<C, F>;
  };
  template <int F>
  struct RealUnit {
    static constexpr auto fn = &creal_unit<C, E, F>;
  };
  template <int F>
  struct RealStrided {
    static constexpr auto fn = &creal_strided<C, E, F>;
  };
  template <int F>
  struct BinUnit {
    static constexpr auto fn = &cbinary_unit<C, F>;
  };
  template <int F>
  struct BinStrided {
    static constexpr auto fn = &cbinary_strided<C, F>;
  };
};

bool unit(int64_t inc) { return inc == 1; }

//! y = f(x), T in and U out: through the threader of the unit or the strided
//! form (looked up once: the forms are fixed by T and U), or the kernel itself.
template <class T, class U, class UnitK, class StridedK>
int one_in_one_out(const char *unit_form, const char *strided_form, UnitK uk, StridedK sk, float cost, int64_t n,
                   const T *x, int64_t incx, U *y, int64_t incy) {
  using UnitT = int (*)(UnitK, int, const T *, U *, void *, void *, float);
  using StridedT = int (*)(StridedK, int, const T *, int, U *, int, void *, float);
  static const auto ut = find_threader<UnitT>(unit_form);
  static const auto st = find_threader<StridedT>(strided_form);
  const bool threaded = worth_threading(n, cost);
  return in_pieces(n, [&](int64_t off, int m) {
    const T *xp = x + off * incx;
    U *yp = y + off * incy;
    if (unit(incx) && unit(incy))
      return ut && threaded ? ut(uk, m, xp, yp, core_handle(), nullptr, cost) : uk(m, xp, yp);
    const int ix = static_cast<int>(incx), iy = static_cast<int>(incy);
    return st && threaded ? st(sk, m, xp, ix, yp, iy, core_handle(), cost) : sk(m, xp, ix, yp, iy);
  });
}

template <class T, class UnitK, class StridedK>
int two_in_one_out(const char *unit_form, const char *strided_form, UnitK uk, StridedK sk, float cost, int64_t n,
                   const T *a, int64_t inca, const T *b, int64_t incb, T *y, int64_t incy) {
  using UnitT = int (*)(UnitK, int, const T *, const T *, T *, void *, float);
  using StridedT = int (*)(StridedK, int, const T *, int, const T *, int, T *, int, void *, float);
  static const auto ut = find_threader<UnitT>(unit_form);
  static const auto st = find_threader<StridedT>(strided_form);
  const bool threaded = worth_threading(n, cost);
  return in_pieces(n, [&](int64_t off, int m) {
    const T *ap = a + off * inca, *bp = b + off * incb;
    T *yp = y + off * incy;
    if (unit(inca) && unit(incb) && unit(incy))
      return ut && threaded ? ut(uk, m, ap, bp, yp, core_handle(), cost) : uk(m, ap, bp, yp);
    const int ia = static_cast<int>(inca), ib = static_cast<int>(incb), iy = static_cast<int>(incy);
    return st && threaded ? st(sk, m, ap, ia, bp, ib, yp, iy, core_handle(), cost) : sk(m, ap, ia, bp, ib, yp, iy);
  });
}

//! The threader's name for element type T and shape, e.g. "d" + "_1i_1o".
template <class T>
struct Forms {
  std::string unit, strided;
  Forms(const char *u, const char *s)
      : unit(std::string(1, letter_of<T>()) + u), strided(std::string(1, letter_of<T>()) + s) {}
};

template <class T>
int real_unary_call(int f, int64_t n, const T *x, int64_t incx, T *y, int64_t incy) {
  static constexpr auto units =
      table<int (*)(int, const T *, T *), UnaryKernels<T>::template Unit>(std::make_index_sequence<kUnary>());
  static constexpr auto strided = table<int (*)(int, const T *, int, T *, int), UnaryKernels<T>::template Strided>(
      std::make_index_sequence<kUnary>());
  static const Forms<T> forms("_1i_1o", "_1iI_1oI");
  return one_in_one_out(forms.unit.c_str(), forms.strided.c_str(), units[f], strided[f], kUnaryCost[f], n, x, incx, y,
                        incy);
}

template <class T>
int real_binary_call(int f, int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T *y, int64_t incy) {
  if (incb == 0) {  // a fixed second argument: the scalar threaders
    using UnitK = int (*)(int, const T *, T *, T);
    using StridedK = int (*)(int, const T *, int, T *, int, T);
    static constexpr auto units =
        table<UnitK, BinaryKernels<T>::template FixedUnit>(std::make_index_sequence<kBinary>());
    static constexpr auto strided =
        table<StridedK, BinaryKernels<T>::template FixedStrided>(std::make_index_sequence<kBinary>());
    static const std::string unit_form = std::string("c") + letter_of<T>() + "_2i_" + letter_of<T>() + "_1o";
    static const std::string strided_form = std::string("c") + letter_of<T>() + "_2iI_" + letter_of<T>() + "_1oI";
    using UnitT = int (*)(UnitK, int, const T *, T *, void *, T, float);
    using StridedT = int (*)(StridedK, int, const T *, int, T *, int, void *, T, float);
    static const auto ut = find_threader<UnitT>(unit_form.c_str());
    static const auto st = find_threader<StridedT>(strided_form.c_str());
    const T s = *b;
    const float cost = kBinaryCost[f];
    const bool threaded = worth_threading(n, cost);
    return in_pieces(n, [&](int64_t off, int m) {
      const T *ap = a + off * inca;
      T *yp = y + off * incy;
      if (unit(inca) && unit(incy))
        return ut && threaded ? ut(units[f], m, ap, yp, core_handle(), s, cost) : units[f](m, ap, yp, s);
      const int ia = static_cast<int>(inca), iy = static_cast<int>(incy);
      return st && threaded ? st(strided[f], m, ap, ia, yp, iy, core_handle(), s, cost)
                            : strided[f](m, ap, ia, yp, iy, s);
    });
  }
  static constexpr auto units = table<int (*)(int, const T *, const T *, T *), BinaryKernels<T>::template Unit>(
      std::make_index_sequence<kBinary>());
  static constexpr auto strided =
      table<int (*)(int, const T *, int, const T *, int, T *, int), BinaryKernels<T>::template Strided>(
          std::make_index_sequence<kBinary>());
  static const Forms<T> forms("_2i_1o", "_2iI_1oI");
  return two_in_one_out(forms.unit.c_str(), forms.strided.c_str(), units[f], strided[f], kBinaryCost[f], n, a, inca, b,
                        incb, y, incy);
}

template <class T>
int sincos_call(int64_t n, const T *x, int64_t incx, T *s, int64_t incs, T *c, int64_t incc) {
  using UnitK = int (*)(int, const T *, T *, T *);
  using StridedK = int (*)(int, const T *, int, T *, int, T *, int);
  using UnitT = int (*)(UnitK, int, const T *, T *, T *, void *, float);
  using StridedT = int (*)(StridedK, int, const T *, int, T *, int, T *, int, void *, float);
  static const Forms<T> forms("_1i_2o", "_1iI_2oI");
  static const auto ut = find_threader<UnitT>(forms.unit.c_str());
  static const auto st = find_threader<StridedT>(forms.strided.c_str());
  const bool threaded = worth_threading(n, kSinCosCost);
  return in_pieces(n, [&](int64_t off, int m) {
    const T *xp = x + off * incx;
    T *sp = s + off * incs, *cp = c + off * incc;
    if (unit(incx) && unit(incs) && unit(incc))
      return ut && threaded ? ut(&sincos_unit<T>, m, xp, sp, cp, core_handle(), kSinCosCost)
                            : sincos_unit<T>(m, xp, sp, cp);
    const int ix = static_cast<int>(incx), is = static_cast<int>(incs), ic = static_cast<int>(incc);
    return st && threaded ? st(&sincos_strided<T>, m, xp, ix, sp, is, cp, ic, core_handle(), kSinCosCost)
                          : sincos_strided<T>(m, xp, ix, sp, is, cp, ic);
  });
}

template <class T>
int frac_call(int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T *y, int64_t incy, const T *s) {
  using UnitK = int (*)(int, const T *, const T *, T *, T, T, T, T);
  using StridedK = int (*)(int, const T *, int, const T *, int, T *, int, T, T, T, T);
  using UnitT = int (*)(UnitK, int, const T *, const T *, T *, void *, T, T, T, T, float);
  using StridedT = int (*)(StridedK, int, const T *, int, const T *, int, T *, int, void *, T, T, T, T, float);
  static const Forms<T> forms("_6i_1o", "_6iI_1oI");
  static const auto ut = find_threader<UnitT>(forms.unit.c_str());
  static const auto st = find_threader<StridedT>(forms.strided.c_str());
  const bool threaded = worth_threading(n, kLinearFracCost);
  return in_pieces(n, [&](int64_t off, int m) {
    const T *ap = a + off * inca, *bp = b + off * incb;
    T *yp = y + off * incy;
    if (unit(inca) && unit(incb) && unit(incy))
      return ut && threaded ? ut(&frac_unit<T>, m, ap, bp, yp, core_handle(), s[0], s[1], s[2], s[3], kLinearFracCost)
                            : frac_unit<T>(m, ap, bp, yp, s[0], s[1], s[2], s[3]);
    const int ia = static_cast<int>(inca), ib = static_cast<int>(incb), iy = static_cast<int>(incy);
    return st && threaded
               ? st(&frac_strided<T>, m, ap, ia, bp, ib, yp, iy, core_handle(), s[0], s[1], s[2], s[3], kLinearFracCost)
               : frac_strided<T>(m, ap, ia, bp, ib, yp, iy, s[0], s[1], s[2], s[3]);
  });
}

template <class C, class E>
int complex_unary_call(int f, int64_t n, const C *x, int64_t incx, void *y, int64_t incy) {
  if (f == kc_abs || f == kc_arg) {
    static constexpr auto units = table<int (*)(int, const C *, E *), ComplexKernels<C, E>::template RealUnit>(
        std::make_index_sequence<kComplexUnary>());
    static constexpr auto strided =
        table<int (*)(int, const C *, int, E *, int), ComplexKernels<C, E>::template RealStrided>(
            std::make_index_sequence<kComplexUnary>());
    static const std::string u = std::string(1, letter_of<C>()) + "_1i_" + letter_of<E>() + "_1o";
    static const std::string s = std::string(1, letter_of<C>()) + "_1iI_" + letter_of<E>() + "_1oI";
    return one_in_one_out(u.c_str(), s.c_str(), units[f], strided[f], kComplexUnaryCost[f], n, x, incx,
                          static_cast<E *>(y), incy);
  }
  static constexpr auto units = table<int (*)(int, const C *, C *), ComplexKernels<C, E>::template Unit>(
      std::make_index_sequence<kComplexUnary>());
  static constexpr auto strided = table<int (*)(int, const C *, int, C *, int), ComplexKernels<C, E>::template Strided>(
      std::make_index_sequence<kComplexUnary>());
  static const Forms<C> forms("_1i_1o", "_1iI_1oI");
  return one_in_one_out(forms.unit.c_str(), forms.strided.c_str(), units[f], strided[f], kComplexUnaryCost[f], n, x,
                        incx, static_cast<C *>(y), incy);
}

template <class C, class E>
int complex_binary_call(int f, int64_t n, const C *a, int64_t inca, const C *b, int64_t incb, C *y, int64_t incy) {
  static constexpr auto units = table<int (*)(int, const C *, const C *, C *), ComplexKernels<C, E>::template BinUnit>(
      std::make_index_sequence<kComplexBinary>());
  static constexpr auto strided =
      table<int (*)(int, const C *, int, const C *, int, C *, int), ComplexKernels<C, E>::template BinStrided>(
          std::make_index_sequence<kComplexBinary>());
  static const Forms<C> forms("_2i_1o", "_2iI_1oI");
  return two_in_one_out(forms.unit.c_str(), forms.strided.c_str(), units[f], strided[f], kComplexBinaryCost[f], n, a,
                        inca, b, incb, y, incy);
}

}  // namespace

}  // namespace orb::vm

using namespace orb::vm;

extern "C" {

int orb_vm_kernel_real_unary(int f, char p, int64_t n, const void *x, int64_t incx, void *y, int64_t incy) {
  if (f < 0 || f >= kUnary) return -1;
  switch (p) {
    case 'h':
      return real_unary_call(f, n, static_cast<const ORB_Half *>(x), incx, static_cast<ORB_Half *>(y), incy);
    case 's':
      return real_unary_call(f, n, static_cast<const float *>(x), incx, static_cast<float *>(y), incy);
    case 'd':
      return real_unary_call(f, n, static_cast<const double *>(x), incx, static_cast<double *>(y), incy);
  }
  return -1;
}

int orb_vm_kernel_real_binary(int f, char p, int64_t n, const void *a, int64_t inca, const void *b, int64_t incb,
                              void *y, int64_t incy) {
  if (f < 0 || f >= kBinary) return -1;
  switch (p) {
    case 'h':
      return real_binary_call(f, n, static_cast<const ORB_Half *>(a), inca, static_cast<const ORB_Half *>(b), incb,
                              static_cast<ORB_Half *>(y), incy);
    case 's':
      return real_binary_call(f, n, static_cast<const float *>(a), inca, static_cast<const float *>(b), incb,
                              static_cast<float *>(y), incy);
    case 'd':
      return real_binary_call(f, n, static_cast<const double *>(a), inca, static_cast<const double *>(b), incb,
                              static_cast<double *>(y), incy);
  }
  return -1;
}

int orb_vm_kernel_real_sincos(char p, int64_t n, const void *x, int64_t incx, void *s, int64_t incs, void *c,
                              int64_t incc) {
  switch (p) {
    case 'h':
      return sincos_call(n, static_cast<const ORB_Half *>(x), incx, static_cast<ORB_Half *>(s), incs,
                         static_cast<ORB_Half *>(c), incc);
    case 's':
      return sincos_call(n, static_cast<const float *>(x), incx, static_cast<float *>(s), incs, static_cast<float *>(c),
                         incc);
    case 'd':
      return sincos_call(n, static_cast<const double *>(x), incx, static_cast<double *>(s), incs,
                         static_cast<double *>(c), incc);
  }
  return -1;
}

int orb_vm_kernel_real_linear_frac(char p, int64_t n, const void *a, int64_t inca, const void *b, int64_t incb, void *y,
                                   int64_t incy, const void *s) {
  switch (p) {
    case 'h':
      return frac_call(n, static_cast<const ORB_Half *>(a), inca, static_cast<const ORB_Half *>(b), incb,
                       static_cast<ORB_Half *>(y), incy, static_cast<const ORB_Half *>(s));
    case 's':
      return frac_call(n, static_cast<const float *>(a), inca, static_cast<const float *>(b), incb,
                       static_cast<float *>(y), incy, static_cast<const float *>(s));
    case 'd':
      return frac_call(n, static_cast<const double *>(a), inca, static_cast<const double *>(b), incb,
                       static_cast<double *>(y), incy, static_cast<const double *>(s));
  }
  return -1;
}

int orb_vm_kernel_complex_unary(int f, char p, int64_t n, const void *x, int64_t incx, void *y, int64_t incy) {
  if (f < 0 || f >= kComplexUnary) return -1;
  if (p == 'c')
    return complex_unary_call<ORB_Complex8, float>(f, n, static_cast<const ORB_Complex8 *>(x), incx, y, incy);
  if (p == 'z')
    return complex_unary_call<ORB_Complex16, double>(f, n, static_cast<const ORB_Complex16 *>(x), incx, y, incy);
  return -1;
}

int orb_vm_kernel_complex_binary(int f, char p, int64_t n, const void *a, int64_t inca, const void *b, int64_t incb,
                                 void *y, int64_t incy) {
  if (f < 0 || f >= kComplexBinary) return -1;
  if (p == 'c')
    return complex_binary_call<ORB_Complex8, float>(f, n, static_cast<const ORB_Complex8 *>(a), inca,
                                                    static_cast<const ORB_Complex8 *>(b), incb,
                                                    static_cast<ORB_Complex8 *>(y), incy);
  if (p == 'z')
    return complex_binary_call<ORB_Complex16, double>(f, n, static_cast<const ORB_Complex16 *>(a), inca,
                                                      static_cast<const ORB_Complex16 *>(b), incb,
                                                      static_cast<ORB_Complex16 *>(y), incy);
  return -1;
}

}  // extern "C"
