// The 256-bit SLEEF kernels (built with AVX2 and FMA enabled; SLEEF's 256-bit
// entries pick their own best variant at run time).
#include <immintrin.h>

#define ORB_VM_FILL fill_blocks_avx2
#define ORB_VM_SLEEF_D(stem, acc) Sleef_##stem##d4##acc
#define ORB_VM_SLEEF_F(stem, acc) Sleef_##stem##f8##acc
#include "vm/blocks.inc"
