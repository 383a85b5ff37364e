// The threaded level-1 reductions: dot products (dotu and dotc for the
// complex types), sums of magnitudes and Euclidean norms, with 64-bit
// integers and their lp64 wrappers.
//
// Each worker reduces its own run of elements with the sequential kernel and
// leaves one partial result; the calling thread combines them once the loop
// has ended, always in worker order, so that a call gives the same answer
// every time for the same budget:
//   dot, asum   partial[0] + partial[1] + ... + partial[W - 1]
//   nrm2        the sequential nrm2 of the W partial norms: the kernel's own
//               scaling keeps the combination from overflowing where summing
//               the squares of norms near the largest real would not.
//
// Dot products thread from 4096 elements, one worker per 2048; asum and nrm2
// stream one vector and thread from 8192, one worker per 4096 (see
// partition/level1.cpp).  An increment of 0 keeps the call whole.
#include "blas/level1_frame.hpp"
#include "lp64.hpp"

#include "blas_rules.hpp"

namespace orb::thr {

namespace {

template <class T, bool Conjugated>
T dot_piece(const blas_args_t &args, const Level1Piece<T> &p) {
  constexpr auto kernel = Conjugated ? Level1Kernels<T>::dotc : Level1Kernels<T>::dotu;
  return kernel(&p.n, p.x, &args.lda, p.y, &args.ldc);
}

//! asum or nrm2 of one piece: Kernel is the sequential kernel.
template <class T, RealOf<T> (*Kernel)(const ORB_INT *, const T *, const ORB_INT *)>
RealOf<T> norm_piece(const blas_args_t &args, const Level1Piece<T> &p) {
  return Kernel(&p.n, p.x, &args.lda);
}

//! partials[0] + ... + partials[w - 1], in that order.
template <class V>
V sum_in_order(const V *partials, ORB_INT w) {
  V sum = partials[0];
  for (ORB_INT i = 1; i < w; ++i) sum = add(sum, partials[i]);
  return sum;
}

template <class T, bool Conjugated>
T dot(const ORB_INT *n, const T *x, const ORB_INT *incx, const T *y, const ORB_INT *incy) {
  if (!n || *n < 1 || !rules::all_present(incx, incy)) return T{};
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, *incx != 0 && *incy != 0), *n, x, *incx,
                                 const_cast<T *>(y), *incy);
  const char *name = Conjugated ? Level1Kernels<T>::dotc_name : Level1Kernels<T>::dot_name;
  return level1_reduce<T, T, dot_piece<T, Conjugated>>(args, name, sum_in_order<T>);
}

//! asum or nrm2 (Kernel) of one vector, combined by `combine`.
template <class T, RealOf<T> (*Kernel)(const ORB_INT *, const T *, const ORB_INT *), class Combine>
RealOf<T> norm(const ORB_INT *n, const T *x, const ORB_INT *incx, const char *name, Combine combine) {
  if (!n || *n < 1 || !incx) return RealOf<T>(0);
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Single, *incx != 0), *n, x, *incx, nullptr, 0);
  return level1_reduce<T, RealOf<T>, norm_piece<T, Kernel>>(args, name, combine);
}

template <class T>
RealOf<T> asum(const ORB_INT *n, const T *x, const ORB_INT *incx) {
  return norm<T, Level1Kernels<T>::asum>(n, x, incx, Level1Kernels<T>::asum_name, sum_in_order<RealOf<T>>);
}

template <class T>
RealOf<T> nrm2(const ORB_INT *n, const T *x, const ORB_INT *incx) {
  return norm<T, Level1Kernels<T>::nrm2>(n, x, incx, Level1Kernels<T>::nrm2_name,
                                          [](const RealOf<T> *norms, ORB_INT w) {
                                            const ORB_INT one = 1;
                                            return Level1Kernels<T>::nrm2_of_norms(&w, norms, &one);
                                          });
}

}  // namespace

}  // namespace orb::thr

#define ORB_LEVEL1_REDUCTIONS(p, T, R, dotu, dotc, norm, real_scalar)                       \
  extern "C" ORB_NORM_DECL(orb_blas_##norm##asum, T, R, ORB_INT) {                          \
    return orb::thr::asum<T>(n, x, incx);                                                   \
  }                                                                                         \
  extern "C" ORB_NORM_DECL(orb_blas_lp64_##norm##asum, T, R, int) {                         \
    return orb::thr::call_lp64(orb_blas_##norm##asum, n, x, incx);                          \
  }                                                                                         \
  extern "C" ORB_NORM_DECL(orb_blas_##norm##nrm2, T, R, ORB_INT) {                          \
    return orb::thr::nrm2<T>(n, x, incx);                                                   \
  }                                                                                         \
  extern "C" ORB_NORM_DECL(orb_blas_lp64_##norm##nrm2, T, R, int) {                         \
    return orb::thr::call_lp64(orb_blas_##norm##nrm2, n, x, incx);                          \
  }
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_LEVEL1_REDUCTIONS)
#undef ORB_LEVEL1_REDUCTIONS

#define ORB_REAL_DOT(p, T)                                                            \
  extern "C" ORB_DOT_DECL(orb_blas_##p##dot, T, ORB_INT) {                            \
    return orb::thr::dot<T, false>(n, x, incx, y, incy);                              \
  }                                                                                   \
  extern "C" ORB_DOT_DECL(orb_blas_lp64_##p##dot, T, int) {                           \
    return orb::thr::call_lp64(orb_blas_##p##dot, n, x, incx, y, incy);               \
  }
ORB_REAL_DOT(s, float)
ORB_REAL_DOT(d, double)
#undef ORB_REAL_DOT

#define ORB_COMPLEX_DOT(name, T, conjugated)                                          \
  extern "C" ORB_CDOT_DECL(orb_blas_##name, T, ORB_INT) {                             \
    if (result) *result = orb::thr::dot<T, conjugated>(n, x, incx, y, incy);          \
  }                                                                                   \
  extern "C" ORB_CDOT_DECL(orb_blas_lp64_##name, T, int) {                            \
    orb::thr::call_lp64(orb_blas_##name, result, n, x, incx, y, incy);                \
  }
ORB_COMPLEX_DOT(cdotu, ORB_Complex8, false)
ORB_COMPLEX_DOT(cdotc, ORB_Complex8, true)
ORB_COMPLEX_DOT(zdotu, ORB_Complex16, false)
ORB_COMPLEX_DOT(zdotc, ORB_Complex16, true)
#undef ORB_COMPLEX_DOT
