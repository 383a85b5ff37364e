// The kernels of the character-descriptor CSR product y := alpha op(A) x +
// beta y, one per case of the descriptor, index base and operation, in s, d,
// c, z with 64-bit integers (orb_spblas_?csr...) and 32-bit ones
// (orb_spblas_lp64_?csr...).  Arguments by reference: (m, k, alpha, val,
// indx, pntrb, pntre, x, y, beta), rows with separate start and end arrays.
//
// A name reads csr, the base digit, the case, the base letter (c zero-based,
// f one-based), and how it runs:
//   ng__ tg__             general, A x and A^T x                     _omp
//   ns{l,u}{n,u}          symmetric from the lower or upper triangle,
//                         non-unit or unit diagonal                  _omp
//   nh{l,u}{n,u}          the same for a complex Hermitian matrix    _omp
//   nt{l,u}{n,u}          triangular, A x                            _omp
//   tt{l,u}{n,u}          triangular, A^T x                          _seq
//   na{l,u}_              antisymmetric from a strict triangle       _omp
//   nd_{n,u}              diagonal                                   _seq
// Every _omp kernel cuts its rows by the row-balancing rule of the threading
// layer and runs the parts as its sections, looked up at run time (the core
// never links upward).  The row-gathering cases (general and triangular A x)
// write each part's rows of y; the scattering ones (A^T x, and the symmetric,
// Hermitian and antisymmetric matrices, whose rows reach every entry of y)
// add each part into a private y, zeroed by the part, and the calling thread
// then forms beta y plus their sum (beta exactly 0 never reads y).  Without a
// threading layer, for a product too small to share (under 16384 units of
// one per entry and one per row a part), or without memory for the private
// vectors, they run on the calling thread.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/orb_threader.h>

#include "partition/rows.hpp"
#include "precision.hpp"
#include "scratch.hpp"
#include "sparse/walk.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>

namespace orb::sparse {
namespace {

constexpr int64_t kUnitsPerPart = 16384;

//! Row r's start, and for r = m the last row's end: the cost accessor of the
//! row-balancing rule over separate start and end arrays.
template <class I>
struct LegacyStarts {
  const I *start, *end;
  I m;
  I operator[](I r) const { return r < m ? start[r] : end[m - 1]; }
};

template <class T, class I>
struct LegacyProduct {
  int32_t op;
  orb_sparse_descr d;
  I m, k, base;
  T alpha, beta;
  const T *val;
  const I *indx, *pntrb, *pntre;
  const T *x;
  T *y;

