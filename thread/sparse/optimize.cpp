// The analysis of a product hint for a CSR or BSR handle: what it builds
// once, keeps in the handle, and which procedure it leaves in the hint node
// for the product entry to call.
//
// CSR (orb_sparse_?_optimize_csr_mv_*):
//   1. The record is the primary one for operation 10 or a symmetric matrix,
//      the stored transpose otherwise (5 when it was not built).
//   2. It gets its 104-byte optimization record (4096-aligned, zeroed; 2
//      without memory) and must be eligible for the threaded kernels (6).
//   3. General: with the memory policy that allows copies, the hint's format
//      choice (199 ESB, 299 DIA, 399 CSR, otherwise the inspector) may convert
//      the record to a sliced layout, whose product then runs its slices in
//      parallel; a conversion that fails leaves CSR.  All output streams are
//      flushed once the choice is made.  CSR gets its partition block (4096
//      bytes, 4096-aligned, zeroed; 2 without memory): one part, whose entry
//      1 is the row count, unless the processor class reported as 5 has a
//      small matrix (under a quarter MiB) and reports no cores per package,
//      when the part count is that report; with several parts entry 1 is
//      where part 1 starts by the row-balancing rule.
//   4. Symmetric with a unit diagonal, stored in full, untransposed, no taller
//      than wide, real: its strict upper triangle, each entry serving at its
//      place and its mirror, and a product from it on the calling thread (5
//      when the triangle cannot be built).
//   5. Symmetric otherwise, non-unit, not conjugate-transposed: the general
//      copy of the stored triangle, with its own optimization record and a
//      one-part partition block, and the procedure that runs the threaded
//      product on it.  Every other case is left to the default product (6).
// BSR: a general matrix gets a partition block of its block rows and the
// threaded block product (on the stored transpose for operations other than
// 10); a symmetric one from its lower or upper triangle, non-unit and not
// conjugate-transposed, the general copy of its blocks (a diagonal block made
// symmetric from its own triangle) and the threaded block product on it;
// other types are left to the default product (6).
#include <orb/orb_service.h>

#include "partition/rows.hpp"
#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"

#include <cstdio>

