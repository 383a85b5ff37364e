// A complex product computed as a real product of twice the size.
//
// C = alpha op(A) op(B) + beta C for complex matrices, written with the real
// view of C: a column-major complex m x n matrix is, element for element, a
// real 2m x n matrix with leading dimension 2 ldc, each complex entry's real
// part above its imaginary part.  The same holds for op(B) when it is B
// itself.  With X the real 2m x 2k matrix that holds each entry x = alpha a
// of alpha op(A) as the 2 x 2 block
//
//     [ re x  -im x ]
//     [ im x   re x ]
//
// the real product X B' (B' the real view of op(B)) is exactly the complex
// product: row 2i gives re(x) re(b) - im(x) im(b), row 2i+1 gives
// im(x) re(b) + re(x) im(b).  Every complex multiply-add becomes four real
// ones, as in the complex kernel, so the work is the same; what changes is
// that the real kernel, which on some processors runs well ahead of the
// complex one (gemm_route.cpp), computes it.
//
// X is built a block at a time (at most kRealFormRows rows of op(A) by
// kRealFormDepth columns) so that it stays small and in cache; op(B) is
// copied into a block only when it is transposed.  Products of several depth
// blocks add into C, beta applied with the first.
#pragma once

#include <orb/orb_types.h>

#include <cstdint>

namespace orb::core {

//! The block sizes of the real form: rows and depth of op(A) expanded at a
//! time, and columns of a transposed op(B) copied at a time.
struct RealFormBlocks {
  ORB_INT rows;
  ORB_INT depth;
  ORB_INT cols;
};

inline constexpr RealFormBlocks kRealFormBlocks{512, 512, 512};

//! The largest scratch a thread keeps for the real form: the expanded block
//! of op(A) (4 x rows x depth reals) and a copied block of op(B) (depth x cols
//! complex values) at the default blocks in double precision are 12 MiB.
inline constexpr int64_t kRealFormScratchLimit = int64_t{16} << 20;

//! C = alpha op(A) op(B) + beta C for a legal complex product with m, n, k
//! and alpha nonzero, through the real kernel; false (C untouched) when its
//! scratch cannot be had, and the caller computes it otherwise.
template <class T>
bool gemm_real_form(char transa, char transb, ORB_INT m, ORB_INT n, ORB_INT k, const T &alpha, const T *a,
                    ORB_INT lda, const T *b, ORB_INT ldb, const T &beta, T *c, ORB_INT ldc,
                    RealFormBlocks blocks = kRealFormBlocks);

}  // namespace orb::core
