// The rectangle beside a diagonal block of a symmetric (Hermitian) matrix,
// multiplied both ways in one pass: the kernel of the threaded SYMV and HEMV.
//
// A worker of the threaded product owns a block of columns of the stored
// triangle: its diagonal block, and the m x k rectangle R beside it inside the
// triangle.  R stands for two products,
//
//   yr += alpha R xc        (the rows of R, as stored)
//   yc += alpha R^T xr      (its columns, as the mirrored triangle; R^H xr
//                            for a Hermitian matrix),
//
// and two GEMV calls would read R twice, where a symmetric product is bound by
// the memory it reads.  This kernel reads R once: four columns at a time, it
// walks their rows in vector chunks, adds the four columns times alpha xc to
// yr and accumulates each column times xr in a vector sum of its own, reduced
// at the end of the column.  A complex element is a pair of reals: with the
// pairs swapped (s) and alpha xc_j = sr + i si,
//
//   R_ij (sr + i si)       = R (sr, sr) + s(R) (-si, si)
//   conj(R_ij) xr_i        = sum of R xr over both reals
//                            + i (even reals of R s(xr) - odd reals of it)
//
// so the complex case runs on the same vectors with two swaps.  The sums
// along a column are grouped by vector lane, not in the sequential order:
// the threaded drivers do not use this kernel in strict reproducibility mode.
// Vectors are contiguous; nothing is checked (the drivers call it on pieces
// of a call they have checked).
#include <orb/internal/orb_kernels.h>

#include "precision.hpp"

#include <cstdint>
#include <cstring>

// The helpers pass vectors by value; they are always inlined into the
// clones below, so no vector crosses a call and the ABI note does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"
#define ORB_INLINE __attribute__((always_inline)) inline

namespace orb::core {

namespace {

template <class R>
struct Lanes;
template <>
struct Lanes<float> {
  typedef float V __attribute__((vector_size(64)));
  typedef int32_t I __attribute__((vector_size(64)));
  static constexpr I swap = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
};
template <>
struct Lanes<double> {
  typedef double V __attribute__((vector_size(64)));
  typedef int64_t I __attribute__((vector_size(64)));
  static constexpr I swap = {1, 0, 3, 2, 5, 4, 7, 6};
};

template <class R, bool Complex>
struct Rect {
  using L = Lanes<R>;
  using V = typename L::V;
  static constexpr int64_t kWidth = sizeof(V) / sizeof(R);

