// The level-1 routines under their standard names: the 32-bit Fortran names
// (ddot_, with ddot and DDOT), the 64-bit ones (ddot_64_) and CBLAS
// (cblas_ddot, cblas_zdotu_sub, cblas_idamax ...), each a call of the
// threaded driver in its width.
//
// The standard level-1 routines report no illegal argument: every size and
// increment is a call, which does nothing for n < 1, so none of these names
// reports through xerbla_ either (see blas_rules.hpp for arguments not given
// at all).  What the names differ in is how a value comes back:
//   - the Fortran complex dot products (cdotu_ ...) return the complex value
//     itself, as gfortran does, which a struct of two reals matches;
//   - the CBLAS complex dot products write it through their last argument;
//   - the Fortran index routines answer 1-based, the CBLAS ones 0-based
//     (0 also when there is nothing to search).
#include <orb/orb_blas.h>
#include <orb/internal/orb_kernels.h>
#include <orb/orb_cblas.h>

#include <type_traits>

#include "lp64.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

//! Runs one call under the verbose report: `operands` appends the call's
//! arguments after its name.  Returns what the call returns.
template <class Call, class Operands>
auto level1_reported(int iface, const char *name, Call call, Operands operands) {
  using Result = decltype(call());
  const auto describe = [&](CallText &t) { operands(t.routine(name)); };
  if constexpr (std::is_void_v<Result>) {
    run_reported(iface, call, describe);
  } else {
    Result result{};
    run_reported(iface, [&] { result = call(); }, describe);
    return result;
  }
}

// The operands as each name form passes them: I is a pointer to the integer
// (Fortran) or the integer itself (C).
template <class I>
CallText &vector_operand(CallText &t, const void *x, I inc) {
  return t.address(x).integer(inc);
}
template <class I>
CallText &one_vector(CallText &t, I n, const void *x, I incx) {
  return vector_operand(t.integer(n), x, incx);
}
template <class I>
CallText &two_vectors(CallText &t, I n, const void *x, I incx, const void *y, I incy) {
  return vector_operand(one_vector(t, n, x, incx), y, incy);
}

//! The 0-based CBLAS index of a 1-based one.
inline CBLAS_INDEX from_one_based(int i) { return i > 0 ? static_cast<CBLAS_INDEX>(i - 1) : 0; }

}  // namespace

}  // namespace orb::iface

using orb::iface::CallText;
using orb::iface::kCblas;
using orb::iface::kIlp64;
using orb::iface::kLp64;
using orb::iface::level1_reported;
using orb::iface::one_vector;
using orb::iface::two_vectors;

// ---- Fortran names ---------------------------------------------------------
//
// One macro per argument list defines one width of a routine: its entry
// `name`, the driver `drv` it calls, the integer I, the interface code and
// the name of its verbose line.  ORB_FORTRAN_WIDTHS makes both widths and
// the other spellings.

