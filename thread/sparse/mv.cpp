// The product entry of the sparse handles, y := alpha op(A) x + beta y, and
// the product without analysis, in s, d, c, z with 32- and 64-bit indices.
//
// Entry, in this order:
//   1. a null handle, x or y: 1;
//   2. the operation and descriptor (common/sparse_rules.hpp): 3;
//   3. the first analysed product whose hint matches serves the call;
//   4. otherwise, for a compressed format with Gauss-Seidel variants, a
//      variant of the call's operation serves it when alpha is exactly 1 and
//      either its descriptor matches with beta 0, or the call is triangular
//      non-unit and upper with beta 0 or lower with beta 1: the two
//      half-sweeps of the symmetric method.  Its split data must exist (5);
//   5. otherwise the default procedure.
//
// Default procedure: COO goes to the character-descriptor COO product; a real
// symmetric or Hermitian matrix runs as symmetric and untransposed (it is
// its own transpose); then each format's table picks a kernel.  Only the
// general untransposed CSR and BSR products (and the transposed CSR one, and
// the CSC matrix used transposed, which is the CSR matrix of its arrays) take
// the threaded paths, and only for records whose rows follow one another.
#include <orb/orb_service.h>

#include "sparse_kernels.hpp"
#include "sparse_rules.hpp"

