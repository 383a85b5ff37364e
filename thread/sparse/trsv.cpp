// The triangular solve entry of the sparse handles, y := alpha inv(op(A)) x,
// its analysis for CSR and the solves on prepared block data, in s, d, c, z
// with 32- and 64-bit indices.
//
// Entry, in this order (nothing is written before step 5 has passed):
//   1. a null handle, x or y: 1; an operation outside 10..12 or a type
//      outside 20..26: 3;
//   2. a general matrix cannot be solved: 6;
//   3. diagonal and block diagonal types need a valid diagonal code and a
//      fill mode other than full; the triangular ones (symmetric, Hermitian,
//      triangular, block triangular) a fill of lower or upper and a valid
//      diagonal code: 3 otherwise;
//   4. the primary record must exist (5) and be square (3);
//   5. a non-unit solve of CSR or BSR makes and fills the record's diagonal
//      data when it is not current (2 without memory), and refuses a row
//      without a diagonal entry or with a zero one (3);
//   6. every output stream is flushed;
//   7. an analysed solve whose hint matches serves the call;
//   8. otherwise, for a compressed format with Gauss-Seidel variants, alpha
//      exactly 1 and a non-unit diagonal, the first variant of the call's
//      operation and type serves it on the prepared data (5 without it);
//   9. otherwise the default procedure: the core's solve on the calling
//      thread, given the prepared diagonal when there is one.
//
// The analysis of a solve hint (CSR, lower or upper triangle, non-unit,
// untransposed) builds the block data of the primary record as stored and
// leaves the procedure that sweeps it: forward for a lower triangle,
// backward for an upper one, in parallel when the block graph is wide
// enough (sweep.hpp).
#include <orb/orb_service.h>

#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"
#include "sparse_rules.hpp"
#include "sweep.hpp"

#include <cstdio>