#define ORB_FORTRAN_WIDTHS(SHAPE, lower, UPPER, ...)                          \
  SHAPE(lower##_, orb_blas_lp64_##lower, int, kLp64, #UPPER, __VA_ARGS__)     \
  SHAPE(lower##_64_, orb_blas_##lower, ORB_INT, kIlp64, #UPPER "_64", __VA_ARGS__) \
  ORB_FORTRAN_NAME_FORMS(lower, UPPER)

#define ORB_F_DOT(name, drv, I, code, vname, T)                                                        \
  extern "C" ORB_EXPORT T name(const I *n, const T *x, const I *incx, const T *y, const I *incy) {      \
    return level1_reported(code, vname, [&] { return drv(n, x, incx, y, incy); },                     \
                           [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                 \
  }
#define ORB_F_COMPLEX_DOT(name, drv, I, code, vname, T)                                                \
  extern "C" ORB_EXPORT T name(const I *n, const T *x, const I *incx, const T *y, const I *incy) {      \
    return level1_reported(                                                                             \
        code, vname,                                                                                   \
        [&] {                                                                                           \
          T result{};                                                                                   \
          drv(&result, n, x, incx, y, incy);                                                            \
          return result;                                                                                \
        },                                                                                              \
        [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                                     \
  }
#define ORB_F_ONE_VECTOR(name, drv, I, code, vname, T, Result)                                         \
  extern "C" ORB_EXPORT Result name(const I *n, const T *x, const I *incx) {                            \
    return level1_reported(code, vname, [&] { return drv(n, x, incx); },                              \
                           [&](CallText &t) { one_vector(t, n, x, incx); });                           \
  }
#define ORB_F_SCAL(name, drv, I, code, vname, T, S)                                                    \
  extern "C" ORB_EXPORT void name(const I *n, const S *alpha, T *x, const I *incx) {                    \
    level1_reported(code, vname, [&] { drv(n, alpha, x, incx); },                                     \
                    [&](CallText &t) { orb::iface::vector_operand(t.integer(n).scalar(alpha), x, incx); }); \
  }
#define ORB_F_AXPY(name, drv, I, code, vname, T)                                                       \
  extern "C" ORB_EXPORT void name(const I *n, const T *alpha, const T *x, const I *incx, T *y, const I *incy) { \
    level1_reported(code, vname, [&] { drv(n, alpha, x, incx, y, incy); }, [&](CallText &t) {         \
      orb::iface::vector_operand(one_vector(t, n, x, incx).scalar(alpha), y, incy);                    \
    });                                                                                                 \
  }
#define ORB_F_AXPBY(name, drv, I, code, vname, T)                                                      \
  extern "C" ORB_EXPORT void name(const I *n, const T *alpha, const T *x, const I *incx, const T *beta, T *y, \
                                  const I *incy) {                                                      \
    level1_reported(code, vname, [&] { drv(n, alpha, x, incx, beta, y, incy); }, [&](CallText &t) {   \
      orb::iface::vector_operand(one_vector(t.scalar(alpha), n, x, incx).scalar(beta), y, incy);       \
    });                                                                                                 \
  }
#define ORB_F_COPY(name, drv, I, code, vname, T)                                                       \
  extern "C" ORB_EXPORT void name(const I *n, const T *x, const I *incx, T *y, const I *incy) {         \
    level1_reported(code, vname, [&] { drv(n, x, incx, y, incy); },                                   \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                        \
  }
#define ORB_F_SWAP(name, drv, I, code, vname, T)                                                       \
  extern "C" ORB_EXPORT void name(const I *n, T *x, const I *incx, T *y, const I *incy) {               \
    level1_reported(code, vname, [&] { drv(n, x, incx, y, incy); },                                   \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                        \
  }
#define ORB_F_ROT(name, drv, I, code, vname, T, R)                                                     \
  extern "C" ORB_EXPORT void name(const I *n, T *x, const I *incx, T *y, const I *incy, const R *c, const R *s) { \
    level1_reported(code, vname, [&] { drv(n, x, incx, y, incy, c, s); },                             \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy).scalar(c).scalar(s); });    \
  }
#define ORB_F_ROTM(name, drv, I, code, vname, T)                                                       \
  extern "C" ORB_EXPORT void name(const I *n, T *x, const I *incx, T *y, const I *incy, const T *param) { \
    level1_reported(code, vname, [&] { drv(n, x, incx, y, incy, param); },                            \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy).address(param); });         \
  }
#define ORB_F_INDEX(name, drv, I, code, vname, T) ORB_F_ONE_VECTOR(name, drv, I, code, vname, T, I)

ORB_FORTRAN_WIDTHS(ORB_F_DOT, sdot, SDOT, float)
ORB_FORTRAN_WIDTHS(ORB_F_DOT, ddot, DDOT, double)
ORB_FORTRAN_WIDTHS(ORB_F_COMPLEX_DOT, cdotu, CDOTU, ORB_Complex8)
ORB_FORTRAN_WIDTHS(ORB_F_COMPLEX_DOT, cdotc, CDOTC, ORB_Complex8)
ORB_FORTRAN_WIDTHS(ORB_F_COMPLEX_DOT, zdotu, ZDOTU, ORB_Complex16)
ORB_FORTRAN_WIDTHS(ORB_F_COMPLEX_DOT, zdotc, ZDOTC, ORB_Complex16)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, sasum, SASUM, float, float)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, dasum, DASUM, double, double)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, scasum, SCASUM, ORB_Complex8, float)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, dzasum, DZASUM, ORB_Complex16, double)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, snrm2, SNRM2, float, float)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, dnrm2, DNRM2, double, double)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, scnrm2, SCNRM2, ORB_Complex8, float)
ORB_FORTRAN_WIDTHS(ORB_F_ONE_VECTOR, dznrm2, DZNRM2, ORB_Complex16, double)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, sscal, SSCAL, float, float)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, dscal, DSCAL, double, double)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, cscal, CSCAL, ORB_Complex8, ORB_Complex8)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, zscal, ZSCAL, ORB_Complex16, ORB_Complex16)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, csscal, CSSCAL, ORB_Complex8, float)
ORB_FORTRAN_WIDTHS(ORB_F_SCAL, zdscal, ZDSCAL, ORB_Complex16, double)
ORB_FORTRAN_WIDTHS(ORB_F_ROT, srot, SROT, float, float)
ORB_FORTRAN_WIDTHS(ORB_F_ROT, drot, DROT, double, double)
ORB_FORTRAN_WIDTHS(ORB_F_ROT, csrot, CSROT, ORB_Complex8, float)
ORB_FORTRAN_WIDTHS(ORB_F_ROT, zdrot, ZDROT, ORB_Complex16, double)
ORB_FORTRAN_WIDTHS(ORB_F_ROTM, srotm, SROTM, float)
ORB_FORTRAN_WIDTHS(ORB_F_ROTM, drotm, DROTM, double)

