// What both threaded LU schemes do to the matrix, written once: the core
// routines of each precision, one step of the right-looking update applied to
// a run of columns, the bookkeeping after a block was factored on its own
// (global pivots, the first zero pivot), and the interchanges that the later
// panels leave for the columns left of them.
//
// Numbering: the matrix is m x n, nb columns per block column; step s is the
// update with panel s (columns s nb .. s nb + nb - 1, its pivots in
// ipiv[s nb .. s nb + nb - 1], 1-based and global once the panel is done).
#pragma once

#include "runtime/loop.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/internal/orb_lapack_kernels.h>
#include <orb/orb_service.h>

#include "precision.hpp"

#include <algorithm>

namespace orb::thr::lu {

//! The core routines of one precision and the name its tuning answers go by.
template <class T>
struct LuPrecision;

#define ORB_LU_PRECISION(p, P, T)                                      \
  template <>                                                          \
  struct LuPrecision<T> : ::orb::Precision<T> {                        \
    static constexpr auto name = routine("GETRF");                     \
    static constexpr auto getf2 = &orb_lapack_##p##getf2;              \
    static constexpr auto xgetrf = &orb_lapack_x##p##getrf;            \
    static constexpr auto xgetrf_local = &orb_lapack_x##p##getrf_local; \
    static constexpr auto getrf_local = &orb_lapack_##p##getrf_local;  \
    static constexpr auto laswp = &orb_lapack_##p##laswp;              \
    static constexpr auto trsm = &orb_blas_x##p##trsm;                 \
    static constexpr auto gemm = &orb_blas_x##p##gemm;                 \
    static constexpr auto gemm_internal = &orb_blas_x##p##gemm_internal; \
    static constexpr auto swap = &orb_blas_x##p##swap;                 \
  };
ORB_FOR_EACH_PRECISION(ORB_LU_PRECISION)
#undef ORB_LU_PRECISION

//! The tuning answer `ispec` for an m x n factorization in precision P.
template <class P>
ORB_INT tuning(ORB_INT ispec, ORB_INT m, ORB_INT n) {
  const ORB_INT none = -1;
  return orb_lapack_ilaenv(&ispec, P::name.c_str(), " ", &m, &n, &none, &none);
}

//! -1 in precision P: the factor of every trailing product.
template <class P>
typename P::value_type minus_one() {
  typename P::value_type v{};
  if constexpr (P::is_complex)
    v.real = -1;
  else
    v = -1;
  return v;
}

//! The caller's matrix, pivots and info.
template <class P>
struct LuMatrix {
  using T = typename P::value_type;
  ORB_INT m, n;
  T *a;
  ORB_INT lda;
  ORB_INT *ipiv;
  ORB_INT *info;

  T *at(ORB_INT i, ORB_INT j) const { return a + i + j * lda; }
  ORB_INT min_mn() const { return std::min(m, n); }
};

//! How the rank-nb product of a step is computed: one kernel call, or cut into
//! four row slices run as a nested parallel loop (for the panel's own column,
//! on the critical path).
enum class Product { whole, four_slices };

//! Rows of the four slices are multiples of 12, a height every kernel of the
//! provider computes without a remainder loop:
//!   1000 rows -> 84 units of 12 -> 21 units each -> 252, 252, 252, 244 rows.
constexpr ORB_INT kSliceRows = 12;
constexpr int kSlices = 4;

//! Step s of the update applied to the w columns from c0: the panel's
//! interchanges, the triangular solve with its unit lower diagonal block, and
//! the product with the block column below it.
template <class P>
void apply_step(const LuMatrix<P> &A, ORB_INT nb, ORB_INT s, ORB_INT c0, ORB_INT w, Product product) {
  using T = typename P::value_type;
  if (w < 1) return;
  const ORB_INT kk = s * nb, k1 = kk + 1, k2 = kk + nb, inc = 1;
  const T one = P::one(), minus = minus_one<P>();
  P::laswp(&w, A.at(0, c0), &A.lda, &k1, &k2, A.ipiv, &inc);
  P::trsm("L", "L", "N", "U", &nb, &w, &one, A.at(kk, kk), &A.lda, A.at(kk, c0), &A.lda);
  const ORB_INT rows = A.m - kk - nb;
  if (rows < 1) return;
  const auto slice = [&](ORB_INT r0, ORB_INT count) {
    if (count < 1) return;
    P::gemm("N", "N", &count, &w, &nb, &minus, A.at(kk + nb + r0, kk), &A.lda, A.at(kk, c0), &A.lda, &one,
            A.at(kk + nb + r0, c0), &A.lda);
  };
  if (product == Product::whole) {
    slice(0, rows);
    return;
  }
  const ORB_INT units = (rows + kSliceRows - 1) / kSliceRows;
  rt::run_loop(kSlices, rt::LoopShape{1, rt::Split::automatic}, [&](int64_t begin, int64_t end) {
    for (int64_t i = begin; i < end; ++i) {
      ORB_INT first = 0, count = 0;
      orb_serv_divbythreadsnb(units, kSlices, i, &first, &count);
      const ORB_INT r0 = first * kSliceRows;
      slice(r0, std::min(count * kSliceRows, rows - r0));
    }
  });
}

//! After the block starting at row and column r0 was factored on its own
//! with local info k: the first zero pivot of the whole matrix (info is
//! written while it is still 0; blocks finish in column order) and the
//! block's pivots made global.
template <class P>
void settle_block(const LuMatrix<P> &A, ORB_INT r0, ORB_INT rows, ORB_INT cols, ORB_INT k) {
  if (*A.info == 0 && k > 0) *A.info = k + r0;
  const ORB_INT pivots = std::min(rows, cols);
  for (ORB_INT i = r0; i < r0 + pivots; ++i) A.ipiv[i] += r0;
}

//! The interchanges each block column left of the trailing block still
//! owes: those of every later panel and of the trailing block, rows
//! (c + 1) nb + 1 .. min(m, n) for block column c < blocks.  The updates of
//! a step never read the columns of earlier panels, so their rows are put in
//! order once, at the end, in parallel over block columns.
template <class P>
void swap_left_columns(const LuMatrix<P> &A, ORB_INT nb, ORB_INT blocks) {
  rt::Affinity affinity;
  rt::LoopShape shape{1, rt::Split::affinity, rt::Binding::own, affinity.get()};
  rt::run_loop(blocks, shape, [&](int64_t begin, int64_t end) {
    for (int64_t c = begin; c < end; ++c) {
      const ORB_INT k1 = (c + 1) * nb + 1, k2 = A.min_mn(), inc = 1;
      P::laswp(&nb, A.at(0, c * nb), &A.lda, &k1, &k2, A.ipiv, &inc);
    }
  });
}

//! Factors the trailing block from column j0 = nb x steps with the core's
//! routine and settles it; false when the routine failed.
template <class P>
bool factor_trailing(const LuMatrix<P> &A, ORB_INT j0) {
  const ORB_INT rows = A.m - j0, cols = A.n - j0;
  ORB_INT k = 0;
  if (P::getrf_local(&rows, &cols, A.at(j0, j0), &A.lda, A.ipiv + j0, &k) != 0) return false;
  settle_block(A, j0, rows, cols, k);
  return true;
}

}  // namespace orb::thr::lu
