// Instruction-set level of the processor, for the kernels that exist in
// several versions.
#include "service/processor.hpp"

#include <orb/orb_service.h>

extern "C" int orb_serv_cpu_detect(void) {
  const orb::core::ProcessorFeatures &f = orb::core::this_processor();
  if (f.avx512f) return 4;
  if (f.avx2 && f.fma) return 3;
  if (f.avx) return 2;
  if (f.sse4_2) return 1;
  return 0;
}
