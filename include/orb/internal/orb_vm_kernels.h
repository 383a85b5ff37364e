/* orb: the core's elementwise math entries that the interface layer calls
 * (not installed).  Arguments are checked by the caller; function numbers are
 * those of common/vm_functions.hpp, precision the letter h, s, d (real) or c,
 * z (complex), vectors of that precision.  Each computes n elements, handing
 * them to the threading layer's threader when one is loaded, and returns the
 * call's status, which it also leaves as the calling thread's error status.
 * Strides must fit in 32 bits. */
#ifndef ORB_INTERNAL_VM_KERNELS_H
#define ORB_INTERNAL_VM_KERNELS_H

#include <orb/orb_vm.h>

ORB_BEGIN_DECLS

int orb_vm_kernel_real_unary(int function, char precision, int64_t n, const void *x, int64_t incx, void *y,
                             int64_t incy);
/* incb = 0 holds b[0] fixed for every element. */
int orb_vm_kernel_real_binary(int function, char precision, int64_t n, const void *a, int64_t inca, const void *b,
                              int64_t incb, void *y, int64_t incy);
int orb_vm_kernel_real_sincos(char precision, int64_t n, const void *x, int64_t incx, void *s, int64_t incs, void *c,
                              int64_t incc);
/* y = (s[0] a + s[1]) / (s[2] b + s[3]); s points to four elements of the precision. */
int orb_vm_kernel_real_linear_frac(char precision, int64_t n, const void *a, int64_t inca, const void *b,
                                   int64_t incb, void *y, int64_t incy, const void *s);
/* Complex functions of one argument; |x| and arg x write real elements. */
int orb_vm_kernel_complex_unary(int function, char precision, int64_t n, const void *x, int64_t incx, void *y,
                                int64_t incy);
int orb_vm_kernel_complex_binary(int function, char precision, int64_t n, const void *a, int64_t inca,
                                 const void *b, int64_t incb, void *y, int64_t incy);

ORB_END_DECLS

#endif
