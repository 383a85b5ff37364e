// What the rank-k (syrk.cpp) and rank-2k (syr2k.cpp) updates of a triangle
// share at the interface: whether the routine is Hermitian, the
// transposition letters it takes, the standard's early return, and the
// letters of the column-major twin of a row-major call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "blas_rules.hpp"
#include "precision.hpp"

namespace orb::iface {

//! T the element type, S the type of beta: the real type for herk and her2k.
template <class T, class S>
constexpr bool kHermitian = !std::is_same_v<T, S>;

//! The transposition letters the routine takes.
template <class T, class S>
const char *rank_k_ops() {
  return kHermitian<T, S> ? rules::kHerkOps : Precision<T>::is_complex ? rules::kSyrkComplexOps : rules::kSyrkRealOps;
}

//! The standard's early return: no entry of C changes.
template <class A, class S>
bool triangle_unchanged(int64_t n, int64_t k, const A &alpha, const S &beta) {
  return n == 0 || ((is_zero(alpha) || k == 0) && is_one(beta));
}

//! A row-major C read column-major is its transpose, which holds the other
//! triangle, and a row-major A is A^T: the twin's uplo and transposition
//! flip.  A letter the routine does not take stays, to be reported as it is.
template <class T, class S>
void flip_for_row_major(char &uplo, char &trans) {
  uplo = uplo == 'U' ? 'L' : 'U';
  bool known = false;
  for (const char *op = rank_k_ops<T, S>(); *op; ++op) known = known || *op == trans;
  if (known) trans = trans != 'N' ? 'N' : kHermitian<T, S> ? 'C' : 'T';
}

}  // namespace orb::iface
