// The threaded product of a CSR matrix's transpose with itself into a dense
// matrix, C := alpha A^T A + beta C, in s, d, c, z with 32- and 64-bit
// indices; layout 102 is a column-major C, any other a row-major one.
//
//   1. With a budget of 1 thread, the core's sequential kernel (alpha exactly
//      1, or any other, NaN included; row- or column-major) does it all.
//   2. Otherwise a parallel loop over the rows of C applies beta to each row
//      from its diagonal to its last column (0 clears them without reading),
//      the entries left of the diagonal untouched, as the sequential kernel
//      does.
//   3. Then 2T parts of A's rows, part p from p m / 2T to (p + 1) m / 2T, run
//      as a parallel loop with grain 1 and the automatic partitioner in a
//      context of their own: each row adds its outer product, val(k) val(l)
//      (times alpha) at (col(k), col(l)) for every ordered pair of its
//      entries.  Different rows hit the same entries of C, so each addition
//      is atomic: read, add, and compare-and-exchange the word (each part
//      of a complex value on its own), retrying with the value read until it
//      lands.  No lock, and no private copy of C: the result is exact up to
//      the order of the additions, which varies from run to run.
#include <orb/orb_service.h>

#include "runtime/loop.hpp"
#include "sparse_kernels.hpp"

#include <cstring>

namespace orb::thr {
namespace {

using sparse::SparseKernels;

constexpr rt::LoopShape kPartLoop{1, rt::Split::automatic, rt::Binding::own, nullptr};

//! *p += v, atomically, by compare-and-exchange of the value's bits.
template <class R, class Bits>
void atomic_add_bits(R *p, R v) {
  static_assert(sizeof(R) == sizeof(Bits), "one word");
  Bits *word = reinterpret_cast<Bits *>(p);
  Bits seen = __atomic_load_n(word, __ATOMIC_RELAXED), next;
  do {
    R sum;
    std::memcpy(&sum, &seen, sizeof sum);
    sum += v;
    std::memcpy(&next, &sum, sizeof next);
  } while (!__atomic_compare_exchange_n(word, &seen, next, true, __ATOMIC_RELAXED, __ATOMIC_RELAXED));
}
inline void atomic_add(float *p, float v) { atomic_add_bits<float, uint32_t>(p, v); }
inline void atomic_add(double *p, double v) { atomic_add_bits<double, uint64_t>(p, v); }
inline void atomic_add(ORB_Complex8 *p, ORB_Complex8 v) { atomic_add(&p->real, v.real), atomic_add(&p->imag, v.imag); }
inline void atomic_add(ORB_Complex16 *p, ORB_Complex16 v) { atomic_add(&p->real, v.real), atomic_add(&p->imag, v.imag); }

//! Beta on rows [first, last) of C, from each row's diagonal on.
template <class T, class I, bool ColMajor>
struct orb_sparse_syrkd_mult_beta_worker {
  I n, ldc;
  T beta;
  T *c;
  void operator()(int64_t first, int64_t last) const {
    using P = Precision<T>;
    const bool zero = P::is_zero(beta);
    for (int64_t r = first; r < last; ++r)
      for (int64_t j = r; j < n; ++j) {
        T &e = ColMajor ? c[r + j * ldc] : c[r * ldc + j];
        e = zero ? P::zero() : P::mul(beta, e);
      }
  }
};

//! The outer products of the rows of parts [first, last) of 2T, added into C.
template <class T, class I, bool ColMajor, bool Alpha>
struct orb_sparse_syrkd_t_worker {
  I m, ldc, base;
  int64_t parts;
  T alpha;
  const T *val;
  const I *col, *rs, *re;
  T *c;
  void operator()(int64_t first, int64_t last) const {
    using P = Precision<T>;
    for (int64_t p = first; p < last; ++p)
      for (int64_t i = p * m / parts; i < (p + 1) * m / parts; ++i)
        for (I k = rs[i] - base; k < re[i] - base; ++k) {
          const T vk = Alpha ? P::mul(alpha, val[k]) : val[k];
          const int64_t ck = col[k] - base;
          for (I l = rs[i] - base; l < re[i] - base; ++l) {
            const int64_t cl = col[l] - base;
            atomic_add(ColMajor ? &c[ck + cl * ldc] : &c[ck * ldc + cl], P::mul(vk, val[l]));
          }
        }
  }
};

template <class T, class I, bool ColMajor, bool Alpha>
void accumulate(I m, I ldc, I base, int64_t parts, T alpha, const T *val, const I *col, const I *rs, const I *re,
                T *c) {
  const orb_sparse_syrkd_t_worker<T, I, ColMajor, Alpha> body{m, ldc, base, parts, alpha, val, col, rs, re, c};
  rt::run_loop(parts, kPartLoop, body);
}

template <class T, class I, bool ColMajor>
void threaded(I m, I n, T alpha, const T *val, const I *col, const I *rs, const I *re, I base, T beta, T *c, I ldc,
              int64_t parts) {
  rt::run_loop(n, kPartLoop, orb_sparse_syrkd_mult_beta_worker<T, I, ColMajor>{n, ldc, beta, c});
  if (Precision<T>::is_one(alpha))
    accumulate<T, I, ColMajor, false>(m, ldc, base, parts, alpha, val, col, rs, re, c);
  else
    accumulate<T, I, ColMajor, true>(m, ldc, base, parts, alpha, val, col, rs, re, c);
}

template <class T, class I>
int32_t syrkd(I m, I n, T alpha, const T *val, const I *col, const I *rs, const I *re, I base, T beta, T *c, I ldc,
              int32_t layout) {
  using K = SparseKernels<T, I>;
  const bool col_major = layout == ORB_SPARSE_BLOCK_COL_MAJOR;
  const int threads = orb_serv_get_max_threads();
  if (threads == 1) {
    const bool one = K::is_one(alpha);
    const auto kernel = col_major ? (one ? K::syrkd_f : K::syrkd_alf_f) : (one ? K::syrkd_c : K::syrkd_alf_c);
    kernel(m, n, alpha, val, col, rs, re, base, beta, c, ldc);
    return ORB_SPARSE_OK;
  }
  const int64_t parts = 2 * static_cast<int64_t>(threads);
  if (col_major)
    threaded<T, I, true>(m, n, alpha, val, col, rs, re, base, beta, c, ldc, parts);
  else
    threaded<T, I, false>(m, n, alpha, val, col, rs, re, base, beta, c, ldc, parts);
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPARSE_SYRKD_ENTRY(p, T, I, w)                                                                        \
  extern "C" int32_t orb_sparse_##p##_csr__g_t_syrkd_##w(I m, I n, T alpha, const T *val, const I *col,           \
                                                         const I *rs, const I *re, I base, T beta, T *c, I ldc,    \
                                                         int32_t layout) {                                         \
    return orb::thr::syrkd<T, I>(m, n, alpha, val, col, rs, re, base, beta, c, ldc, layout);                       \
  }

ORB_SPARSE_EACH(ORB_SPARSE_SYRKD_ENTRY)
