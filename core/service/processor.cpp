// This processor's features, from the compiler's processor-detection built-ins.
#include "service/processor.hpp"

namespace orb::core {

namespace {

ProcessorFeatures read_features() {
  __builtin_cpu_init();
  ProcessorFeatures f;
  f.amd = __builtin_cpu_is("amd");
  f.sse3 = __builtin_cpu_supports("sse3");
  f.ssse3 = __builtin_cpu_supports("ssse3");
  f.sse4_2 = __builtin_cpu_supports("sse4.2");
  f.avx = __builtin_cpu_supports("avx");
  f.avx2 = __builtin_cpu_supports("avx2");
  f.fma = __builtin_cpu_supports("fma");
  f.avx512f = __builtin_cpu_supports("avx512f");
  f.avx512dq = __builtin_cpu_supports("avx512dq");
  f.avx512bw = __builtin_cpu_supports("avx512bw");
  f.avx512vl = __builtin_cpu_supports("avx512vl");
  f.avx512bf16 = __builtin_cpu_supports("avx512bf16");
  return f;
}

}  // namespace

const ProcessorFeatures &this_processor() {
  static const ProcessorFeatures features = read_features();
  return features;
}

IsaTier tier_of(const ProcessorFeatures &f) {
  // The extension each tier adds to the one below it, in the order of the tiers.
  const bool adds[] = {f.sse3,  f.ssse3,       f.sse4_2, f.avx, f.avx2 && f.fma,
                       f.avx512f && f.avx512dq && f.avx512bw && f.avx512vl, f.avx512bf16};
  int tier = 0;
  while (tier < static_cast<int>(sizeof adds / sizeof adds[0]) && adds[tier]) ++tier;
  return static_cast<IsaTier>(tier);
}

}  // namespace orb::core
