// The serial kernel provider behind the core's dense kernels.
//
// The provider is a serial BLAS/LAPACK library with 64-bit integers.  Its
// entry points carry the standard Fortran names (dgemm_, ...), the same names
// that liborb exports with 32-bit integers, so it is never linked: it is
// opened privately once per process and its routines are looked up into the
// table below.  Every kernel of core/blas/ reaches the provider through this
// table and nothing else.
#pragma once

#include <orb/orb_types.h>

#include <cstddef>
#include <dlfcn.h>

namespace orb::core {

//! Integer type of the provider's Fortran interface.
using fint = int64_t;

//! A provider GEMM: the Fortran argument list, then the hidden lengths of the two characters.
template <class T>
using provider_gemm_fn = void (*)(const char *, const char *, const fint *, const fint *, const fint *,
                                  const T *, const T *, const fint *, const T *, const fint *, const T *, T *,
                                  const fint *, std::size_t, std::size_t);

//! A provider GEMV: the Fortran argument list, then the hidden length of the character.
template <class T>
using provider_gemv_fn = void (*)(const char *, const fint *, const fint *, const T *, const T *, const fint *,
                                  const T *, const fint *, const T *, T *, const fint *, std::size_t);

//! The level-1 routines, by the shape of their Fortran argument lists.  The
//! functions return their value as gfortran does: reals in a register, and the
//! complex dot products by value (a pair of reals in two halves of registers),
//! which is how a struct of two floats or two doubles comes back in C.
template <class T>
using provider_dot_fn = T (*)(const fint *, const T *, const fint *, const T *, const fint *);
//! The real type of an element type.
template <class T>
struct provider_real {
  using type = T;
};
template <>
struct provider_real<ORB_Complex8> {
  using type = float;
};
template <>
struct provider_real<ORB_Complex16> {
  using type = double;
};
template <class T>
using provider_real_t = typename provider_real<T>::type;

//! ?asum and ?nrm2: a real result from one vector.
template <class T>
using provider_norm_fn = provider_real_t<T> (*)(const fint *, const T *, const fint *);
//! ?scal.
template <class T>
using provider_scal_fn = void (*)(const fint *, const T *, T *, const fint *);
//! csscal and zdscal: a complex vector scaled by a real.
template <class T>
using provider_rscal_fn = void (*)(const fint *, const provider_real_t<T> *, T *, const fint *);
template <class T>
using provider_axpy_fn = void (*)(const fint *, const T *, const T *, const fint *, T *, const fint *);
template <class T>
using provider_axpby_fn = void (*)(const fint *, const T *, const T *, const fint *, const T *, T *, const fint *);
template <class T>
using provider_copy_fn = void (*)(const fint *, const T *, const fint *, T *, const fint *);
template <class T>
using provider_swap_fn = void (*)(const fint *, T *, const fint *, T *, const fint *);
//! ?rot with a real cosine and sine (csrot / zdrot for the complex vectors).
template <class T>
using provider_rot_fn = void (*)(const fint *, T *, const fint *, T *, const fint *, const provider_real_t<T> *,
                                 const provider_real_t<T> *);
template <class T>
using provider_rotm_fn = void (*)(const fint *, T *, const fint *, T *, const fint *, const T *);
//! i?amax and i?amin: a 1-based index.
template <class T>
using provider_index_fn = fint (*)(const fint *, const T *, const fint *);

//! A provider TRSM: the Fortran argument list, then the hidden lengths of the four characters.
template <class T>
using provider_trsm_fn = void (*)(const char *, const char *, const char *, const char *, const fint *,
                                  const fint *, const T *, const T *, const fint *, T *, const fint *, std::size_t,
                                  std::size_t, std::size_t, std::size_t);

//! A provider SYRK (S = T) or HERK (S the real type): the Fortran argument list, then the hidden lengths of the two characters.
template <class T, class S = T>
using provider_syrk_fn = void (*)(const char *, const char *, const fint *, const fint *, const S *, const T *,
                                  const fint *, const S *, T *, const fint *, std::size_t, std::size_t);
template <class T>
using provider_herk_fn = provider_syrk_fn<T, provider_real_t<T>>;

//! A provider SYMM or HEMM: the Fortran argument list, then the hidden lengths of the two characters.
template <class T>
using provider_symm_fn = void (*)(const char *, const char *, const fint *, const fint *, const T *, const T *,
                                  const fint *, const T *, const fint *, const T *, T *, const fint *, std::size_t,
                                  std::size_t);

//! Every routine the core takes from the provider, one line each: the field of
//! provider_table (also the provider's Fortran name less its underscore) and
//! its pointer type.  A new provider routine is one more line here.
#define ORB_PROVIDER_ROUTINES(X)              \
  X(sgemm, provider_gemm_fn<float>)           \
  X(dgemm, provider_gemm_fn<double>)          \
  X(cgemm, provider_gemm_fn<ORB_Complex8>)    \
  X(zgemm, provider_gemm_fn<ORB_Complex16>)   \
  X(sgemv, provider_gemv_fn<float>)           \
  X(dgemv, provider_gemv_fn<double>)          \
  X(cgemv, provider_gemv_fn<ORB_Complex8>)    \
  X(zgemv, provider_gemv_fn<ORB_Complex16>)   \
  X(sdot, provider_dot_fn<float>)             \
  X(ddot, provider_dot_fn<double>)            \
  X(cdotu, provider_dot_fn<ORB_Complex8>)     \
  X(cdotc, provider_dot_fn<ORB_Complex8>)     \
  X(zdotu, provider_dot_fn<ORB_Complex16>)    \
  X(zdotc, provider_dot_fn<ORB_Complex16>)    \
  X(sasum, provider_norm_fn<float>)           \
  X(dasum, provider_norm_fn<double>)          \
  X(scasum, provider_norm_fn<ORB_Complex8>)   \
  X(dzasum, provider_norm_fn<ORB_Complex16>)  \
  X(snrm2, provider_norm_fn<float>)           \
  X(dnrm2, provider_norm_fn<double>)          \
  X(scnrm2, provider_norm_fn<ORB_Complex8>)   \
  X(dznrm2, provider_norm_fn<ORB_Complex16>)  \
  X(sscal, provider_scal_fn<float>)           \
  X(dscal, provider_scal_fn<double>)          \
  X(cscal, provider_scal_fn<ORB_Complex8>)    \
  X(zscal, provider_scal_fn<ORB_Complex16>)   \
  X(csscal, provider_rscal_fn<ORB_Complex8>)  \
  X(zdscal, provider_rscal_fn<ORB_Complex16>) \
  X(saxpy, provider_axpy_fn<float>)           \
  X(daxpy, provider_axpy_fn<double>)          \
  X(caxpy, provider_axpy_fn<ORB_Complex8>)    \
  X(zaxpy, provider_axpy_fn<ORB_Complex16>)   \
  X(saxpby, provider_axpby_fn<float>)         \
  X(daxpby, provider_axpby_fn<double>)        \
  X(caxpby, provider_axpby_fn<ORB_Complex8>)  \
  X(zaxpby, provider_axpby_fn<ORB_Complex16>) \
  X(scopy, provider_copy_fn<float>)           \
  X(dcopy, provider_copy_fn<double>)          \
  X(ccopy, provider_copy_fn<ORB_Complex8>)    \
  X(zcopy, provider_copy_fn<ORB_Complex16>)   \
  X(sswap, provider_swap_fn<float>)           \
  X(dswap, provider_swap_fn<double>)          \
  X(cswap, provider_swap_fn<ORB_Complex8>)    \
  X(zswap, provider_swap_fn<ORB_Complex16>)   \
  X(srot, provider_rot_fn<float>)             \
  X(drot, provider_rot_fn<double>)            \
  X(csrot, provider_rot_fn<ORB_Complex8>)     \
  X(zdrot, provider_rot_fn<ORB_Complex16>)    \
  X(srotm, provider_rotm_fn<float>)           \
  X(drotm, provider_rotm_fn<double>)          \
  X(isamax, provider_index_fn<float>)         \
  X(idamax, provider_index_fn<double>)        \
  X(icamax, provider_index_fn<ORB_Complex8>)  \
  X(izamax, provider_index_fn<ORB_Complex16>) \
  X(isamin, provider_index_fn<float>)         \
  X(idamin, provider_index_fn<double>)        \
  X(icamin, provider_index_fn<ORB_Complex8>)  \
  X(izamin, provider_index_fn<ORB_Complex16>) \
  X(strsm, provider_trsm_fn<float>)           \
  X(dtrsm, provider_trsm_fn<double>)          \
  X(ctrsm, provider_trsm_fn<ORB_Complex8>)    \
  X(ztrsm, provider_trsm_fn<ORB_Complex16>)   \
  X(ssyrk, provider_syrk_fn<float>)           \
  X(dsyrk, provider_syrk_fn<double>)          \
  X(csyrk, provider_syrk_fn<ORB_Complex8>)    \
  X(zsyrk, provider_syrk_fn<ORB_Complex16>)   \
  X(cherk, provider_herk_fn<ORB_Complex8>)    \
  X(zherk, provider_herk_fn<ORB_Complex16>)   \
  X(ssymm, provider_symm_fn<float>)           \
  X(dsymm, provider_symm_fn<double>)          \
  X(csymm, provider_symm_fn<ORB_Complex8>)    \
  X(zsymm, provider_symm_fn<ORB_Complex16>)   \
  X(chemm, provider_symm_fn<ORB_Complex8>)    \
  X(zhemm, provider_symm_fn<ORB_Complex16>)

//! The provider's routines, bound once.
struct provider_table {
#define ORB_PROVIDER_FIELD(name, type) type name;
  ORB_PROVIDER_ROUTINES(ORB_PROVIDER_FIELD)
#undef ORB_PROVIDER_FIELD
};

//! How a provider is opened.  The sanitizer runtimes refuse RTLD_DEEPBIND, so a
//! sanitizer build opens providers without it: there a provider's calls among
//! its own routines may bind to same-named routines already loaded (liborb's);
//! good enough for checking this library, not for production.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kProviderOpenFlags = RTLD_NOW | RTLD_LOCAL;
#else
constexpr int kProviderOpenFlags = RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND;
#endif

//! Exit status of a process whose provider cannot be loaded or lacks a routine.
constexpr int kProviderExitCode = 69;

//! The bound table.  The first call opens the provider; when that fails the
//! process prints why and ends with kProviderExitCode.
const provider_table &provider();

}  // namespace orb::core
