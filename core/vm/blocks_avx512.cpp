// The 512-bit SLEEF kernels (built with AVX-512 enabled; run only where the
// processor has it).
#include <immintrin.h>

#define ORB_VM_FILL fill_blocks_avx512
#define ORB_VM_SLEEF_D(stem, acc) Sleef_##stem##d8##acc
#define ORB_VM_SLEEF_F(stem, acc) Sleef_##stem##f16##acc
#include "vm/blocks.inc"
