// The user-facing names of the elementwise math module: argument checks, the
// per-call mode, the verbose line, and the per-thread state.
//
// Bad arguments are a status, never a crash, and nothing is written: a
// negative length (ORB_VM_STATUS_BADSIZE), a NULL vector while n > 0
// (BADMEM), a zero stride or one that does not fit in 32 bits (BADSTRIDE).
// The status a call returns is also left as the calling thread's status.
#include <orb/internal/orb_ewf.h>
#include <orb/internal/orb_vm_kernels.h>
#include <orb/orb_vm.h>

#include "report.hpp"
#include "vm_functions.hpp"

#include <climits>
#include <initializer_list>

namespace orb::iface {

namespace {

//! The status of a call's arguments: 0 when they are good.
int bad_arguments(int64_t n, std::initializer_list<const void *> vectors, std::initializer_list<int64_t> strides) {
  if (n < 0) return ORB_VM_STATUS_BADSIZE;
  if (n == 0) return 0;
  for (const void *v : vectors)
    if (!v) return ORB_VM_STATUS_BADMEM;
  for (const int64_t inc : strides)
    if (inc == 0 || inc > INT_MAX || inc < -INT_MAX) return ORB_VM_STATUS_BADSTRIDE;
  return 0;
}

//! One call: the checks' status, or the computation under `mode` (when given)
//! with its verbose line.
template <class Call>
int vm_run(int iface, const char *name, int64_t n, int bad, const unsigned *mode, Call call) {
  if (bad || n == 0) return orb_ewf_kernel_SetErrStatus(bad);
  const unsigned old = mode ? orb_ewf_kernel_SetMode(*mode) : 0;
  int status = 0;
  run_reported(
      iface, [&] { status = call(); }, [&](CallText &t) { t.routine(name).integer(n); });
  if (mode) orb_ewf_kernel_SetMode(old);
  return status;
}

// The core's kernels of each kind, bound to one function and precision.
struct RealUnary {
  int f;
  char p;
  int operator()(int64_t n, const void *x, int64_t incx, void *y, int64_t incy) const {
    return orb_vm_kernel_real_unary(f, p, n, x, incx, y, incy);
  }
};
struct ComplexUnary {
  int f;
  char p;
  int operator()(int64_t n, const void *x, int64_t incx, void *y, int64_t incy) const {
    return orb_vm_kernel_complex_unary(f, p, n, x, incx, y, incy);
  }
};
struct RealBinary {
  int f;
  char p;
  int operator()(int64_t n, const void *a, int64_t inca, const void *b, int64_t incb, void *y, int64_t incy) const {
    return orb_vm_kernel_real_binary(f, p, n, a, inca, b, incb, y, incy);
  }
};
struct ComplexBinary {
  int f;
  char p;
  int operator()(int64_t n, const void *a, int64_t inca, const void *b, int64_t incb, void *y, int64_t incy) const {
    return orb_vm_kernel_complex_binary(f, p, n, a, inca, b, incb, y, incy);
  }
};

template <class Kernel>
int unary(Kernel k, int iface, const char *name, int64_t n, const void *x, int64_t incx, void *y, int64_t incy,
          const unsigned *mode) {
  return vm_run(iface, name, n, bad_arguments(n, {x, y}, {incx, incy}), mode, [&] { return k(n, x, incx, y, incy); });
}

template <class Kernel>
int binary(Kernel k, int iface, const char *name, int64_t n, const void *a, int64_t inca, const void *b, int64_t incb,
           void *y, int64_t incy, const unsigned *mode) {
  return vm_run(iface, name, n, bad_arguments(n, {a, b, y}, {inca, incb, incy}), mode,
                [&] { return k(n, a, inca, b, incb, y, incy); });
}

//! a^b with one b: the power with the second argument's stride 0.
template <class T>
int powx(char p, int iface, const char *name, int64_t n, const T *a, int64_t inca, T b, T *y, int64_t incy,
         const unsigned *mode) {
  return vm_run(iface, name, n, bad_arguments(n, {a, y}, {inca, incy}), mode,
                [&] { return orb_vm_kernel_real_binary(orb::vm::k_pow, p, n, a, inca, &b, 0, y, incy); });
}

template <class T>
int sincos(char p, int iface, const char *name, int64_t n, const T *x, int64_t incx, T *s, int64_t incs, T *c,
           int64_t incc, const unsigned *mode) {
  return vm_run(iface, name, n, bad_arguments(n, {x, s, c}, {incx, incs, incc}), mode,
                [&] { return orb_vm_kernel_real_sincos(p, n, x, incx, s, incs, c, incc); });
}

template <class T>
int linear_frac(char p, int iface, const char *name, int64_t n, const T *a, int64_t inca, const T *b, int64_t incb,
                const T (&s)[4], T *y, int64_t incy, const unsigned *mode) {
  return vm_run(iface, name, n, bad_arguments(n, {a, b, y}, {inca, incb, incy}), mode,
                [&] { return orb_vm_kernel_real_linear_frac(p, n, a, inca, b, incb, y, incy, s); });
}

}  // namespace

}  // namespace orb::iface

