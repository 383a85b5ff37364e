/* orb: elementwise vector math.
 *
 * y[i] = f(x[i]) over long vectors, in h (16-bit float), s, d, c, z, on all
 * cores.  Every function comes in three forms, for 32-bit lengths and, with
 * the _64 suffix, 64-bit lengths:
 *   orb_vm_dexp(n, x, y)                           the calling thread's mode;
 *   orb_vm_dexp_mode(n, x, y, mode)                an explicit mode for this call;
 *   orb_vm_dexp_strided(n, x, incx, y, incy)       every incx-th / incy-th element.
 * Each returns the call's status: 0, a negative argument error (nothing is
 * written), or a positive math error (the vector is computed to its end; see
 * below).  The same status is left as the calling thread's error status.
 *
 * Math errors (log of a negative number, a pole, overflow, ...) do not stop the
 * vector: the element gets its IEEE value, the status records the error and the
 * calling thread's error callback, when one is installed, is told the
 * function's name ("dln", "spow": precision letter and function), the element's index in the whole vector and the offending
 * argument.  With ORB_VERBOSE=1 every call prints one line to standard output. */
#ifndef ORB_VM_H
#define ORB_VM_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

/* A 16-bit IEEE float (binary16), as stored. */
typedef uint16_t ORB_Half;

/* ---- Mode word ---------------------------------------------------------- */

/* Accuracy: high accuracy (at most 1 ulp from the correctly rounded result,
 * the default), low accuracy (at most 4 ulp), or fast (at most 4 ulp, the
 * quickest kernel on the machine). */
#define ORB_VM_HA 0x00000001u
#define ORB_VM_LA 0x00000002u
#define ORB_VM_EP 0x00000003u
#define ORB_VM_ACCURACY_MASK 0x00000003u

/* Error handling: what a math error does.  0 (the default): set the status and
 * call the callback; IGNORE: nothing; STATUS: the status only; CALLBACK: the
 * callback only. */
#define ORB_VM_ERRMODE_IGNORE 0x00000100u
#define ORB_VM_ERRMODE_STATUS 0x00000200u
#define ORB_VM_ERRMODE_CALLBACK 0x00000400u
#define ORB_VM_ERRMODE_MASK 0x00000700u

/* How a long vector is cut among threads: the runtime's adaptive splitting (0
 * or both bits), one piece per thread fixed in advance, or pieces down to the
 * grain. */
#define ORB_VM_SPLIT_AUTO 0x00000000u
#define ORB_VM_SPLIT_STATIC 0x00010000u
#define ORB_VM_SPLIT_SIMPLE 0x00020000u
#define ORB_VM_SPLIT_MASK 0x00030000u

/* ---- Status ------------------------------------------------------------- */

#define ORB_VM_STATUS_OK 0
#define ORB_VM_STATUS_BADSIZE (-1)   /* n < 0 */
#define ORB_VM_STATUS_BADMEM (-2)    /* a vector is NULL while n > 0 */
#define ORB_VM_STATUS_BADSTRIDE (-3) /* a stride is 0 */
#define ORB_VM_STATUS_ERRDOM 1       /* an argument outside the function's domain */
#define ORB_VM_STATUS_SING 2         /* a pole: the result is infinite */
#define ORB_VM_STATUS_OVERFLOW 3     /* a finite argument with an infinite result */
#define ORB_VM_STATUS_UNDERFLOW 4    /* reserved: underflow is not reported */

/* What the error callback is told about one offending element. */
typedef struct {
  int status;            /* ORB_VM_STATUS_ERRDOM, _SING or _OVERFLOW */
  int64_t index;         /* the element's index in the whole vector (beyond 2^30 elements,
                            which go over in pieces of 2^30: in its piece) */
  double arg1, arg2;     /* its argument(s) (the real part for complex values) */
  double result;         /* the value stored (the real part for complex values) */
  const char *function;  /* "dln", "spow", ...: precision letter and function */
} orb_vm_error_context;

/* Called once per offending element, on the thread that computed it (so it
 * must tolerate concurrent calls).  Its result is ignored. */
typedef int (*orb_vm_error_callback)(const orb_vm_error_context *context);

/* Per-thread state; each set returns the previous value. */
unsigned orb_vm_set_mode(unsigned mode);
unsigned orb_vm_get_mode(void);
int orb_vm_set_status(int status);
int orb_vm_get_status(void);
orb_vm_error_callback orb_vm_set_callback(orb_vm_error_callback callback);
orb_vm_error_callback orb_vm_get_callback(void);

/* ---- Functions ---------------------------------------------------------- */

/* Every function below exists in the three forms of the header's opening and
 * in both widths: ORB_VM_FORMS(name, args) declares
 *   int orb_vm_<name>(int n, args);            int orb_vm_<name>_64(int64_t n, args);
 *   int orb_vm_<name>_mode(int n, args, unsigned mode);   ..._mode_64(int64_t n, ...);
 * and the strided pair orb_vm_<name>_strided (int n, int strides) and
 * orb_vm_<name>_strided_64 (int64_t n and strides), whose strides must fit in 32 bits (a larger one is ORB_VM_STATUS_BADSTRIDE).
 * A stride is the step between elements in memory; a negative one walks
 * backwards from the pointer given. */
#define ORB_VM_FORMS(name, ...)                                      \
  int orb_vm_##name(int n, __VA_ARGS__);                             \
  int orb_vm_##name##_mode(int n, __VA_ARGS__, unsigned mode);       \
  int orb_vm_##name##_64(int64_t n, __VA_ARGS__);                    \
  int orb_vm_##name##_mode_64(int64_t n, __VA_ARGS__, unsigned mode);

