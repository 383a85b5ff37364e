// Pieces of the level-2 routines that read one triangle of A: the symmetric
// and Hermitian products and the triangular products cut into blocks of equal
// area, and the diagonal blocks of a blocked triangular solve.
#pragma once

#include "partition/range.hpp"
#include "partition/triangle.hpp"

namespace orb::thr {

//! Fewest entries of the triangle a worker of SYMV, HEMV or TRMV reads.
constexpr int64_t kTriangleMatvecEntriesPerWorker = int64_t{1} << 19;

//! Workers for a product with a triangle of order n under a budget of T:
//! min(T, n div 64, n (n + 1) / 2 div 2^19); 1 or less means one call.
int64_t triangle_matvec_workers(int64_t n, int64_t budget);

//! Worker i's piece of x := op(A) x for a triangle of order n: cols are the
//! entries of x it computes, rows the entries of the original x it reads
//! beyond its own (the rectangle of A between them is one GEMV).
TriangleBlock trmv_block(int64_t n, int64_t w, int64_t i, bool lower, bool transposed);

//! Order of the diagonal blocks of a TRMV worker's entries.
constexpr int64_t kTrmvBlock = 128;

//! Order of the diagonal blocks of a blocked triangular solve.
constexpr int64_t kTrsvBlock = 256;
//! Fewest entries of a triangular solve that is blocked; smaller ones are one call.
constexpr int64_t kTrsvBlockedFrom = 2048;

//! Whether a triangular solve of order n under a budget of T is blocked.
bool trsv_blocked(int64_t n, int64_t budget);

}  // namespace orb::thr
