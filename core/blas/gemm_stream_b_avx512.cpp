// The streaming kernel with AVX-512 registers (this file is compiled for
// AVX-512F): tiles of 32 x 6, 24 accumulators.  Of the shapes of 24 that fit
// its 32 registers, 32 x 6 and 24 x 8 ran fastest (16 x 12 about 5 % slower).
#include "blas/gemm_stream_b_kernel.hpp"

#include <immintrin.h>

namespace orb::core {
namespace {

struct Avx512 {
  using reg = __m512d;
  using mask = __mmask8;
  static constexpr int lanes = 8, vectors = 4, columns = 6;
  static reg zero() { return _mm512_setzero_pd(); }
  static reg load(const double *p) { return _mm512_load_pd(p); }
  static void store(double *p, reg x) { _mm512_store_pd(p, x); }
  static reg loadu(const double *p) { return _mm512_loadu_pd(p); }
  static void storeu(double *p, reg x) { _mm512_storeu_pd(p, x); }
  static reg broadcast(const double *p) { return _mm512_set1_pd(*p); }
  static reg mul(reg a, reg b) { return _mm512_mul_pd(a, b); }
  static reg fma(reg a, reg b, reg c) { return _mm512_fmadd_pd(a, b, c); }
  static mask tail(int rows) { return static_cast<mask>((1u << rows) - 1u); }
  static reg load_masked(mask m, const double *p) { return _mm512_maskz_loadu_pd(m, p); }
  static void store_masked(mask m, double *p, reg x) { _mm512_mask_storeu_pd(p, m, x); }
};

}  // namespace

void stream_b_dgemm_avx512(const StreamBProduct &p) { run_stream_b<Avx512>(p); }

}  // namespace orb::core
