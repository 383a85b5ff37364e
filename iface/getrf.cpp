// The LU factorization with partial pivoting, A = P L U, under its standard
// names: sgetrf_ ... zgetrf_ (32-bit integers) and sgetrf_64_ ... zgetrf_64_
// (64-bit integers).
//
// Each name checks its arguments in the order of the standard routine (m, n,
// lda), then that a call with something to factor provides A, the pivots and
// info, sets info to minus the position of the first illegal one and reports
// it, and otherwise hands the call to the threaded driver.  A program built
// against the system LAPACK gets this factorization wherever it calls
// ?getrf_, directly or through the system's ?gesv_ and friends, once liborb
// is preloaded.
#include <orb/orb_lapack.h>

#include <algorithm>
#include <cstdint>

#include "blas_rules.hpp"
#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

#define ORB_THREADED_GETRF(p, P, T)                                                                        \
  void threaded_getrf(const int *m, const int *n, T *a, const int *lda, int *ipiv, int *info) {            \
    orb_lapack_lp64_##p##getrf(m, n, a, lda, ipiv, info);                                                  \
  }                                                                                                        \
  void threaded_getrf(const int64_t *m, const int64_t *n, T *a, const int64_t *lda, int64_t *ipiv,          \
                      int64_t *info) {                                                                     \
    orb_lapack_##p##getrf(m, n, a, lda, ipiv, info);                                                       \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_GETRF)
#undef ORB_THREADED_GETRF

}  // namespace

template <class T, class I>
void fortran_getrf(int iface, const I *m, const I *n, T *a, const I *lda, I *ipiv, I *info) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        const int illegal = rules::check_getrf(m, n, a, lda, ipiv, info);
        if (illegal) {
          if (info) *info = -illegal;
          report_fortran(routine_name(Precision<T>::upper, "GETRF", int64).report, illegal);
          return;
        }
        *info = 0;
        if (std::min(*m, *n) > 0) threaded_getrf(m, n, a, lda, ipiv, info);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GETRF", int64).upper)
            .integer(m)
            .integer(n)
            .address(a)
            .integer(lda)
            .address(ipiv)
            .integer(info);
      });
}

}  // namespace orb::iface

using orb::iface::fortran_getrf;
using orb::iface::kIlp64;
using orb::iface::kLp64;

#define ORB_FORTRAN_GETRF(name, iface, T, I)                                                                  \
  extern "C" ORB_EXPORT void name(const I *m, const I *n, T *a, const I *lda, I *ipiv, I *info) {           \
    fortran_getrf<T, I>(iface, m, n, a, lda, ipiv, info);                                                     \
  }
#define ORB_FORTRAN_GETRF_FORMS(p, P, T)             \
  ORB_FORTRAN_GETRF(p##getrf_, kLp64, T, int)         \
  ORB_FORTRAN_GETRF(p##getrf_64_, kIlp64, T, ORB_INT) \
  ORB_FORTRAN_NAME_FORMS(p##getrf, P##GETRF)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_GETRF_FORMS)
