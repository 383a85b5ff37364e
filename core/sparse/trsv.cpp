// The diagonal data of a record and the default triangular solve
// y := alpha inv(op(A)) x, for every format, operation and triangular
// descriptor, on the calling thread.
//
// The descriptor names the triangle of the stored entries that forms A
// (symmetric and Hermitian descriptors name a triangle the same way): fill
// 40 keeps the entries with j <= i, 41 those with j >= i; a block triangular
// descriptor compares block coordinates, and its unit diagonal makes each
// diagonal block the identity.  Entries outside the triangle are never read.
// A unit diagonal is never read either; a non-unit one is the sum of the
// row's stored diagonal entries, and a row without one, or with one that is
// zero or not finite, refuses the solve (3) before anything is written.
//
// Which loop runs depends on how the stored lines meet op(A):
//   - lines are rows of op(A) (CSR untransposed, CSC transposed): each row
//     gathers its solved neighbours, y_i := (alpha x_i - sum a_ij y_j) / a_ii,
//     rows ascending for a lower op(A), descending for an upper one;
//   - lines are columns of op(A) (CSR transposed, CSC untransposed): y starts
//     as alpha x, each column is divided by its diagonal when its turn comes
//     and then scattered into the rows still to come;
//   - COO and BSR entries are first gathered into rows of op(A) in scratch
//     (2 when memory is short), then solved as the first case.
// A non-unit block triangular or block diagonal solve with blocks larger
// than 1 x 1 needs dense block solves and answers 6.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>

#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/solve.hpp"
#include "sparse/walk.hpp"

#include <cstring>

namespace orb::sparse {

template <class T, class I>
void destroy_diagonal_data(void *data) {
  auto *d = static_cast<DiagonalData<T, I> *>(data);
  if (!d) return;
  orb_serv_free(d->values);
  orb_serv_free(d);
}
template void destroy_diagonal_data<double, int32_t>(void *);
template void destroy_diagonal_data<double, int64_t>(void *);

namespace {

//! Scalar rows of a record (BSR counts blocks).
template <class T, class I>
I scalar_rows(int32_t format, const SparseRecord<T, I> &r) {
  return format == kFormatBsr ? r.rows * r.block : r.rows;
}

//! f(i, j, v) for every stored entry, in scalar coordinates from 0.
template <class T, class I, class F>
void each_stored(int32_t format, const SparseRecord<T, I> &r, F &&f) {
  if (format == kFormatCoo) {
    for (I k = 0; k < r.entries; ++k) f(r.coo_row[k] - r.base, r.col_index[k] - r.base, r.values[k]);
    return;
  }
  for_each_entry(r, format == kFormatCsc, f);
}

//! Fills d (rows and values in place) from the record; false without memory.
template <class T, class I>
bool fill_diagonal(int32_t format, const SparseRecord<T, I> &r, DiagonalData<T, I> &d) {
  Scratch<unsigned char> seen(d.rows, 64, Allocator::plain);
  if (d.rows > 0 && !seen) return false;
  if (d.rows > 0) std::memset(seen.get(), 0, static_cast<size_t>(d.rows));
  for (I i = 0; i < d.rows; ++i) d.values[i] = Precision<T>::zero();
  each_stored(format, r, [&](I i, I j, const T &v) {
    if (i != j || i >= d.rows) return;
    d.values[i] = add(d.values[i], v);
    seen.get()[i] = 1;
  });
  count_problems(d, seen.get());
  return true;
}

template <class T, class I>
void *create_diagonal_data(I rows) {
  auto *d = zeroed<DiagonalData<T, I>>();
  if (!d) return nullptr;
  d->rows = rows;
  d->values = allocate<T>(rows > 0 ? rows : 1);
  if (!d->values) {
    orb_serv_free(d);
    return nullptr;
  }
  return d;
}

template <class T, class I>
int32_t prepare_diagonal_data(void *data, const void *record, int32_t format, orb_sparse_descr, int32_t diag,
                              int32_t flag) {
  auto *d = static_cast<DiagonalData<T, I> *>(data);
  const auto *r = static_cast<const SparseRecord<T, I> *>(record);
  if (!d || !r) return ORB_SPARSE_INTERNAL;
  d->state = 0;
  if (diag == ORB_SPARSE_UNIT) {
    for (I i = 0; i < d->rows; ++i) d->values[i] = Precision<T>::one();
    d->missing = d->zero = d->nonfinite = 0;
  } else if (!fill_diagonal(format, *r, *d)) {
    return ORB_SPARSE_NO_MEMORY;
  }
  d->state = kDiagonalFilled | (flag ? kDiagonalCurrent : 0);
  return ORB_SPARSE_OK;
}

//! One view of the stored lines: row (or column) l holds entries
//! [start[l] - base, end[l] - base) of index and values.
template <class T, class I>
struct Lines {
  const I *start, *end, *index;
  const T *values;
  I base;
};

template <class T, class I>
class Solver {
 public:
  using P = Precision<T>;

