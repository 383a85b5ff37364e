// The rule that sends a product to the first or the second provider.
//
// A product goes to the second provider when it is a double-precision product
// of untransposed operands, no deeper than 64, whose operands start on cache
// lines; every other product, and every product in strict reproducibility
// mode, goes to the first.  (Products the core's own streaming kernel takes,
// blas/gemm_stream_b.hpp, never reach a provider.)
//
// Measured on an AMD EPYC of family 25 model 1 (Zen 3, AVX2), one core, the
// first provider on its Zen kernels and the second on zen3, called directly
// and interleaved, beta = 0.5; second / first, best of three rounds on the
// calling thread's CPU clock (the machine was shared).  "lines": A, B and C
// start on 64-byte boundaries, each column m doubles long; "+16": each 16 bytes
// past one, as a large malloc returns them.
//
//   dgemm NN, m = n    k = 32: lines / +16        64           128          256
//         500            1.18 / 1.10      1.11 / 0.98   1.04 / 0.98   0.99 / 0.98
//        1000            1.11 / 1.02      1.03 / 0.92   0.98 / 0.94   1.05 / 1.01
//        2000            1.26 / 1.12      1.11 / 0.98   1.06 / 0.92   0.98 / 0.97
//        4000            1.12 / 0.99      1.00 / 0.91   1.01 / 0.86   0.96 / 0.95
//
// k <= 64 on cache lines gains up to 26 % and loses nowhere; off them the
// gain goes and k = 64 loses up to 9 %; k = 128 gains too little to count.
// Only where the operands start counts: at m = 500 every other column starts
// half a line in, and the gain holds.
// The smallest products stay on the first provider: the second spends about a
// quarter of a microsecond more per call before its kernel starts.  Through
// the whole library, one core, orb with the rule against the first provider:
//
//   m x n x k     16^3  20^3  16x16x64  32x32x16  64x16x16  16x64x16  24^3  32^3  64^3
//   m n k         4096  8000     16384     16384     16384     16384 13824 32768 262144
//   orb / first   0.66  0.80      0.97      1.04      1.06      1.14  1.06  1.12   1.20
//
// so a product goes to the second provider from 16384 multiply-adds.
// Transposed dgemm, zgemm, cgemm and sgemm showed no gain of 5 % here on the
// shapes measured (0.79 to 1.06; one sgemm of k = 128 at 1.12), so they stay
// on the first provider.  docs/performance.md has the rest of the grid.
#include "blas/gemm_route.hpp"

namespace orb::core {

namespace {

constexpr int64_t kSecondProviderDepthD = 64;
constexpr double kSecondProviderLeastWork = 16384;

}  // namespace

int64_t gemm_second_provider_depth(char precision) { return precision == 'd' ? kSecondProviderDepthD : 0; }

GemmProvider gemm_provider_for(const GemmRouteCase &c) {
  if (c.strict || c.transposed || !c.on_cache_lines || c.k > gemm_second_provider_depth(c.precision) ||
      c.multiply_adds < kSecondProviderLeastWork)
    return GemmProvider::first;
  return GemmProvider::second;
}

}  // namespace orb::core