#define ORB_FORTRAN_LEVEL1(p, P, T)                                       \
  ORB_FORTRAN_WIDTHS(ORB_F_AXPY, p##axpy, P##AXPY, T)                     \
  ORB_FORTRAN_WIDTHS(ORB_F_AXPBY, p##axpby, P##AXPBY, T)                  \
  ORB_FORTRAN_WIDTHS(ORB_F_COPY, p##copy, P##COPY, T)                     \
  ORB_FORTRAN_WIDTHS(ORB_F_SWAP, p##swap, P##SWAP, T)                     \
  ORB_FORTRAN_WIDTHS(ORB_F_INDEX, i##p##amax, I##P##AMAX, T)              \
  ORB_FORTRAN_WIDTHS(ORB_F_INDEX, i##p##amin, I##P##AMIN, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_LEVEL1)

// ---- CBLAS names -------------------------------------------------------------
//
// Integers and real scalars by value, complex scalars and arrays through void
// pointers.  Each calls the lp64 driver with the addresses of its arguments.

#define ORB_CBLAS_NAME(lower) "cblas_" #lower
#define ORB_C_CAST(T, v) static_cast<T>(v)

#define ORB_C_DOT(lower, T)                                                                        \
  extern "C" T cblas_##lower(int n, const T *x, int incx, const T *y, int incy) {                  \
    return level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                          \
                           [&] { return orb_blas_lp64_##lower(&n, x, &incx, y, &incy); },          \
                           [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });             \
  }
#define ORB_C_COMPLEX_DOT(lower, T)                                                                \
  extern "C" void cblas_##lower##_sub(int n, const void *x, int incx, const void *y, int incy, void *result) { \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower##_sub),                                           \
                    [&] {                                                                          \
                      orb_blas_lp64_##lower(static_cast<T *>(result), &n, static_cast<const T *>(x), &incx, \
                                            static_cast<const T *>(y), &incy);                     \
                    },                                                                             \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy).address(result); });    \
  }
