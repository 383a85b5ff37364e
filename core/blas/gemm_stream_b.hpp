// The core's own kernel for double-precision products with few rows of C
// (C = beta C + alpha A B, neither operand transposed, m <= 256).
//
// The provider packs both operands into its own layout before it multiplies.
// With few rows, B is the big operand and each of its elements is used by
// only m rows, so packing it costs a large share of the time.  This kernel
// packs only the small operand A, one block of kStreamBDepth steps of k at a
// time, into aligned panels that stay in the level-2 cache, and streams B
// straight from the caller's columns: every element of B is loaded once per
// panel of rows and broadcast against a whole column of A.
//
// Measured against the provider on one core of an AVX-512 machine (Zen 4),
// the provider on the kernel set it picks itself, calls of the two
// interleaved; median ratio of their times (above 1: this kernel is faster):
//
//   n = 128   m \ k     500   2000   8000
//                32     1.32   1.33   1.54
//                64     1.20   1.22   1.42
//               100     1.12   1.12   1.21
//               128     1.14   1.14   1.24
//               192     1.13   1.13   1.17
//               256     1.07   1.09   1.09
//
//   n = 64 or 1000, m = 64 .. 256:  k = 64: 0.93-1.18,  k = 128: 0.94-1.20,
//                                   k = 256: 1.10-1.24,  k = 512: 0.97-1.15
//   m = 512, n = 128, k = 4000: 1.00
//
//   n of 8 or fewer: 0.45-1.29, down to 0.39 for n = 1 (packing A then
//   costs as much as the product itself); n = 12: 0.99-1.25
//
// hence the rule of stream_b_dgemm(): m <= 256, n >= 12 and k >= 256.  The AVX2
// version, timed against the provider's AVX2 kernel set on the same machine,
// came out 1.01-1.09 on shapes from 64 x 64 x 256 to 250 x 500 x 500.
#pragma once

#include <orb/orb_types.h>

namespace orb::core {

//! Steps of k packed and multiplied at a time: an A block of up to 256 x 256
//! doubles (512 KiB) stays in the level-2 cache while the panels of B it meets
//! pass through the level-1 cache.
constexpr ORB_INT kStreamBDepth = 256;

//! Largest m the kernel takes, and least k.
constexpr ORB_INT kStreamBMaxRows = 256;
constexpr ORB_INT kStreamBMinDepth = 256;

//! Least n the kernel takes: one tile's width with AVX-512.
constexpr ORB_INT kStreamBMinColumns = 12;

//! Doubles of scratch the kernel needs for m rows: A's block, its rows
//! rounded up to a whole AVX-512 register.
constexpr ORB_INT stream_b_scratch(ORB_INT m) { return (m + 7) / 8 * 8 * kStreamBDepth; }

//! One product for the kernel: C += alpha A B with A m x k, B k x n, all
//! column-major; pack holds stream_b_scratch(m) doubles, aligned to
//! 64 bytes.  C has been scaled by beta already.
struct StreamBProduct {
  ORB_INT m, n, k;
  double alpha;
  const double *a;
  ORB_INT lda;
  const double *b;
  ORB_INT ldb;
  double *c;
  ORB_INT ldc;
  double *pack;
};

//! The instruction-set versions, each in a file compiled for its set.  They
//! compute every element of C in the same order (one fused multiply-add per
//! step of k, blocks of kStreamBDepth added to C in turn), so they agree bit for
//! bit.  Call one only where the processor has its instructions.
void stream_b_dgemm_avx512(const StreamBProduct &p);
void stream_b_dgemm_avx2(const StreamBProduct &p);

//! Computes C = beta C + alpha op(A) op(B) with the kernel when the product is
//! of its shape, the processor can run it and scratch is to be had; returns
//! false, touching nothing, otherwise.  Arguments are already checked.
bool stream_b_dgemm(const char *transa, const char *transb, ORB_INT m, ORB_INT n, ORB_INT k, double alpha,
                    const double *a, ORB_INT lda, const double *b, ORB_INT ldb, double beta, double *c, ORB_INT ldc);

}  // namespace orb::core
