// The provider's kernel sets, best first, and the choice among them.
//
//   processor                                   set
//   AVX-512 F/DQ/BW/VL and bfloat16             Cooperlake
//   AVX-512 F/DQ/BW/VL                          SkylakeX
//   AVX2 and FMA, AMD                           Zen
//   AVX2 and FMA                                Haswell
//   AVX                                         Sandybridge
//   SSE4.2                                      Nehalem
//   SSSE3                                       Core2
//   SSE3                                        Prescott
//
// On the processors its model table knows, the provider picks the same sets
// by itself, AMD's AVX-512 parts included (Cooperlake); it differs on AMD's
// parts before Zen and on Hygon's, which have sets of their own there and
// get the Intel set of their tier here.  Cooperlake is SkylakeX with bfloat16
// kernels added; the s, d, c and z products are the same in both.
#include "blas/provider_kernels.hpp"

#include <strings.h>

namespace orb::core {

const provider_kernel_set kProviderKernelSets[] = {
    {"Cooperlake", isa_tier::avx512_bf16, false},
    {"SkylakeX", isa_tier::avx512, false},
    {"Zen", isa_tier::avx2, true},
    {"Haswell", isa_tier::avx2, false},
    {"Sandybridge", isa_tier::avx, false},
    {"Nehalem", isa_tier::sse4_2, false},
    {"Core2", isa_tier::ssse3, false},
    {"Prescott", isa_tier::sse3, false},
};
const std::size_t kProviderKernelSetCount = sizeof kProviderKernelSets / sizeof kProviderKernelSets[0];

const char *provider_kernels_for(const processor_features &f) {
  const isa_tier tier = tier_of(f);
  for (const provider_kernel_set &s : kProviderKernelSets)
    if (s.needs <= tier && (f.amd || !s.amd_only)) return s.name;
  return nullptr;
}

bool provider_kernel_tier(const char *name, isa_tier &tier) {
  for (const provider_kernel_set &s : kProviderKernelSets)
    if (name && strcasecmp(name, s.name) == 0) {
      tier = s.needs;
      return true;
    }
  return false;
}

}  // namespace orb::core
