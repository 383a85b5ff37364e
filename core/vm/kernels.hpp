// The module's sequential kernels: one template per kind of function over the
// element type, computing n elements at strides on the calling thread with
// the calling thread's mode, and leaving their status as the thread's error
// status (real.cpp, complex.cpp).  Strides are steps between elements in
// memory, negative ones included.
#pragma once

#include <orb/orb_vm.h>

#include <cstdint>

namespace orb::vm {

//! y = f(x), f a Unary; T = ORB_Half, float, double.
template <class T>
int real_unary(int f, int n, const T *x, int incx, T *y, int incy);
//! y = f(a, b), f a Binary; incb 0 holds b fixed (a power with a fixed exponent).
template <class T>
int real_binary(int f, int n, const T *a, int inca, const T *b, int incb, T *y, int incy);
//! s = sin x, c = cos x.
template <class T>
int real_sincos(int n, const T *x, int incx, T *s, int incs, T *c, int incc);
//! y = (s1 a + s2) / (s3 b + s4).
template <class T>
int real_linear_frac(int n, const T *a, int inca, const T *b, int incb, T *y, int incy, T s1, T s2, T s3, T s4);
//! y = f(x), f a ComplexUnary with a complex result; C = ORB_Complex8, ORB_Complex16.
template <class C>
int complex_unary(int f, int n, const C *x, int incx, C *y, int incy);
//! y = |x| or arg x: E = float for ORB_Complex8, double for ORB_Complex16.
template <class C, class E>
int complex_to_real(int f, int n, const C *x, int incx, E *y, int incy);
//! y = f(a, b), f a ComplexBinary.
template <class C>
int complex_binary(int f, int n, const C *a, int inca, const C *b, int incb, C *y, int incy);

//! The number of elements kernels work through at once (a local buffer).
constexpr int64_t kChunk = 512;

}  // namespace orb::vm
