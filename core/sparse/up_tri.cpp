// The strict upper triangle of a symmetric matrix stored in full with a unit
// diagonal, and its product y := alpha A x + beta y on the calling thread:
// half the entries a full product reads, each used twice (at its place and
// at its mirror), and no diagonal at all.  An entry right of column rows - 1
// (a matrix wider than it is tall) has no mirror and counts once.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/copies.hpp"

namespace orb::sparse {

template <class T, class I>
void destroy_up_tri_from_full_sym_data(OptimizationRecord *o) {
  auto *d = static_cast<UpTriData<T, I> *>(o->up_tri_from_full_sym_data);
  if (!d) return;
  orb_serv_free(d->row_ptr);
  orb_serv_free(d->col);
  orb_serv_free(d->values);
  orb_serv_free(d);
  o->up_tri_from_full_sym_data = nullptr;
}
template void destroy_up_tri_from_full_sym_data<double, int32_t>(OptimizationRecord *);
template void destroy_up_tri_from_full_sym_data<double, int64_t>(OptimizationRecord *);

namespace {

//! Fills the 64-byte data from the record's entries right of the diagonal;
//! false without memory (the caller destroys what was made).
template <class T, class I>
bool fill_up_tri_from_full_sym_data(const SparseRecord<T, I> &r, UpTriData<T, I> *d) {
  I stored = 0;
  for (I i = 0; i < r.rows; ++i)
    for (I k = r.row_start[i] - r.base; k < r.row_end[i] - r.base; ++k) stored += r.col_index[k] - r.base > i;
  d->rows = r.rows;
  d->row_ptr = allocate<I>(r.rows + 1);
  d->col = allocate<I>(stored + 1);
  d->values = allocate<T>(stored + 1);
  if (!d->row_ptr || !d->col || !d->values) return false;
  I at = 0;
  for (I i = 0; i < r.rows; ++i) {
    d->row_ptr[i] = at;
    for (I k = r.row_start[i] - r.base; k < r.row_end[i] - r.base; ++k)
      if (r.col_index[k] - r.base > i) d->col[at] = r.col_index[k] - r.base, d->values[at++] = r.values[k];
  }
  d->row_ptr[r.rows] = at;
  return true;
}

template <class T, class I>
int32_t build(SparseHandle<T, I> *h) {
  SparseRecord<T, I> *r = h ? h->primary : nullptr;
  if (!r || !r->opt) return ORB_SPARSE_INTERNAL;
  if (r->opt->up_tri_from_full_sym_data) return ORB_SPARSE_OK;
  auto *d = zeroed<UpTriData<T, I>>(64, 64);
  r->opt->up_tri_from_full_sym_data = d;
  if (d && fill_up_tri_from_full_sym_data(*r, d)) return ORB_SPARSE_OK;
  destroy_up_tri_from_full_sym_data<T, I>(r->opt);
  return ORB_SPARSE_INTERNAL;
}

template <class T, class I>
void product(const void *data, T alpha, const T *x, T beta, T *y) {
  using P = Precision<T>;
  const auto *d = static_cast<const UpTriData<T, I> *>(data);
  for (I i = 0; i < d->rows; ++i)
    y[i] = P::add(P::is_zero(beta) ? P::zero() : P::mul(beta, y[i]), P::mul(alpha, x[i]));
  for (I i = 0; i < d->rows; ++i) {
    const T axi = P::mul(alpha, x[i]);
    T sum = P::zero();
    for (I k = d->row_ptr[i]; k < d->row_ptr[i + 1]; ++k) {
      const I j = d->col[k];
      sum = P::add(sum, P::mul(d->values[k], x[j]));
      if (j < d->rows) y[j] = P::add(y[j], P::mul(d->values[k], axi));
    }
    y[i] = P::add(y[i], P::mul(alpha, sum));
  }
}

}  // namespace
}  // namespace orb::sparse

#define ORB_SPARSE_UP_TRI_ENTRIES(p, T, I, w)                                                                    \
  extern "C" int32_t orb_sparse_##p##_fill_up_tri_from_full_sym_data_##w(orb_sparse_matrix A) {                 \
    return orb::sparse::build(orb::sparse::handle_cast<T, I>(A));                                                \
  }                                                                                                              \
  extern "C" void orb_sparse_##p##_up_tri_sym_mv_ker_##w(const void *data, T alpha, const T *x, T beta, T *y) {  \
    orb::sparse::product<T, I>(data, alpha, x, beta, y);                                                         \
  }

ORB_SPARSE_EACH(ORB_SPARSE_UP_TRI_ENTRIES)
