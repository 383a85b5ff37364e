// The level-2 drivers that read one triangle of A: SYMV and HEMV, TRMV, and
// the blocked TRSV.  The cuts and their worked tables are in
// partition/triangle_matvec.cpp.
//
//   SYMV, HEMV   column blocks of the stored triangle of equal area: a
//                worker's diagonal block is one call of the kernel, the
//                rectangle beside it one call of the core's ?symv_rect
//                (?hemv_rect), which reads it once for both of its products;
//                every worker writes a private vector of n entries, and the
//                calling thread adds them in worker order into beta y.
//   TRMV         the entries of the result in blocks of equal area: a worker
//                takes its entries in sub-blocks of 128, each multiplied in
//                place by its diagonal block (one TRMV); the rest of its
//                rows of op(A) are GEMV calls of the core against a copy of
//                the original x.
//   TRSV         diagonal blocks solved one after the other by the kernel, the
//                rectangles between them subtracted through the threaded GEMV.
//
// Sums are grouped by the cut, so in strict reproducibility mode (and at a
// budget of 1, without scratch, for an illegal call or one with nothing to
// do) each routine is one call of its sequential kernel.
#pragma once

#include "blas/level2_threaded.hpp"
#include "blas/level3_frame.hpp"
#include "partition/triangle_matvec.hpp"

#include <algorithm>
#include <cstring>

namespace orb::thr {

//! The core's rectangle kernel of SYMV (HEMV for the complex types).
template <class T>
constexpr auto symv_rect_kernel() {
  if constexpr (std::is_same_v<T, float>) return &orb_blas_xssymv_rect;
  else if constexpr (std::is_same_v<T, double>) return &orb_blas_xdsymv_rect;
  else if constexpr (std::is_same_v<T, ORB_Complex8>) return &orb_blas_xchemv_rect;
  else return &orb_blas_xzhemv_rect;
}

//! The core's sequential GEMV (core = true) or the threaded one.
template <class T, bool core>
constexpr auto gemv_kernel() {
  if constexpr (std::is_same_v<T, float>) return core ? &orb_blas_xsgemv : &orb_blas_sgemv;
  else if constexpr (std::is_same_v<T, double>) return core ? &orb_blas_xdgemv : &orb_blas_dgemv;
  else if constexpr (std::is_same_v<T, ORB_Complex8>) return core ? &orb_blas_xcgemv : &orb_blas_cgemv;
  else return core ? &orb_blas_xzgemv : &orb_blas_zgemv;
}

//! Whether a kernel of the TRMV argument list is a solve.
template <auto Kernel>
inline constexpr bool is_solve = false;
template <>
inline constexpr bool is_solve<&orb_blas_xstrsv> = true;
template <>
inline constexpr bool is_solve<&orb_blas_xdtrsv> = true;
template <>
inline constexpr bool is_solve<&orb_blas_xctrsv> = true;
template <>
inline constexpr bool is_solve<&orb_blas_xztrsv> = true;

//! Scratch for one call, released when it goes out of scope.
template <class T>
struct Scratch {
  explicit Scratch(int64_t count) : p(static_cast<T *>(orb_serv_allocate(count * int64_t{sizeof(T)}, 128))) {}
  ~Scratch() {
    if (p) orb_serv_deallocate(p);
  }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  T *p;
};

//! The n logical entries of x (increment inc) into the contiguous `to`.
template <class T>
void gather(int64_t n, const T *x, int64_t inc, T *to) {
  const int64_t step = inc < 0 ? -inc : inc;
  for (int64_t i = 0; i < n; ++i) to[i] = x[(inc < 0 ? n - 1 - i : i) * step];
}

inline bool lower_letter(const void *uplo) { return (*static_cast<const char *>(uplo) | 0x20) == 'l'; }

template <class T, class S>
struct Level2Driver<rules::Symv, T, S> {
  // The record: uplo in word2, n, alpha, a and lda, the contiguous x in b,
  // the workers' vectors in scratch, each part_ld = n entries long.
  template <auto Kernel>
  static int64_t worker(int64_t i, int64_t w, blas_args_t *r) {
    T *y = static_cast<T *>(r->scratch) + i * r->part_ld;
    std::fill(y, y + r->n, T{});
    const TriangleBlock b = triangle_block(r, i, w);
    if (b.cols.empty()) return 0;
    const T *x = static_cast<const T *>(r->b), *a = static_cast<const T *>(r->a);
    const T *alpha = static_cast<const T *>(r->alpha), zero{};
    const ORB_INT count = b.cols.size(), height = b.rows.size(), one = 1;
    const int64_t j0 = b.cols.begin;
    Kernel(static_cast<const char *>(r->word2), &count, alpha, a + j0 + j0 * r->lda, &r->lda, x + j0, &one, &zero,
           y + j0, &one);
    if (height > 0)
      symv_rect_kernel<T>()(&height, &count, alpha, a + b.rows.begin + j0 * r->lda, &r->lda, x + b.rows.begin, x + j0,
                            y + b.rows.begin, y + j0);
    return 0;
  }

