// The worker count of the drivers that stream a matrix once (GEMV, GER).
#pragma once

#include <cstdint>

namespace orb::thr {

//! Fewest elements of the matrix a worker streams.
constexpr int64_t kMatvecElementsPerWorker = 32768;
//! Fewest entries of the cut vector (rows or columns) a worker takes.
constexpr int64_t kMatvecLengthPerWorker = 64;

//! Workers for an m x n matrix whose len rows or columns are cut, under a
//! budget of T: min(T, len div 64, m n div 32768); 1 or less means one call.
int64_t matvec_workers(int64_t len, int64_t m, int64_t n, int64_t budget);

}  // namespace orb::thr