/* y = f(x): X(name) for each real function of one argument, in h, s, d. */
#define ORB_VM_REAL_UNARY(X)                                                                          \
  X(exp) X(exp2) X(exp10) X(expm1) X(ln) X(log2) X(log10) X(log1p) X(sqrt) X(cbrt) X(invsqrt)      \
  X(sin) X(cos) X(tan) X(asin) X(acos) X(atan) X(sinh) X(cosh) X(tanh) X(asinh) X(acosh) X(atanh) \
  X(erf) X(erfc) X(lgamma) X(tgamma) X(floor) X(ceil) X(round) X(trunc) X(inv) X(sqr) X(abs)
/* y = f(a, b): X(name) for each real function of two arguments, in h, s, d. */
#define ORB_VM_REAL_BINARY(X) X(add) X(sub) X(mul) X(div) X(pow) X(atan2) X(hypot)
/* Complex functions of one argument with a complex result, and of two, in c, z. */
#define ORB_VM_COMPLEX_UNARY(X) X(conj) X(exp) X(ln) X(sqrt)
#define ORB_VM_COMPLEX_BINARY(X) X(add) X(sub) X(mul) X(div) X(pow)
/* Complex functions of one argument with a real result (|z| and arg z). */
#define ORB_VM_COMPLEX_REAL(X) X(abs) X(arg)

#define ORB_VM_DECL_UNARY(name, T, U)                                     \
  ORB_VM_FORMS(name, const T *x, U *y)                                    \
  int orb_vm_##name##_strided(int n, const T *x, int incx, U *y, int incy);      \
  int orb_vm_##name##_strided_64(int64_t n, const T *x, int64_t incx, U *y, int64_t incy);
#define ORB_VM_DECL_BINARY(name, T)                                                        \
  ORB_VM_FORMS(name, const T *a, const T *b, T *y)                                         \
  int orb_vm_##name##_strided(int n, const T *a, int inca, const T *b, int incb, T *y, int incy); \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T *y, int64_t incy);
/* y = a^b with one exponent b for the whole vector. */
#define ORB_VM_DECL_POWX(name, T)                                              \
  ORB_VM_FORMS(name, const T *a, T b, T *y)                                    \
  int orb_vm_##name##_strided(int n, const T *a, int inca, T b, T *y, int incy);      \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, T b, T *y, int64_t incy);
/* s = sin x and c = cos x at once. */
#define ORB_VM_DECL_SINCOS(name, T)                                                     \
  ORB_VM_FORMS(name, const T *x, T *s, T *c)                                            \
  int orb_vm_##name##_strided(int n, const T *x, int incx, T *s, int incs, T *c, int incc);    \
  int orb_vm_##name##_strided_64(int64_t n, const T *x, int64_t incx, T *s, int64_t incs, T *c, int64_t incc);
/* y = (p a + q) / (u b + v). */
#define ORB_VM_DECL_LINEARFRAC(name, T)                                                                          \
  ORB_VM_FORMS(name, const T *a, const T *b, T p, T q, T u, T v, T *y)                                           \
  int orb_vm_##name##_strided(int n, const T *a, int inca, const T *b, int incb, T p, T q, T u, T v, T *y, int incy);   \
  int orb_vm_##name##_strided_64(int64_t n, const T *a, int64_t inca, const T *b, int64_t incb, T p, T q, T u,  \
                                 T v, T *y, int64_t incy);

#define ORB_VM_DECL_REAL_UNARY(f) \
  ORB_VM_DECL_UNARY(h##f, ORB_Half, ORB_Half) ORB_VM_DECL_UNARY(s##f, float, float) ORB_VM_DECL_UNARY(d##f, double, double)
#define ORB_VM_DECL_REAL_BINARY(f) \
  ORB_VM_DECL_BINARY(h##f, ORB_Half) ORB_VM_DECL_BINARY(s##f, float) ORB_VM_DECL_BINARY(d##f, double)
#define ORB_VM_DECL_COMPLEX_UNARY(f) \
  ORB_VM_DECL_UNARY(c##f, ORB_Complex8, ORB_Complex8) ORB_VM_DECL_UNARY(z##f, ORB_Complex16, ORB_Complex16)
#define ORB_VM_DECL_COMPLEX_BINARY(f) ORB_VM_DECL_BINARY(c##f, ORB_Complex8) ORB_VM_DECL_BINARY(z##f, ORB_Complex16)
#define ORB_VM_DECL_COMPLEX_REAL(f) \
  ORB_VM_DECL_UNARY(c##f, ORB_Complex8, float) ORB_VM_DECL_UNARY(z##f, ORB_Complex16, double)

ORB_VM_REAL_UNARY(ORB_VM_DECL_REAL_UNARY)
ORB_VM_REAL_BINARY(ORB_VM_DECL_REAL_BINARY)
ORB_VM_COMPLEX_UNARY(ORB_VM_DECL_COMPLEX_UNARY)
ORB_VM_COMPLEX_BINARY(ORB_VM_DECL_COMPLEX_BINARY)
ORB_VM_COMPLEX_REAL(ORB_VM_DECL_COMPLEX_REAL)
ORB_VM_DECL_POWX(hpowx, ORB_Half) ORB_VM_DECL_POWX(spowx, float) ORB_VM_DECL_POWX(dpowx, double)
ORB_VM_DECL_SINCOS(hsincos, ORB_Half) ORB_VM_DECL_SINCOS(ssincos, float) ORB_VM_DECL_SINCOS(dsincos, double)
ORB_VM_DECL_LINEARFRAC(hlinearfrac, ORB_Half) ORB_VM_DECL_LINEARFRAC(slinearfrac, float)
ORB_VM_DECL_LINEARFRAC(dlinearfrac, double)

ORB_END_DECLS

#endif
