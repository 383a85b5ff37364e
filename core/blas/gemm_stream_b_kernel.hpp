// The streaming kernel, written once over a vector type V;
// gemm_stream_b_avx512.cpp and gemm_stream_b_avx2.cpp instantiate it, each
// compiled for its instruction set.  Everything here has internal linkage (an anonymous namespace), so that
// no function compiled for one instruction set can be picked by the linker for
// a caller compiled for another.
//
// V provides: reg, mask, lanes (doubles per register), vectors (registers of
// rows in a full tile) and columns (columns of C in a full tile), and zero(),
// load() and store() (aligned), loadu() and storeu(), broadcast(),
// mul(a, b), fma(a, b, c) = a * b + c, tail(rows) (a mask of the first rows lanes),
// load_masked() and store_masked().
//
// A tile is vectors x lanes rows by columns columns of C, held in registers
// for kStreamBDepth steps of k: 4 x 8 by 6 with AVX-512 (24 accumulators of
// 32 registers), 2 x 4 by 6 with AVX2 (12 of 16).
#pragma once

#include "blas/gemm_stream_b.hpp"

#include <array>
#include <utility>

namespace orb::core {
namespace {

inline ORB_INT smaller(ORB_INT x, ORB_INT y) { return x < y ? x : y; }

//! Copies rows [0, m) of the kc columns of A into panels of V::vectors x
//! V::lanes rows; a panel stores its rows of one column after another, and the
//! last panel is as many registers high as its rows need, padded with zeros.
//! Panel i0 starts at pack + i0 * kc.
template <class V>
void pack_a(ORB_INT m, ORB_INT kc, const double *a, ORB_INT lda, double *pack) {
  constexpr ORB_INT full = V::vectors * V::lanes;
  for (ORB_INT i0 = 0; i0 < m; i0 += full) {
    const ORB_INT rows = smaller(full, m - i0);
    const int height = static_cast<int>((rows + V::lanes - 1) / V::lanes);
    const typename V::mask last = V::tail(static_cast<int>(rows - (height - 1) * V::lanes));
    double *to = pack + i0 * kc;
    for (ORB_INT p = 0; p < kc; ++p) {
      const double *column = a + i0 + p * lda;
      for (int v = 0; v + 1 < height; ++v, to += V::lanes)
        V::store(to, V::load_masked(V::tail(V::lanes), column + v * V::lanes));
      V::store(to, V::load_masked(last, column + (height - 1) * V::lanes));
      to += V::lanes;
    }
  }
}

//! How a tile writes its sums into C: added to C (beta = 1, or a later block
//! of k), in place of C (beta = 0: C is not read, so NaN there goes), or added
//! to beta C.
enum class Into { add, overwrite, scale };

struct Update {
  double alpha, beta;
  Into into;
};

//! C[0:NV*lanes, 0:NC] = alpha * panel * B[0:kc, 0:NC] + (C, 0 or beta C, as
//! u.into says); the last register of rows stores only its first last_rows
//! lanes.
template <class V, int NV, int NC>
void tile(ORB_INT kc, const double *panel, const double *b, ORB_INT ldb, double *c, ORB_INT ldc, const Update &u,
          int last_rows) {
  const typename V::reg alpha = V::broadcast(&u.alpha), beta = V::broadcast(&u.beta);
  const typename V::mask last = V::tail(last_rows);
  typename V::reg acc[NV][NC];
#pragma GCC unroll 16
  for (int v = 0; v < NV; ++v)
#pragma GCC unroll 16
    for (int j = 0; j < NC; ++j) acc[v][j] = V::zero();
  for (ORB_INT p = 0; p < kc; ++p) {
    typename V::reg col[NV];
#pragma GCC unroll 16
    for (int v = 0; v < NV; ++v) col[v] = V::load(panel + (p * NV + v) * V::lanes);
#pragma GCC unroll 16
    for (int j = 0; j < NC; ++j) {
      const typename V::reg bj = V::broadcast(b + p + j * ldb);
#pragma GCC unroll 16
      for (int v = 0; v < NV; ++v) acc[v][j] = V::fma(col[v], bj, acc[v][j]);
    }
  }
  const auto sum = [&](typename V::reg s, auto old) {
    if (u.into == Into::overwrite) return V::mul(alpha, s);
    return V::fma(alpha, s, u.into == Into::add ? old() : V::mul(beta, old()));
  };
  // Only a partial last register of rows is stored through its mask: the
  // masked store of AVX2 is microcoded and slow on AMD processors.
  const bool partial = last_rows < V::lanes;
#pragma GCC unroll 16
  for (int j = 0; j < NC; ++j)
#pragma GCC unroll 16
    for (int v = 0; v < NV; ++v) {
      double *to = c + j * ldc + v * V::lanes;
      if (v == NV - 1 && partial)
        V::store_masked(last, to, sum(acc[v][j], [&] { return V::load_masked(last, to); }));
      else
        V::storeu(to, sum(acc[v][j], [&] { return V::loadu(to); }));
    }
}

//! The tiles of every height 1 .. V::vectors and width 1 .. V::columns, in a
//! table indexed [height - 1][width - 1], so that edge tiles run with their
//! sizes known to the compiler.
template <class V, int NV, int... J>
constexpr auto tile_row(std::integer_sequence<int, J...>) {
  return std::array<decltype(&tile<V, NV, 1>), sizeof...(J)>{&tile<V, NV, J + 1>...};
}

template <class V, int... I>
constexpr auto tile_table(std::integer_sequence<int, I...>) {
  return std::array{tile_row<V, I + 1>(std::make_integer_sequence<int, V::columns>())...};
}

//! Asks for the rows [0, rows) of C's columns [0, width) to be brought into the
//! level-1 cache: a tile loads and stores them only after its kStreamBDepth
//! steps, and fetched then they would stall it.
template <class V>
void prefetch_c(const double *c, ORB_INT ldc, ORB_INT rows, ORB_INT width) {
  for (ORB_INT j = 0; j < width; ++j)
    for (ORB_INT i = 0; i < rows; i += V::lanes) __builtin_prefetch(c + i + j * ldc, 1, 3);
}

template <class V>
void run_stream_b(const StreamBProduct &p) {
  constexpr ORB_INT full = V::vectors * V::lanes;
  static constexpr auto tiles = tile_table<V>(std::make_integer_sequence<int, V::vectors>());
  // beta applies once, as the first block of k is stored; later blocks add.
  const Into first = p.beta == 1.0 ? Into::add : p.beta == 0.0 ? Into::overwrite : Into::scale;
  for (ORB_INT p0 = 0; p0 < p.k; p0 += kStreamBDepth) {
    const ORB_INT kc = smaller(kStreamBDepth, p.k - p0);
    const Update update{p.alpha, p.beta, p0 == 0 ? first : Into::add};
    for (ORB_INT m0 = 0; m0 < p.m; m0 += p.block_rows) {
      const ORB_INT mb = smaller(p.block_rows, p.m - m0);
      pack_a<V>(mb, kc, p.a + m0 + p0 * p.lda, p.lda, p.pack);
      double *c = p.c + m0;
      for (ORB_INT j0 = 0; j0 < p.n; j0 += V::columns) {
        const ORB_INT width = smaller(V::columns, p.n - j0);
        for (ORB_INT i0 = 0; i0 < mb; i0 += full) {
          const ORB_INT rows = smaller(full, mb - i0);
          const ORB_INT height = (rows + V::lanes - 1) / V::lanes;
          const int last_rows = static_cast<int>(rows - (height - 1) * V::lanes);
          // The next tile's C (down the column block, else the next one).
          if (i0 + full < mb)
            prefetch_c<V>(c + i0 + full + j0 * p.ldc, p.ldc, smaller(full, mb - i0 - full), width);
          else if (j0 + V::columns < p.n)
            prefetch_c<V>(c + (j0 + V::columns) * p.ldc, p.ldc, smaller(full, mb),
                          smaller(V::columns, p.n - j0 - V::columns));
          tiles[height - 1][width - 1](kc, p.pack + i0 * kc, p.b + p0 + j0 * p.ldb, p.ldb, c + i0 + j0 * p.ldc, p.ldc,
                                       update, last_rows);
        }
      }
    }
  }
}

}  // namespace
}  // namespace orb::core