  ORB_INLINE static V load(const R *p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
  ORB_INLINE static void store(R *p, V v) { std::memcpy(p, &v, sizeof v); }
  ORB_INLINE static V splat(R r) { return V{} + r; }
  ORB_INLINE static V swapped(V v) { return __builtin_shuffle(v, L::swap); }
  ORB_INLINE static R sum(V v) {
    R s = 0;
    for (int64_t l = 0; l < kWidth; ++l) s += v[l];
    return s;
  }
  //! Even lanes minus odd lanes.
  ORB_INLINE static R alternating(V v) {
    R s = 0;
    for (int64_t l = 0; l < kWidth; l += 2) s += v[l] - v[l + 1];
    return s;
  }

  //! Columns [j, j + Q) of R, whose rows hold `reals` reals each.
  template <int Q>
  ORB_INLINE static void columns(int64_t reals, const R *alpha, const R *const *col, const R *xr, const R *xc, R *yr, R *yc) {
    constexpr int64_t c = Complex ? 2 : 1;
    R sr[Q], si[Q];
    V s1[Q], s2[Q], t[Q], u[Q];
    for (int q = 0; q < Q; ++q) {
      if constexpr (Complex) {
        sr[q] = alpha[0] * xc[c * q] - alpha[1] * xc[c * q + 1];
        si[q] = alpha[0] * xc[c * q + 1] + alpha[1] * xc[c * q];
        V neg_pos{};
        for (int64_t l = 0; l < kWidth; ++l) neg_pos[l] = l % 2 ? si[q] : -si[q];
        s2[q] = neg_pos;
      } else {
        sr[q] = alpha[0] * xc[q];
        si[q] = 0;
      }
      s1[q] = splat(sr[q]);
      t[q] = V{};
      u[q] = V{};
    }
    int64_t i = 0;
    for (; i + kWidth <= reals; i += kWidth) {
      V y = load(yr + i);
      const V x = load(xr + i);
      V xs{};
      if constexpr (Complex) xs = swapped(x);
      for (int q = 0; q < Q; ++q) {
        const V a = load(col[q] + i);
        y += a * s1[q];
        t[q] += a * x;
        if constexpr (Complex) {
          y += swapped(a) * s2[q];
          u[q] += a * xs;
        }
      }
      store(yr + i, y);
    }
    for (int q = 0; q < Q; ++q) {
      R re = sum(t[q]), im = Complex ? alternating(u[q]) : R{0};
      for (int64_t k = i; k < reals; k += c) {
        const R ar = col[q][k];
        if constexpr (Complex) {
          const R ai = col[q][k + 1];
          yr[k] += ar * sr[q] - ai * si[q];
          yr[k + 1] += ai * sr[q] + ar * si[q];
          re += ar * xr[k] + ai * xr[k + 1];
          im += ar * xr[k + 1] - ai * xr[k];
        } else {
          yr[k] += ar * sr[q];
          re += ar * xr[k];
        }
      }
      if constexpr (Complex) {
        yc[c * q] += alpha[0] * re - alpha[1] * im;
        yc[c * q + 1] += alpha[0] * im + alpha[1] * re;
      } else {
        yc[q] += alpha[0] * re;
      }
    }
  }

  ORB_INLINE static void run(int64_t m, int64_t k, const R *alpha, const R *a, int64_t lda, const R *xr, const R *xc, R *yr,
                  R *yc) {
    constexpr int64_t c = Complex ? 2 : 1;
    int64_t j = 0;
    for (; j + 4 <= k; j += 4) {
      const R *col[4] = {a + c * j * lda, a + c * (j + 1) * lda, a + c * (j + 2) * lda, a + c * (j + 3) * lda};
      columns<4>(c * m, alpha, col, xr, xc + c * j, yr, yc + c * j);
    }
    for (; j < k; ++j) {
      const R *col[1] = {a + c * j * lda};
      columns<1>(c * m, alpha, col, xr, xc + c * j, yr, yc + c * j);
    }
  }
};

// One body, compiled for the vector widths a processor may offer and chosen
// where the library is loaded.  Not under ThreadSanitizer: the loader runs
// the choosing code while relocating the library, before that runtime is
// ready, and the process dies there.
#if defined(__SANITIZE_THREAD__)
#define ORB_RECT_CLONES
#else
#define ORB_RECT_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#endif

#define ORB_RECT(p, R, complex)                                                                                 \
  ORB_RECT_CLONES void rect_##p(int64_t m, int64_t k, const R *alpha, const R *a, int64_t lda, const R *xr,          \
                                const R *xc, R *yr, R *yc) {                                                         \
    Rect<R, complex>::run(m, k, alpha, a, lda, xr, xc, yr, yc);                                                      \
  }
ORB_RECT(s, float, false)
ORB_RECT(d, double, false)
ORB_RECT(c, float, true)
ORB_RECT(z, double, true)

template <class T>
const typename Precision<T>::real_type *reals(const T *p) {
  return reinterpret_cast<const typename Precision<T>::real_type *>(p);
}
template <class T>
typename Precision<T>::real_type *reals(T *p) {
  return reinterpret_cast<typename Precision<T>::real_type *>(p);
}

}  // namespace

}  // namespace orb::core

#define ORB_XSYMV_RECT(p, name, T)                                                                           \
  extern "C" ORB_SYMV_RECT_DECL(orb_blas_x##name##_rect, T) {                                                 \
    if (*m <= 0 || *k <= 0) return;                                                                           \
    using namespace orb::core;                                                                                \
    rect_##p(*m, *k, reals(alpha), reals(a), *lda, reals(xr), reals(xc), reals(yr), reals(yc));             \
  }
ORB_XSYMV_RECT(s, ssymv, float)
ORB_XSYMV_RECT(d, dsymv, double)
ORB_XSYMV_RECT(c, chemv, ORB_Complex8)
ORB_XSYMV_RECT(z, zhemv, ORB_Complex16)
