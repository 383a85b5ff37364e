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
//
// The second provider's configurations, best first:
//
//   processor                                   configuration
//   AVX-512 F/DQ/BW/VL                          skx
//   AVX2 and FMA, AMD                           zen3
//   AVX2 and FMA                                haswell
//   AVX                                         sandybridge
//   SSSE3                                       penryn
//   anything else                               generic
//
// Its own detection picks zen3 on AMD's AVX2 parts too, but on a model newer
// than its release it falls back to an older configuration or to generic;
// AMD's AVX-512 parts get skx here.  The configurations after generic are
// those its detection picks on older AMD parts: recognised, never asked for.
#include "blas/provider_kernels.hpp"

#include <cstring>
#include <strings.h>

namespace orb::core {

namespace {

// The tier of the entry of `table` called `name` (any case).
template <class Entry, std::size_t N>
bool tier_by_name(const Entry (&table)[N], const char *name, IsaTier &tier) {
  for (const Entry &e : table)
    if (name && strcasecmp(name, e.name) == 0) {
      tier = e.needs;
      return true;
    }
  return false;
}

}  // namespace

const ProviderKernelSet kProviderKernelSets[] = {
    {"Cooperlake", IsaTier::avx512_bf16, false},
    {"SkylakeX", IsaTier::avx512, false},
    {"Zen", IsaTier::avx2, true},
    {"Haswell", IsaTier::avx2, false},
    {"Sandybridge", IsaTier::avx, false},
    {"Nehalem", IsaTier::sse4_2, false},
    {"Core2", IsaTier::ssse3, false},
    {"Prescott", IsaTier::sse3, false},
};
const std::size_t kProviderKernelSetCount = sizeof kProviderKernelSets / sizeof kProviderKernelSets[0];

const char *provider_kernels_for(const ProcessorFeatures &f) {
  const IsaTier tier = tier_of(f);
  for (const ProviderKernelSet &s : kProviderKernelSets)
    if (s.needs <= tier && (f.amd || !s.amd_only)) return s.name;
  return nullptr;
}

bool provider_kernel_tier(const char *name, IsaTier &tier) { return tier_by_name(kProviderKernelSets, name, tier); }

const Provider2Config kProvider2Configs[] = {
    {"skx", IsaTier::avx512, false, true},       {"zen3", IsaTier::avx2, true, true},
    {"haswell", IsaTier::avx2, false, true},     {"sandybridge", IsaTier::avx, false, true},
    {"penryn", IsaTier::ssse3, false, true},     {"generic", IsaTier::baseline, false, true},
    {"knl", IsaTier::avx512, false, false},      {"zen2", IsaTier::avx2, false, false},
    {"zen", IsaTier::avx2, false, false},        {"excavator", IsaTier::avx2, false, false},
    {"steamroller", IsaTier::avx, false, false}, {"piledriver", IsaTier::avx, false, false},
    {"bulldozer", IsaTier::avx, false, false},
};
const std::size_t kProvider2ConfigCount = sizeof kProvider2Configs / sizeof kProvider2Configs[0];

const char *provider2_config_for(const ProcessorFeatures &f) {
  const IsaTier tier = tier_of(f);
  for (const Provider2Config &c : kProvider2Configs)
    if (c.chosen && c.needs <= tier && (f.amd || !c.amd_only)) return c.name;
  return "generic";
}

bool provider2_config_tier(const char *name, IsaTier &tier) { return tier_by_name(kProvider2Configs, name, tier); }

int provider2_config_number(const char *(*arch_name)(int), const char *name) {
  for (int id = 0; name && id < 64; ++id) {
    const char *s = arch_name(id);
    if (s && std::strcmp(s, name) == 0) return id;
    if (!s || std::strcmp(s, "generic") == 0) break;
  }
  return -1;
}

}  // namespace orb::core
