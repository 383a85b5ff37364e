// The threaded level-1 updates: scal (and csscal / zdscal, a complex vector
// by a real), axpy, axpby, copy, swap, rot and rotm, with 64-bit integers and
// their lp64 wrappers.
//
// Each worker runs the sequential kernel on its own run of elements
// (partition/level1.cpp) and writes only there; nothing is combined.  scal
// streams one vector and threads from 8192 elements, one worker per 4096; the
// others thread from 4096, one worker per 2048.  Any increment of 0 keeps the
// call whole, except the source of copy: with incx = 0 every worker
// broadcasts x[0] into its own run of y.
//
// The quick returns come before anything else, so a call that changes nothing
// reads no budget: n < 1; axpy with alpha = 0 (x is not read, NaN or not);
// axpby with alpha = 0 and beta = 1; rotm with the identity flag -2.
#include "blas/level1_frame.hpp"
#include "lp64.hpp"

#include "blas_rules.hpp"

namespace orb::thr {

namespace {

// One kernel call on one piece per routine.  S is the type of the scalar of
// scal (T, or the real type for csscal).
template <class T, class S>
void scal_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  if constexpr (std::is_same_v<S, T>)
    Level1Kernels<T>::scal(&p.n, static_cast<const S *>(a.alpha), p.x, &a.lda);
  else
    Level1Kernels<T>::rscal(&p.n, static_cast<const S *>(a.alpha), p.x, &a.lda);
}

template <class T>
void axpy_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::axpy(&p.n, static_cast<const T *>(a.alpha), p.x, &a.lda, p.y, &a.ldc);
}

template <class T>
void axpby_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::axpby(&p.n, static_cast<const T *>(a.alpha), p.x, &a.lda, static_cast<const T *>(a.beta), p.y,
                           &a.ldc);
}

template <class T>
void copy_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::copy(&p.n, p.x, &a.lda, p.y, &a.ldc);
}

template <class T>
void swap_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::swap(&p.n, p.x, &a.lda, p.y, &a.ldc);
}

template <class T>
void rot_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::rot(&p.n, p.x, &a.lda, p.y, &a.ldc, static_cast<const RealOf<T> *>(a.alpha),
                         static_cast<const RealOf<T> *>(a.beta));
}

template <class T>
void rotm_piece(const blas_args_t &a, const Level1Piece<T> &p) {
  Level1Kernels<T>::rotm(&p.n, p.x, &a.lda, p.y, &a.ldc, static_cast<const T *>(a.alpha));
}

//! Both increments allow a cut.
inline bool both_move(const ORB_INT *incx, const ORB_INT *incy) { return *incx != 0 && *incy != 0; }

template <class T, class S>
void scal(const ORB_INT *n, const S *alpha, T *x, const ORB_INT *incx) {
  if (!n || *n < 1 || !rules::all_present(alpha, incx)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Single, *incx != 0), *n, x, *incx, nullptr, 0, alpha);
  level1_update<T, scal_piece<T, S>>(args);
}

template <class T>
void axpy(const ORB_INT *n, const T *alpha, const T *x, const ORB_INT *incx, T *y, const ORB_INT *incy) {
  if (!n || *n < 1 || !rules::all_present(alpha, incx, incy) || is_zero(*alpha)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, both_move(incx, incy)), *n, x, *incx, y, *incy, alpha);
  level1_update<T, axpy_piece<T>>(args);
}

template <class T>
void axpby(const ORB_INT *n, const T *alpha, const T *x, const ORB_INT *incx, const T *beta, T *y,
           const ORB_INT *incy) {
  if (!n || *n < 1 || !rules::all_present(alpha, incx, beta, incy) || (is_zero(*alpha) && is_one(*beta))) return;
  blas_args_t args =
      level1_args(plan_level1(*n, kLevel1Pair, both_move(incx, incy)), *n, x, *incx, y, *incy, alpha, beta);
  level1_update<T, axpby_piece<T>>(args);
}

template <class T>
void copy(const ORB_INT *n, const T *x, const ORB_INT *incx, T *y, const ORB_INT *incy) {
  if (!n || *n < 1 || !rules::all_present(incx, incy)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, *incy != 0), *n, x, *incx, y, *incy);
  level1_update<T, copy_piece<T>>(args);
}

template <class T>
void swap(const ORB_INT *n, T *x, const ORB_INT *incx, T *y, const ORB_INT *incy) {
  if (!n || *n < 1 || !rules::all_present(incx, incy)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, both_move(incx, incy)), *n, x, *incx, y, *incy);
  level1_update<T, swap_piece<T>>(args);
}

template <class T>
void rot(const ORB_INT *n, T *x, const ORB_INT *incx, T *y, const ORB_INT *incy, const RealOf<T> *c,
         const RealOf<T> *s) {
  if (!n || *n < 1 || !rules::all_present(incx, incy, c, s)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, both_move(incx, incy)), *n, x, *incx, y, *incy, c, s);
  level1_update<T, rot_piece<T>>(args);
}

