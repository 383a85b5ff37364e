// The index searches i?amax and i?amin, with 64-bit integers and their lp64
// wrappers: the 1-based index of the first element of largest (smallest)
// magnitude, |re| + |im| for the complex types.  They never thread: a search
// makes one pass and keeps one candidate, and splitting it would cost more
// than the pass for any length a worker could take.
//
// n < 1 or incx < 1 answers 0 and n = 1 answers 1.  Up to 20 elements the
// search runs here, without a kernel call: an element replaces the best so
// far only when strictly larger (smaller), so ties keep the lowest index;
// a NaN answers at once, its own index (the first element's, 1, when that is
// NaN).  Longer vectors go to the sequential kernel.
#include "blas/level1_frame.hpp"
#include "lp64.hpp"

#include <cmath>

namespace orb::thr {

namespace {

//! The longest vector searched here instead of by the kernel.
constexpr ORB_INT kInlineSearch = 20;

template <class T, bool Largest>
ORB_INT index_search(const ORB_INT *n, const T *x, const ORB_INT *incx) {
  if (!n || !incx || *n < 1 || *incx < 1) return 0;
  if (*n == 1) return 1;
  if (*n > kInlineSearch) return (Largest ? Level1Kernels<T>::iamax : Level1Kernels<T>::iamin)(n, x, incx);
  auto best = abs1(x[0]);
  if (std::isnan(best)) return 1;
  ORB_INT found = 1;
  for (ORB_INT i = 1; i < *n; ++i) {
    const auto v = abs1(x[i * *incx]);
    if (std::isnan(v)) return i + 1;
    if (Largest ? v > best : v < best) {
      best = v;
      found = i + 1;
    }
  }
  return found;
}

}  // namespace

}  // namespace orb::thr

#define ORB_INDEX_SEARCHES(p, P, T)                                                                                \
  extern "C" ORB_INDEX_DECL(orb_blas_i##p##amax, T, ORB_INT) { return orb::thr::index_search<T, true>(n, x, incx); } \
  extern "C" ORB_INDEX_DECL(orb_blas_i##p##amin, T, ORB_INT) {                                                   \
    return orb::thr::index_search<T, false>(n, x, incx);                                                         \
  }                                                                                                              \
  extern "C" ORB_INDEX_DECL(orb_blas_lp64_i##p##amax, T, int) {                                                  \
    return static_cast<int>(orb::thr::call_lp64(orb_blas_i##p##amax, n, x, incx));                               \
  }                                                                                                              \
  extern "C" ORB_INDEX_DECL(orb_blas_lp64_i##p##amin, T, int) {                                                  \
    return static_cast<int>(orb::thr::call_lp64(orb_blas_i##p##amin, n, x, incx));                               \
  }
ORB_FOR_EACH_PRECISION(ORB_INDEX_SEARCHES)
#undef ORB_INDEX_SEARCHES