#define ORB_C_NORM(lower, X, T, R)                                                                 \
  extern "C" R cblas_##lower(int n, const X *x, int incx) {                                        \
    return level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                          \
                           [&] { return orb_blas_lp64_##lower(&n, static_cast<const T *>(x), &incx); }, \
                           [&](CallText &t) { one_vector(t, n, x, incx); });                       \
  }
#define ORB_C_INDEX(lower, X, T)                                                                   \
  extern "C" CBLAS_INDEX cblas_##lower(int n, const X *x, int incx) {                              \
    return level1_reported(                                                                        \
        kCblas, ORB_CBLAS_NAME(lower),                                                             \
        [&] { return orb::iface::from_one_based(orb_blas_lp64_##lower(&n, static_cast<const T *>(x), &incx)); }, \
        [&](CallText &t) { one_vector(t, n, x, incx); });                                          \
  }
// SV is the scalar as passed (a value or a void pointer), S its type, A how to
// reach it as a const S *.
#define ORB_C_SCAL(lower, X, T, SV, S, A)                                                          \
  extern "C" void cblas_##lower(int n, SV alpha, X *x, int incx) {                                 \
    const S *a = A(alpha);                                                                         \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] { orb_blas_lp64_##lower(&n, a, static_cast<T *>(x), &incx); },             \
                    [&](CallText &t) { orb::iface::vector_operand(t.integer(n).scalar(a), x, incx); }); \
  }
#define ORB_C_AXPY(lower, X, T, SV, A)                                                             \
  extern "C" void cblas_##lower(int n, SV alpha, const X *x, int incx, X *y, int incy) {           \
    const T *a = A(alpha);                                                                         \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] { orb_blas_lp64_##lower(&n, a, static_cast<const T *>(x), &incx, static_cast<T *>(y), &incy); }, \
                    [&](CallText &t) { orb::iface::vector_operand(one_vector(t, n, x, incx).scalar(a), y, incy); }); \
  }
#define ORB_C_AXPBY(lower, X, T, SV, A)                                                            \
  extern "C" void cblas_##lower(int n, SV alpha, const X *x, int incx, SV beta, X *y, int incy) {  \
    const T *a = A(alpha), *b = A(beta);                                                           \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] {                                                                          \
                      orb_blas_lp64_##lower(&n, a, static_cast<const T *>(x), &incx, b, static_cast<T *>(y), \
                                            &incy);                                                \
                    },                                                                             \
                    [&](CallText &t) {                                                             \
                      orb::iface::vector_operand(one_vector(t.scalar(a), n, x, incx).scalar(b), y, incy); \
                    });                                                                            \
  }
#define ORB_C_COPY(lower, X, T)                                                                    \
  extern "C" void cblas_##lower(int n, const X *x, int incx, X *y, int incy) {                     \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] { orb_blas_lp64_##lower(&n, static_cast<const T *>(x), &incx, static_cast<T *>(y), &incy); }, \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                    \
  }
#define ORB_C_SWAP(lower, X, T)                                                                    \
  extern "C" void cblas_##lower(int n, X *x, int incx, X *y, int incy) {                           \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] { orb_blas_lp64_##lower(&n, static_cast<T *>(x), &incx, static_cast<T *>(y), &incy); }, \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                    \
  }
#define ORB_C_ROT(lower, X, T, R)                                                                  \
  extern "C" void cblas_##lower(int n, X *x, int incx, X *y, int incy, R c, R s) {                 \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower),                                                 \
                    [&] { orb_blas_lp64_##lower(&n, static_cast<T *>(x), &incx, static_cast<T *>(y), &incy, &c, &s); }, \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy).scalar(&c).scalar(&s); }); \
  }
