// Numerical phases of the direct solver over the supernodal layout (kst.hpp),
// in s, d, c and z: the Cholesky factorization A(p, p) = L L^H and the solve.
//
// The factorization is right-looking over supernodes in order: the caller's
// values are scattered into the blocks (mirrored entries conjugated), then
// for each supernode, columns first .. first + w - 1 with r rows,
//   L11 := chol(A11)              the provider's potrf, w x w
//   L21 := A21 L11^-H             trsm, (r - w) x w
//   C   := L21 L21^H              syrk / herk, lower, (r - w) x (r - w),
//                                 in panels of kPanel columns (gemm below
//                                 the panel's diagonal block)
// and C is subtracted from the supernodes that own its columns: the rows of
// L21 are a subset of each target's rows, found through a map from row to
// position filled once per target.  A pivot that is not positive stops the
// factorization (the caller's row is reported); one below sqrt(eps) times
// the largest diagonal entry of A is counted as tiny.
//
// The solve works on a permuted copy Y of the right-hand sides (n x nrhs):
// supernodes of at most kInline columns by plain loops; wider ones forward,
// in order, Y1 := L11^-1 Y1 (trsm) and
// T := L21 Y1 (gemm), T subtracted from Y at the supernode's rows below;
// backward, in reverse order, T := Y at those rows, Y1 -= L21^H T (gemm),
// Y1 := L11^-H Y1 (trsm).  X is written only at the end.
#include "kst/kst.hpp"

#include "blas/provider.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/internal/orb_kst_kernels.h>

#include "precision.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <type_traits>

