/* orb: basic types shared by every public header. */
#ifndef ORB_TYPES_H
#define ORB_TYPES_H

#include <stdint.h>
#include <stddef.h>

/* Public entry points keep default visibility; everything else in the
 * libraries is hidden.  Headers wrap their declarations in
 * ORB_BEGIN_DECLS / ORB_END_DECLS. */
#define ORB_EXPORT __attribute__((visibility("default")))
#ifdef __cplusplus
#define ORB_BEGIN_DECLS _Pragma("GCC visibility push(default)") extern "C" {
#define ORB_END_DECLS } _Pragma("GCC visibility pop")
#else
#define ORB_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define ORB_END_DECLS _Pragma("GCC visibility pop")
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes, strides and indices of the BLAS and LAPACK drivers: 64-bit signed. */
typedef int64_t ORB_INT;

/* Single-precision complex: two floats, real part first. */
typedef struct { float real; float imag; } ORB_Complex8;

/* Double-precision complex: two doubles, real part first. */
typedef struct { double real; double imag; } ORB_Complex16;

#ifdef __cplusplus
}
#endif

#endif