  template <auto Kernel>
  static void run(ORB_L2_PARAMS_Symv(T, S, ORB_INT)) {
    const auto whole = [&] { Kernel(ORB_L2_ARGS_Symv); };
    const bool as_it_came = !worth_cutting<rules::Symv, T, S>(alpha && is_zero(*alpha), beta && is_one(*beta),
                                                             ORB_L2_ARGS_Symv) ||
                            is_zero(*alpha);
    run_cut(
        as_it_came, [&](int64_t budget) { return triangle_matvec_workers(*n, budget); }, whole,
        [&](int64_t w) {
          const bool gathered = *incx != 1;
          Scratch<T> scratch(w * *n + (gathered ? *n : 0));
          if (!scratch.p) return whole();
          const T *xs = x;
          if (gathered) gather(*n, x, *incx, scratch.p + w * *n), xs = scratch.p + w * *n;
          blas_args_t r{};
          r.word2 = uplo, r.n = *n, r.alpha = alpha, r.a = a, r.lda = *lda, r.b = xs;
          r.scratch = scratch.p, r.part_ld = *n;
          orb_blas_invoke_thin_thread(w, worker<Kernel>, &r, nullptr);
          combine(*n, w, scratch.p, *beta, y, *incy);
        });
  }

  //! y := beta y + the w partial vectors, added in worker order.
  static void combine(int64_t n, int64_t w, const T *parts, T beta, T *y, int64_t inc) {
    const int64_t step = inc < 0 ? -inc : inc;
    const bool keep = !is_zero(beta);
    for (int64_t i = 0; i < n; ++i) {
      T sum = parts[i];
      for (int64_t p = 1; p < w; ++p) sum = add(sum, parts[p * n + i]);
      T &yi = y[(inc < 0 ? n - 1 - i : i) * step];
      yi = keep ? add(mul(beta, yi), sum) : sum;
    }
  }
};

template <class T, class S>
struct Level2Driver<rules::Trmv, T, S> {
  // The record of TRMV: uplo in word2, trans in transa, diag in transb, n, a
  // and lda, the copy of the original x in b, the caller's x in c with its
  // increment in ldc.
  template <auto Kernel>
  static int64_t worker(int64_t i, int64_t w, blas_args_t *r) {
    const char *trans = static_cast<const char *>(r->transa);
    const bool lower = lower_letter(r->word2), transposed = (*trans | 0x20) != 'n';
    const TriangleBlock p = trmv_block(r->n, w, i, lower, transposed);
    const bool reads_before = lower != transposed;
    const T *a = static_cast<const T *>(r->a), *original = static_cast<const T *>(r->b);
    const T unit = one_value();
    const ORB_INT one = 1;
    // The worker's entries in sub-blocks: the kernel's TRMV is slower per
    // entry than its GEMV, so each diagonal block is kept small and the rest
    // goes to GEMV calls against the copy of x, each of them long along A's
    // columns.  Transposed, a sub-block's entries are its columns of A: one
    // GEMV of the column above (below) its diagonal block.  As stored, a
    // sub-block's columns are added to the worker's later (earlier) entries
    // once those have been multiplied by their own diagonal block, so the
    // sub-blocks run from the far end of the worker's range, and the
    // rectangle beside the worker's triangle is one GEMV at the end.  Every
    // worker writes only its own entries.
    const int64_t subs = ceil_div(p.cols.size(), kTrmvBlock);
    const auto gemv = [&](const Range &rows, const Range &cols) {
      if (rows.empty() || cols.empty()) return;
      const ORB_INT m = rows.size(), k = cols.size();
      const Range out = transposed ? cols : rows, in = transposed ? rows : cols;
      gemv_kernel<T, true>()(trans, &m, &k, &unit, a + rows.begin + cols.begin * r->lda, &r->lda,
                             original + in.begin, &one, &unit, element<T>(r->c, level1_offset(r->n, r->ldc, out)),
                             &r->ldc);
    };
    for (int64_t step = 0; step < subs; ++step) {
      const int64_t k = transposed || !reads_before ? step : subs - 1 - step;
      const Range sub{p.cols.begin + k * kTrmvBlock, std::min(p.cols.end, p.cols.begin + (k + 1) * kTrmvBlock)};
      const ORB_INT count = sub.size();
      Kernel(static_cast<const char *>(r->word2), trans, static_cast<const char *>(r->transb), &count,
             a + sub.begin + sub.begin * r->lda, &r->lda, element<T>(r->c, level1_offset(r->n, r->ldc, sub)),
             &r->ldc);
      if (transposed)
        gemv(reads_before ? Range{0, sub.begin} : Range{sub.end, r->n}, sub);
      else
        gemv(reads_before ? Range{sub.end, p.cols.end} : Range{p.cols.begin, sub.begin}, sub);
    }
    if (!transposed) gemv(p.cols, p.rows);
    return 0;
  }