namespace orb::thr {
namespace {

using sparse::SparseKernels;

using sparse::OptimizationRecord;
using sparse::SparseHandle;
using sparse::SparseHint;
using sparse::SparseRecord;

//! Which record an analysed procedure runs on.
enum class Which { primary, transposed, from_lower, from_upper };

template <class T, class I>
SparseRecord<T, I> *record_of(SparseHandle<T, I> *h, Which which) {
  switch (which) {
    case Which::primary: return h->primary;
    case Which::transposed: return h->transposed;
    case Which::from_lower: return h->general_from_lower;
    default: return h->general_from_upper;
  }
}

//! The threaded general product on one record of the handle (CSR or BSR).
template <class T, class I, Which which>
int32_t optimized_mv(SparseHint<T, I> *, int32_t op, SparseHandle<T, I> *h, orb_sparse_descr d, const T *x, T *y,
                     T alpha, T beta) {
  using K = SparseKernels<T, I>;
  // The stored transpose is not conjugated: A^H of a complex matrix is
  // left to the default product.
  if (which == Which::transposed && op == ORB_SPARSE_OP_C && K::is_complex)
    return K::default_procedure(op, reinterpret_cast<orb_sparse_matrix>(h), d, x, y, alpha, beta);
  const SparseRecord<T, I> *r = record_of(h, which);
  if (!r || !r->opt) return ORB_SPARSE_INTERNAL;
  if (h->format == sparse::kFormatBsr)
    return K::xbsr_ng_n(r->rows, r->cols, r->block, r->layout, r->row_start, r->col_index, r->values, x, y,
                        r->opt->partition, r->base, alpha, beta);
  return K::xcsr_ng_n(r->rows, r->cols, r->row_start, r->col_index, r->values, x, y, r->opt->partition, r->base,
                      alpha, beta);
}

template <class T, class I>
constexpr auto orb_sparse_optimized_csr_mv_ng = &optimized_mv<T, I, Which::primary>;
template <class T, class I>
constexpr auto orb_sparse_optimized_csr_mv_tg = &optimized_mv<T, I, Which::transposed>;
template <class T, class I>
constexpr auto orb_sparse_optimized_csr_mv_nsln = &optimized_mv<T, I, Which::from_lower>;
template <class T, class I>
constexpr auto orb_sparse_optimized_csr_mv_nsun = &optimized_mv<T, I, Which::from_upper>;

//! The product on a sliced copy (ESB or DIA) of the primary or transposed
//! record: the slices in parallel, one kernel call per sub-range.
template <class T, class I, Which which, bool Esb>
int32_t optimized_sliced_mv(SparseHint<T, I> *, int32_t op, SparseHandle<T, I> *h, orb_sparse_descr d, const T *x,
                            T *y, T alpha, T beta) {
  using K = SparseKernels<T, I>;
  if (which == Which::transposed && op == ORB_SPARSE_OP_C && K::is_complex)
    return K::default_procedure(op, reinterpret_cast<orb_sparse_matrix>(h), d, x, y, alpha, beta);
  const SparseRecord<T, I> *r = record_of(h, which);
  const void *data = r && r->opt ? (Esb ? r->opt->esb : r->opt->dia) : nullptr;
  if (!data) return ORB_SPARSE_INTERNAL;
  const int64_t slices = (r->rows + sparse::kSliceRows - 1) / sparse::kSliceRows;
  rt::run_loop(slices, {1, rt::Split::automatic, rt::Binding::own, nullptr}, [&](int64_t first, int64_t last) {
    (Esb ? K::esb_slices : K::dia_slices)(data, static_cast<I>(first), static_cast<I>(last), alpha, x, beta, y);
  });
  return ORB_SPARSE_OK;
}

template <class T, class I>
constexpr auto orb_sparse_optimized_esb_mv_ng = &optimized_sliced_mv<T, I, Which::primary, true>;
template <class T, class I>
constexpr auto orb_sparse_optimized_esb_mv_tg = &optimized_sliced_mv<T, I, Which::transposed, true>;
template <class T, class I>
constexpr auto orb_sparse_optimized_dia_mv_ng = &optimized_sliced_mv<T, I, Which::primary, false>;
template <class T, class I>
constexpr auto orb_sparse_optimized_dia_mv_tg = &optimized_sliced_mv<T, I, Which::transposed, false>;

//! The product from the strict upper triangle of a full symmetric matrix
//! with a unit diagonal, on the calling thread.
template <class T, class I>
int32_t orb_sparse_optimized_seq_tri_csr_mv(SparseHint<T, I> *, int32_t, SparseHandle<T, I> *h, orb_sparse_descr,
                                            const T *x, T *y, T alpha, T beta) {
  const SparseRecord<T, I> *r = h->primary;
  if (!r || !r->opt || !r->opt->up_tri_from_full_sym_data) return ORB_SPARSE_INTERNAL;
  SparseKernels<T, I>::up_tri_product(r->opt->up_tri_from_full_sym_data, alpha, x, beta, y);
  return ORB_SPARSE_OK;
}

//! The record's optimization record, made on first use; null without memory.
template <class T, class I>
OptimizationRecord *optimization_record(SparseRecord<T, I> *r) {
  if (!r->opt) r->opt = zeroed<OptimizationRecord>(sparse::kPartitionBytes);
  return r->opt;
}

//! The record's partition block for `parts` parts, made on first use.
template <class T, class I>
int32_t partition(SparseRecord<T, I> *r, int parts, bool *existed) {
  OptimizationRecord *o = r->opt;
  *existed = o->partition != nullptr;
  if (!o->partition) {
    o->partition = zeroed<int32_t>(sparse::kPartitionBytes, sparse::kPartitionBytes);
    if (!o->partition) return ORB_SPARSE_NO_MEMORY;
  }
  int32_t *block = o->partition;
  const I entries = r->rows > 0 ? r->row_start[r->rows] - r->base : 0;
  block[0] = 0;
  block[sparse::kPartitionCount] = parts;
  block[1] = parts == 1 || parts < 1 ? static_cast<int32_t>(r->rows)
                                     : static_cast<int32_t>(getStartRow<I>(1, parts, r->row_start, r->base,
                                                                           r->rows, entries));
  return ORB_SPARSE_OK;
}

//! Part count of the analysis: 1, but see step 3 above.
template <class T, class I>
int part_count(const SparseRecord<T, I> &r) {
  if (orb_serv_cpu_detect() != 5) return 1;
  const double entries = r.rows > 0 ? static_cast<double>(r.row_start[r.rows] - r.base) : 0.0;
  const double mib = (entries * 12 + static_cast<double>(r.rows) * 20 + 4) / (1 << 20);
  const int cores = orb_serv_get_ncorespercpu();
  return mib < 0.25 && cores <= 0 ? cores : 1;
}

template <class T, class I>
int32_t optimize_csr(SparseHandle<T, I> *h, SparseHint<T, I> *hint) {
  using K = SparseKernels<T, I>;
  if (!h || !hint) return ORB_SPARSE_NULL_POINTER;
  const int32_t op = hint->operation, type = hint->type;
  SparseRecord<T, I> *r = op == ORB_SPARSE_OP_N || type == ORB_SPARSE_SYMMETRIC ? h->primary : h->transposed;
  if (!r) return ORB_SPARSE_INTERNAL;
  if (!optimization_record(r)) return ORB_SPARSE_NO_MEMORY;
  if (!r->eligible) return ORB_SPARSE_UNSUPPORTED;
  const auto A = reinterpret_cast<orb_sparse_matrix>(h);
  if (type == ORB_SPARSE_GENERAL) {
    int32_t converted = ORB_SPARSE_OK;
    if (h->memory_policy == sparse::kMemoryCopies) {
      int32_t choice = hint->format;
      if (choice != sparse::kChooseEsb && choice != sparse::kChooseDia && choice != sparse::kChooseCsr) {
        const int32_t answer = K::inspector(A, op);
        choice = answer == 1 ? sparse::kChooseEsb : answer == 2 ? sparse::kChooseDia : sparse::kChooseCsr;
      }
      if (choice == sparse::kChooseEsb) converted = K::convert_esb(A, op);
      if (choice == sparse::kChooseDia) converted = K::convert_dia(A, op);
      if (choice != sparse::kChooseCsr && converted == ORB_SPARSE_OK) {
        std::fflush(nullptr);
        const bool esb = choice == sparse::kChooseEsb;
        hint->procedure = op == ORB_SPARSE_OP_N ? (esb ? orb_sparse_optimized_esb_mv_ng<T, I> : orb_sparse_optimized_dia_mv_ng<T, I>)
                                                : (esb ? orb_sparse_optimized_esb_mv_tg<T, I> : orb_sparse_optimized_dia_mv_tg<T, I>);
        return ORB_SPARSE_OK;
      }
    }
    std::fflush(nullptr);
    bool existed = false;
    if (const int32_t s = partition(r, part_count(*r), &existed)) return s;
    hint->procedure = op == ORB_SPARSE_OP_N ? orb_sparse_optimized_csr_mv_ng<T, I> : orb_sparse_optimized_csr_mv_tg<T, I>;
    return existed ? converted : ORB_SPARSE_OK;
  }
  if (type != ORB_SPARSE_SYMMETRIC) return ORB_SPARSE_UNSUPPORTED;
  if (hint->fill == ORB_SPARSE_FULL && hint->diag == ORB_SPARSE_UNIT && op == ORB_SPARSE_OP_N &&
      h->primary->rows <= h->primary->cols && !K::is_complex) {
    if (const int32_t s = K::fill_up_tri(A)) return s;
    hint->procedure = orb_sparse_optimized_seq_tri_csr_mv<T, I>;
    return ORB_SPARSE_OK;
  }
  if (hint->diag != ORB_SPARSE_NON_UNIT || op == ORB_SPARSE_OP_C) return ORB_SPARSE_UNSUPPORTED;
  const bool lower = hint->fill == ORB_SPARSE_LOWER;
  if (const int32_t s = K::create_gen_from_sym(A, hint->fill)) return s;
  SparseRecord<T, I> *copy = lower ? h->general_from_lower : h->general_from_upper;
  if (!optimization_record(copy)) return ORB_SPARSE_NO_MEMORY;
  if (!copy->opt->partition) {
    copy->opt->partition = zeroed<int32_t>(sparse::kPartitionBytes, sparse::kPartitionBytes);
    if (!copy->opt->partition) return ORB_SPARSE_NO_MEMORY;
    findRowPartitioning<I>(copy->rows, copy->entries, copy->row_start, copy->base, copy->opt->partition, 1);
  }
  hint->procedure = lower ? orb_sparse_optimized_csr_mv_nsln<T, I> : orb_sparse_optimized_csr_mv_nsun<T, I>;
  return ORB_SPARSE_OK;
}

//! A symmetric BSR matrix from one triangle, non-unit, not conjugated: the
//! general copy of its blocks, and the threaded block product on it.
template <class T, class I>
int32_t symmetric_bsr(SparseHandle<T, I> *h, SparseHint<T, I> *hint) {
  using K = SparseKernels<T, I>;
  if ((hint->fill != ORB_SPARSE_LOWER && hint->fill != ORB_SPARSE_UPPER) || hint->diag != ORB_SPARSE_NON_UNIT ||
      hint->operation == ORB_SPARSE_OP_C)
    return ORB_SPARSE_UNSUPPORTED;
  const bool lower = hint->fill == ORB_SPARSE_LOWER;
  if (const int32_t s = K::create_gen_from_sym(reinterpret_cast<orb_sparse_matrix>(h), hint->fill)) return s;
  SparseRecord<T, I> *copy = lower ? h->general_from_lower : h->general_from_upper;
  if (!optimization_record(copy)) return ORB_SPARSE_NO_MEMORY;
  bool existed = false;
  if (const int32_t s = partition(copy, 1, &existed)) return s;
  hint->procedure = lower ? orb_sparse_optimized_csr_mv_nsln<T, I> : orb_sparse_optimized_csr_mv_nsun<T, I>;
  return ORB_SPARSE_OK;
}

template <class T, class I>
int32_t optimize_bsr(SparseHandle<T, I> *h, SparseHint<T, I> *hint) {
  if (!h || !hint) return ORB_SPARSE_NULL_POINTER;
  if (hint->type == ORB_SPARSE_SYMMETRIC) return symmetric_bsr(h, hint);
  const int32_t op = hint->operation;
  SparseRecord<T, I> *r = op == ORB_SPARSE_OP_N ? h->primary : h->transposed;
  if (!r) return ORB_SPARSE_INTERNAL;
  if (!optimization_record(r)) return ORB_SPARSE_NO_MEMORY;
  if (hint->type != ORB_SPARSE_GENERAL || !r->eligible) return ORB_SPARSE_UNSUPPORTED;
  bool existed = false;
  if (const int32_t s = partition(r, 1, &existed)) return s;
  hint->procedure = op == ORB_SPARSE_OP_N ? orb_sparse_optimized_csr_mv_ng<T, I> : orb_sparse_optimized_csr_mv_tg<T, I>;
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::thr

using namespace orb::thr;

#define ORB_SPARSE_OPTIMIZE_ENTRIES(p, T, I, w)                                                            \
  extern "C" int32_t orb_sparse_##p##_optimize_csr_mv_##w(orb_sparse_matrix A, void *hint) {              \
    return optimize_csr(orb::sparse::handle_cast<T, I>(A), static_cast<orb::sparse::SparseHint<T, I> *>(hint));        \
  }                                                                                                        \
  extern "C" int32_t orb_sparse_##p##_optimize_bsr_mv_##w(orb_sparse_matrix A, void *hint) {              \
    return optimize_bsr(orb::sparse::handle_cast<T, I>(A), static_cast<orb::sparse::SparseHint<T, I> *>(hint));        \
  }

ORB_SPARSE_EACH(ORB_SPARSE_OPTIMIZE_ENTRIES)