  Solver(int32_t op, orb_sparse_descr d, I block, const T *diag, T alpha, const T *x, T *y)
      : d_(d), block_(block), diag_(diag), alpha_(alpha), x_(x), y_(y) {
    conj_ = op == ORB_SPARSE_OP_C && P::is_complex;
    unit_ = d.diag == ORB_SPARSE_UNIT;
    blocks_ = d.type == ORB_SPARSE_BLOCK_TRIANGULAR;
    lower_stored_ = d.fill == ORB_SPARSE_LOWER;
  }

  //! Whether stored entry (i, j) is in the strict triangle the solve reads.
  bool keep(I i, I j) const {
    if (i == j) return false;
    const I ti = blocks_ ? i / block_ : i, tj = blocks_ ? j / block_ : j;
    if (ti == tj) return false;  // only an identity diagonal block gets here
    return lower_stored_ ? tj < ti : tj > ti;
  }
  T value(const T &v) const { return conj_ ? P::conj(v) : v; }
  T rhs(I i) const { return P::is_one(alpha_) ? x_[i] : P::mul(alpha_, x_[i]); }
  T finish(I i, const T &s) const { return unit_ ? s : divide(s, value(diag_[i])); }

  //! Lines are rows of op(A); stored(l, other) gives the stored coordinates.
  template <class Stored>
  void gather(I n, bool lower, const Lines<T, I> &a, Stored stored) {
    for (I step = 0; step < n; ++step) {
      const I i = lower ? step : n - 1 - step;
      T s = rhs(i);
      for (I k = a.start[i] - a.base; k < a.end[i] - a.base; ++k) {
        const I j = a.index[k] - a.base;
        I si, sj;
        stored(i, j, si, sj);
        if (keep(si, sj)) s = minus_product(s, value(a.values[k]), y_[j]);
      }
      y_[i] = finish(i, s);
    }
  }

  //! Lines are columns of op(A).
  template <class Stored>
  void scatter(I n, bool lower, const Lines<T, I> &a, Stored stored) {
    for (I i = 0; i < n; ++i) y_[i] = rhs(i);
    for (I step = 0; step < n; ++step) {
      const I j = lower ? step : n - 1 - step;
      y_[j] = finish(j, y_[j]);
      for (I k = a.start[j] - a.base; k < a.end[j] - a.base; ++k) {
        const I i = a.index[k] - a.base;
        I si, sj;
        stored(i, j, si, sj);
        if (keep(si, sj)) y_[i] = minus_product(y_[i], value(a.values[k]), y_[j]);
      }
    }
  }

  void diagonal_only(I n) {
    for (I i = 0; i < n; ++i) y_[i] = finish(i, rhs(i));
  }