namespace orb::kst {
namespace {

using orb::core::provider;
using orb::core::ProviderPotrfFn;

//! Columns of the update matrix formed at a time: its scratch holds at most
//! this many columns of the largest supernode's rows below its diagonal block.
constexpr int64_t kPanel = 256;

//! The dense kernels of one precision.
template <class T>
struct Dense;

#define ORB_KST_DENSE(p, P, T)                                                                                  \
  template <>                                                                                                   \
  struct Dense<T> {                                                                                             \
    static ProviderPotrfFn<T> potrf() { return provider().p##potrf; }                                          \
    static void trsm(const char *side, const char *trans, ORB_INT m, ORB_INT n, const T *a, ORB_INT lda, T *b, \
                     ORB_INT ldb) {                                                                             \
      const T one = Precision<T>::one();                                                                        \
      orb_blas_x##p##trsm(side, "L", trans, "N", &m, &n, &one, a, &lda, b, &ldb);                               \
    }                                                                                                           \
    static void gemm(const char *ta, ORB_INT m, ORB_INT n, ORB_INT k, T alpha, const T *a, ORB_INT lda,         \
                     const T *b, ORB_INT ldb, T beta, T *c, ORB_INT ldc) {                                      \
      orb_blas_x##p##gemm(ta, "N", &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);                      \
    }                                                                                                           \
    /* C := A B^H, with B the first n rows of A (m x k), C m x n. */                                            \
    static void gemm_nc(ORB_INT m, ORB_INT n, ORB_INT k, const T *a, ORB_INT lda, T *c) {                      \
      const T one = Precision<T>::one(), zero = Precision<T>::zero();                                           \
      orb_blas_x##p##gemm("N", "C", &m, &n, &k, &one, a, &lda, a, &lda, &zero, c, &m);                         \
    }                                                                                                           \
  };
ORB_FOR_EACH_PRECISION(ORB_KST_DENSE)
#undef ORB_KST_DENSE

//! C := A A^H, lower triangle (A is n x k): syrk for real, herk for complex.
template <class T>
void rank_update(ORB_INT n, ORB_INT k, const T *a, ORB_INT lda, T *c) {
  using R = typename Precision<T>::real_type;
  const R one = 1, zero = 0;
  if constexpr (std::is_same_v<T, float>)
    orb_blas_xssyrk("L", "N", &n, &k, &one, a, &lda, &zero, c, &n);
  else if constexpr (std::is_same_v<T, double>)
    orb_blas_xdsyrk("L", "N", &n, &k, &one, a, &lda, &zero, c, &n);
  else if constexpr (std::is_same_v<T, ORB_Complex8>)
    orb_blas_xcherk("L", "N", &n, &k, &one, a, &lda, &zero, c, &n);
  else
    orb_blas_xzherk("L", "N", &n, &k, &one, a, &lda, &zero, c, &n);
}

template <class T>
inline double real_part(const T &v) {
  if constexpr (Precision<T>::is_complex)
    return v.real;
  else
    return v;
}

template <class T>
inline void subtract(T &x, const T &y) {
  if constexpr (Precision<T>::is_complex) {
    x.real -= y.real;
    x.imag -= y.imag;
  } else {
    x -= y;
  }
}

//! v times the real number f.
template <class T>
inline T scaled(const T &v, double f) {
  using R = typename Precision<T>::real_type;
  if constexpr (Precision<T>::is_complex)
    return T{static_cast<R>(v.real * f), static_cast<R>(v.imag * f)};
  else
    return static_cast<R>(v * f);
}

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

template <class T>
int32_t factor(orb_kestrel_state *h, const T *a) {
  using R = typename Precision<T>::real_type;
  const auto t0 = std::chrono::steady_clock::now();
  if (!h) return kBadInput;
  Symbolic &s = h->symbolic;
  if (!a && s.input_entries > 0) return kBadInput;
  const int64_t total = s.value_ptr[s.supernodes] - 1;
  Owned<T> values(total), update(s.largest_update * std::min(s.largest_update, kPanel));
  Owned<int64_t> map(s.n);
  if (!values || !update || !map) return kOutOfMemory;
  std::fill(values.get(), values.get() + total, Precision<T>::zero());
  double largest_diagonal = 0;
  for (int64_t k = 0; k < s.input_entries; ++k) {
    const int64_t d = s.destination[k];
    if (d < 0) continue;
    const T v = (d & 1) ? Precision<T>::conj(a[k]) : a[k];
    values[d >> 1] = Precision<T>::add(values[d >> 1], v);
  }
  for (int64_t t = 0; t < s.supernodes; ++t) {
    const int64_t w = s.super[t + 1] - s.super[t], r = s.row_ptr[t + 1] - s.row_ptr[t];
    const T *block = values.get() + (s.value_ptr[t] - 1);
    for (int64_t c = 0; c < w; ++c) largest_diagonal = std::max(largest_diagonal, std::abs(real_part(block[c * r + c])));
  }
  const double tiny = std::sqrt(static_cast<double>(std::numeric_limits<R>::epsilon())) * largest_diagonal;

  int64_t tiny_pivots = 0, mapped = -1;
  for (int64_t t = 0; t < s.supernodes; ++t) {
    const int64_t first = s.super[t] - 1;
    const int64_t w = s.super[t + 1] - s.super[t], r = s.row_ptr[t + 1] - s.row_ptr[t], m = r - w;
    const int64_t *rows = s.rows.get() + (s.row_ptr[t] - 1);
    T *block = values.get() + (s.value_ptr[t] - 1);
    ORB_INT info = 0;
    Dense<T>::potrf()("L", &w, block, &r, &info, 1);
    if (info > 0) {  // the values are not those of a positive definite matrix: no factor is left
      if (h->values) orb_serv_free(h->values);
      h->values = nullptr;
      h->value_type = 0;
      s.stats.failed_row = s.perm[first + info - 1];
      return kNotPositiveDefinite;
    }
    for (int64_t c = 0; c < w; ++c) {
      const double d = real_part(block[c * r + c]);
      if (d * d <= tiny) ++tiny_pivots;
    }
    if (m == 0) continue;
    Dense<T>::trsm("R", "C", m, w, block, r, block + w, r);
    // C := L21 L21^H a panel of columns at a time: rows j0 .. m - 1 of
    // columns j0 .. j0 + jb - 1, from one product.
    for (int64_t j0 = 0; j0 < m; j0 += kPanel) {
      const int64_t jb = std::min(kPanel, m - j0), height = m - j0;
      T *c = update.get();
      if (jb == height)
        rank_update(jb, w, block + w + j0, r, c);
      else
        Dense<T>::gemm_nc(height, jb, w, block + w + j0, r, c);
      // Subtract column j of the panel from the supernode owning row rows[w + j0 + j].
      for (int64_t j = 0; j < jb; ++j) {
        const int64_t col = rows[w + j0 + j] - 1;
        const int64_t target = s.column_of[col];
        const int64_t tr = s.row_ptr[target + 1] - s.row_ptr[target];
        if (target != mapped) {
          const int64_t *trows = s.rows.get() + (s.row_ptr[target] - 1);
          for (int64_t i = 0; i < tr; ++i) map[trows[i] - 1] = i;
          mapped = target;
        }
        T *dest = values.get() + (s.value_ptr[target] - 1) + (col - (s.super[target] - 1)) * tr;
        const T *src = c + j * height;
        const int64_t *below = rows + w + j0;
        for (int64_t i = j; i < height; ++i) subtract(dest[map[below[i] - 1]], src[i]);
      }
    }
  }
  // Success: the factor replaces any earlier one.
  if (h->values) orb_serv_free(h->values);
  h->values = values.take();
  h->value_type = Precision<T>::lower;
  s.stats.tiny_pivots = tiny_pivots;
  s.stats.failed_row = -1;
  s.stats.seconds_factor = seconds_since(t0);
  return kSuccess;
}

//! Supernodes of at most this many columns are solved without kernel calls:
//! for them a call costs more than its arithmetic.
constexpr int64_t kInline = 4;

//! Forward step of a narrow supernode (w columns, r rows `rows`, one-based),
//! right-hand side by right-hand side: each solved entry, divided by its
//! diagonal, is subtracted down its column.  `own` is Y at the first column.
template <class T>
void forward_inline(int64_t w, int64_t r, const T *block, const int64_t *rows, T *own, T *y, int64_t n,
                    int64_t nrhs) {
  for (int64_t c = 0; c < nrhs; ++c, own += n, y += n)
    for (int64_t j = 0; j < w; ++j) {
      const T *col = block + j * r;
      const T v = scaled(own[j], 1.0 / real_part(col[j]));
      own[j] = v;
      for (int64_t i = j + 1; i < r; ++i) subtract(y[rows[i] - 1], Precision<T>::mul(col[i], v));
    }
}

//! Backward step of a narrow supernode: each entry, last first, less the
//! conjugated column below its diagonal times the entries already solved.
template <class T>
void backward_inline(int64_t w, int64_t r, const T *block, const int64_t *rows, T *own, const T *y, int64_t n,
                     int64_t nrhs) {
  for (int64_t c = 0; c < nrhs; ++c, own += n, y += n)
    for (int64_t j = w - 1; j >= 0; --j) {
      const T *col = block + j * r;
      T v = own[j];
      for (int64_t i = j + 1; i < r; ++i) subtract(v, Precision<T>::mul(Precision<T>::conj(col[i]), y[rows[i] - 1]));
      own[j] = scaled(v, 1.0 / real_part(col[j]));
    }
}

//! Supernode t of the layout as the solves read it: its first column, width
//! w, row count r (the diagonal block's w rows first), the m = r - w rows
//! below, its row indices (one-based) and its column-major values.
template <class T>
struct SupernodeView {
  SupernodeView(const Symbolic &s, const T *values, int64_t t)
      : first(s.super[t] - 1),
        w(s.super[t + 1] - s.super[t]),
        r(s.row_ptr[t + 1] - s.row_ptr[t]),
        m(r - w),
        rows(s.rows.get() + (s.row_ptr[t] - 1)),
        block(values + (s.value_ptr[t] - 1)) {}
  int64_t first, w, r, m;
  const int64_t *rows;
  const T *block;
};

template <class T>
int32_t solve(orb_kestrel_state *h, int64_t nrhs, const T *b, int64_t ldb, T *x, int64_t ldx) {
  const auto t0 = std::chrono::steady_clock::now();
  if (!h) return kBadInput;
  const Symbolic &s = h->symbolic;
  const int64_t n = s.n;
  if (nrhs < 0 || ldb < std::max<int64_t>(1, n) || ldx < std::max<int64_t>(1, n)) return kBadInput;
  if (nrhs > 0 && n > 0 && (!b || !x)) return kBadInput;
  if (!h->values || h->value_type != Precision<T>::lower) return kWrongPhase;
  if (nrhs == 0 || n == 0) return kSuccess;
  int64_t cells = 0, scratch = 0;
  if (__builtin_mul_overflow(n, nrhs, &cells) || __builtin_mul_overflow(s.largest_update, nrhs, &scratch))
    return kOutOfMemory;
  Owned<T> y(cells), tmp(scratch);
  if (!y || !tmp) return kOutOfMemory;
  const T *values = static_cast<const T *>(h->values);
  for (int64_t c = 0; c < nrhs; ++c)
    for (int64_t k = 0; k < n; ++k) y[c * n + k] = b[c * ldb + s.perm[k]];
  const T one = Precision<T>::one(), zero = Precision<T>::zero();
  T minus_one = zero;
  subtract(minus_one, one);
  for (int64_t t = 0; t < s.supernodes; ++t) {
    const SupernodeView<T> v(s, values, t);
    const int64_t first = v.first, w = v.w, r = v.r, m = v.m;
    const int64_t *rows = v.rows + w;
    const T *block = v.block;
    if (w <= kInline) {
      forward_inline(w, r, block, v.rows, y.get() + first, y.get(), n, nrhs);
      continue;
    }
    Dense<T>::trsm("L", "N", w, nrhs, block, r, y.get() + first, n);
    if (m == 0) continue;
    Dense<T>::gemm("N", m, nrhs, w, one, block + w, r, y.get() + first, n, zero, tmp.get(), m);
    for (int64_t c = 0; c < nrhs; ++c)
      for (int64_t i = 0; i < m; ++i) subtract(y[c * n + rows[i] - 1], tmp[c * m + i]);
  }
  for (int64_t t = s.supernodes - 1; t >= 0; --t) {
    const SupernodeView<T> v(s, values, t);
    const int64_t first = v.first, w = v.w, r = v.r, m = v.m;
    const int64_t *rows = v.rows + w;
    const T *block = v.block;
    if (w <= kInline) {
      backward_inline(w, r, block, v.rows, y.get() + first, y.get(), n, nrhs);
      continue;
    }
    if (m > 0) {
      for (int64_t c = 0; c < nrhs; ++c)
        for (int64_t i = 0; i < m; ++i) tmp[c * m + i] = y[c * n + rows[i] - 1];
      Dense<T>::gemm("C", w, nrhs, m, minus_one, block + w, r, tmp.get(), m, one, y.get() + first, n);
    }
    Dense<T>::trsm("L", "C", w, nrhs, block, r, y.get() + first, n);
  }
  for (int64_t c = 0; c < nrhs; ++c)
    for (int64_t k = 0; k < n; ++k) x[c * ldx + s.perm[k]] = y[c * n + k];
  // Solves may run at once on one handle: the time is stored whole.
  const double took = seconds_since(t0);
  __atomic_store(&h->symbolic.stats.seconds_solve, &took, __ATOMIC_RELAXED);
  return kSuccess;
}

}  // namespace
}  // namespace orb::kst

using orb_kst_state = orb_kestrel_state;

extern "C" int32_t orb_kst_analyse(orb_kestrel_handle *handle, int64_t n, const void *row_ptr,
                                   const void *col_index, const orb_kestrel_options *options) {
  const auto t0 = std::chrono::steady_clock::now();
  if (!handle || !options) return orb::kst::kBadInput;
  if (options->index_bits != 32 && options->index_bits != 64) return orb::kst::kBadInput;
  auto *h = static_cast<orb_kestrel_state *>(orb_serv_malloc(sizeof(orb_kestrel_state), 128));
  if (!h) return orb::kst::kOutOfMemory;
  new (h) orb_kestrel_state();
  const int32_t st =
      options->index_bits == 32
          ? orb::kst::analyse(n, static_cast<const int32_t *>(row_ptr), static_cast<const int32_t *>(col_index),
                              *options, h->symbolic)
          : orb::kst::analyse(n, static_cast<const int64_t *>(row_ptr), static_cast<const int64_t *>(col_index),
                              *options, h->symbolic);
  if (st != orb::kst::kSuccess) {
    orb_kst_destroy(h);
    return st;
  }
  h->symbolic.stats.seconds_analyse = orb::kst::seconds_since(t0);
  *handle = h;
  return st;
}

#define ORB_KST_ENTRIES(p, P, T)                                                                           \
  extern "C" int32_t orb_kst_##p##_factor(orb_kestrel_handle handle, const T *values) {                     \
    return orb::kst::factor<T>(handle, values);                                                             \
  }                                                                                                        \
  extern "C" int32_t orb_kst_##p##_solve(orb_kestrel_handle handle, int64_t nrhs, const T *b, int64_t ldb, \
                                         T *x, int64_t ldx) {                                              \
    return orb::kst::solve<T>(handle, nrhs, b, ldb, x, ldx);                                                \
  }
ORB_FOR_EACH_PRECISION(ORB_KST_ENTRIES)
#undef ORB_KST_ENTRIES

extern "C" int32_t orb_kst_get_statistics(orb_kestrel_handle handle, orb_kestrel_statistics *statistics) {
  if (!handle || !statistics) return orb::kst::kBadInput;
  *statistics = handle->symbolic.stats;
  return orb::kst::kSuccess;
}

extern "C" void orb_kst_destroy(orb_kestrel_handle handle) {
  if (!handle) return;
  if (handle->values) orb_serv_free(handle->values);
  handle->~orb_kestrel_state();
  orb_serv_free(handle);
}