#define ORB_C_ROTM(lower, T)                                                                       \
  extern "C" void cblas_##lower(int n, T *x, int incx, T *y, int incy, const T *param) {           \
    level1_reported(kCblas, ORB_CBLAS_NAME(lower), [&] { orb_blas_lp64_##lower(&n, x, &incx, y, &incy, param); }, \
                    [&](CallText &t) { two_vectors(t, n, x, incx, y, incy).address(param); });     \
  }

#define ORB_BY_VALUE(v) (&(v))
#define ORB_C8(v) (static_cast<const ORB_Complex8 *>(v))
#define ORB_C16(v) (static_cast<const ORB_Complex16 *>(v))

ORB_C_DOT(sdot, float)
ORB_C_DOT(ddot, double)
ORB_C_COMPLEX_DOT(cdotu, ORB_Complex8)
ORB_C_COMPLEX_DOT(cdotc, ORB_Complex8)
ORB_C_COMPLEX_DOT(zdotu, ORB_Complex16)
ORB_C_COMPLEX_DOT(zdotc, ORB_Complex16)
ORB_C_NORM(sasum, float, float, float)
ORB_C_NORM(dasum, double, double, double)
ORB_C_NORM(scasum, void, ORB_Complex8, float)
ORB_C_NORM(dzasum, void, ORB_Complex16, double)
ORB_C_NORM(snrm2, float, float, float)
ORB_C_NORM(dnrm2, double, double, double)
ORB_C_NORM(scnrm2, void, ORB_Complex8, float)
ORB_C_NORM(dznrm2, void, ORB_Complex16, double)
ORB_C_SCAL(sscal, float, float, float, float, ORB_BY_VALUE)
ORB_C_SCAL(dscal, double, double, double, double, ORB_BY_VALUE)
ORB_C_SCAL(cscal, void, ORB_Complex8, const void *, ORB_Complex8, ORB_C8)
ORB_C_SCAL(zscal, void, ORB_Complex16, const void *, ORB_Complex16, ORB_C16)
ORB_C_SCAL(csscal, void, ORB_Complex8, float, float, ORB_BY_VALUE)
ORB_C_SCAL(zdscal, void, ORB_Complex16, double, double, ORB_BY_VALUE)
ORB_C_AXPY(saxpy, float, float, float, ORB_BY_VALUE)
ORB_C_AXPY(daxpy, double, double, double, ORB_BY_VALUE)
ORB_C_AXPY(caxpy, void, ORB_Complex8, const void *, ORB_C8)
ORB_C_AXPY(zaxpy, void, ORB_Complex16, const void *, ORB_C16)
ORB_C_AXPBY(saxpby, float, float, float, ORB_BY_VALUE)
ORB_C_AXPBY(daxpby, double, double, double, ORB_BY_VALUE)
ORB_C_AXPBY(caxpby, void, ORB_Complex8, const void *, ORB_C8)
ORB_C_AXPBY(zaxpby, void, ORB_Complex16, const void *, ORB_C16)
ORB_C_COPY(scopy, float, float)
ORB_C_COPY(dcopy, double, double)
ORB_C_COPY(ccopy, void, ORB_Complex8)
ORB_C_COPY(zcopy, void, ORB_Complex16)
ORB_C_SWAP(sswap, float, float)
ORB_C_SWAP(dswap, double, double)
ORB_C_SWAP(cswap, void, ORB_Complex8)
ORB_C_SWAP(zswap, void, ORB_Complex16)
ORB_C_ROT(srot, float, float, float)
ORB_C_ROT(drot, double, double, double)
ORB_C_ROT(csrot, void, ORB_Complex8, float)
ORB_C_ROT(zdrot, void, ORB_Complex16, double)
ORB_C_ROTM(srotm, float)
ORB_C_ROTM(drotm, double)
ORB_C_INDEX(isamax, float, float)
ORB_C_INDEX(idamax, double, double)
ORB_C_INDEX(icamax, void, ORB_Complex8)
ORB_C_INDEX(izamax, void, ORB_Complex16)
ORB_C_INDEX(isamin, float, float)
ORB_C_INDEX(idamin, double, double)
ORB_C_INDEX(icamin, void, ORB_Complex8)
ORB_C_INDEX(izamin, void, ORB_Complex16)

