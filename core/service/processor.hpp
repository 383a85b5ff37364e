// What this processor can do, as far as the core's choices of kernels go: its
// own kernels' instruction set, and the kernel set it asks of the provider.
#pragma once

namespace orb::core {

//! Instruction-set levels that kernel sets are written for, each one
//! including those below it.
enum class IsaTier {
  baseline,     //!< x86-64 (SSE2)
  sse3,
  ssse3,
  sse4_2,
  avx,
  avx2,         //!< AVX2 and FMA
  avx512,       //!< AVX-512 foundation, DQ, BW and VL
  avx512_bf16,  //!< the same with the bfloat16 instructions
};

//! The processor's maker and the extensions the tiers are made of.
struct ProcessorFeatures {
  bool amd = false;  //!< an AMD part: some libraries have kernel sets of their own for these
  bool sse3 = false, ssse3 = false, sse4_2 = false, avx = false, avx2 = false, fma = false;
  bool avx512f = false, avx512dq = false, avx512bw = false, avx512vl = false, avx512bf16 = false;
};

//! This processor's features, read once.
const ProcessorFeatures &this_processor();

//! The highest tier whose every extension `f` has.
IsaTier tier_of(const ProcessorFeatures &f);

}  // namespace orb::core
