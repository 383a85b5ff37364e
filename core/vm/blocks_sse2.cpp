// The 128-bit SLEEF kernels, which every x86-64 processor runs (SLEEF's
// 128-bit entries pick their own best variant at run time).
#include <emmintrin.h>

#define ORB_VM_FILL fill_blocks_sse2
#define ORB_VM_SLEEF_D(stem, acc) Sleef_##stem##d2##acc
#define ORB_VM_SLEEF_F(stem, acc) Sleef_##stem##f4##acc
#include "vm/blocks.inc"