// ---- Scalar routines and mixed precision --------------------------------------
//
// ?rotg, ?rotmg and ?cabs1 work on scalars, sdsdot and dsdot accumulate in
// double: nothing to cut, so these names call the core's kernels directly.
// lsame_ is the standard's letter test that the reference programs call.

#define ORB_F_ROTG(name, vname, T, R, kernel)                                                      \
  extern "C" ORB_EXPORT void name(T *a, T *b, R *c, T *s) {                                        \
    level1_reported(kLp64, vname, [&] { kernel(a, b, c, s); },                                     \
                    [&](CallText &t) { t.address(a).address(b).address(c).address(s); });         \
  }
#define ORB_F_ROTMG(name, vname, T, kernel)                                                        \
  extern "C" ORB_EXPORT void name(T *d1, T *d2, T *x1, const T *y1, T *param) {                    \
    level1_reported(kLp64, vname, [&] { kernel(d1, d2, x1, y1, param); },                          \
                    [&](CallText &t) { t.address(d1).address(d2).address(x1).scalar(y1).address(param); }); \
  }
#define ORB_F_SDSDOT(name, vname, I, code)                                                         \
  extern "C" ORB_EXPORT float name(const I *n, const float *sb, const float *x, const I *incx, const float *y, \
                                   const I *incy) {                                                \
    return level1_reported(                                                                        \
        code, vname,                                                                               \
        [&] { return orb_blas_xsdsdot(orb::thr::widen(n), sb, x, orb::thr::widen(incx), y, orb::thr::widen(incy)); }, \
        [&](CallText &t) { two_vectors(t.integer(n).scalar(sb), n, x, incx, y, incy); });        \
  }
#define ORB_F_DSDOT(name, vname, I, code)                                                          \
  extern "C" ORB_EXPORT double name(const I *n, const float *x, const I *incx, const float *y, const I *incy) { \
    return level1_reported(                                                                        \
        code, vname,                                                                               \
        [&] { return orb_blas_xdsdot(orb::thr::widen(n), x, orb::thr::widen(incx), y, orb::thr::widen(incy)); }, \
        [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });                                \
  }
#define ORB_F_CABS1(name, vname, T, R, kernel)                                                     \
  extern "C" ORB_EXPORT R name(const T *z) {                                                       \
    return level1_reported(kLp64, vname, [&] { return kernel(z); }, [&](CallText &t) { t.scalar(z); }); \
  }

