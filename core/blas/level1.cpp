// Sequential level-1 kernels: dot products, sums of magnitudes, norms,
// scaling, updates, copies, swaps, rotations and index searches, in every
// precision.
//
// Each kernel takes the quick returns of the standard routine itself (n < 1;
// axpy with alpha = 0 touches nothing; asum and scal return at once for an
// increment below 1, i?amax and i?amin answer 0; rotm with the identity flag
// -2 returns), so every caller sees the same answer whichever provider is
// bound, and then lets the provider compute.  nrm2 with a negative increment
// is the norm of the same elements walked from the far end; the provider
// answers 0 there, so it is given the elements in storage order instead,
// which visits the same set.  A size, increment or scalar
// that is not given makes the call do nothing (blas_rules.hpp).
#include "blas/provider.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "blas_rules.hpp"
#include "precision.hpp"

using orb::rules::all_present;

namespace {

//! The standard's early return of the reductions and updates.
bool nothing_to_do(const ORB_INT *n) { return !n || *n < 1; }

// The provider's complex dot products read one element beyond the vector
// when an increment is negative (before x or y, from the far end): at the
// start of a page that is a fault, and a threaded driver hands the kernel
// pieces that start anywhere.  The core computes those calls itself, in the
// standard's order, accumulating in the element's precision as the standard
// routine does.
template <class T, bool Conjugated>
T dot_with_negative_increment(ORB_INT n, const T *x, ORB_INT incx, const T *y, ORB_INT incy) {
  ORB_INT ix = incx < 0 ? (1 - n) * incx : 0, iy = incy < 0 ? (1 - n) * incy : 0;
  T sum{};
  for (ORB_INT i = 0; i < n; ++i, ix += incx, iy += incy)
    sum = orb::add(sum, orb::mul(Conjugated ? orb::conjugate(x[ix]) : x[ix], y[iy]));
  return sum;
}

}  // namespace

#define ORB_XLEVEL1(p, T, R, dotu, dotc, norm, real_scalar)                                                            \
  extern "C" ORB_NORM_DECL(orb_blas_x##norm##asum, T, R, ORB_INT) {                                                    \
    if (nothing_to_do(n) || !incx || *incx < 1) return R(0);                                                          \
    return orb::core::provider().norm##asum(n, x, incx);                                                             \
  }                                                                                                                    \
  extern "C" ORB_NORM_DECL(orb_blas_x##norm##nrm2, T, R, ORB_INT) {                                                    \
    if (nothing_to_do(n) || !incx) return R(0);                                                                       \
    const ORB_INT step = *incx < 0 ? -*incx : *incx;                                                                 \
    return orb::core::provider().norm##nrm2(n, x, &step);                                                            \
  }                                                                                                                    \
  extern "C" ORB_SCAL_DECL(orb_blas_x##p##scal, T, T, ORB_INT) {                                                       \
    if (nothing_to_do(n) || !all_present(alpha, incx) || *incx < 1) return;                                           \
    orb::core::provider().p##scal(n, alpha, x, incx);                                                                \
  }                                                                                                                    \
  extern "C" ORB_AXPY_DECL(orb_blas_x##p##axpy, T, ORB_INT) {                                                          \
    if (nothing_to_do(n) || !all_present(alpha, incx, incy) || orb::is_zero(*alpha)) return;                          \
    orb::core::provider().p##axpy(n, alpha, x, incx, y, incy);                                                       \
  }                                                                                                                    \
  extern "C" ORB_AXPBY_DECL(orb_blas_x##p##axpby, T, ORB_INT) {                                                        \
    if (nothing_to_do(n) || !all_present(alpha, incx, beta, incy)) return;                                            \
    orb::core::provider().p##axpby(n, alpha, x, incx, beta, y, incy);                                                \
  }                                                                                                                    \
  extern "C" ORB_COPY_DECL(orb_blas_x##p##copy, T, ORB_INT) {                                                          \
    if (nothing_to_do(n) || !all_present(incx, incy)) return;                                                         \
    orb::core::provider().p##copy(n, x, incx, y, incy);                                                              \
  }                                                                                                                    \
  extern "C" ORB_SWAP_DECL(orb_blas_x##p##swap, T, ORB_INT) {                                                          \
    if (nothing_to_do(n) || !all_present(incx, incy)) return;                                                         \
    orb::core::provider().p##swap(n, x, incx, y, incy);                                                              \
  }                                                                                                                    \
  extern "C" ORB_ROT_DECL(orb_blas_x##real_scalar##rot, T, R, ORB_INT) {                                               \
    if (nothing_to_do(n) || !all_present(incx, incy, c, s)) return;                                                   \
    orb::core::provider().real_scalar##rot(n, x, incx, y, incy, c, s);                                               \
  }                                                                                                                    \
  extern "C" ORB_INDEX_DECL(orb_blas_xi##p##amax, T, ORB_INT) {                                                        \
    if (nothing_to_do(n) || !incx || *incx < 1) return 0;                                                             \
    return orb::core::provider().i##p##amax(n, x, incx);                                                             \
  }                                                                                                                    \
  extern "C" ORB_INDEX_DECL(orb_blas_xi##p##amin, T, ORB_INT) {                                                        \
    if (nothing_to_do(n) || !incx || *incx < 1) return 0;                                                             \
    return orb::core::provider().i##p##amin(n, x, incx);                                                             \
  }
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_XLEVEL1)
#undef ORB_XLEVEL1