  static T one_value() {
    if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return T{1};
    else return T{1, 0};
  }

  template <auto Kernel>
  static void run(ORB_L2_PARAMS_Trmv(T, S, ORB_INT)) {
    const auto whole = [&] { Kernel(ORB_L2_ARGS_Trmv); };
    const bool as_it_came = !worth_cutting<rules::Trmv, T, S>(false, false, ORB_L2_ARGS_Trmv);
    if constexpr (is_solve<Kernel>) {
      if (as_it_came || !trsv_blocked(*n, cut_budget())) return whole();
      solve_blocked<Kernel>(ORB_L2_ARGS_Trmv);
    } else {
      run_cut(
          as_it_came, [&](int64_t budget) { return triangle_matvec_workers(*n, budget); }, whole,
          [&](int64_t w) {
            Scratch<T> original(*n);
            if (!original.p) return whole();
            gather(*n, x, *incx, original.p);
            blas_args_t r{};
            r.word2 = uplo, r.transa = trans, r.transb = diag, r.n = *n, r.a = a, r.lda = *lda;
            r.b = original.p, r.c = x, r.ldc = *incx;
            orb_blas_invoke_thin_thread(w, worker<Kernel>, &r, nullptr);
          });
    }
  }

  // The blocked solve.  With A as stored (op N) the solve runs forward through
  // a lower triangle and backward through an upper one, and each solved block
  // is subtracted at once from the entries still to come (the column of A
  // below (above) the block); transposed, the order turns, and each block first
  // subtracts what the solved entries contribute to it (A's column above
  // (below) the block, transposed), then is solved.  Either way every entry of
  // A is read once, and the rectangles are GEMV calls of 256 columns or rows
  // that the threaded GEMV cuts.
  template <auto Kernel>
  static void solve_blocked(ORB_L2_PARAMS_Trmv(T, S, ORB_INT)) {
    const int64_t order = *n, inc = *incx, ld = *lda;
    const bool transposed = (*trans | 0x20) != 'n';
    const bool forward = lower_letter(uplo) != transposed;
    const int64_t blocks = ceil_div(order, kTrsvBlock);
    const T unit = one_value(), minus = negated(unit);
    for (int64_t s = 0; s < blocks; ++s) {
      const int64_t k = forward ? s : blocks - 1 - s;
      const Range blk{k * kTrsvBlock, std::min(order, (k + 1) * kTrsvBlock)};
      const Range done = forward ? Range{0, blk.begin} : Range{blk.end, order};
      const Range todo = forward ? Range{blk.end, order} : Range{0, blk.begin};
      const ORB_INT width = blk.size();
      T *xb = x + level1_offset(order, inc, blk);
      if (transposed && !done.empty()) {
        const ORB_INT rows = done.size();
        gemv_kernel<T, false>()(trans, &rows, &width, &minus, a + done.begin + blk.begin * ld, lda,
                                x + level1_offset(order, inc, done), incx, &unit, xb, incx);
      }
      Kernel(uplo, trans, diag, &width, a + blk.begin + blk.begin * ld, lda, xb, incx);
      if (!transposed && !todo.empty()) {
        const ORB_INT rows = todo.size();
        gemv_kernel<T, false>()(trans, &rows, &width, &minus, a + todo.begin + blk.begin * ld, lda, xb, incx, &unit,
                                x + level1_offset(order, inc, todo), incx);
      }
    }
  }
};

}  // namespace orb::thr
