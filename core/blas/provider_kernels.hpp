// The kernel set the core asks of its provider on a given processor.
//
// The distribution's provider is built for many processors at once and picks
// its kernel set when it is loaded: by processor model, or by the name in
// OPENBLAS_CORETYPE when that is set.  Neither suits a private copy.  Its
// model table ends with the processors of its release, and on a later one it
// falls back to its oldest 64-bit set (SSE3) whatever the processor can do;
// and the variable is meant for a program's own copy of the same library,
// not for orb's.  So the core names the set itself, by what the processor
// can do: the first of its table whose instructions the processor has.
//
// The second provider (blas/provider2.hpp) is chosen for the same way, from a
// table of its configurations: it reads the number of one of them from
// BLIS_ARCH_TYPE when it initialises.
#pragma once

#include "service/processor.hpp"

#include <cstddef>

namespace orb::core {

//! A kernel set of the provider and what it needs.
struct ProviderKernelSet {
  const char *name;  //!< as OPENBLAS_CORETYPE takes it and openblas_get_corename reports it
  IsaTier needs;
  bool amd_only;     //!< chosen only on AMD parts, where the provider itself picks it
};

//! Every set the core chooses from, best first.
extern const ProviderKernelSet kProviderKernelSets[];
extern const std::size_t kProviderKernelSetCount;

//! The best set `f` can run, or null when it runs none of them (no SSE3).
const char *provider_kernels_for(const ProcessorFeatures &f);

//! The tier of the set called `name` (any case), or false when the table has no such set.
bool provider_kernel_tier(const char *name, IsaTier &tier);

//! A configuration of the second provider and what it needs.
struct Provider2Config {
  const char *name;  //!< as the provider's bli_arch_string reports it
  IsaTier needs;
  bool amd_only;     //!< chosen only on AMD parts
  bool chosen;       //!< one the core may ask for; the others are only recognised (the provider's own picks)
};

//! Every configuration the core knows, those it chooses from first and best first.
extern const Provider2Config kProvider2Configs[];
extern const std::size_t kProvider2ConfigCount;

//! The best configuration `f` can run ("generic" at the least).
const char *provider2_config_for(const ProcessorFeatures &f);

//! The tier of the configuration called `name`, or false when the table has no such configuration.
bool provider2_config_tier(const char *name, IsaTier &tier);

//! The provider's number for the configuration `name`, which BLIS_ARCH_TYPE
//! takes: its position among the names `arch_name` (the provider's
//! bli_arch_string) gives, a list that ends with "generic"; -1 when absent.
int provider2_config_number(const char *(*arch_name)(int), const char *name);

}  // namespace orb::core
