// The element loops behind every copy and addition routine.
//
// Each loop visits the m x n result in square tiles so that a transposition
// reads one operand and writes the other within a few cache lines, and runs
// its inner loop along the result's shorter stride.
#pragma once

#include "trans/trans_layout.hpp"

#include <orb/orb_types.h>

#include <type_traits>

namespace orb::core::trans {

// 32 x 32 doubles are 8 KiB per operand: two tiles stay in the first-level cache.
constexpr ORB_INT kTile = 32;

//! f(i, j) for every element of an m x n result, tile by tile; the inner loop
//! runs over i when rows_inner, else over j.
template <class F>
void for_each_tiled(ORB_INT m, ORB_INT n, bool rows_inner, F &&f) {
  for (ORB_INT j0 = 0; j0 < n; j0 += kTile) {
    const ORB_INT j1 = n - j0 < kTile ? n : j0 + kTile;
    for (ORB_INT i0 = 0; i0 < m; i0 += kTile) {
      const ORB_INT i1 = m - i0 < kTile ? m : i0 + kTile;
      if (rows_inner) {
        for (ORB_INT j = j0; j < j1; ++j)
          for (ORB_INT i = i0; i < i1; ++i) f(i, j);
      } else {
        for (ORB_INT i = i0; i < i1; ++i)
          for (ORB_INT j = j0; j < j1; ++j) f(i, j);
      }
    }
  }
}

//! Calls f with std::true_type when conj and the type is complex, else
//! std::false_type, so that the element loops carry no branch.
template <class S, class F>
void with_conj(bool conj, F &&f) {
  if (S::is_complex && conj)
    f(std::true_type{});
  else
    f(std::false_type{});
}

//! b(i, j) = alpha * f(a(i, j)) over an m x n result, f conjugating when conj;
//! a is not read when alpha is zero.
template <class S>
void scale_copy(ORB_INT m, ORB_INT n, typename S::value_type alpha, bool conj, const typename S::value_type *a, View av,
                typename S::value_type *b, View bv) {
  using T = typename S::value_type;
  const bool rows_inner = bv.rs <= bv.cs;
  if (S::is_zero(alpha)) {
    for_each_tiled(m, n, rows_inner, [&](ORB_INT i, ORB_INT j) { b[i * bv.rs + j * bv.cs] = S::zero(); });
    return;
  }
  // A unit scalar moves the elements unchanged (a complex product with
  // (1, 0) would turn an infinite part into NaN).
  const bool unit = S::is_one(alpha);
  with_conj<S>(conj, [&](auto c) {
    for_each_tiled(m, n, rows_inner, [&](ORB_INT i, ORB_INT j) {
      T x = a[i * av.rs + j * av.cs];
      if (decltype(c)::value) x = S::conj(x);
      b[i * bv.rs + j * bv.cs] = unit ? x : S::mul(alpha, x);
    });
  });
}

//! b(i, j) = a(i, j) over an m x n result, bit for bit.
template <class S>
void plain_copy(ORB_INT m, ORB_INT n, const typename S::value_type *a, View av, typename S::value_type *b, View bv) {
  for_each_tiled(m, n, bv.rs <= bv.cs, [&](ORB_INT i, ORB_INT j) { b[i * bv.rs + j * bv.cs] = a[i * av.rs + j * av.cs]; });
}

//! c(i, j) = alpha * fa(a(i, j)) + beta * fb(b(i, j)); an operand whose scalar
//! is zero is not read.  Both operands of an element are read before it is
//! written, so c may be an operand that shares its view.
template <class S>
void scale_add(ORB_INT m, ORB_INT n, typename S::value_type alpha, bool conja, const typename S::value_type *a, View av,
               typename S::value_type beta, bool conjb, const typename S::value_type *b, View bv, typename S::value_type *c,
               View cv) {
  using T = typename S::value_type;
  if (S::is_zero(beta)) return scale_copy<S>(m, n, alpha, conja, a, av, c, cv);
  if (S::is_zero(alpha)) return scale_copy<S>(m, n, beta, conjb, b, bv, c, cv);
  const bool rows_inner = cv.rs <= cv.cs;
  with_conj<S>(conja, [&](auto ca) {
    with_conj<S>(conjb, [&](auto cb) {
      for_each_tiled(m, n, rows_inner, [&](ORB_INT i, ORB_INT j) {
        const T x = a[i * av.rs + j * av.cs];
        const T y = b[i * bv.rs + j * bv.cs];
        c[i * cv.rs + j * cv.cs] = S::add(S::mul(alpha, decltype(ca)::value ? S::conj(x) : x),
                                          S::mul(beta, decltype(cb)::value ? S::conj(y) : y));
      });
    });
  });
}

}  // namespace orb::core::trans
