// Symmetric Gauss-Seidel through the sparse handles: one sweep pair for
// A x = b with x updated in place (forward x_i := (b_i - sum_{j<i} a_ij x_j
// - sum_{j>i} a_ij x_j) / a_ii with the newest x, then the same backward),
// its analysis, and the products served from the analysed split data, in
// s, d, c, z with 32- and 64-bit indices.
//
// Analysis (orb_sparse_?_optimize_csr_symgs_*), symmetric CSR only (6):
//   1. the working record is the general copy of the stored triangle (made
//      when absent) or, for a matrix stored in full, the primary record;
//   2. the operation must be 10 and the diagonal non-unit (6);
//   3. data already built from this working record is kept;
//   4. the diagonals of the primary and the working record are made and
//      filled; a failure is freed and cleared (its status returned), a row
//      without a usable diagonal frees it and answers 3;
//   5. the block data of the working record (sweep.hpp, core/sparse/
//      symgs.cpp) is hung on the primary record (5 when it cannot be made);
//   6. the hint keeps the sweep pair and the sweep pair with the product.
// The analysed sweep pair: t := b - U x over all rows in parallel, the
// forward sweep of (D + L) x = t, t := b - L x, the backward sweep of
// (D + U) x = t.  Each row subtracts its entries in their stored order, so
// the result is bitwise that of the plain sequential sweep that does the
// same, whatever the part count.
//
// Without analysis the same pair runs on the default products and solves
// of the stored triangle, into scratch (2 without it): x changes only once
// the whole pair has succeeded.
#include <orb/orb_service.h>

#include "scratch.hpp"
#include "sparse_kernels.hpp"
#include "sparse_rules.hpp"
#include "sweep.hpp"