  //! The product of rows [first, last) alone (all rows when last < 0).
  void rows(I first, I last) const {
    EntryProduct<T, I> p(op, d, m, k, 1, alpha, x, beta, y, first, last);
    const I end = last < 0 ? m : last;
    for (I i = first; i < end; ++i)
      for (I e = pntrb[i] - base; e < pntre[i] - base; ++e) p.entry(i, indx[e] - base, val[e]);
    p.finish();
  }
};

using Sections = void (*)(int, void *, orb_threader_fn);
using Limit = int (*)(void);

//! How an _omp kernel shares its rows: each part writes its own rows of y
//! (gather), or adds into a private y that the parts' sum then merges into y
//! (scatter); _seq kernels do not share.
enum class Cut { none, gather, scatter };

template <class T, class I>
void run_legacy(const LegacyProduct<T, I> &p, Cut cut) {
  using P = Precision<T>;
  static const auto sections = reinterpret_cast<Sections>(dlsym(RTLD_DEFAULT, "orb_stx_serv_threader_sections"));
  static const auto limit = reinterpret_cast<Limit>(dlsym(RTLD_DEFAULT, "orb_stx_serv_threader_get_num_threads_limit"));
  if (p.m <= 0) return;
  const I entries = p.pntre[p.m - 1] - p.pntrb[0];
  int parts = cut != Cut::none && sections && limit ? limit() : 1;
  parts = static_cast<int>(std::min<int64_t>(parts, (entries + p.m) / kUnitsPerPart));
  // A scattering product adds into a private y of the output's length per
  // part (rows of a symmetric matrix reach every entry of y); without that
  // memory it runs on the calling thread.
  const int64_t len = p.op == ORB_SPARSE_OP_N ? p.m : p.k;
  Scratch<T> partial(cut == Cut::scatter && parts > 1 ? parts * std::max<int64_t>(p.m, p.k) : 0, 64,
                     Allocator::plain);
  if (parts <= 1 || (cut == Cut::scatter && !partial)) {
    p.rows(0, -1);
    return;
  }
  struct Context {
    const LegacyProduct<T, I> *p;
    LegacyStarts<I> starts;
    I entries;
    T *partial;  //!< null for a gathering product
    int64_t stride;
    std::atomic<int> used;
  } ctx{&p, {p.pntrb, p.pntre, p.m}, entries, partial.get(), std::max<int64_t>(p.m, p.k), {0}};
  // The threader runs as many sections as its arena has threads, at most the
  // number asked for, and tells each section how many there are.
  sections(parts, &ctx, [](int part, int, int count, void *c) {
    Context &x = *static_cast<Context *>(c);
    const I first = thr::start_row<I>(part, count, x.starts, x.p->base, x.p->m, x.entries);
    const I last = part + 1 == count ? x.p->m : thr::start_row<I>(part + 1, count, x.starts, x.p->base, x.p->m, x.entries);
    if (!x.partial) {
      if (first < last) x.p->rows(first, last);
      return 0;
    }
    x.used.store(count);
    LegacyProduct<T, I> mine = *x.p;
    mine.y = x.partial + part * x.stride;
    mine.beta = P::one();
    for (int64_t i = 0; i < x.stride; ++i) mine.y[i] = P::zero();
    if (first < last) mine.rows(first, last);
    return 0;
  });
  if (!ctx.partial) return;
  const bool beta_zero = P::is_zero(p.beta);
  for (int64_t i = 0; i < len; ++i) {
    T sum = beta_zero ? P::zero() : P::mul(p.beta, p.y[i]);
    for (int q = 0; q < ctx.used.load(); ++q) sum = P::add(sum, ctx.partial[q * ctx.stride + i]);
    p.y[i] = sum;
  }
}

template <class T, class I, int32_t Type, int32_t Fill, int32_t Diag, int32_t Op, bool Omp, int Base>
void legacy_kernel(const I *m, const I *k, const T *alpha, const T *val, const I *indx, const I *pntrb,
                   const I *pntre, const T *x, T *y, const T *beta) {
  const LegacyProduct<T, I> p{Op, {Type, Fill, Diag}, *m, *k, Base, *alpha, *beta, val, indx, pntrb, pntre,
                              x, y};
  constexpr bool gathers = Op == ORB_SPARSE_OP_N && (Type == ORB_SPARSE_GENERAL || Type == ORB_SPARSE_TRIANGULAR);
  run_legacy(p, !Omp ? Cut::none : gathers ? Cut::gather : Cut::scatter);
}

}  // namespace
}  // namespace orb::sparse

#define ORB_SPBLAS_CSR_KERNEL(p, T, I, prefix, base, letter, name, type, fill, diag, op, run)                     \
  extern "C" void orb_spblas_##prefix##p##csr##base##name##letter##__mvout_##run(                                 \
      const I *m, const I *k, const T *alpha, const T *val, const I *indx, const I *pntrb, const I *pntre,        \
      const T *x, T *y, const T *beta) {                                                                          \
    orb::sparse::legacy_kernel<T, I, type, fill, diag, op, ORB_SPBLAS_IS_OMP_##run, base>(m, k, alpha, val, indx, \
                                                                                         pntrb, pntre, x, y, beta); \
  }
#define ORB_SPBLAS_IS_OMP_omp true
#define ORB_SPBLAS_IS_OMP_seq false

#define ORB_SPBLAS_CSR_BASES(p, T, I, prefix, name, type, fill, diag, op, run)  \
  ORB_SPBLAS_CSR_KERNEL(p, T, I, prefix, 0, c, name, type, fill, diag, op, run) \
  ORB_SPBLAS_CSR_KERNEL(p, T, I, prefix, 1, f, name, type, fill, diag, op, run)
#define ORB_SPBLAS_CSR_ALL(p, T, I, prefix) ORB_SPBLAS_CSR_CASES(ORB_SPBLAS_CSR_BASES, p, T, I, prefix)

ORB_SPBLAS_EACH(ORB_SPBLAS_CSR_ALL)
