// Column blocks of a triangle of equal area: the cut of a symmetric rank-k
// update of one triangle of C.
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Fewest columns of C a worker of a rank-k update takes.
constexpr int64_t kTriangleColumnsPerWorker = 32;
//! Fewest multiply-adds a worker of a rank-k update takes.
constexpr int64_t kTriangleWorkPerWorker = int64_t{1} << 17;

//! Workers for a rank-k update of a triangle of order n with inner
//! dimension k under a budget of T: min(T, n div 32, n (n + 1) / 2 k div
//! 2^17), at least 1 (n, k >= 0).
int64_t triangle_workers(int64_t n, int64_t k, int64_t budget);

//! Worker i's columns of the upper (upper = true) or lower triangle of order
//! n cut among w workers into blocks of equal area (n >= 0, w > 0,
//! 0 <= i < w).
Range triangle_columns(int64_t n, int64_t w, int64_t i, bool upper);

//! Worker i's part of the triangle: its columns, and the rows of the
//! rectangle beside its diagonal block inside the triangle (below the block
//! in the lower triangle, above it in the upper one; empty for the last
//! block of the lower triangle and the first of the upper one).
struct TriangleBlock {
  Range cols, rows;
};
TriangleBlock triangle_block(int64_t n, int64_t w, int64_t i, bool upper);

//! The same for a piece whose diagonal block costs `diagonal_cost` times as
//! much per entry as its rectangle (GEMMT, whose diagonal block is built of
//! smaller products): blocks of equal cost instead of equal area.
TriangleBlock weighted_triangle_block(int64_t n, int64_t w, int64_t i, bool upper, double diagonal_cost);

//! What a GEMMT diagonal block costs per entry against a GEMM rectangle.
constexpr double kGemmtDiagonalCost = 1.12;

}  // namespace orb::thr