 private:
  orb_sparse_descr d_;
  I block_;
  const T *diag_;
  T alpha_;
  const T *x_;
  T *y_;
  bool conj_ = false, unit_ = false, blocks_ = false, lower_stored_ = false;
};

template <class T, class I>
int32_t default_solve(int32_t op, orb_sparse_descr d, orb_sparse_matrix A, const T *diag, T alpha, const T *x,
                      T *y) {
  const SparseHandle<T, I> *h = handle_cast<T, I>(A);
  if (!h || !h->primary) return ORB_SPARSE_INTERNAL;
  const SparseRecord<T, I> &r = *h->primary;
  const int32_t format = h->format;
  const I b = format == kFormatBsr ? r.block : 1;
  const I n = scalar_rows(format, r);
  const bool unit = d.diag == ORB_SPARSE_UNIT;
  const bool diagonal = d.type == ORB_SPARSE_DIAGONAL || d.type == ORB_SPARSE_BLOCK_DIAGONAL;
  if ((diagonal || d.type == ORB_SPARSE_BLOCK_TRIANGULAR) && b > 1 && !unit && d.type != ORB_SPARSE_DIAGONAL)
    return ORB_SPARSE_UNSUPPORTED;
  // The diagonal the caller did not prepare is found here, before any write.
  Scratch<T> own(unit || diag ? 0 : n, 64, Allocator::plain);
  if (!unit && !diag) {
    if (n > 0 && !own) return ORB_SPARSE_NO_MEMORY;
    DiagonalData<T, I> dd{0, 0, 0, 0, own.get(), n};
    if (n > 0 && !fill_diagonal(format, r, dd)) return ORB_SPARSE_NO_MEMORY;
    if (dd.missing + dd.zero + dd.nonfinite > 0) return ORB_SPARSE_BAD_VALUE;
    diag = own.get();
  }
  Solver<T, I> solver(op, d, b, diag, alpha, x, y);
  if (diagonal) {
    solver.diagonal_only(n);
    return ORB_SPARSE_OK;
  }
  const bool transposed = op != ORB_SPARSE_OP_N;
  const bool lower = (d.fill == ORB_SPARSE_LOWER) != transposed;  // op(A) is lower triangular
  const auto as_is = [](I l, I o, I &si, I &sj) { si = l, sj = o; };
  const auto swapped = [](I l, I o, I &si, I &sj) { si = o, sj = l; };
  if (format == kFormatCsr || format == kFormatCsc) {
    const Lines<T, I> lines{r.row_start, r.row_end, r.col_index, r.values, static_cast<I>(r.base)};
    const bool csr = format == kFormatCsr;
    // gather: row i of op(A), index j; CSR stores (i, j), CSC (j, i).
    // scatter: column j of op(A), index i; CSR stores (j, i), CSC (i, j).
    if (csr != transposed) {
      if (csr) solver.gather(n, lower, lines, as_is);
      else solver.gather(n, lower, lines, swapped);
    } else {
      if (csr) solver.scatter(n, lower, lines, [](I i, I j, I &si, I &sj) { si = j, sj = i; });
      else solver.scatter(n, lower, lines, [](I i, I j, I &si, I &sj) { si = i, sj = j; });
    }
    return ORB_SPARSE_OK;
  }
  // COO and BSR: the rows of op(A), its stored strict-triangle entries only.
  I count = 0;
  each_stored(format, r, [&](I i, I j, const T &) { count += solver.keep(i, j); });
  Scratch<I> ptr(n + 1, 64, Allocator::plain), col(count > 0 ? count : 1, 64, Allocator::plain);
  Scratch<T> val(count > 0 ? count : 1, 64, Allocator::plain);
  if (!ptr || !col || !val) return ORB_SPARSE_NO_MEMORY;
  I *p = ptr.get();
  for (I i = 0; i <= n; ++i) p[i] = 0;
  each_stored(format, r, [&](I i, I j, const T &) {
    if (solver.keep(i, j)) ++p[(transposed ? j : i) + 1];
  });
  for (I i = 0; i < n; ++i) p[i + 1] += p[i];
  each_stored(format, r, [&](I i, I j, const T &v) {
    if (!solver.keep(i, j)) return;
    const I row = transposed ? j : i;
    const I at = p[row]++;
    col.get()[at] = transposed ? i : j;
    val.get()[at] = v;
  });
  for (I i = n; i > 0; --i) p[i] = p[i - 1];
  p[0] = 0;
  // Every entry kept already passed the triangle test; op(A)'s row i, index j
  // is stored (i, j) untransposed and (j, i) transposed.
  const Lines<T, I> lines{p, p + 1, col.get(), val.get(), 0};
  if (transposed) solver.gather(n, lower, lines, swapped);
  else solver.gather(n, lower, lines, as_is);
  return ORB_SPARSE_OK;
}

}  // namespace
}  // namespace orb::sparse

using namespace orb::sparse;

#define ORB_SPARSE_TRSV_ENTRIES(p, T, I, w)                                                                        \
  extern "C" void *orb_sparse_##p##_create_diagonal_data_##w(I rows) { return create_diagonal_data<T, I>(rows); }  \
  extern "C" int32_t orb_sparse_##p##_prepare_diagonal_data_##w(void *data, const void *record, int32_t format,     \
                                                                orb_sparse_descr d, int32_t diag, int32_t flag) {  \
    return prepare_diagonal_data<T, I>(data, record, format, d, diag, flag);                                       \
  }                                                                                                                \
  extern "C" void orb_sparse_##p##_destroy_diagonal_data_##w(void *data) { destroy_diagonal_data<T, I>(data); }    \
  extern "C" int32_t orb_sparse_##p##_trsv_def_##w(int32_t op, orb_sparse_descr d, orb_sparse_matrix A,             \
                                                   const T *diag, T alpha, const T *x, T *y) {                     \
    return default_solve<T, I>(op, d, A, diag, alpha, x, y);                                                       \
  }

ORB_SPARSE_EACH(ORB_SPARSE_TRSV_ENTRIES)
