// The second kernel provider, for the products it computes faster.
//
// A serial BLAS with 64-bit integers (by default the distribution's serial
// BLIS), opened privately like the first provider (blas/provider.hpp) and
// holding only the routines that blas/gemm_route.hpp sends to it.  It is an
// optimisation: a process without it, or that turned it off, runs everything
// on the first provider.
#pragma once

#include "blas/provider.hpp"

namespace orb::core {

//! Every routine the core takes from the second provider, one line each, as
//! ORB_PROVIDER_ROUTINES lists the first provider's.
#define ORB_PROVIDER2_ROUTINES(X) \
  X(dgemm, ProviderGemmFn<double>)

//! Routines it may lack: bound where it has them, null otherwise.  The
//! double-precision level-3 kernels, which the core sends to it under the same
//! rule as dgemm (blas/gemm_route.hpp).
#define ORB_PROVIDER2_OPTIONAL(X)  \
  X(dtrsm, ProviderTrsmFn<double>) \
  X(dtrmm, ProviderTrsmFn<double>) \
  X(dsyrk, ProviderSyrkFn<double>) \
  X(dsyr2k, ProviderSyr2kFn<double>) \
  X(dsymm, ProviderSymmFn<double>)

//! The second provider's routines, bound once.
struct Provider2Table {
#define ORB_PROVIDER2_FIELD(name, type) type name;
  ORB_PROVIDER2_ROUTINES(ORB_PROVIDER2_FIELD)
  ORB_PROVIDER2_OPTIONAL(ORB_PROVIDER2_FIELD)
#undef ORB_PROVIDER2_FIELD
};

//! The routine of `table` of type F, or null when the second provider has
//! none of that type: `provider2_routine(table, ProviderGemmFn<T>{})`.
template <class F>
F provider2_routine(const Provider2Table &, F) {
  return nullptr;
}
#define ORB_PROVIDER2_ROUTINE(name, type) \
  inline type provider2_routine(const Provider2Table &t, type) { return t.name; }
ORB_PROVIDER2_ROUTINES(ORB_PROVIDER2_ROUTINE)
#undef ORB_PROVIDER2_ROUTINE

//! The bound table, or null when the process has no second provider.  The
//! first call opens it.
const Provider2Table *provider2();

//! Whether the process has a second provider and it runs its AVX-512 kernels
//! (the routing rule of blas/gemm_route.hpp turns on this).
bool second_provider_wide();

}  // namespace orb::core
