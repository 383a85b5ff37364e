// Right-hand sides: a triangular solve cut into independent blocks of the
// right-hand sides it solves for (and a symmetric product into blocks of the
// columns or rows of C, which cut the same way).
#pragma once

#include "partition/range.hpp"

namespace orb::thr {

//! Fewest right-hand sides a worker of a triangular solve takes.
constexpr int64_t kRhsPerWorker = 32;
//! Fewest multiply-adds a worker of a triangular solve takes.
constexpr int64_t kRhsWorkPerWorker = int64_t{1} << 17;

//! Workers for a solve with a triangle of order `order` and `rhs`
//! right-hand sides under a budget of T: min(T, rhs div 32,
//! order^2 rhs / 2 div 2^17), at least 1 (order, rhs >= 0).
int64_t rhs_workers(int64_t order, int64_t rhs, int64_t budget);

//! Worker i's right-hand sides when rhs of them fall onto w workers: the
//! balanced ranges of balanced.hpp (rhs >= 0, w > 0, 0 <= i < w).
Range rhs_range(int64_t rhs, int64_t w, int64_t i);

}  // namespace orb::thr
