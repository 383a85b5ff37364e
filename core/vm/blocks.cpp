// The widest SLEEF kernels this processor runs: 512-bit where it has AVX-512,
// 256-bit where it has AVX2 and FMA, else 128-bit.  An environment variable
// may hold the module below its best (ORB_VM_ISA=avx2 or sse2), to compare
// the sets on one machine; it never raises it above what the processor has.
#include "vm/blocks.hpp"

#include "service/processor.hpp"

#include <orb/orb_service.h>

#include <cstring>

namespace orb::vm {

namespace {

core::IsaTier requested_tier(core::IsaTier best) {
  char value[16] = {};
  if (orb_serv_getenv("ORB_VM_ISA", value, sizeof value) <= 0) return best;
  core::IsaTier asked = best;
  if (std::strcmp(value, "avx2") == 0) asked = core::IsaTier::avx2;
  if (std::strcmp(value, "sse2") == 0) asked = core::IsaTier::baseline;
  return asked < best ? asked : best;
}

BlockTable choose() {
  BlockTable t;
  const core::IsaTier tier = requested_tier(core::tier_of(core::this_processor()));
  if (tier >= core::IsaTier::avx512)
    fill_blocks_avx512(t);
  else if (tier >= core::IsaTier::avx2)
    fill_blocks_avx2(t);
  else
    fill_blocks_sse2(t);
  return t;
}

}  // namespace

const BlockTable &blocks() {
  static const BlockTable table = choose();
  return table;
}

}  // namespace orb::vm