template <class T>
void rotm(const ORB_INT *n, T *x, const ORB_INT *incx, T *y, const ORB_INT *incy, const T *param) {
  if (!n || *n < 1 || !rules::all_present(incx, incy, param) || param[0] + T(2) == T(0)) return;
  blas_args_t args = level1_args(plan_level1(*n, kLevel1Pair, both_move(incx, incy)), *n, x, *incx, y, *incy, param);
  level1_update<T, rotm_piece<T>>(args);
}

}  // namespace

}  // namespace orb::thr

#define ORB_LEVEL1_UPDATES(p, T, R, dotu, dotc, norm, rs)                                                        \
  extern "C" ORB_SCAL_DECL(orb_blas_##p##scal, T, T, ORB_INT) { orb::thr::scal<T, T>(n, alpha, x, incx); }       \
  extern "C" ORB_SCAL_DECL(orb_blas_lp64_##p##scal, T, T, int) {                                                 \
    orb::thr::call_lp64(orb_blas_##p##scal, n, alpha, x, incx);                                                  \
  }                                                                                                              \
  extern "C" ORB_AXPY_DECL(orb_blas_##p##axpy, T, ORB_INT) { orb::thr::axpy<T>(n, alpha, x, incx, y, incy); }    \
  extern "C" ORB_AXPY_DECL(orb_blas_lp64_##p##axpy, T, int) {                                                    \
    orb::thr::call_lp64(orb_blas_##p##axpy, n, alpha, x, incx, y, incy);                                         \
  }                                                                                                              \
  extern "C" ORB_AXPBY_DECL(orb_blas_##p##axpby, T, ORB_INT) {                                                   \
    orb::thr::axpby<T>(n, alpha, x, incx, beta, y, incy);                                                        \
  }                                                                                                              \
  extern "C" ORB_AXPBY_DECL(orb_blas_lp64_##p##axpby, T, int) {                                                  \
    orb::thr::call_lp64(orb_blas_##p##axpby, n, alpha, x, incx, beta, y, incy);                                  \
  }                                                                                                              \
  extern "C" ORB_COPY_DECL(orb_blas_##p##copy, T, ORB_INT) { orb::thr::copy<T>(n, x, incx, y, incy); }           \
  extern "C" ORB_COPY_DECL(orb_blas_lp64_##p##copy, T, int) {                                                    \
    orb::thr::call_lp64(orb_blas_##p##copy, n, x, incx, y, incy);                                                \
  }                                                                                                              \
  extern "C" ORB_SWAP_DECL(orb_blas_##p##swap, T, ORB_INT) { orb::thr::swap<T>(n, x, incx, y, incy); }           \
  extern "C" ORB_SWAP_DECL(orb_blas_lp64_##p##swap, T, int) {                                                    \
    orb::thr::call_lp64(orb_blas_##p##swap, n, x, incx, y, incy);                                                \
  }                                                                                                              \
  extern "C" ORB_ROT_DECL(orb_blas_##rs##rot, T, R, ORB_INT) { orb::thr::rot<T>(n, x, incx, y, incy, c, s); }    \
  extern "C" ORB_ROT_DECL(orb_blas_lp64_##rs##rot, T, R, int) {                                                  \
    orb::thr::call_lp64(orb_blas_##rs##rot, n, x, incx, y, incy, c, s);                                          \
  }
ORB_FOR_EACH_LEVEL1_PRECISION(ORB_LEVEL1_UPDATES)
#undef ORB_LEVEL1_UPDATES

#define ORB_REAL_ROTM(p, T)                                                                                     \
  extern "C" ORB_ROTM_DECL(orb_blas_##p##rotm, T, ORB_INT) { orb::thr::rotm<T>(n, x, incx, y, incy, param); }   \
  extern "C" ORB_ROTM_DECL(orb_blas_lp64_##p##rotm, T, int) {                                                   \
    orb::thr::call_lp64(orb_blas_##p##rotm, n, x, incx, y, incy, param);                                        \
  }
ORB_REAL_ROTM(s, float)
ORB_REAL_ROTM(d, double)
#undef ORB_REAL_ROTM

#define ORB_REAL_SCAL(name, T, R)                                                                               \
  extern "C" ORB_SCAL_DECL(orb_blas_##name, T, R, ORB_INT) { orb::thr::scal<T, R>(n, alpha, x, incx); }         \
  extern "C" ORB_SCAL_DECL(orb_blas_lp64_##name, T, R, int) {                                                   \
    orb::thr::call_lp64(orb_blas_##name, n, alpha, x, incx);                                                    \
  }
ORB_REAL_SCAL(csscal, ORB_Complex8, float)
ORB_REAL_SCAL(zdscal, ORB_Complex16, double)
#undef ORB_REAL_SCAL
