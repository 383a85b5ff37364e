// The level-2 drivers: matrix-vector products, triangular products and
// solves, rank-1 and rank-2 updates, with 64-bit integers and their lp64
// wrappers.
//
// A level-2 routine reads its matrix once and does two flops per element it
// reads, so a second worker pays only when the matrix no longer fits the
// cache of one core and the other core's bandwidth adds to it.  The drivers
// listed in level2_threaded.hpp cut their calls where that was measured to
// pay; every other routine is one call of the core's sequential kernel (see
// docs/architecture.md for the measurements behind the choice).
#include "blas/level2_triangle.hpp"
#include "lp64.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#define ORB_LEVEL2_ENTRIES(list, name, NAME, T, S, E, A, B)                                        \
  extern "C" void orb_blas_##name(ORB_L2_PARAMS_##list(T, S, ORB_INT)) {                    \
    orb::thr::Level2Driver<orb::rules::list, T, S>::template run<&orb_blas_x##name>(ORB_L2_ARGS_##list); \
  }                                                                                          \
  extern "C" void orb_blas_lp64_##name(ORB_L2_PARAMS_##list(T, S, int)) {                   \
    orb::thr::call_lp64(orb_blas_##name, ORB_L2_ARGS_##list);                               \
  }
ORB_LEVEL2_ROUTINES(ORB_LEVEL2_ENTRIES)
