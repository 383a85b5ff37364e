// Instruction-set level of the processor, for the kernels that exist in
// several versions.
#include <orb/orb_service.h>

extern "C" int orb_serv_cpu_detect(void) {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) return 4;
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return 3;
  if (__builtin_cpu_supports("avx")) return 2;
  if (__builtin_cpu_supports("sse4.2")) return 1;
  return 0;
}
