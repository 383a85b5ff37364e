// The direct sparse solver's public names (orb_kestrel.h): the default
// options, and each phase handed to the core, which checks every argument.
// In verbose mode each phase prints one line: the call's name, its sizes
// and status, and its time.
#include <orb/internal/orb_kst_kernels.h>
#include <orb/orb_kestrel.h>

#include "precision.hpp"
#include "report.hpp"

namespace orb::iface {
namespace {

//! Runs one phase and, in verbose mode, reports it with its arguments (its
//! sizes are 64-bit integers by value) and its status.
template <class Call, class Describe>
orb_kestrel_status phase(Call &&call, Describe &&describe) {
  int32_t status = 0;
  run_reported(kIlp64, [&] { status = call(); },
               [&](CallText &text) {
                 describe(text);
                 text.integer(int64_t{status});
               });
  return static_cast<orb_kestrel_status>(status);
}

}  // namespace
}  // namespace orb::iface

extern "C" void orb_kestrel_default_options(orb_kestrel_options *options) {
  if (!options) return;
  *options = orb_kestrel_options{};
  options->matrix_type = ORB_KESTREL_POSITIVE_DEFINITE;
  options->triangle = ORB_KESTREL_UPPER;
  options->ordering = ORB_KESTREL_NESTED_DISSECTION;
  options->index_bits = 32;
  options->index_base = 0;
  options->permutation = nullptr;
}

extern "C" orb_kestrel_status orb_kestrel_analyse(orb_kestrel_handle *handle, int64_t n, const void *row_ptr,
                                                  const void *col_index, const orb_kestrel_options *options) {
  return orb::iface::phase(
      [&] { return orb_kst_analyse(handle, n, row_ptr, col_index, options); },
      [&](orb::iface::CallText &text) {
        text.routine("orb_kestrel_analyse").integer(n);
        if (options) text.integer(int64_t{options->ordering}).integer(int64_t{options->triangle});
      });
}

#define ORB_KESTREL_ENTRIES(p, P, T)                                                                           \
  extern "C" orb_kestrel_status orb_kestrel_##p##_factor(orb_kestrel_handle handle, const T *values) {          \
    return orb::iface::phase(                                                                                  \
        [&] { return orb_kst_##p##_factor(handle, values); },                \
        [&](orb::iface::CallText &text) { text.routine("orb_kestrel_" #p "_factor").address(handle); });       \
  }                                                                                                            \
  extern "C" orb_kestrel_status orb_kestrel_##p##_solve(orb_kestrel_handle handle, int64_t nrhs, const T *b,    \
                                                        int64_t ldb, T *x, int64_t ldx) {                      \
    return orb::iface::phase(                                                                                  \
        [&] { return orb_kst_##p##_solve(handle, nrhs, b, ldb, x, ldx); },   \
        [&](orb::iface::CallText &text) {                                                                      \
          text.routine("orb_kestrel_" #p "_solve").address(handle).integer(nrhs).integer(ldb).integer(ldx);    \
        });                                                                                                    \
  }
ORB_FOR_EACH_PRECISION(ORB_KESTREL_ENTRIES)
#undef ORB_KESTREL_ENTRIES

extern "C" orb_kestrel_status orb_kestrel_get_statistics(orb_kestrel_handle handle,
                                                         orb_kestrel_statistics *statistics) {
  return static_cast<orb_kestrel_status>(orb_kst_get_statistics(handle, statistics));
}

extern "C" void orb_kestrel_destroy(orb_kestrel_handle handle) { orb_kst_destroy(handle); }
