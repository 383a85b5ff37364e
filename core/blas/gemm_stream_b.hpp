// The core's own kernel for double-precision products C = beta C + alpha A B,
// neither operand transposed.
//
// The provider packs both operands into its own layout before it multiplies.
// This kernel packs only A, one block of kStreamBDepth steps of k by up to
// stream_b_block_rows() rows at a time, into aligned panels, and streams B straight
// from the caller's columns: every element of B is loaded once per panel of
// rows and broadcast against a whole column of A.  Skipping the copy of B pays
// most where B is the big operand (few rows of C); with many rows it pays when
// the threaded drivers cut C into row blocks, because each worker would
// otherwise pack all of B for itself, while streamed, B is read by all of them
// from the shared cache.  Before each tile the kernel asks for the next tile of
// C, which it reads only at the end of the tile's kStreamBDepth steps.
//
// It takes k >= 256, n >= 12 and m n k above a million; m <= 256, or with
// AVX-512 any m when n >= 256 (unless the second provider runs AVX-512
// kernels of its own, which are faster there).  Below those bounds the provider's own
// small-matrix and packing kernels are as fast or faster; the measurements
// behind each bound are in docs/performance.md.
#pragma once

#include <orb/orb_types.h>

#include <algorithm>

namespace orb::core {

//! Steps of k packed and multiplied at a time: the panels of B that a tile
//! meets (6 columns of kStreamBDepth doubles) pass through the level-1
//! cache.
constexpr ORB_INT kStreamBDepth = 256;

//! Rows of A packed into one block, whose panels the tiles read in order while
//! B's columns are read once per block.  On AMD parts 1024 rows (2 MiB, more
//! than the level-2 cache: their level-3 cache keeps the panels flowing, and
//! fewer blocks mean fewer passes over B); elsewhere 512 rows (1 MiB, half of
//! a 2 MiB level-2 cache), since streaming the panels from a slower level-3
//! cache starves the tiles.  docs/performance.md has the measurements.
constexpr ORB_INT kStreamBBlockRowsAmd = 1024;
constexpr ORB_INT kStreamBBlockRowsOther = 512;

//! The block height for this processor.
ORB_INT stream_b_block_rows();

//! Largest m the kernel takes for any n, and least k.
constexpr ORB_INT kStreamBMaxRows = 256;
constexpr ORB_INT kStreamBMinDepth = 256;

//! Least n the kernel takes.
constexpr ORB_INT kStreamBMinColumns = 12;

//! Least n from which the AVX-512 version takes any number of rows.
constexpr ORB_INT kStreamBWideColumns = 256;

//! Bytes of B up to which products of more than kStreamBMaxRows rows are taken:
//! every block of rows reads all of B, which pays while the workers share it
//! from the caches.  AMD parts gained up to 4000 x 4000 (128 MB); elsewhere
//! 2000 x 2000 (32 MB) gained and 4000 x 4000 lost to the provider.
constexpr double kStreamBSharedBAmd = 1e300;
constexpr double kStreamBSharedBOther = 48.0 * 1024 * 1024;

//! Products of m n k up to this are left to the provider.
constexpr double kStreamBMinWork = 1e6;

//! Doubles of scratch the kernel needs for m rows in blocks of block_rows: A's
//! block, its rows rounded up to a whole AVX-512 register.
constexpr ORB_INT stream_b_scratch(ORB_INT m, ORB_INT block_rows) {
  return (std::min(m, block_rows) + 7) / 8 * 8 * kStreamBDepth;
}

//! One product for the kernel: C = beta C + alpha A B with A m x k, B k x n,
//! all column-major, k > 0, A packed block_rows rows at a time; pack holds
//! stream_b_scratch(m, block_rows) doubles, aligned to 64 bytes.  With beta = 0,
//! C is not read.
struct StreamBProduct {
  ORB_INT m, n, k;
  double alpha, beta;
  const double *a;
  ORB_INT lda;
  const double *b;
  ORB_INT ldb;
  double *c;
  ORB_INT ldc;
  double *pack;
  ORB_INT block_rows;
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
