// The rule that sends a product to the first or the second provider.
//
// Where the second provider runs its AVX-512 kernels (skx), a double product
// goes to it when min(m, n) > 64 and m n k > 6e6, and a double-complex one
// goes to its real kernel in the product's real form (gemm_real_form.hpp)
// when min(m, n) > 64 and m n k > 3.2e7; single and single-complex products
// stay on the first.
// Elsewhere a product goes to the second provider when it is a double product
// of untransposed operands, no deeper than 64, whose operands start on cache
// lines, with at least 16384 multiply-adds.  Every other product, and every
// product in strict reproducibility mode, goes to the first.  (Products the
// core's own streaming kernel takes, blas/gemm_stream_b.hpp, never reach a
// provider.)
//
// AVX-512: measured on an AMD EPYC of family 26 model 2 (Zen 5), one core,
// the first provider on its Cooperlake kernels and the second on skx, called
// directly and interleaved, alpha = 1, beta = 0.5, best of five rounds on the
// calling thread's CPU clock (the machine was shared with builds); second /
// first:
//
//   dgemm NN squares   100: 0.58   128: 0.99   160: 1.07   200: 1.05
//                      256: 1.10   500: 1.15  1000: 1.13  2000: 1.07-1.09
//   dgemm NN pieces    500x1000x1000: 1.20   2000x1000x2000: 1.12
//                      100x200x200: 1.01     200x100x200: 0.95
//   dgemm TN/NT/TT     200: 1.07   500 (TT): 1.12   1000: 1.13   2000: 1.09-1.13
//   short k            1000x2000x128: 1.29   2000x1000x128: 1.27
//                      2000x4000x64: 1.42    4000x2000x64: 1.33
//   narrow             2000x64x4000: 0.97    4000x64x4000: 0.98
//   zgemm              64: 1.01   100: 1.08   200: 1.20   500 (TN): 1.19   1000: 1.15
//   sgemm 2000: 0.90, 2000x2000x128: 1.03; cgemm 1000: 0.83
//
// The other double level-3 kernels follow dgemm there, from the same work
// (m n times the order of the triangle or symmetric matrix; n^2 k for the
// rank updates).  Order 2000, one core, through orb-bench level3 against the
// threaded second provider's own build on one thread: second / first 1.22
// (dtrsm), 1.11 (dtrmm), 1.15 (dsyrk), 1.09 (dsyr2k), 1.13 (dsymm).
//
// Operands 16 bytes off the cache lines changed none of these by more than a
// few percent (1000: 1.10, 2000x1000x128: 1.24).  zgemm does not go to the
// second provider's zgemm all the same: two threads calling the second provider's zgemm at
// once (1000 rows each of 2000 x 1000 x 1000) ran at 29 GFLOPS together
// against 86 for one thread alone, and a threaded zgemm of orb at 1000 fell
// to 35 GFLOPS on two cores, against 150 on the first provider.  Its dgemm
// has no such trouble (two threads: 2.1x one), so zgemm goes to it in the
// real form instead.  Real form / first provider, one core, the machine shared
// with builds (so within about 5 %):
//
//   zgemm NN   500x1000x1000: 1.10-1.13   1000: 1.01-1.07   2000: 1.03-1.10
//   zgemm TN   500x1000x1000: 1.08        CN: 1.09
//   zgemm NT   500x1000x1000: 1.00        CT 1000x500x1000: 0.97
//   (a transposed B is copied into a block first)
//   zgemm NN   150-400 squares: 0.94-1.09, no clear gain
//
// Scratch taken fresh for each call cost a page fault per page (1000: 0.87),
// so each thread keeps its blocks between calls.
//
// AVX2: measured on an AMD EPYC of family 25 model 1 (Zen 3), one core, the
// first provider on its Zen kernels and the second on zen3, as above with
// three rounds.  "lines": A, B and C start on 64-byte boundaries, each column
// m doubles long; "+16": each 16 bytes past one, as a large malloc returns
// them.
//
//   dgemm NN, m = n    k = 32: lines / +16        64           128          256
//         500            1.18 / 1.10      1.11 / 0.98   1.04 / 0.98   0.99 / 0.98
//        1000            1.11 / 1.02      1.03 / 0.92   0.98 / 0.94   1.05 / 1.01
//        2000            1.26 / 1.12      1.11 / 0.98   1.06 / 0.92   0.98 / 0.97
//        4000            1.12 / 0.99      1.00 / 0.91   1.01 / 0.86   0.96 / 0.95
//
// k <= 64 on cache lines gains up to 26 % and loses nowhere; off them the
// gain goes and k = 64 loses up to 9 %; k = 128 gains too little to count.
// The smallest products stay on the first provider: the second spends about a
// quarter of a microsecond more per call before its kernel starts.  Through
// the whole library, one core, orb with the rule against the first provider:
//
//   m x n x k     16^3  20^3  16x16x64  32x32x16  64x16x16  16x64x16  24^3  32^3  64^3
//   m n k         4096  8000     16384     16384     16384     16384 13824 32768 262144
//   orb / first   0.66  0.80      0.97      1.04      1.06      1.14  1.06  1.12   1.20
//
// so a product goes to the second provider from 16384 multiply-adds.
// Transposed dgemm, zgemm, cgemm and sgemm showed no gain of 5 % there on the
// shapes measured (0.79 to 1.06; one sgemm of k = 128 at 1.12), so they stay
// on the first provider.  docs/performance.md has the rest of both grids.
#include "blas/gemm_route.hpp"

#include <algorithm>

namespace orb::core {

namespace {

// AVX-512 second provider.
constexpr int64_t kWideLeastSide = 65;         // min(m, n): 64 columns tie
constexpr double kWideLeastWorkD = 6e6;        // above m n k of 200 x 100 x 200 (0.95)
constexpr double kWideLeastWorkZ = 3.2e7;      // above 317^3: the real form's blocks fill up

// Other second providers.
constexpr int64_t kShallowDepthD = 64;
constexpr double kShallowLeastWork = kGemmLeastRoutedWork;

GemmProvider wide_rule(const GemmRouteCase &c, double work) {
  if (std::min(c.m, c.n) < kWideLeastSide) return GemmProvider::first;
  if (c.precision == 'd' && work > kWideLeastWorkD) return GemmProvider::second;
  if (c.precision == 'z' && work > kWideLeastWorkZ) return GemmProvider::second_real_form;
  return GemmProvider::first;
}

GemmProvider shallow_rule(const GemmRouteCase &c, double work) {
  if (c.precision != 'd' || c.transposed || !c.on_cache_lines || c.k > kShallowDepthD || work < kShallowLeastWork)
    return GemmProvider::first;
  return GemmProvider::second;
}

}  // namespace

bool level3_goes_to_second(double multiply_adds, bool strict, bool second_wide) {
  return second_wide && !strict && multiply_adds > kWideLeastWorkD;
}

GemmProvider gemm_provider_for(const GemmRouteCase &c) {
  if (c.strict) return GemmProvider::first;
  const double work = static_cast<double>(c.m) * static_cast<double>(c.n) * static_cast<double>(c.k);
  return c.second_wide ? wide_rule(c, work) : shallow_rule(c, work);
}

}  // namespace orb::core
