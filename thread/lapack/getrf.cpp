// The threaded LU factorization A = P L U in s, d, c and z, with 64-bit
// integers and their lp64 wrappers.
//
// Below min(m, n) = 5000 the one-dimensional look-ahead scheme factors the
// matrix (getrf_1d.hpp); from 5000 on, the task graph (getrf_dag.hpp), whose
// recursive threaded panels keep the wider panels of large matrices off the
// critical path.  An illegal call goes, unchanged, to the sequential routine,
// which reports the first illegal argument once and writes nothing.
#include "lp64.hpp"
#include "lapack/getrf_1d.hpp"
#include "lapack/getrf_dag.hpp"

#include <orb/orb_lapack.h>

#include "blas_rules.hpp"

namespace orb::thr::lu {

namespace {

//! From this min(m, n) on, the task graph factors the matrix.
constexpr ORB_INT kGraphFrom = 5000;

template <class P>
void getrf(const ORB_INT *m, const ORB_INT *n, typename P::value_type *a, const ORB_INT *lda, ORB_INT *ipiv,
           ORB_INT *info) {
  if (rules::check_getrf(m, n, a, lda, ipiv, info) != 0) {
    P::xgetrf(m, n, a, lda, ipiv, info);
    return;
  }
  const LuMatrix<P> A{*m, *n, a, *lda, ipiv, info};
  if (A.min_mn() >= kGraphFrom) {
    tsq_like::xgetrf_generic(A, -1);
    return;
  }
  omp_like::getrf(A);
}

//! Pivots a stack buffer holds: the narrowest block of the lp64 fallback.
constexpr ORB_INT kStackPivots = 256;

//! The lp64 form without scratch: 64-bit pivots need twice the room of the
//! caller's 32-bit array, so the matrix is factored right-looking in blocks
//! of half the columns left, each block's pivots in the unused half of the
//! caller's array (or on the stack for the last 256), narrowed in place
//! (a forward copy from 8-byte to 4-byte entries never overwrites an entry
//! not yet read), then applied to the other columns by row swaps:
//!   min(m, n) = 2000 -> blocks of 1000, 500, 250, 250.
template <class P>
void getrf_lp64_in_place(const LuMatrix<P> &A, int *ipiv, int *info) {
  using T = typename P::value_type;
  const ORB_INT mn = A.min_mn();
  const T one = P::one(), minus = minus_one<P>();
  ORB_INT stack[kStackPivots];
  *info = 0;
  for (ORB_INT r0 = 0; r0 < mn;) {
    const ORB_INT left = mn - r0, h = left <= kStackPivots ? left : left / 2;
    ORB_INT *wide = h <= kStackPivots ? stack : reinterpret_cast<ORB_INT *>(ipiv + r0);
    const ORB_INT rows = A.m - r0, right = A.n - r0 - h;
    ORB_INT k = 0;
    getrf<P>(&rows, &h, A.at(r0, r0), &A.lda, wide, &k);
    if (*info == 0 && k > 0) *info = static_cast<int>(k + r0);
    for (ORB_INT i = 0; i < h; ++i) ipiv[r0 + i] = static_cast<int>(wide[i] + r0);
    for (ORB_INT i = r0; i < r0 + h; ++i) {
      const ORB_INT p = ipiv[i] - 1;
      if (p == i) continue;
      if (r0 > 0) P::swap(&r0, A.at(i, 0), &A.lda, A.at(p, 0), &A.lda);
      if (right > 0) P::swap(&right, A.at(i, r0 + h), &A.lda, A.at(p, r0 + h), &A.lda);
    }
    if (right > 0) {
      P::trsm("L", "L", "N", "U", &h, &right, &one, A.at(r0, r0), &A.lda, A.at(r0, r0 + h), &A.lda);
      const ORB_INT below = rows - h;
      if (below > 0)
        P::gemm("N", "N", &below, &right, &h, &minus, A.at(r0 + h, r0), &A.lda, A.at(r0, r0 + h), &A.lda,
                &one, A.at(r0 + h, r0 + h), &A.lda);
    }
    r0 += h;
  }
}

//! The lp64 form: sizes widened, pivots factored into 64-bit scratch and
//! narrowed into the caller's array.
template <class P>
void getrf_lp64(const int *m, const int *n, typename P::value_type *a, const int *lda, int *ipiv, int *info) {
  const Widened wm = widen(m), wn = widen(n), wlda = widen(lda);
  ORB_INT wide_info = 0;
  if (rules::check_getrf<ORB_INT>(wm, wn, a, wlda, ipiv, info) != 0) {
    P::xgetrf(wm, wn, a, wlda, reinterpret_cast<ORB_INT *>(ipiv), info ? &wide_info : nullptr);
    if (info) *info = static_cast<int>(wide_info);
    return;
  }
  const ORB_INT mn = std::min<ORB_INT>(*m, *n);
  *info = 0;
  if (mn < 1) return;
  ORB_INT *wide = static_cast<ORB_INT *>(orb_serv_allocate(mn * ORB_INT{sizeof(ORB_INT)}, 128));
  if (!wide) {
    getrf_lp64_in_place(LuMatrix<P>{*m, *n, a, *lda, nullptr, nullptr}, ipiv, info);
    return;
  }
  getrf<P>(wm, wn, a, wlda, wide, &wide_info);
  for (ORB_INT i = 0; i < mn; ++i) ipiv[i] = static_cast<int>(wide[i]);
  *info = static_cast<int>(wide_info);
  orb_serv_deallocate(wide);
}

}  // namespace

}  // namespace orb::thr::lu

#define ORB_GETRF_ENTRIES(p, P, T)                                                           \
  extern "C" ORB_GETRF_DECL(orb_lapack_##p##getrf, T, ORB_INT) {                             \
    orb::thr::lu::getrf<orb::thr::lu::LuPrecision<T>>(m, n, a, lda, ipiv, info);             \
  }                                                                                          \
  extern "C" ORB_GETRF_DECL(orb_lapack_lp64_##p##getrf, T, int) {                            \
    orb::thr::lu::getrf_lp64<orb::thr::lu::LuPrecision<T>>(m, n, a, lda, ipiv, info);        \
  }

ORB_FOR_EACH_PRECISION(ORB_GETRF_ENTRIES)