#define ORB_XREAL_LEVEL1(p, T)                                                         \
  extern "C" ORB_DOT_DECL(orb_blas_x##p##dot, T, ORB_INT) {                            \
    if (nothing_to_do(n) || !all_present(incx, incy)) return T(0);                    \
    return orb::core::provider().p##dot(n, x, incx, y, incy);                        \
  }                                                                                    \
  extern "C" ORB_ROTM_DECL(orb_blas_x##p##rotm, T, ORB_INT) {                          \
    if (nothing_to_do(n) || !all_present(incx, incy, param) || param[0] == T(-2)) return; \
    orb::core::provider().p##rotm(n, x, incx, y, incy, param);                       \
  }
ORB_XREAL_LEVEL1(s, float)
ORB_XREAL_LEVEL1(d, double)
#undef ORB_XREAL_LEVEL1

#define ORB_XCOMPLEX_DOT(p, T, which, conjugated)                                        \
  extern "C" ORB_CDOT_DECL(orb_blas_x##p##dot##which, T, ORB_INT) {                    \
    if (!result) return;                                                               \
    *result = T{};                                                                     \
    if (nothing_to_do(n) || !all_present(incx, incy)) return;                         \
    if (*incx < 0 || *incy < 0)                                                        \
      *result = dot_with_negative_increment<T, conjugated>(*n, x, *incx, y, *incy);    \
    else                                                                               \
      *result = orb::core::provider().p##dot##which(n, x, incx, y, incy);            \
  }
#define ORB_XCOMPLEX_LEVEL1(p, T, r, R)                                                    \
  ORB_XCOMPLEX_DOT(p, T, u, false)                                                     \
  ORB_XCOMPLEX_DOT(p, T, c, true)                                                      \
  extern "C" ORB_SCAL_DECL(orb_blas_x##p##r##scal, T, R, ORB_INT) {                    \
    if (nothing_to_do(n) || !all_present(alpha, incx) || *incx < 1) return;           \
    orb::core::provider().p##r##scal(n, alpha, x, incx);                             \
  }
ORB_XCOMPLEX_LEVEL1(c, ORB_Complex8, s, float)
ORB_XCOMPLEX_LEVEL1(z, ORB_Complex16, d, double)
#undef ORB_XCOMPLEX_LEVEL1
#undef ORB_XCOMPLEX_DOT

// The scalar routines have nothing to cut and no illegal argument: ?rotg and
// ?rotmg build a rotation from two numbers, ?cabs1 is |re| + |im|.  The
// mixed-precision dot products take level 1's early return (n < 1 gives sb,
// or 0) and let the provider accumulate in double.
#define ORB_XROTG(p, T, R)                                                  \
  extern "C" ORB_ROTG_DECL(orb_blas_x##p##rotg, T, R, ORB_INT) {            \
    if (!all_present(a, b, c, s)) return;                                   \
    orb::core::provider().p##rotg(a, b, c, s);                              \
  }
ORB_XROTG(s, float, float)
ORB_XROTG(d, double, double)
ORB_XROTG(c, ORB_Complex8, float)
ORB_XROTG(z, ORB_Complex16, double)
#undef ORB_XROTG

#define ORB_XROTMG(p, T)                                                    \
  extern "C" ORB_ROTMG_DECL(orb_blas_x##p##rotmg, T, ORB_INT) {             \
    if (!all_present(d1, d2, x1, y1, param)) return;                        \
    orb::core::provider().p##rotmg(d1, d2, x1, y1, param);                  \
  }
ORB_XROTMG(s, float)
ORB_XROTMG(d, double)
#undef ORB_XROTMG

extern "C" ORB_SDSDOT_DECL(orb_blas_xsdsdot, ORB_INT) {
  if (!sb) return 0.0f;
  if (nothing_to_do(n) || !all_present(incx, incy)) return *sb;
  return orb::core::provider().sdsdot(n, sb, x, incx, y, incy);
}

extern "C" ORB_DSDOT_DECL(orb_blas_xdsdot, ORB_INT) {
  if (nothing_to_do(n) || !all_present(incx, incy)) return 0.0;
  return orb::core::provider().dsdot(n, x, incx, y, incy);
}

extern "C" float orb_blas_xscabs1(const ORB_Complex8 *z) { return z ? orb::abs1(*z) : 0.0f; }
extern "C" double orb_blas_xdcabs1(const ORB_Complex16 *z) { return z ? orb::abs1(*z) : 0.0; }
