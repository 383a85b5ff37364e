// The serial kernel provider behind the core's dense kernels.
//
// The provider is a serial BLAS/LAPACK library with 64-bit integers.  Its
// entry points carry the standard Fortran names (dgemm_, ...), the same names
// that liborb exports with 32-bit integers, so it is never linked: it is
// opened privately once per process and its routines are looked up into the
// table below.  Every kernel of core/blas/ reaches the provider through this
// table and nothing else.
#pragma once

#include <orb/orb_blas.h>
#include <orb/orb_types.h>

#include <cstddef>
#include <dlfcn.h>

namespace orb::core {

//! Integer type of the provider's Fortran interface.
using FortranInt = int64_t;

//! A provider GEMM: the Fortran argument list, then the hidden lengths of the two characters.
template <class T>
using ProviderGemmFn = void (*)(const char *, const char *, const FortranInt *, const FortranInt *, const FortranInt *,
                                  const T *, const T *, const FortranInt *, const T *, const FortranInt *, const T *, T *,
                                  const FortranInt *, std::size_t, std::size_t);

//! A provider GEMV: the Fortran argument list, then the hidden length of the character.
template <class T>
using ProviderGemvFn = void (*)(const char *, const FortranInt *, const FortranInt *, const T *, const T *, const FortranInt *,
                                  const T *, const FortranInt *, const T *, T *, const FortranInt *, std::size_t);

//! The level-1 routines, by the shape of their Fortran argument lists.  The
//! functions return their value as gfortran does: reals in a register, and the
//! complex dot products by value (a pair of reals in two halves of registers),
//! which is how a struct of two floats or two doubles comes back in C.
template <class T>
using ProviderDotFn = T (*)(const FortranInt *, const T *, const FortranInt *, const T *, const FortranInt *);
//! The real type of an element type.
template <class T>
struct ProviderReal {
  using type = T;
};
template <>
struct ProviderReal<ORB_Complex8> {
  using type = float;
};
template <>
struct ProviderReal<ORB_Complex16> {
  using type = double;
};
template <class T>
using ProviderRealOf = typename ProviderReal<T>::type;

//! ?asum and ?nrm2: a real result from one vector.
template <class T>
using ProviderNormFn = ProviderRealOf<T> (*)(const FortranInt *, const T *, const FortranInt *);
//! ?scal.
template <class T>
using ProviderScalFn = void (*)(const FortranInt *, const T *, T *, const FortranInt *);
//! csscal and zdscal: a complex vector scaled by a real.
template <class T>
using ProviderRscalFn = void (*)(const FortranInt *, const ProviderRealOf<T> *, T *, const FortranInt *);
template <class T>
using ProviderAxpyFn = void (*)(const FortranInt *, const T *, const T *, const FortranInt *, T *, const FortranInt *);
template <class T>
using ProviderAxpbyFn = void (*)(const FortranInt *, const T *, const T *, const FortranInt *, const T *, T *, const FortranInt *);
template <class T>
using ProviderCopyFn = void (*)(const FortranInt *, const T *, const FortranInt *, T *, const FortranInt *);
template <class T>
using ProviderSwapFn = void (*)(const FortranInt *, T *, const FortranInt *, T *, const FortranInt *);
//! ?rot with a real cosine and sine (csrot / zdrot for the complex vectors).
template <class T>
using ProviderRotFn = void (*)(const FortranInt *, T *, const FortranInt *, T *, const FortranInt *, const ProviderRealOf<T> *,
                                 const ProviderRealOf<T> *);
template <class T>
using ProviderRotmFn = void (*)(const FortranInt *, T *, const FortranInt *, T *, const FortranInt *, const T *);
//! i?amax and i?amin: a 1-based index.
template <class T>
using ProviderIndexFn = FortranInt (*)(const FortranInt *, const T *, const FortranInt *);

//! A provider TRSM: the Fortran argument list, then the hidden lengths of the four characters.
template <class T>
using ProviderTrsmFn = void (*)(const char *, const char *, const char *, const char *, const FortranInt *,
                                  const FortranInt *, const T *, const T *, const FortranInt *, T *, const FortranInt *, std::size_t,
                                  std::size_t, std::size_t, std::size_t);

//! A provider SYRK (S = T) or HERK (S the real type): the Fortran argument list, then the hidden lengths of the two characters.
template <class T, class S = T>
using ProviderSyrkFn = void (*)(const char *, const char *, const FortranInt *, const FortranInt *, const S *, const T *,
                                  const FortranInt *, const S *, T *, const FortranInt *, std::size_t, std::size_t);
template <class T>
using ProviderHerkFn = ProviderSyrkFn<T, ProviderRealOf<T>>;

//! A provider SYMM or HEMM: the Fortran argument list, then the hidden lengths of the two characters.
template <class T>
using ProviderSymmFn = void (*)(const char *, const char *, const FortranInt *, const FortranInt *, const T *, const T *,
                                  const FortranInt *, const T *, const FortranInt *, const T *, T *, const FortranInt *, std::size_t,
                                  std::size_t);

//! A provider SYR2K (S = T) or HER2K (S the real type): the Fortran argument list, then the hidden lengths of the two characters.
template <class T, class S = T>
using ProviderSyr2kFn = void (*)(const char *, const char *, const FortranInt *, const FortranInt *, const T *, const T *,
                                   const FortranInt *, const T *, const FortranInt *, const S *, T *, const FortranInt *,
                                   std::size_t, std::size_t);
template <class T>
using ProviderHer2kFn = ProviderSyr2kFn<T, ProviderRealOf<T>>;

//! A provider level-2 routine: the argument list of its kind (orb_blas.h)
//! with 64-bit integers, then the hidden lengths of its characters.
template <class Signature>
using ProviderLevel2Fn = Signature *;
#define ORB_L2_LENGTHS_Gbmv , std::size_t
#define ORB_L2_LENGTHS_Symv , std::size_t
#define ORB_L2_LENGTHS_Sbmv , std::size_t
#define ORB_L2_LENGTHS_Spmv , std::size_t
#define ORB_L2_LENGTHS_Trmv , std::size_t, std::size_t, std::size_t
#define ORB_L2_LENGTHS_Tbmv , std::size_t, std::size_t, std::size_t
#define ORB_L2_LENGTHS_Tpmv , std::size_t, std::size_t, std::size_t
#define ORB_L2_LENGTHS_Ger
#define ORB_L2_LENGTHS_Syr , std::size_t
#define ORB_L2_LENGTHS_Spr , std::size_t
#define ORB_L2_LENGTHS_Syr2 , std::size_t
#define ORB_L2_LENGTHS_Spr2 , std::size_t
#define ORB_L2_FN(list, T, S) ProviderLevel2Fn<void(ORB_L2_PARAMS_##list(T, S, FortranInt) ORB_L2_LENGTHS_##list)>

//! The scalar routines: ?rotg, ?rotmg, the mixed-precision dot products,
//! and ?cabs1.
template <class T>
using ProviderRotgFn = void (*)(T *, T *, ProviderRealOf<T> *, T *);
template <class T>
using ProviderRotmgFn = void (*)(T *, T *, T *, const T *, T *);
using ProviderSdsdotFn = float (*)(const FortranInt *, const float *, const float *, const FortranInt *, const float *,
                                   const FortranInt *);
using ProviderDsdotFn = double (*)(const FortranInt *, const float *, const FortranInt *, const float *,
                                   const FortranInt *);
template <class T>
using ProviderCabs1Fn = ProviderRealOf<T> (*)(const T *);

//! A provider GETRF or GETF2: the Fortran argument list.
template <class T>
using ProviderGetrfFn = void (*)(const FortranInt *, const FortranInt *, T *, const FortranInt *, FortranInt *, FortranInt *);

//! A provider LASWP: the Fortran argument list.
template <class T>
using ProviderLaswpFn = void (*)(const FortranInt *, T *, const FortranInt *, const FortranInt *, const FortranInt *,
                                 const FortranInt *, const FortranInt *);

//! A provider POTRF: the Fortran argument list, then the hidden length of uplo.
template <class T>
using ProviderPotrfFn = void (*)(const char *, const FortranInt *, T *, const FortranInt *, FortranInt *, std::size_t);

//! Every routine the core takes from the provider, one line each: the field of
//! ProviderTable (also the provider's Fortran name less its underscore) and
//! its pointer type.  A new provider routine is one more line here.
#define ORB_PROVIDER_ROUTINES(X)              \
  X(sgemm, ProviderGemmFn<float>)           \
  X(dgemm, ProviderGemmFn<double>)          \
  X(cgemm, ProviderGemmFn<ORB_Complex8>)    \
  X(zgemm, ProviderGemmFn<ORB_Complex16>)   \
  X(sgemv, ProviderGemvFn<float>)           \
  X(dgemv, ProviderGemvFn<double>)          \
  X(cgemv, ProviderGemvFn<ORB_Complex8>)    \
  X(zgemv, ProviderGemvFn<ORB_Complex16>)   \
  X(sdot, ProviderDotFn<float>)             \
  X(ddot, ProviderDotFn<double>)            \
  X(cdotu, ProviderDotFn<ORB_Complex8>)     \
  X(cdotc, ProviderDotFn<ORB_Complex8>)     \
  X(zdotu, ProviderDotFn<ORB_Complex16>)    \
  X(zdotc, ProviderDotFn<ORB_Complex16>)    \
  X(sasum, ProviderNormFn<float>)           \
  X(dasum, ProviderNormFn<double>)          \
  X(scasum, ProviderNormFn<ORB_Complex8>)   \
  X(dzasum, ProviderNormFn<ORB_Complex16>)  \
  X(snrm2, ProviderNormFn<float>)           \
  X(dnrm2, ProviderNormFn<double>)          \
  X(scnrm2, ProviderNormFn<ORB_Complex8>)   \
  X(dznrm2, ProviderNormFn<ORB_Complex16>)  \
  X(sscal, ProviderScalFn<float>)           \
  X(dscal, ProviderScalFn<double>)          \
  X(cscal, ProviderScalFn<ORB_Complex8>)    \
  X(zscal, ProviderScalFn<ORB_Complex16>)   \
  X(csscal, ProviderRscalFn<ORB_Complex8>)  \
  X(zdscal, ProviderRscalFn<ORB_Complex16>) \
  X(saxpy, ProviderAxpyFn<float>)           \
  X(daxpy, ProviderAxpyFn<double>)          \
  X(caxpy, ProviderAxpyFn<ORB_Complex8>)    \
  X(zaxpy, ProviderAxpyFn<ORB_Complex16>)   \
  X(saxpby, ProviderAxpbyFn<float>)         \
  X(daxpby, ProviderAxpbyFn<double>)        \
  X(caxpby, ProviderAxpbyFn<ORB_Complex8>)  \
  X(zaxpby, ProviderAxpbyFn<ORB_Complex16>) \
  X(scopy, ProviderCopyFn<float>)           \
  X(dcopy, ProviderCopyFn<double>)          \
  X(ccopy, ProviderCopyFn<ORB_Complex8>)    \
  X(zcopy, ProviderCopyFn<ORB_Complex16>)   \
  X(sswap, ProviderSwapFn<float>)           \
  X(dswap, ProviderSwapFn<double>)          \
  X(cswap, ProviderSwapFn<ORB_Complex8>)    \
  X(zswap, ProviderSwapFn<ORB_Complex16>)   \
  X(srot, ProviderRotFn<float>)             \
  X(drot, ProviderRotFn<double>)            \
  X(csrot, ProviderRotFn<ORB_Complex8>)     \
  X(zdrot, ProviderRotFn<ORB_Complex16>)    \
  X(srotm, ProviderRotmFn<float>)           \
  X(drotm, ProviderRotmFn<double>)          \
  X(isamax, ProviderIndexFn<float>)         \
  X(idamax, ProviderIndexFn<double>)        \
  X(icamax, ProviderIndexFn<ORB_Complex8>)  \
  X(izamax, ProviderIndexFn<ORB_Complex16>) \
  X(isamin, ProviderIndexFn<float>)         \
  X(idamin, ProviderIndexFn<double>)        \
  X(icamin, ProviderIndexFn<ORB_Complex8>)  \
  X(izamin, ProviderIndexFn<ORB_Complex16>) \
  X(strsm, ProviderTrsmFn<float>)           \
  X(dtrsm, ProviderTrsmFn<double>)          \
  X(ctrsm, ProviderTrsmFn<ORB_Complex8>)    \
  X(ztrsm, ProviderTrsmFn<ORB_Complex16>)   \
  X(ssyrk, ProviderSyrkFn<float>)           \
  X(dsyrk, ProviderSyrkFn<double>)          \
  X(csyrk, ProviderSyrkFn<ORB_Complex8>)    \
  X(zsyrk, ProviderSyrkFn<ORB_Complex16>)   \
  X(cherk, ProviderHerkFn<ORB_Complex8>)    \
  X(zherk, ProviderHerkFn<ORB_Complex16>)   \
  X(ssymm, ProviderSymmFn<float>)           \
  X(dsymm, ProviderSymmFn<double>)          \
  X(csymm, ProviderSymmFn<ORB_Complex8>)    \
  X(zsymm, ProviderSymmFn<ORB_Complex16>)   \
  X(chemm, ProviderSymmFn<ORB_Complex8>)    \
  X(zhemm, ProviderSymmFn<ORB_Complex16>)   \
  X(strmm, ProviderTrsmFn<float>)           \
  X(dtrmm, ProviderTrsmFn<double>)          \
  X(ctrmm, ProviderTrsmFn<ORB_Complex8>)    \
  X(ztrmm, ProviderTrsmFn<ORB_Complex16>)   \
  X(ssyr2k, ProviderSyr2kFn<float>)         \
  X(dsyr2k, ProviderSyr2kFn<double>)        \
  X(csyr2k, ProviderSyr2kFn<ORB_Complex8>)  \
  X(zsyr2k, ProviderSyr2kFn<ORB_Complex16>) \
  X(cher2k, ProviderHer2kFn<ORB_Complex8>)   \
  X(zher2k, ProviderHer2kFn<ORB_Complex16>) \
  X(sgbmv, ORB_L2_FN(Gbmv, float, float))                  \
  X(dgbmv, ORB_L2_FN(Gbmv, double, double))                \
  X(cgbmv, ORB_L2_FN(Gbmv, ORB_Complex8, ORB_Complex8))    \
  X(zgbmv, ORB_L2_FN(Gbmv, ORB_Complex16, ORB_Complex16))  \
  X(ssymv, ORB_L2_FN(Symv, float, float))                  \
  X(dsymv, ORB_L2_FN(Symv, double, double))                \
  X(chemv, ORB_L2_FN(Symv, ORB_Complex8, ORB_Complex8))    \
  X(zhemv, ORB_L2_FN(Symv, ORB_Complex16, ORB_Complex16))  \
  X(ssbmv, ORB_L2_FN(Sbmv, float, float))                  \
  X(dsbmv, ORB_L2_FN(Sbmv, double, double))                \
  X(chbmv, ORB_L2_FN(Sbmv, ORB_Complex8, ORB_Complex8))    \
  X(zhbmv, ORB_L2_FN(Sbmv, ORB_Complex16, ORB_Complex16))  \
  X(sspmv, ORB_L2_FN(Spmv, float, float))                  \
  X(dspmv, ORB_L2_FN(Spmv, double, double))                \
  X(chpmv, ORB_L2_FN(Spmv, ORB_Complex8, ORB_Complex8))    \
  X(zhpmv, ORB_L2_FN(Spmv, ORB_Complex16, ORB_Complex16))  \
  X(strmv, ORB_L2_FN(Trmv, float, float))                  \
  X(dtrmv, ORB_L2_FN(Trmv, double, double))                \
  X(ctrmv, ORB_L2_FN(Trmv, ORB_Complex8, ORB_Complex8))    \
  X(ztrmv, ORB_L2_FN(Trmv, ORB_Complex16, ORB_Complex16))  \
  X(strsv, ORB_L2_FN(Trmv, float, float))                  \
  X(dtrsv, ORB_L2_FN(Trmv, double, double))                \
  X(ctrsv, ORB_L2_FN(Trmv, ORB_Complex8, ORB_Complex8))    \
  X(ztrsv, ORB_L2_FN(Trmv, ORB_Complex16, ORB_Complex16))  \
  X(stbmv, ORB_L2_FN(Tbmv, float, float))                  \
  X(dtbmv, ORB_L2_FN(Tbmv, double, double))                \
  X(ctbmv, ORB_L2_FN(Tbmv, ORB_Complex8, ORB_Complex8))    \
  X(ztbmv, ORB_L2_FN(Tbmv, ORB_Complex16, ORB_Complex16))  \
  X(stbsv, ORB_L2_FN(Tbmv, float, float))                  \
  X(dtbsv, ORB_L2_FN(Tbmv, double, double))                \
  X(ctbsv, ORB_L2_FN(Tbmv, ORB_Complex8, ORB_Complex8))    \
  X(ztbsv, ORB_L2_FN(Tbmv, ORB_Complex16, ORB_Complex16))  \
  X(stpmv, ORB_L2_FN(Tpmv, float, float))                  \
  X(dtpmv, ORB_L2_FN(Tpmv, double, double))                \
  X(ctpmv, ORB_L2_FN(Tpmv, ORB_Complex8, ORB_Complex8))    \
  X(ztpmv, ORB_L2_FN(Tpmv, ORB_Complex16, ORB_Complex16))  \
  X(stpsv, ORB_L2_FN(Tpmv, float, float))                  \
  X(dtpsv, ORB_L2_FN(Tpmv, double, double))                \
  X(ctpsv, ORB_L2_FN(Tpmv, ORB_Complex8, ORB_Complex8))    \
  X(ztpsv, ORB_L2_FN(Tpmv, ORB_Complex16, ORB_Complex16))  \
  X(sger, ORB_L2_FN(Ger, float, float))                    \
  X(dger, ORB_L2_FN(Ger, double, double))                  \
  X(cgeru, ORB_L2_FN(Ger, ORB_Complex8, ORB_Complex8))     \
  X(zgeru, ORB_L2_FN(Ger, ORB_Complex16, ORB_Complex16))   \
  X(cgerc, ORB_L2_FN(Ger, ORB_Complex8, ORB_Complex8))     \
  X(zgerc, ORB_L2_FN(Ger, ORB_Complex16, ORB_Complex16))   \
  X(ssyr, ORB_L2_FN(Syr, float, float))                    \
  X(dsyr, ORB_L2_FN(Syr, double, double))                  \
  X(cher, ORB_L2_FN(Syr, ORB_Complex8, float))             \
  X(zher, ORB_L2_FN(Syr, ORB_Complex16, double))           \
  X(sspr, ORB_L2_FN(Spr, float, float))                    \
  X(dspr, ORB_L2_FN(Spr, double, double))                  \
  X(chpr, ORB_L2_FN(Spr, ORB_Complex8, float))             \
  X(zhpr, ORB_L2_FN(Spr, ORB_Complex16, double))           \
  X(ssyr2, ORB_L2_FN(Syr2, float, float))                  \
  X(dsyr2, ORB_L2_FN(Syr2, double, double))                \
  X(cher2, ORB_L2_FN(Syr2, ORB_Complex8, ORB_Complex8))    \
  X(zher2, ORB_L2_FN(Syr2, ORB_Complex16, ORB_Complex16))  \
  X(sspr2, ORB_L2_FN(Spr2, float, float))                  \
  X(dspr2, ORB_L2_FN(Spr2, double, double))                \
  X(chpr2, ORB_L2_FN(Spr2, ORB_Complex8, ORB_Complex8))    \
  X(zhpr2, ORB_L2_FN(Spr2, ORB_Complex16, ORB_Complex16))  \
  X(srotg, ProviderRotgFn<float>)                          \
  X(drotg, ProviderRotgFn<double>)                         \
  X(crotg, ProviderRotgFn<ORB_Complex8>)            \
  X(zrotg, ProviderRotgFn<ORB_Complex16>)          \
  X(srotmg, ProviderRotmgFn<float>)                        \
  X(drotmg, ProviderRotmgFn<double>)                       \
  X(sdsdot, ProviderSdsdotFn)                              \
  X(dsdot, ProviderDsdotFn)                                \
  X(scabs1, ProviderCabs1Fn<ORB_Complex8>)                 \
  X(dcabs1, ProviderCabs1Fn<ORB_Complex16>) \
  X(sgetrf, ProviderGetrfFn<float>)         \
  X(dgetrf, ProviderGetrfFn<double>)        \
  X(cgetrf, ProviderGetrfFn<ORB_Complex8>)  \
  X(zgetrf, ProviderGetrfFn<ORB_Complex16>) \
  X(sgetf2, ProviderGetrfFn<float>)         \
  X(dgetf2, ProviderGetrfFn<double>)        \
  X(cgetf2, ProviderGetrfFn<ORB_Complex8>)  \
  X(zgetf2, ProviderGetrfFn<ORB_Complex16>) \
  X(slaswp, ProviderLaswpFn<float>)         \
  X(dlaswp, ProviderLaswpFn<double>)        \
  X(claswp, ProviderLaswpFn<ORB_Complex8>)  \
  X(zlaswp, ProviderLaswpFn<ORB_Complex16>) \
  X(spotrf, ProviderPotrfFn<float>)         \
  X(dpotrf, ProviderPotrfFn<double>)        \
  X(cpotrf, ProviderPotrfFn<ORB_Complex8>)  \
  X(zpotrf, ProviderPotrfFn<ORB_Complex16>)

//! The provider's routines, bound once.
struct ProviderTable {
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
const ProviderTable &provider();

}  // namespace orb::core
