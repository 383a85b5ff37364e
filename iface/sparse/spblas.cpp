// User names of the character-descriptor products, orb_?csrmv, orb_?cscmv,
// orb_?coomv and orb_?bsrmv (64-bit integers) and their _lp64 forms (int),
// over the threading layer's decode-and-dispatch drivers.
//
// These routines have no status to return: a null argument, a negative size
// or a block size under 1 returns at once and leaves y as it was, as an
// unknown matrix kind does in the drivers.  With verbose mode on, each call
// prints one line: routine, operation, descriptor, sizes and time.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/orb_sparse.h>

#include "report.hpp"

#include <initializer_list>

namespace orb::iface {
namespace {

template <class I>
bool usable(std::initializer_list<const void *> pointers, std::initializer_list<const I *> sizes) {
  for (const void *p : pointers)
    if (!p) return false;
  for (const I *n : sizes)
    if (!n || *n < 0) return false;
  return true;
}

//! Runs the driver, reported as name(transa, matdescra, sizes...).
template <class I, class Call>
void legacy(const char *name, const char *transa, const char *matdescra, std::initializer_list<const I *> sizes,
            Call &&call) {
  run_reported(sizeof(I) == 8 ? kIlp64 : kLp64, call, [&](CallText &text) {
    text.routine(name).character(transa);
    const char kind[2] = {matdescra[0], '\0'};
    text.character(kind);
    for (const I *n : sizes) text.integer(n);
  });
}

}  // namespace
}  // namespace orb::iface

using orb::iface::legacy;
using orb::iface::usable;

#define ORB_SPARSE_LEGACY_ENTRIES(p, T, I, W, prefix)                                                             \
  extern "C" void orb_##p##csrmv##W(const char *transa, const I *m, const I *k, const T *alpha,                   \
                                    const char *matdescra, const T *val, const I *indx, const I *pntrb,           \
                                    const I *pntre, const T *x, const T *beta, T *y) {                            \
    if (!usable<I>({transa, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y}, {m, k})) return;              \
    legacy<I>("orb_" #p "csrmv" #W, transa, matdescra, {m, k}, [&] {                                              \
      orb_spblas_##prefix##orb_##p##csrmv(transa, m, k, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y);   \
    });                                                                                                           \
  }                                                                                                               \
  extern "C" void orb_##p##cscmv##W(const char *transa, const I *m, const I *k, const T *alpha,                   \
                                    const char *matdescra, const T *val, const I *indx, const I *pntrb,           \
                                    const I *pntre, const T *x, const T *beta, T *y) {                            \
    if (!usable<I>({transa, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y}, {m, k})) return;              \
    legacy<I>("orb_" #p "cscmv" #W, transa, matdescra, {m, k}, [&] {                                              \
      orb_spblas_##prefix##orb_##p##cscmv(transa, m, k, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y);   \
    });                                                                                                           \
  }                                                                                                               \
  extern "C" void orb_##p##coomv##W(const char *transa, const I *m, const I *k, const T *alpha,                   \
                                    const char *matdescra, const T *val, const I *rowind, const I *colind,        \
                                    const I *nnz, const T *x, const T *beta, T *y) {                              \
    if (!usable<I>({transa, alpha, matdescra, val, rowind, colind, x, beta, y}, {m, k, nnz})) return;             \
    legacy<I>("orb_" #p "coomv" #W, transa, matdescra, {m, k, nnz}, [&] {                                         \
      orb_spblas_##prefix##orb_##p##coomv(transa, m, k, alpha, matdescra, val, rowind, colind, nnz, x, beta, y);  \
    });                                                                                                           \
  }                                                                                                               \
  extern "C" void orb_##p##bsrmv##W(const char *transa, const I *m, const I *k, const I *lb, const T *alpha,      \
                                    const char *matdescra, const T *val, const I *indx, const I *pntrb,           \
                                    const I *pntre, const T *x, const T *beta, T *y) {                            \
    if (!usable<I>({transa, alpha, matdescra, val, indx, pntrb, pntre, x, beta, y}, {m, k, lb}) || *lb < 1)       \
      return;                                                                                                     \
    legacy<I>("orb_" #p "bsrmv" #W, transa, matdescra, {m, k, lb}, [&] {                                          \
      orb_spblas_##prefix##orb_##p##bsrmv(transa, m, k, lb, alpha, matdescra, val, indx, pntrb, pntre, x, beta,   \
                                          y);                                                                     \
    });                                                                                                           \
  }

ORB_SPARSE_LEGACY_ENTRIES(s, float, ORB_INT, , )
ORB_SPARSE_LEGACY_ENTRIES(d, double, ORB_INT, , )
ORB_SPARSE_LEGACY_ENTRIES(c, ORB_Complex8, ORB_INT, , )
ORB_SPARSE_LEGACY_ENTRIES(z, ORB_Complex16, ORB_INT, , )
ORB_SPARSE_LEGACY_ENTRIES(s, float, int, _lp64, lp64_)
ORB_SPARSE_LEGACY_ENTRIES(d, double, int, _lp64, lp64_)
ORB_SPARSE_LEGACY_ENTRIES(c, ORB_Complex8, int, _lp64, lp64_)
ORB_SPARSE_LEGACY_ENTRIES(z, ORB_Complex16, int, _lp64, lp64_)
