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

//! Every routine the core takes from the provider, one line each: the field of
//! provider_table (also the provider's Fortran name less its underscore) and
//! its pointer type.  A new provider routine is one more line here.
#define ORB_PROVIDER_ROUTINES(X)          \
  X(sgemm, provider_gemm_fn<float>)         \
  X(dgemm, provider_gemm_fn<double>)        \
  X(cgemm, provider_gemm_fn<ORB_Complex8>)  \
  X(zgemm, provider_gemm_fn<ORB_Complex16>) \
  X(sgemv, provider_gemv_fn<float>)         \
  X(dgemv, provider_gemv_fn<double>)        \
  X(cgemv, provider_gemv_fn<ORB_Complex8>)  \
  X(zgemv, provider_gemv_fn<ORB_Complex16>)

//! The provider's routines, bound once.
struct provider_table {
#define ORB_PROVIDER_FIELD(name, type) type name;
  ORB_PROVIDER_ROUTINES(ORB_PROVIDER_FIELD)
#undef ORB_PROVIDER_FIELD
};

//! Exit status of a process whose provider cannot be loaded or lacks a routine.
constexpr int kProviderExitCode = 69;

//! The bound table.  The first call opens the provider; when that fails the
//! process prints why and ends with kProviderExitCode.
const provider_table &provider();

}  // namespace orb::core