namespace orb::thr {
namespace {

using sparse::SparseHandle;
using sparse::SparseHint;
using sparse::SparseKernels;
using sparse::SparseRecord;
using sparse::SymgsData;

template <class T, class I>
const SymgsData<T, I> *block_data(const SparseHandle<T, I> *h) {
  const SparseRecord<T, I> *r = h ? h->primary : nullptr;
  return r && r->opt ? static_cast<const SymgsData<T, I> *>(r->opt->symgs_data) : nullptr;
}

template <class T, class I>
const T *diagonal_values(const SparseRecord<T, I> *r) {
  const auto *d = r ? static_cast<const sparse::DiagonalData<T, I> *>(r->diagonal) : nullptr;
  return d && (d->state & sparse::kDiagonalCurrent) ? d->values : nullptr;
}

//! The analysed sweep pair, and A x of its result into y when asked.
template <class T, class I, bool Product>
int32_t optimized_symgs(SparseHint<T, I> *, int32_t, SparseHandle<T, I> *h, orb_sparse_descr, const T *b, T *x,
                        T *y) {
  using K = SparseKernels<T, I>;
  const SymgsData<T, I> *g = block_data(h);
  const T *diag = diagonal_values(h->primary);
  if (!g || !diag) return ORB_SPARSE_INTERNAL;
  const I n = g->rows;
  Scratch<T> t(n, 64);
  if (n > 0 && !t) return ORB_SPARSE_NO_MEMORY;
  for_rows(n, [&](I first, I last) { K::symgs_residual(g, first, last, 1, b, x, t.get()); });
  sweep(*g, true, K::one(), t.get(), x, diag);
  for_rows(n, [&](I first, I last) { K::symgs_residual(g, first, last, 0, b, x, t.get()); });
  sweep(*g, false, K::one(), t.get(), x, diag);
  if (Product && y) for_rows(n, [&](I first, I last) { K::split_mv(g, diag, first, last, 7, 0, x, y); });
  return ORB_SPARSE_OK;
}

template <class T, class I>
constexpr auto orb_sparse_optimized_csr_symgs_ng = &optimized_symgs<T, I, false>;
template <class T, class I>
constexpr auto orb_sparse_optimized_csr_symgs_mv_ng = &optimized_symgs<T, I, true>;

//! Frees a record's diagonal data after a failed analysis.
template <class T, class I>
void drop_diagonal(SparseRecord<T, I> *r) {
  SparseKernels<T, I>::destroy_diagonal(r->diagonal);
  r->diagonal = nullptr;
}

template <class T, class I>
int32_t optimize_symgs(SparseHandle<T, I> *h, SparseHint<T, I> *hint) {
  using K = SparseKernels<T, I>;
  if (!h || !hint) return ORB_SPARSE_NULL_POINTER;
  if (hint->type != ORB_SPARSE_SYMMETRIC || h->format != sparse::kFormatCsr) return ORB_SPARSE_UNSUPPORTED;
  SparseRecord<T, I> *primary = h->primary;
  if (!primary) return ORB_SPARSE_INTERNAL;
  if (hint->operation != ORB_SPARSE_OP_N || hint->diag != ORB_SPARSE_NON_UNIT) return ORB_SPARSE_UNSUPPORTED;
  const int32_t fill = hint->fill;
  const auto A = reinterpret_cast<orb_sparse_matrix>(h);
  if (fill != ORB_SPARSE_FULL)
    if (const int32_t s = K::create_gen_from_sym(A, fill)) return s == ORB_SPARSE_NO_MEMORY ? s : ORB_SPARSE_INTERNAL;
  SparseRecord<T, I> *working = fill == ORB_SPARSE_UPPER   ? h->general_from_upper
                                : fill == ORB_SPARSE_LOWER ? h->general_from_lower
                                                           : primary;
  if (!working) return ORB_SPARSE_INTERNAL;
  if (!optimization_of(working) || !optimization_of(primary)) return ORB_SPARSE_NO_MEMORY;
  const int32_t source = fill == ORB_SPARSE_FULL ? 0 : fill;
  const auto *existing = static_cast<const SymgsData<T, I> *>(primary->opt->symgs_data);
  const bool reuse = existing && existing->from_copy == source && diagonal_values(working);
  if (!reuse) {
    for (SparseRecord<T, I> *r : {primary, working}) {
      const T *values = nullptr;
      const int32_t s = current_diagonal(h, r, &values);
      if (s != ORB_SPARSE_OK) {
        drop_diagonal(r);
        return s;
      }
    }
    std::lock_guard<std::mutex> hold(analysis_lock());
    SymgsData<T, I> *g = nullptr;
    if (build_block_data(h, working, diagonal_values(working), source, &g) != ORB_SPARSE_OK)
      return ORB_SPARSE_INTERNAL;
    K::destroy_symgs(primary->opt->symgs_data);  // data of another source, for the solves
    primary->opt->symgs_data = g;
  }
  hint->symgs = orb_sparse_optimized_csr_symgs_ng<T, I>;
  hint->symgs_mv = orb_sparse_optimized_csr_symgs_mv_ng<T, I>;
  return ORB_SPARSE_OK;
}

//! y := A x from the split data: the full symmetric matrix, D + U (upper
//! triangular, y overwritten) or D + L added into y (lower triangular,
//! beta 1), the two halves of a sweep pair.
template <class T, class I>
int32_t mv_with_symgs_data(int32_t, SparseHandle<T, I> *h, orb_sparse_descr d, const T *x, T *y, T, T beta) {
  using K = SparseKernels<T, I>;
  const SymgsData<T, I> *g = block_data(h);
  const T *diag = diagonal_values(h ? h->primary : nullptr);
  if (!g || !diag) return ORB_SPARSE_INTERNAL;
  int32_t which = 7, accumulate = 0;
  if (d.type == ORB_SPARSE_TRIANGULAR && d.diag == ORB_SPARSE_NON_UNIT) {
    if (d.fill == ORB_SPARSE_UPPER && K::is_zero(beta)) which = 6;
    if (d.fill == ORB_SPARSE_LOWER && K::is_one(beta)) which = 3, accumulate = 1;
  }
  for_rows(g->rows, [&](I first, I last) { K::split_mv(g, diag, first, last, which, accumulate, x, y); });
  return ORB_SPARSE_OK;
}

//! out := S v for the strict lower (upper false) or upper part S of the
//! symmetric matrix, through the default product of a unit triangle: the
//! stored triangle, or its transpose when S is the mirror of it.
template <class T, class I>
int32_t strict_part(orb_sparse_matrix A, int32_t fill, bool upper, const T *v, T *out, I n) {
  using K = SparseKernels<T, I>;
  const bool mirrored = fill != ORB_SPARSE_FULL && (fill == ORB_SPARSE_UPPER) != upper;
  const int32_t stored = fill == ORB_SPARSE_FULL ? (upper ? ORB_SPARSE_UPPER : ORB_SPARSE_LOWER) : fill;
  const int32_t s = K::default_procedure(mirrored ? ORB_SPARSE_OP_T : ORB_SPARSE_OP_N, A,
                                         {ORB_SPARSE_TRIANGULAR, stored, ORB_SPARSE_UNIT}, v, out, K::one(),
                                         K::zero());
  for (I i = 0; i < n; ++i) out[i] = add(out[i], negated(v[i]));
  return s;
}

//! The solve with D + L (upper false) or D + U of the symmetric matrix.
template <class T, class I>
int32_t half_solve(orb_sparse_matrix A, int32_t fill, int32_t diag, bool upper, const T *t, T *out) {
  using K = SparseKernels<T, I>;
  const bool mirrored = fill != ORB_SPARSE_FULL && (fill == ORB_SPARSE_UPPER) != upper;
  const int32_t stored = fill == ORB_SPARSE_FULL ? (upper ? ORB_SPARSE_UPPER : ORB_SPARSE_LOWER) : fill;
  return K::default_trsv(mirrored ? ORB_SPARSE_OP_T : ORB_SPARSE_OP_N, A, {ORB_SPARSE_TRIANGULAR, stored, diag}, t,
                         out, K::one());
}

template <class T, class I>
int32_t default_symgs(SparseHandle<T, I> *h, orb_sparse_descr d, const T *b, T *x, T *y) {
  using K = SparseKernels<T, I>;
  const auto A = reinterpret_cast<orb_sparse_matrix>(h);
  const I n = h->primary->rows;
  Scratch<T> w(n, 64), t(n, 64), z(n, 64);
  if (n > 0 && (!w || !t || !z)) return ORB_SPARSE_NO_MEMORY;
  // Forward: z := (D + L)^-1 (b - U x); backward: w := (D + U)^-1 (b - L z).
  for (const bool forward : {true, false}) {
    const T *from = forward ? x : z.get();
    if (const int32_t s = strict_part(A, d.fill, forward, from, w.get(), n)) return s;
    for (I i = 0; i < n; ++i) t.get()[i] = add(b[i], negated(w.get()[i]));
    if (const int32_t s = half_solve<T, I>(A, d.fill, d.diag, !forward, t.get(), forward ? z.get() : w.get()))
      return s;
  }
  for (I i = 0; i < n; ++i) x[i] = w.get()[i];
  if (y) return K::default_procedure(ORB_SPARSE_OP_N, A, {ORB_SPARSE_SYMMETRIC, d.fill, d.diag}, x, y, K::one(),
                                     K::zero());
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t symgs(int32_t op, orb_sparse_matrix A, orb_sparse_descr d, const T *b, T *x, T *y) {
  using K = SparseKernels<T, I>;
  if (!A || !b || !x) return ORB_SPARSE_NULL_POINTER;
  if (const int32_t s = sparse::descriptor_status(op, d)) return s;
  SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  const bool symmetric = d.type == ORB_SPARSE_SYMMETRIC || (d.type == ORB_SPARSE_HERMITIAN && !K::is_complex);
  if (!symmetric || (op == ORB_SPARSE_OP_C && K::is_complex)) return ORB_SPARSE_UNSUPPORTED;
  d.type = ORB_SPARSE_SYMMETRIC;  // a real Hermitian matrix is symmetric
  if (!h->primary) return ORB_SPARSE_INTERNAL;
  if (h->primary->rows != h->primary->cols) return ORB_SPARSE_BAD_VALUE;
  for (SparseHint<T, I> *node = h->symgs_hints; node; node = node->next)
    if (node->symgs && sparse::hint_matches(node->operation, {node->type, node->fill, node->diag}, op, d))
      return (y ? node->symgs_mv : node->symgs)(node, op, h, d, b, x, y);
  return default_symgs(h, d, b, x, y);
}

}  // namespace
}  // namespace orb::thr

using namespace orb::thr;

#define ORB_SPARSE_SYMGS_ENTRIES(p, T, I, w)                                                                       \
  extern "C" int32_t orb_sparse_##p##_optimize_csr_symgs_##w(orb_sparse_matrix A, void *hint) {                    \
    return optimize_symgs(orb::sparse::handle_cast<T, I>(A), static_cast<orb::sparse::SparseHint<T, I> *>(hint));  \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_mv_with_symgs_data_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr d,  \
                                                             const T *x, T *y, T alpha, T beta) {                  \
    return mv_with_symgs_data<T, I>(op, orb::sparse::handle_cast<T, I>(A), d, x, y, alpha, beta);                  \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_symgs_##w(int32_t op, orb_sparse_matrix A, orb_sparse_descr d, const T *b,   \
                                                T *x, T *y) {                                                      \
    return symgs<T, I>(op, A, d, b, x, y);                                                                         \
  }

ORB_SPARSE_EACH(ORB_SPARSE_SYMGS_ENTRIES)
