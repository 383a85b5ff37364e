// The streaming kernel with AVX2 registers (this file is compiled for AVX2 and
// FMA): tiles of 8 x 6, 12 accumulators.
#include "blas/gemm_stream_b_kernel.hpp"

#include <immintrin.h>

namespace orb::core {
namespace {

struct Avx2 {
  using reg = __m256d;
  using mask = __m256i;
  static constexpr int lanes = 4, vectors = 2, columns = 6;
  static reg zero() { return _mm256_setzero_pd(); }
  static reg load(const double *p) { return _mm256_load_pd(p); }
  static void store(double *p, reg x) { _mm256_store_pd(p, x); }
  static reg loadu(const double *p) { return _mm256_loadu_pd(p); }
  static void storeu(double *p, reg x) { _mm256_storeu_pd(p, x); }
  static reg broadcast(const double *p) { return _mm256_broadcast_sd(p); }
  static reg mul(reg a, reg b) { return _mm256_mul_pd(a, b); }
  static reg fma(reg a, reg b, reg c) { return _mm256_fmadd_pd(a, b, c); }
  static mask tail(int rows) {
    // Lane i is on when i < rows: its sign bit set.
    return _mm256_cmpgt_epi64(_mm256_set1_epi64x(rows), _mm256_setr_epi64x(0, 1, 2, 3));
  }
  static reg load_masked(mask m, const double *p) { return _mm256_maskload_pd(p, m); }
  static void store_masked(mask m, double *p, reg x) { _mm256_maskstore_pd(p, m, x); }
};

}  // namespace

void stream_b_dgemm_avx2(const StreamBProduct &p) { run_stream_b<Avx2>(p); }

}  // namespace orb::core