using namespace orb::iface;

extern "C" {

unsigned orb_vm_set_mode(unsigned mode) { return orb_ewf_kernel_SetMode(mode); }
unsigned orb_vm_get_mode(void) { return orb_ewf_kernel_GetMode(); }
int orb_vm_set_status(int status) {
  const int old = orb_ewf_kernel_GetErrStatus();
  orb_ewf_kernel_SetErrStatus(status);
  return old;
}
int orb_vm_get_status(void) { return orb_ewf_kernel_GetErrStatus(); }
orb_vm_error_callback orb_vm_set_callback(orb_vm_error_callback callback) {
  return orb_ewf_kernel_SetErrorCallBack(callback);
}
orb_vm_error_callback orb_vm_get_callback(void) { return orb_ewf_kernel_GetErrorCallBack(); }

// The six names of one function: plain, mode and strided, in both widths.
#define ORB_VM_DEF_UNARY(name, kernel, T, U)                                                                           \
  int orb_vm_##name(int n, const T *x, U *y) { return unary(kernel, kLp64, "orb_vm_" #name, n, x, 1, y, 1, nullptr); } \
  int orb_vm_##name##_mode(int n, const T *x, U *y, unsigned mode) {                                                   \
    return unary(kernel, kLp64, "orb_vm_" #name, n, x, 1, y, 1, &mode);                                                \
  }                                                                                                                    \
  int orb_vm_##name##_64(int64_t n, const T *x, U *y) {                                                                \
    return unary(kernel, kIlp64, "orb_vm_" #name, n, x, 1, y, 1, nullptr);                                             \
  }                                                                                                                    \
  int orb_vm_##name##_mode_64(int64_t n, const T *x, U *y, unsigned mode) {                                            \
    return unary(kernel, kIlp64, "orb_vm_" #name, n, x, 1, y, 1, &mode);                                               \
  }                                                                                                                    \
  int orb_vm_##name##_strided(int n, const T *x, int incx, U *y, int incy) {                                           \
    return unary(kernel, kLp64, "orb_vm_" #name, n, x, incx, y, incy, nullptr);                                        \
  }                                                                                                                    \
  int orb_vm_##name##_strided_64(int64_t n, const T *x, int64_t incx, U *y, int64_t incy) {                            \
    return unary(kernel, kIlp64, "orb_vm_" #name, n, x, incx, y, incy, nullptr);                                       \
  }
#define ORB_VM_DEF_BINARY(name, kernel, T)                                                                            \
  int orb_vm_##name(int n, const T *a, const T *b, T *y) {                                                            \
    return binary(kernel, kLp64, "orb_vm_" #name, n, a, 1, b, 1, y, 1, nullptr);                                      \
  }                                                                                                                   \
  int orb_vm_##name##_mode(int n, const T *a, const T *b, T *y, unsigned mode) {                                      \
    return binary(kernel, kLp64, "orb_vm_" #name, n, a, 1, b, 1, y, 1, &mode);                                        \
  }                                                                                                                   \
  int orb_vm_##name##_64(int64_t n, const T *a, const T *b, T *y) {                                                   \
    return binary(kernel, kIlp64, "orb_vm_" #name, n, a, 1, b, 1, y, 1, nullptr);                                     \
  }                                                                                                                   \
  int orb_vm_##name##_mode_64(int64_t n, const T *a, const T *b, T *y, unsigned mode) {                               \
    return binary(kernel, kIlp64, "orb_vm_" #name, n, a, 1, b, 1, y, 1, &mode);                                       \
  }                                                                                                                   \
  int orb_vm_##name##_strided(int n, const T *a, int inca, const T *b, int incb, T *y, int incy) {                    \
    return binary(kernel, kLp64, "orb_vm_" #name, n, a, inca, b, incb, y, incy, nullptr);                             \
  }                                                                                                                   \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T *y, int64_t incy) { \
    return binary(kernel, kIlp64, "orb_vm_" #name, n, a, inca, b, incb, y, incy, nullptr);                            \
  }
#define ORB_VM_DEF_POWX(name, p, T)                                                              \
  int orb_vm_##name(int n, const T *a, T b, T *y) {                                              \
    return powx(p, kLp64, "orb_vm_" #name, n, a, 1, b, y, 1, nullptr);                           \
  }                                                                                              \
  int orb_vm_##name##_mode(int n, const T *a, T b, T *y, unsigned mode) {                        \
    return powx(p, kLp64, "orb_vm_" #name, n, a, 1, b, y, 1, &mode);                             \
  }                                                                                              \
  int orb_vm_##name##_64(int64_t n, const T *a, T b, T *y) {                                     \
    return powx(p, kIlp64, "orb_vm_" #name, n, a, 1, b, y, 1, nullptr);                          \
  }                                                                                              \
  int orb_vm_##name##_mode_64(int64_t n, const T *a, T b, T *y, unsigned mode) {                 \
    return powx(p, kIlp64, "orb_vm_" #name, n, a, 1, b, y, 1, &mode);                            \
  }                                                                                              \
  int orb_vm_##name##_strided(int n, const T *a, int inca, T b, T *y, int incy) {                \
    return powx(p, kLp64, "orb_vm_" #name, n, a, inca, b, y, incy, nullptr);                     \
  }                                                                                              \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, T b, T *y, int64_t incy) { \
    return powx(p, kIlp64, "orb_vm_" #name, n, a, inca, b, y, incy, nullptr);                    \
  }
#define ORB_VM_DEF_SINCOS(name, p, T)                                                                           \
  int orb_vm_##name(int n, const T *x, T *s, T *c) {                                                            \
    return sincos(p, kLp64, "orb_vm_" #name, n, x, 1, s, 1, c, 1, nullptr);                                     \
  }                                                                                                             \
  int orb_vm_##name##_mode(int n, const T *x, T *s, T *c, unsigned mode) {                                      \
    return sincos(p, kLp64, "orb_vm_" #name, n, x, 1, s, 1, c, 1, &mode);                                       \
  }                                                                                                             \
  int orb_vm_##name##_64(int64_t n, const T *x, T *s, T *c) {                                                   \
    return sincos(p, kIlp64, "orb_vm_" #name, n, x, 1, s, 1, c, 1, nullptr);                                    \
  }                                                                                                             \
  int orb_vm_##name##_mode_64(int64_t n, const T *x, T *s, T *c, unsigned mode) {                               \
    return sincos(p, kIlp64, "orb_vm_" #name, n, x, 1, s, 1, c, 1, &mode);                                      \
  }                                                                                                             \
  int orb_vm_##name##_strided(int n, const T *x, int incx, T *s, int incs, T *c, int incc) {                    \
    return sincos(p, kLp64, "orb_vm_" #name, n, x, incx, s, incs, c, incc, nullptr);                            \
  }                                                                                                             \
  int orb_vm_##name##_strided_64(int64_t n, const T *x, int64_t incx, T *s, int64_t incs, T *c, int64_t incc) { \
    return sincos(p, kIlp64, "orb_vm_" #name, n, x, incx, s, incs, c, incc, nullptr);                           \
  }
#define ORB_VM_DEF_LINEARFRAC(name, p, T)                                                                         \
  int orb_vm_##name(int n, const T *a, const T *b, T sp, T sq, T su, T sv, T *y) {                                \
    return linear_frac(p, kLp64, "orb_vm_" #name, n, a, 1, b, 1, {sp, sq, su, sv}, y, 1, nullptr);                \
  }                                                                                                               \
  int orb_vm_##name##_mode(int n, const T *a, const T *b, T sp, T sq, T su, T sv, T *y, unsigned mode) {          \
    return linear_frac(p, kLp64, "orb_vm_" #name, n, a, 1, b, 1, {sp, sq, su, sv}, y, 1, &mode);                  \
  }                                                                                                               \
  int orb_vm_##name##_64(int64_t n, const T *a, const T *b, T sp, T sq, T su, T sv, T *y) {                       \
    return linear_frac(p, kIlp64, "orb_vm_" #name, n, a, 1, b, 1, {sp, sq, su, sv}, y, 1, nullptr);               \
  }                                                                                                               \
  int orb_vm_##name##_mode_64(int64_t n, const T *a, const T *b, T sp, T sq, T su, T sv, T *y, unsigned mode) {   \
    return linear_frac(p, kIlp64, "orb_vm_" #name, n, a, 1, b, 1, {sp, sq, su, sv}, y, 1, &mode);                 \
  }                                                                                                               \
  int orb_vm_##name##_strided(int n, const T *a, int inca, const T *b, int incb, T sp, T sq, T su, T sv, T *y,    \
                              int incy) {                                                                         \
    return linear_frac(p, kLp64, "orb_vm_" #name, n, a, inca, b, incb, {sp, sq, su, sv}, y, incy, nullptr);       \
  }                                                                                                               \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T sp, T sq, T su, \
                                 T sv, T *y, int64_t incy) {                                                      \
    return linear_frac(p, kIlp64, "orb_vm_" #name, n, a, inca, b, incb, {sp, sq, su, sv}, y, incy, nullptr);      \
  }

#define ORB_VM_DEF_REAL_UNARY(f)                                               \
  ORB_VM_DEF_UNARY(h##f, (RealUnary{orb::vm::k_##f, 'h'}), ORB_Half, ORB_Half) \
  ORB_VM_DEF_UNARY(s##f, (RealUnary{orb::vm::k_##f, 's'}), float, float)       \
  ORB_VM_DEF_UNARY(d##f, (RealUnary{orb::vm::k_##f, 'd'}), double, double)
#define ORB_VM_DEF_REAL_BINARY(f)                                      \
  ORB_VM_DEF_BINARY(h##f, (RealBinary{orb::vm::k_##f, 'h'}), ORB_Half) \
  ORB_VM_DEF_BINARY(s##f, (RealBinary{orb::vm::k_##f, 's'}), float)    \
  ORB_VM_DEF_BINARY(d##f, (RealBinary{orb::vm::k_##f, 'd'}), double)
#define ORB_VM_DEF_COMPLEX_UNARY(f)                                                        \
  ORB_VM_DEF_UNARY(c##f, (ComplexUnary{orb::vm::kc_##f, 'c'}), ORB_Complex8, ORB_Complex8) \
  ORB_VM_DEF_UNARY(z##f, (ComplexUnary{orb::vm::kc_##f, 'z'}), ORB_Complex16, ORB_Complex16)
#define ORB_VM_DEF_COMPLEX_REAL(f)                                                  \
  ORB_VM_DEF_UNARY(c##f, (ComplexUnary{orb::vm::kc_##f, 'c'}), ORB_Complex8, float) \
  ORB_VM_DEF_UNARY(z##f, (ComplexUnary{orb::vm::kc_##f, 'z'}), ORB_Complex16, double)
#define ORB_VM_DEF_COMPLEX_BINARY(f)                                           \
  ORB_VM_DEF_BINARY(c##f, (ComplexBinary{orb::vm::kc_##f, 'c'}), ORB_Complex8) \
  ORB_VM_DEF_BINARY(z##f, (ComplexBinary{orb::vm::kc_##f, 'z'}), ORB_Complex16)

ORB_VM_REAL_UNARY(ORB_VM_DEF_REAL_UNARY)
ORB_VM_REAL_BINARY(ORB_VM_DEF_REAL_BINARY)
ORB_VM_COMPLEX_UNARY(ORB_VM_DEF_COMPLEX_UNARY)
ORB_VM_COMPLEX_BINARY(ORB_VM_DEF_COMPLEX_BINARY)
ORB_VM_COMPLEX_REAL(ORB_VM_DEF_COMPLEX_REAL)
ORB_VM_DEF_POWX(hpowx, 'h', ORB_Half)
ORB_VM_DEF_POWX(spowx, 's', float)
ORB_VM_DEF_POWX(dpowx, 'd', double)
ORB_VM_DEF_SINCOS(hsincos, 'h', ORB_Half)
ORB_VM_DEF_SINCOS(ssincos, 's', float)
ORB_VM_DEF_SINCOS(dsincos, 'd', double)
ORB_VM_DEF_LINEARFRAC(hlinearfrac, 'h', ORB_Half)
ORB_VM_DEF_LINEARFRAC(slinearfrac, 's', float)
ORB_VM_DEF_LINEARFRAC(dlinearfrac, 'd', double)

}  // extern "C"
