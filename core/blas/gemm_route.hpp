// Which provider computes a product that the core hands to a provider.
//
// The rule depends on the kernels the second provider runs.  Where they are
// its AVX-512 kernels, it is the faster of the two on every double product of
// some size, transposed or not; elsewhere only on
// shallow untransposed double products whose operands start on cache lines.
// The smallest products stay on the first provider, whose fixed cost per call
// is lower.  Strict reproducibility keeps the first provider whatever the
// product: its results must not change with the shape of the pieces a
// threaded call is cut into, and whether a piece passes the rule depends on
// the cut.  Outside strict mode the pieces of one call may go to different
// providers; their results differ only by rounding.  The measurements behind
// the rule are in gemm_route.cpp and docs/performance.md.
#pragma once

#include <cstdint>

namespace orb::core {

//! Where a product goes: a provider's kernel of its own precision, or, for a
//! complex product, the second provider's real kernel on the product's real
//! form (gemm_real_form.hpp).
enum class GemmProvider { first, second, second_real_form };

//! What the rule looks at.
struct GemmRouteCase {
  char precision;       //!< 's', 'd', 'c' or 'z'
  bool transposed;      //!< op(A) or op(B) is not the matrix itself
  int64_t m, n, k;
  bool on_cache_lines;  //!< A, B and C start on 64-byte boundaries
  bool strict;          //!< strict reproducibility is in force
  bool second_wide;     //!< the second provider runs its AVX-512 kernels
};

GemmProvider gemm_provider_for(const GemmRouteCase &c);

//! Whether a double-precision level-3 kernel other than dgemm (trsm, trmm,
//! syrk, syr2k, symm) of `multiply_adds` goes to the second provider: under
//! the AVX-512 rule's bound on work, outside strict mode.
bool level3_goes_to_second(double multiply_adds, bool strict, bool second_wide);

//! Products of fewer multiply-adds (m n k) go to the first provider under
//! every rule, so the smallest calls skip the rule altogether.
constexpr double kGemmLeastRoutedWork = 16384;

//! Whether `p` is on a 64-byte boundary.
inline bool starts_on_cache_line(const void *p) { return reinterpret_cast<std::uintptr_t>(p) % 64 == 0; }

}  // namespace orb::core
