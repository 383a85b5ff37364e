// The core's own kernel for double-precision products with few rows of C and
// a long inner dimension (C = beta C + alpha A B, neither operand transposed).
//
// In that shape the provider spends a large share of its time packing B, which
// is the big operand and is used by only m rows.  This kernel packs only the
// small operand A, one block of kLongKDepth steps of k at a time, into aligned
// panels, and streams B straight from the caller's columns: every element of B
// is loaded once per panel of rows and broadcast against a whole column of A.
//
// Measured against the provider's own kernel on one core (double precision,
// operands in memory, the provider on its AVX2 kernel set; ratio of times):
//
//   m \ k      512    2000   8000
//   32        1.18   1.26   1.44      (n = 128; n = 32 .. 512 alike)
//   64        1.06   1.14   1.22
//   128       1.00   1.06   1.08
//   192       0.98   1.01   1.02
//   256       0.97   0.97   0.98
//
// hence the rule of takes_long_k(): m <= 128 and k >= 2048.
#pragma once

#include <orb/orb_types.h>

namespace orb::core {

//! Steps of k packed and multiplied at a time: an A block of up to 128 x 256
//! doubles stays in the level-2 cache while the panels of B it meets pass
//! through the level-1 cache.
constexpr ORB_INT kLongKDepth = 256;

//! Largest m the kernel takes, and least k.
constexpr ORB_INT kLongKMaxRows = 128;
constexpr ORB_INT kLongKMinDepth = 2048;

//! One product for the kernel: C += alpha A B with A m x k, B k x n, all
//! column-major; pack holds round_up(m, 8) x kLongKDepth doubles, aligned to
//! 64 bytes.  C has been scaled by beta already.
struct LongKProduct {
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
//! step of k, blocks of kLongKDepth added to C in turn), so they agree bit for
//! bit.  Call one only where the processor has its instructions.
void long_k_dgemm_avx512(const LongKProduct &p);
void long_k_dgemm_avx2(const LongKProduct &p);

//! Computes C = beta C + alpha op(A) op(B) with the kernel when the product is
//! of its shape, the processor can run it and scratch is to be had; returns
//! false, touching nothing, otherwise.  Arguments are already checked.
bool long_k_dgemm(const char *transa, const char *transb, ORB_INT m, ORB_INT n, ORB_INT k, double alpha,
                  const double *a, ORB_INT lda, const double *b, ORB_INT ldb, double beta, double *c,
                  ORB_INT ldc);

}  // namespace orb::core