namespace orb::thr {
namespace {

using sparse::SparseKernels;

using sparse::SparseHandle;
using sparse::SparseHint;
using sparse::SparseRecord;

//! The COO product through the character-descriptor routine of the width.
template <class T, class I>
int32_t coo_product(int32_t op, const SparseRecord<T, I> &r, orb_sparse_descr d, const T *x, T *y, T alpha, T beta);

#define ORB_SPARSE_COO_CALL(p, T)                                                                                  \
  template <>                                                                                                      \
  int32_t coo_product<T, int32_t>(int32_t op, const SparseRecord<T, int32_t> &r, orb_sparse_descr d, const T *x,   \
                                  T *y, T alpha, T beta) {                                                         \
    return coo_call(op, r, d, x, y, alpha, beta, orb_spblas_lp64_orb_##p##coomv);                                  \
  }                                                                                                                \
  template <>                                                                                                      \
  int32_t coo_product<T, int64_t>(int32_t op, const SparseRecord<T, int64_t> &r, orb_sparse_descr d, const T *x,   \
                                  T *y, T alpha, T beta) {                                                         \
    return coo_call(op, r, d, x, y, alpha, beta, orb_spblas_orb_##p##coomv);                                       \
  }

//! Builds the operation letter and the six-character descriptor of the COO
//! routine: kind g s h t d, l or u, n or u, c (zero-based) or f, then "**".
template <class T, class I, class Fn>
int32_t coo_call(int32_t op, const SparseRecord<T, I> &r, orb_sparse_descr d, const T *x, T *y, T alpha, T beta,
                 Fn routine) {
  static const char kOps[] = "ntc";
  static const char kKinds[] = "gshtdtd";
  if (op < ORB_SPARSE_OP_N || op > ORB_SPARSE_OP_C) return ORB_SPARSE_BAD_VALUE;
  if (d.type < ORB_SPARSE_GENERAL || d.type > ORB_SPARSE_BLOCK_DIAGONAL) return ORB_SPARSE_BAD_VALUE;
  const char trans = kOps[op - ORB_SPARSE_OP_N];
  const char descr[7] = {kKinds[d.type - ORB_SPARSE_GENERAL],
                         d.fill == ORB_SPARSE_LOWER ? 'l' : 'u',
                         d.diag == ORB_SPARSE_NON_UNIT ? 'n' : 'u',
                         r.base == 0 ? 'c' : 'f',
                         '*',
                         '*',
                         '\0'};
  auto m = r.rows, k = r.cols, nnz = r.entries;
  routine(&trans, &m, &k, &alpha, descr, r.values, r.coo_row, r.col_index, &nnz, x, &beta, y);
  return ORB_SPARSE_OK;
}

ORB_SPARSE_COO_CALL(s, float)
ORB_SPARSE_COO_CALL(d, double)
ORB_SPARSE_COO_CALL(c, ORB_Complex8)
ORB_SPARSE_COO_CALL(z, ORB_Complex16)

template <class T, class I>
int32_t default_procedure(int32_t op, SparseHandle<T, I> *h, orb_sparse_descr d, const T *x, T *y, T alpha, T beta) {
  using K = SparseKernels<T, I>;
  const auto A = reinterpret_cast<orb_sparse_matrix>(h);
  const SparseRecord<T, I> *r = h->primary;
  if (h->format == sparse::kFormatCoo) return r ? coo_product(op, *r, d, x, y, alpha, beta) : ORB_SPARSE_OK;
  if (!r) return ORB_SPARSE_INTERNAL;
  if (h->value_kind < 2 && (d.type == ORB_SPARSE_SYMMETRIC || d.type == ORB_SPARSE_HERMITIAN)) {
    d.type = ORB_SPARSE_SYMMETRIC;
    op = ORB_SPARSE_OP_N;
  }
  const int32_t type = d.type;
  const bool flag = r->eligible != 0;
  const int32_t *part = r->opt ? r->opt->partition : nullptr;
  const bool diagonal = type == ORB_SPARSE_DIAGONAL || type == ORB_SPARSE_BLOCK_DIAGONAL;
  switch (h->format) {
    case sparse::kFormatCsr:
      if (type == ORB_SPARSE_GENERAL && flag && op == ORB_SPARSE_OP_N)
        return K::xcsr_ng_n(r->rows, r->cols, r->row_start, r->col_index, r->values, x, y, part, r->base, alpha,
                            beta);
      if (type == ORB_SPARSE_GENERAL && flag && op == ORB_SPARSE_OP_T)
        return K::xcsr_ng_t(r->rows, r->cols, r->row_start, r->col_index, r->values, x, y, part, r->base, alpha,
                            beta);
      if (type == ORB_SPARSE_GENERAL)
        return (op == ORB_SPARSE_OP_N ? K::csr_n_def : K::csr_t_def)(op, d, A, x, y, alpha, beta);
      if (type == ORB_SPARSE_SYMMETRIC)
        return (op == ORB_SPARSE_OP_N && d.fill == ORB_SPARSE_FULL ? K::csr_n_def : K::csr_t_def)(op, d, A, x, y,
                                                                                                   alpha, beta);
      if (type == ORB_SPARSE_HERMITIAN) return K::csr_t_def(op, d, A, x, y, alpha, beta);
      if (diagonal) return K::csr_n_def(op, d, A, x, y, alpha, beta);
      return (op == ORB_SPARSE_OP_N ? K::csr_n_def : K::csr_t_def)(op, d, A, x, y, alpha, beta);
    case sparse::kFormatCsc:
      if (type == ORB_SPARSE_GENERAL && op == ORB_SPARSE_OP_T && flag)
        return K::xcsr_ng_n(r->cols, r->rows, r->row_start, r->col_index, r->values, x, y, part, r->base, alpha,
                            beta);
      if (op == ORB_SPARSE_OP_N || type == ORB_SPARSE_SYMMETRIC)
        return (diagonal ? K::csc_n_def : K::csc_t_def)(op, d, A, x, y, alpha, beta);
      return (type == ORB_SPARSE_HERMITIAN ? K::csc_t_def : K::csc_n_def)(op, d, A, x, y, alpha, beta);
    case sparse::kFormatBsr:
      if (type == ORB_SPARSE_GENERAL && op == ORB_SPARSE_OP_N && flag)
        return K::xbsr_ng_n(r->rows, r->cols, r->block, r->layout, r->row_start, r->col_index, r->values, x, y,
                            part, r->base, alpha, beta);
      if (op == ORB_SPARSE_OP_N && type != ORB_SPARSE_SYMMETRIC)
        return (type == ORB_SPARSE_HERMITIAN ? K::bsr_t_def : K::bsr_n_def)(op, d, A, x, y, alpha, beta);
      return (diagonal ? K::bsr_n_def : K::bsr_t_def)(op, d, A, x, y, alpha, beta);
    default:
      return ORB_SPARSE_UNSUPPORTED;
  }
}

//! Whether a Gauss-Seidel variant serves the call (step 4 above).
template <class T>
bool symgs_takes(const orb_sparse_descr &node, int32_t node_op, int32_t op, orb_sparse_descr d, T alpha, T beta) {
  using P = Precision<T>;
  if (node_op != op || !P::is_one(alpha)) return false;
  const bool beta_zero = P::is_zero(beta), beta_one = P::is_one(beta);
  if (node.type == d.type && node.fill == d.fill && node.diag == d.diag && beta_zero) return true;
  return d.type == ORB_SPARSE_TRIANGULAR && d.diag == ORB_SPARSE_NON_UNIT &&
         ((d.fill == ORB_SPARSE_UPPER && beta_zero) || (d.fill == ORB_SPARSE_LOWER && beta_one));
}

template <class T, class I>
int32_t product(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, const T *x, T beta, T *y) {
  if (!A || !x || !y) return ORB_SPARSE_NULL_POINTER;
  if (const int32_t s = sparse::descriptor_status(op, d)) return s;
  SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  for (SparseHint<T, I> *node = h->mv_hints; node; node = node->next)
    if (sparse::hint_matches(node->operation, {node->type, node->fill, node->diag}, op, d))
      return node->procedure(node, op, h, d, x, y, alpha, beta);
  if (h->format != sparse::kFormatCoo)
    for (SparseHint<T, I> *node = h->symgs_hints; node; node = node->next)
      if (symgs_takes<T>({node->type, node->fill, node->diag}, node->operation, op, d, alpha, beta)) {
        // The split data comes with the Gauss-Seidel analysis; a variant
        // without it cannot serve the call.
        const sparse::OptimizationRecord *o = h->primary ? h->primary->opt : nullptr;
        if (!o || !o->symgs_data) return ORB_SPARSE_INTERNAL;
        return SparseKernels<T, I>::mv_with_symgs(op, A, d, x, y, alpha, beta);
      }
  return default_procedure(op, h, d, x, y, alpha, beta);
}

}  // namespace
}  // namespace orb::thr

using namespace orb::thr;

#define ORB_SPARSE_MV_ENTRIES(p, T, I, w)                                                                          \
  extern "C" int32_t orb_sparse_##p##_mv_##w(int32_t op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,         \
                                             const T *x, T beta, T *y) {                                           \
    return product<T, I>(op, alpha, A, d, x, beta, y);                                                             \
  }                                                                                                                \
  extern "C" int32_t orb_sparse_##p##_default_mv_procedure_##w(int32_t op, orb_sparse_matrix A,                    \
                                                               orb_sparse_descr d, const T *x, T *y, T alpha,      \
                                                               T beta) {                                           \
    if (!A || !x || !y) return ORB_SPARSE_NULL_POINTER;                                                            \
    return default_procedure<T, I>(op, orb::sparse::handle_cast<T, I>(A), d, x, y, alpha, beta);                   \
  }

ORB_SPARSE_EACH(ORB_SPARSE_MV_ENTRIES)