// The routines without integers take the same arguments in both widths.
#define ORB_SCALAR_FORMS(SHAPE, lower, UPPER, ...)                        \
  SHAPE(lower##_, #UPPER, __VA_ARGS__, orb_blas_x##lower)                 \
  SHAPE(lower##_64_, #UPPER "_64", __VA_ARGS__, orb_blas_x##lower)        \
  ORB_FORTRAN_NAME_FORMS(lower, UPPER)
ORB_SCALAR_FORMS(ORB_F_ROTG, srotg, SROTG, float, float)
ORB_SCALAR_FORMS(ORB_F_ROTG, drotg, DROTG, double, double)
ORB_SCALAR_FORMS(ORB_F_ROTG, crotg, CROTG, ORB_Complex8, float)
ORB_SCALAR_FORMS(ORB_F_ROTG, zrotg, ZROTG, ORB_Complex16, double)
ORB_SCALAR_FORMS(ORB_F_ROTMG, srotmg, SROTMG, float)
ORB_SCALAR_FORMS(ORB_F_ROTMG, drotmg, DROTMG, double)
ORB_SCALAR_FORMS(ORB_F_CABS1, scabs1, SCABS1, ORB_Complex8, float)
ORB_SCALAR_FORMS(ORB_F_CABS1, dcabs1, DCABS1, ORB_Complex16, double)
ORB_F_SDSDOT(sdsdot_, "SDSDOT", int, kLp64)
ORB_F_SDSDOT(sdsdot_64_, "SDSDOT_64", ORB_INT, kIlp64)
ORB_FORTRAN_NAME_FORMS(sdsdot, SDSDOT)
ORB_F_DSDOT(dsdot_, "DSDOT", int, kLp64)
ORB_F_DSDOT(dsdot_64_, "DSDOT_64", ORB_INT, kIlp64)
ORB_FORTRAN_NAME_FORMS(dsdot, DSDOT)

//! LOGICAL LSAME(CA, CB): whether the two letters are equal ignoring case.
extern "C" ORB_EXPORT int lsame_(const char *ca, const char *cb) { return orb_serv_lsame(ca, cb); }
ORB_FORTRAN_NAME_FORMS(lsame, LSAME)

// The CBLAS names: complex operands through void pointers, y1 and sb by value.
#define ORB_C_ROTG(p, T, R)                                                                        \
  extern "C" void cblas_##p##rotg(ORB_CBLAS_ARRAY(T) *a, ORB_CBLAS_ARRAY(T) *b, R *c, ORB_CBLAS_ARRAY(T) *s) { \
    level1_reported(kCblas, "cblas_" #p "rotg",                                                    \
                    [&] { orb_blas_x##p##rotg(static_cast<T *>(a), static_cast<T *>(b), c, static_cast<T *>(s)); }, \
                    [&](CallText &t) { t.address(a).address(b).address(c).address(s); });         \
  }
#define ORB_CBLAS_ARRAY(T) std::conditional_t<std::is_arithmetic_v<T>, T, void>
ORB_C_ROTG(s, float, float)
ORB_C_ROTG(d, double, double)
ORB_C_ROTG(c, ORB_Complex8, float)
ORB_C_ROTG(z, ORB_Complex16, double)
#define ORB_C_ROTMG(p, T)                                                                          \
  extern "C" void cblas_##p##rotmg(T *d1, T *d2, T *x1, T y1, T *param) {                          \
    level1_reported(kCblas, "cblas_" #p "rotmg", [&] { orb_blas_x##p##rotmg(d1, d2, x1, &y1, param); }, \
                    [&](CallText &t) { t.address(d1).address(d2).address(x1).scalar(&y1).address(param); }); \
  }
ORB_C_ROTMG(s, float)
ORB_C_ROTMG(d, double)
extern "C" float cblas_sdsdot(int n, float alpha, const float *x, int incx, const float *y, int incy) {
  const ORB_INT n64 = n, incx64 = incx, incy64 = incy;
  return level1_reported(kCblas, "cblas_sdsdot", [&] { return orb_blas_xsdsdot(&n64, &alpha, x, &incx64, y, &incy64); },
                         [&](CallText &t) { two_vectors(t.integer(n).scalar(&alpha), n, x, incx, y, incy); });
}
extern "C" double cblas_dsdot(int n, const float *x, int incx, const float *y, int incy) {
  const ORB_INT n64 = n, incx64 = incx, incy64 = incy;
  return level1_reported(kCblas, "cblas_dsdot", [&] { return orb_blas_xdsdot(&n64, x, &incx64, y, &incy64); },
                         [&](CallText &t) { two_vectors(t, n, x, incx, y, incy); });
}
#define ORB_C_CABS1(p, T, R)                                                                       \
  extern "C" R cblas_##p##cabs1(const void *z) {                                                   \
    const T *v = static_cast<const T *>(z);                                                        \
    return level1_reported(kCblas, "cblas_" #p "cabs1", [&] { return orb_blas_x##p##cabs1(v); },  \
                           [&](CallText &t) { t.scalar(v); });                                     \
  }
ORB_C_CABS1(s, ORB_Complex8, float)
ORB_C_CABS1(d, ORB_Complex16, double)