namespace orb::thr {

using sparse::DiagonalData;
using sparse::SparseHandle;
using sparse::SparseHint;
using sparse::SparseKernels;
using sparse::SparseRecord;
using sparse::SymgsData;

namespace {

template <class T, class I>
const T *prepared_diagonal(const SparseRecord<T, I> *r) {
  const auto *d = static_cast<const DiagonalData<T, I> *>(r->diagonal);
  return d && (d->state & sparse::kDiagonalCurrent) ? d->values : nullptr;
}

template <class T, class I>
int32_t default_procedure(int32_t op, SparseHandle<T, I> *h, orb_sparse_descr d, const T *x, T *y, T alpha) {
  const SparseRecord<T, I> *r = h->primary;
  if (!r) return ORB_SPARSE_INTERNAL;
  const T *diag = d.diag == ORB_SPARSE_NON_UNIT ? prepared_diagonal(r) : nullptr;
  return SparseKernels<T, I>::trsv_def(op, d, reinterpret_cast<orb_sparse_matrix>(h), diag, alpha, x, y);
}

//! The sweep on the primary record's block data: forward for a lower
//! triangle, backward for an upper one, nothing for any other fill.
template <class T, class I>
int32_t solve_on_block_data(T alpha, SparseHandle<T, I> *h, orb_sparse_descr d, const T *diag, const T *x, T *y) {
  const SparseRecord<T, I> *r = h ? h->primary : nullptr;
  const auto *g = r && r->opt ? static_cast<const SymgsData<T, I> *>(r->opt->symgs_data) : nullptr;
  if (!g || !diag) return ORB_SPARSE_INTERNAL;
  if (d.fill != ORB_SPARSE_LOWER && d.fill != ORB_SPARSE_UPPER) return ORB_SPARSE_OK;
  sweep(*g, d.fill == ORB_SPARSE_LOWER, alpha, x, y, diag);
  return ORB_SPARSE_OK;
}

//! The procedure of an analysed solve: the block data when it was built from
//! the record as stored, else the default solve.
template <class T, class I>
int32_t orb_sparse_optimized_csr_trsv(SparseHint<T, I> *, int32_t op, SparseHandle<T, I> *h, orb_sparse_descr d,
                                      const T *x, T *y, T alpha, T) {
  const SparseRecord<T, I> *r = h->primary;
  const auto *g = r->opt ? static_cast<const SymgsData<T, I> *>(r->opt->symgs_data) : nullptr;
  const T *diag = prepared_diagonal(r);
  if (!g || g->from_copy || !diag || op != ORB_SPARSE_OP_N) return default_procedure(op, h, d, x, y, alpha);
  return solve_on_block_data(alpha, h, d, diag, x, y);
}

template <class T, class I>
int32_t optimize_trsv(SparseHandle<T, I> *h, SparseHint<T, I> *hint) {
  if (!h || !hint) return ORB_SPARSE_NULL_POINTER;
  SparseRecord<T, I> *r = h->primary;
  if (!r) return ORB_SPARSE_INTERNAL;
  const bool triangle = hint->type == ORB_SPARSE_TRIANGULAR || hint->type == ORB_SPARSE_SYMMETRIC ||
                        hint->type == ORB_SPARSE_HERMITIAN;
  if (h->format != sparse::kFormatCsr || !triangle || hint->operation != ORB_SPARSE_OP_N ||
      hint->diag != ORB_SPARSE_NON_UNIT || (hint->fill != ORB_SPARSE_LOWER && hint->fill != ORB_SPARSE_UPPER) ||
      r->rows != r->cols)
    return ORB_SPARSE_UNSUPPORTED;
  const T *diag = nullptr;
  if (const int32_t s = current_diagonal(h, r, &diag)) return s;
  std::lock_guard<std::mutex> hold(analysis_lock());
  if (!optimization_of(r)) return ORB_SPARSE_NO_MEMORY;
  auto *g = static_cast<SymgsData<T, I> *>(r->opt->symgs_data);
  if (g && g->from_copy) return ORB_SPARSE_UNSUPPORTED;  // the Gauss-Seidel analysis owns it
  if (!g) {
    if (const int32_t s = build_block_data(h, r, diag, 0, &g)) return s;
    r->opt->symgs_data = g;
  }
  hint->procedure = orb_sparse_optimized_csr_trsv<T, I>;
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t solve(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, const T *x, T *y) {
  using K = SparseKernels<T, I>;
  if (!A || !x || !y) return ORB_SPARSE_NULL_POINTER;
  if (op < ORB_SPARSE_OP_N || op > ORB_SPARSE_OP_C || d.type < ORB_SPARSE_GENERAL ||
      d.type > ORB_SPARSE_BLOCK_DIAGONAL)
    return ORB_SPARSE_BAD_VALUE;
  if (d.type == ORB_SPARSE_GENERAL) return ORB_SPARSE_UNSUPPORTED;
  if (d.type == ORB_SPARSE_DIAGONAL || d.type == ORB_SPARSE_BLOCK_DIAGONAL) {
    if (!sparse::diag_valid(d.diag) || d.fill == ORB_SPARSE_FULL) return ORB_SPARSE_BAD_VALUE;
  } else if ((d.fill != ORB_SPARSE_LOWER && d.fill != ORB_SPARSE_UPPER) || !sparse::diag_valid(d.diag)) {
    return ORB_SPARSE_BAD_VALUE;
  }
  SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  SparseRecord<T, I> *r = h->primary;
  if (!r) return ORB_SPARSE_INTERNAL;
  if (r->rows != r->cols) return ORB_SPARSE_BAD_VALUE;
  const T *diag = nullptr;
  if (d.diag == ORB_SPARSE_NON_UNIT && (h->format == sparse::kFormatCsr || h->format == sparse::kFormatBsr))
    if (const int32_t s = current_diagonal(h, r, &diag)) return s;
  std::fflush(nullptr);
  for (SparseHint<T, I> *node = h->solve_hints; node; node = node->next)
    if (sparse::hint_matches(node->operation, {node->type, node->fill, node->diag}, op, d))
      return node->procedure(node, op, h, d, x, y, alpha, K::zero());
  if (h->format != sparse::kFormatCoo && h->symgs_hints && K::is_one(alpha) && d.diag == ORB_SPARSE_NON_UNIT)
    for (SparseHint<T, I> *node = h->symgs_hints; node; node = node->next) {
      if (node->operation != op || node->type != d.type) continue;
      const auto *g = r->opt ? static_cast<const SymgsData<T, I> *>(r->opt->symgs_data) : nullptr;
      if (!g) return ORB_SPARSE_INTERNAL;
      const auto run = !g->avx512 ? K::sv_with_symgs : !g->high_opt ? K::sv_with_symgs_avx512 : K::sv_with_symgs_high_opt;
      return run(K::one(), op, A, d, diag, x, y);
    }
  return default_procedure(op, h, d, x, y, alpha);
}

}  // namespace
}  // namespace orb::thr

using namespace orb::thr;

// The two AVX-512 variants sweep the same blocks; the slice layout they are
// named for is not built yet, so they run the plain kernels.
#define ORB_SPARSE_TRSV_ENTRIES(p, T, I, w)                                                                        \
  extern "C" int32_t orb_sparse_##p##_trsv_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,       \
                                               const T *x, T *y) {                                                 \
    return solve<T, I>(op, alpha, A, d, x, y);                                                                     \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_default_trsv_procedure_##w(int32_t op, orb_sparse_matrix A,                  \
                                                                 orb_sparse_descr d, const T *x, T *y, T alpha) {  \
    if (!A || !x || !y) return ORB_SPARSE_NULL_POINTER;                                                            \
    return default_procedure<T, I>(op, orb::sparse::handle_cast<T, I>(A), d, x, y, alpha);                         \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_optimize_csr_trsv_##w(orb_sparse_matrix A, void *hint) {                     \
    return optimize_trsv(orb::sparse::handle_cast<T, I>(A), static_cast<orb::sparse::SparseHint<T, I> *>(hint));   \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_sv_with_symgs_data_##w(T alpha, int32_t, orb_sparse_matrix A,                \
                                                             orb_sparse_descr d, const T *diag, const T *x, T *y) { \
    return solve_on_block_data<T, I>(alpha, orb::sparse::handle_cast<T, I>(A), d, diag, x, y);                     \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_sv_with_symgs_data_avx512_##w(T alpha, int32_t, orb_sparse_matrix A,         \
                                                                    orb_sparse_descr d, const T *diag, const T *x, \
                                                                    T *y) {                                        \
    return solve_on_block_data<T, I>(alpha, orb::sparse::handle_cast<T, I>(A), d, diag, x, y);                     \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_sv_with_symgs_data_avx512_high_opt_##w(                                      \
      T alpha, int32_t, orb_sparse_matrix A, orb_sparse_descr d, const T *diag, const T *x, T *y) {                \
    return solve_on_block_data<T, I>(alpha, orb::sparse::handle_cast<T, I>(A), d, diag, x, y);                     \
  }

ORB_SPARSE_EACH(ORB_SPARSE_TRSV_ENTRIES)
