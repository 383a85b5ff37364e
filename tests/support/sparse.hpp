// Sparse test operands: a stored matrix with empty rows and a dense row, the
// matrix a descriptor makes of it (the dense reference), and its arrays in
// each format, for every value type and index width.
#pragma once

#include <orb/orb_sparse.h>

#include "dense.hpp"

#include <cstdint>
#include <vector>

namespace orb::test {

//! The user entries of one value type T and index type I (int32_t: the plain
//! names, int64_t: the _64 names).
template <class T, class I>
struct SparseApi;
#define ORB_TEST_SPARSE_API(p, T, I, W)                            \
  template <>                                                      \
  struct SparseApi<T, I> {                                         \
    static constexpr auto csr = &orb_sparse_##p##_create_csr##W;   \
    static constexpr auto csr3 = &orb_sparse_##p##_create_csr3##W; \
    static constexpr auto csc = &orb_sparse_##p##_create_csc##W;   \
    static constexpr auto coo = &orb_sparse_##p##_create_coo##W;   \
    static constexpr auto bsr = &orb_sparse_##p##_create_bsr##W;   \
    static constexpr auto exported = &orb_sparse_##p##_export##W;  \
    static constexpr auto mv = &orb_sparse_##p##_mv;               \
    static constexpr auto mm = &orb_sparse_##p##_mm;               \
    static constexpr auto exported_coo = &orb_sparse_##p##_export_coo##W; \
  };
ORB_TEST_SPARSE_API(s, float, int32_t, )
ORB_TEST_SPARSE_API(d, double, int32_t, )
ORB_TEST_SPARSE_API(c, ORB_Complex8, int32_t, )
ORB_TEST_SPARSE_API(z, ORB_Complex16, int32_t, )
ORB_TEST_SPARSE_API(s, float, int64_t, _64)
ORB_TEST_SPARSE_API(d, double, int64_t, _64)
ORB_TEST_SPARSE_API(c, ORB_Complex8, int64_t, _64)
ORB_TEST_SPARSE_API(z, ORB_Complex16, int64_t, _64)
#undef ORB_TEST_SPARSE_API

//! A value type with an index width, for typed tests.
template <class T, class I>
struct Sparse {
  using value_type = T;
  using index_type = I;
};
using SparseTypes = ::testing::Types<Sparse<float, int32_t>, Sparse<double, int32_t>, Sparse<ORB_Complex8, int32_t>,
                                     Sparse<ORB_Complex16, int32_t>, Sparse<float, int64_t>, Sparse<double, int64_t>,
                                     Sparse<ORB_Complex8, int64_t>, Sparse<ORB_Complex16, int64_t>>;
struct SparseName {
  template <class S>
  static std::string GetName(int) {
    return std::string(1, letter_v<typename S::value_type>) + (sizeof(typename S::index_type) == 8 ? "_i8" : "_i4");
  }
};

//! The stored matrix, column-major rows x cols: about a third of the entries,
//! row 1 empty, row 2 full, whole block x block blocks kept or dropped
//! together, so that it is also a BSR matrix of that block size.
template <class T>
std::vector<T> stored_matrix(int64_t rows, int64_t cols, int64_t block, uint64_t seed) {
  std::vector<T> s = random_matrix<T>(rows, cols, rows, seed);
  const std::vector<double> keep = random_matrix<double>(rows, cols, rows, seed + 99);
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = 0; i < rows; ++i) {
      const int64_t bi = i / block, bj = j / block;
      const bool full_row = bi == 2 / block;
      const bool empty_row = block == 1 && i == 1;
      const bool kept = keep[bi * block + bj * block * rows] > 0.3;
      if (empty_row || !(kept || full_row || bi == bj)) s[i + j * rows] = narrow<T>(0);
    }
  return s;
}

//! The matrix the descriptor (type, fill, diag) makes of the stored one.
template <class T>
std::vector<T> described_matrix(const std::vector<T> &s, int64_t rows, int64_t cols, int64_t block,
                                orb_sparse_descr d) {
  std::vector<T> m(s.size(), narrow<T>(0));
  const bool complex = is_complex_v<T>;
  const bool unit = d.diag == ORB_SPARSE_UNIT && d.type != ORB_SPARSE_GENERAL;
  const auto lower = [&](int64_t i, int64_t j) { return d.fill == ORB_SPARSE_LOWER ? j <= i : j >= i; };
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = 0; i < rows; ++i) {
      const cld v = wide(s[i + j * rows]);
      cld out = 0;
      switch (d.type) {
        case ORB_SPARSE_GENERAL:
          out = v;
          break;
        case ORB_SPARSE_SYMMETRIC:
        case ORB_SPARSE_HERMITIAN: {
          const bool herm = d.type == ORB_SPARSE_HERMITIAN && complex;
          if (i == j) out = unit ? 1 : v;
          else if (d.fill == ORB_SPARSE_FULL || lower(i, j)) out = v;
          else out = herm ? std::conj(wide(s[j + i * rows])) : wide(s[j + i * rows]);
          break;
        }
        case ORB_SPARSE_TRIANGULAR:
        case ORB_SPARSE_BLOCK_TRIANGULAR: {
          const int64_t b = d.type == ORB_SPARSE_BLOCK_TRIANGULAR ? block : 1;
          if (i / b == j / b && unit) out = i == j ? 1 : 0;
          else if (d.fill == ORB_SPARSE_FULL || lower(i / b, j / b)) out = v;
          break;
        }
        default: {
          const int64_t b = d.type == ORB_SPARSE_BLOCK_DIAGONAL ? block : 1;
          if (i / b == j / b) out = unit ? (i == j ? 1 : 0) : v;
        }
      }
      m[i + j * rows] = narrow<T>(out);
    }
  return m;
}

//! A matrix's arrays in one format, from the column-major stored matrix.
template <class T, class I>
struct SparseArrays {
  std::vector<I> start, end, index, row;  // row: the COO row indices
  std::vector<T> values;
};

//! CSR by rows (or CSC by columns) with separate start and end arrays; gap
//! leaves one unused entry before each line, so that the lines do not
//! follow one another.
template <class T, class I>
SparseArrays<T, I> compressed(const std::vector<T> &s, int64_t rows, int64_t cols, int base, bool by_columns,
                              bool gap) {
  SparseArrays<T, I> a;
  const int64_t lines = by_columns ? cols : rows, other = by_columns ? rows : cols;
  for (int64_t l = 0; l < lines; ++l) {
    if (gap) a.index.push_back(base), a.values.push_back(narrow<T>(9));
    a.start.push_back(static_cast<I>(a.index.size() + base));
    for (int64_t o = 0; o < other; ++o) {
      const T v = by_columns ? s[o + l * rows] : s[l + o * rows];
      if (wide(v) == cld(0)) continue;
      a.index.push_back(static_cast<I>(o + base));
      a.values.push_back(v);
    }
    a.end.push_back(static_cast<I>(a.index.size() + base));
  }
  if (!gap) a.start.push_back(static_cast<I>(a.index.size() + base));  // the one pointer array form
  return a;
}

//! COO entries in reverse order of rows, so that nothing relies on order.
template <class T, class I>
SparseArrays<T, I> coordinates(const std::vector<T> &s, int64_t rows, int64_t cols, int base) {
  SparseArrays<T, I> a;
  for (int64_t i = rows - 1; i >= 0; --i)
    for (int64_t j = 0; j < cols; ++j)
      if (wide(s[i + j * rows]) != cld(0)) {
        a.row.push_back(static_cast<I>(i + base));
        a.index.push_back(static_cast<I>(j + base));
        a.values.push_back(s[i + j * rows]);
      }
  return a;
}

//! BSR: every block holding a nonzero, its values in the given layout.
template <class T, class I>
SparseArrays<T, I> blocks(const std::vector<T> &s, int64_t rows, int64_t cols, int64_t b, int base, int layout) {
  SparseArrays<T, I> a;
  for (int64_t bi = 0; bi < rows / b; ++bi) {
    a.start.push_back(static_cast<I>(a.index.size() + base));
    for (int64_t bj = 0; bj < cols / b; ++bj) {
      bool any = false;
      for (int64_t e = 0; e < b * b; ++e) any |= wide(s[bi * b + e % b + (bj * b + e / b) * rows]) != cld(0);
      if (!any) continue;
      a.index.push_back(static_cast<I>(bj + base));
      for (int64_t e = 0; e < b * b; ++e) {
        const int64_t r = layout == ORB_SPARSE_BLOCK_ROW_MAJOR ? e / b : e % b;
        const int64_t c = layout == ORB_SPARSE_BLOCK_ROW_MAJOR ? e % b : e / b;
        a.values.push_back(s[bi * b + r + (bj * b + c) * rows]);
      }
    }
    a.end.push_back(static_cast<I>(a.index.size() + base));
  }
  a.start.push_back(static_cast<I>(a.index.size() + base));
  return a;
}

//! The formats and array forms a handle can be made from.
enum Format { kCsr3, kCsrGaps, kCsc, kCoo, kBsrRow, kBsrCol };

//! Makes a handle of the stored matrix in one format (a BSR one of blocks
//! b x b); the arrays a must outlive it.
template <class T, class I>
orb_sparse_status make_handle(Format f, SparseArrays<T, I> &a, const std::vector<T> &s, int64_t rows, int64_t cols,
                       int64_t b, int base, orb_sparse_matrix *A) {
  using Api = SparseApi<T, I>;
  switch (f) {
    case kCsr3:
      a = compressed<T, I>(s, rows, cols, base, false, false);
      return Api::csr3(A, base, rows, cols, a.start.data(), a.index.data(), a.values.data());
    case kCsrGaps:
      a = compressed<T, I>(s, rows, cols, base, false, true);
      return Api::csr(A, base, rows, cols, a.start.data(), a.end.data(), a.index.data(), a.values.data());
    case kCsc:
      a = compressed<T, I>(s, rows, cols, base, true, false);
      return Api::csc(A, base, rows, cols, a.start.data(), a.start.data() + 1, a.index.data(), a.values.data());
    case kCoo:
      a = coordinates<T, I>(s, rows, cols, base);
      return Api::coo(A, base, rows, cols, static_cast<I>(a.values.size()), a.row.data(), a.index.data(),
                      a.values.data());
    default: {
      const int layout = f == kBsrRow ? ORB_SPARSE_BLOCK_ROW_MAJOR : ORB_SPARSE_BLOCK_COL_MAJOR;
      a = blocks<T, I>(s, rows, cols, b, base, layout);
      return Api::bsr(A, base, layout, rows / b, cols / b, b, a.start.data(), a.start.data() + 1, a.index.data(),
                      a.values.data());
    }
  }
}

//! The 5-point Laplacian of a g x g grid as a column-major dense matrix
//! (4 on the diagonal, -1 for each grid neighbour).
template <class T>
std::vector<T> laplacian_2d(int64_t g) {
  const int64_t n = g * g;
  std::vector<T> m(n * n, narrow<T>(0));
  for (int64_t i = 0; i < n; ++i) {
    m[i + i * n] = narrow<T>(4);
    const int64_t r = i / g, c = i % g;
    for (const int64_t j : {c > 0 ? i - 1 : -1, c + 1 < g ? i + 1 : -1, r > 0 ? i - g : -1, r + 1 < g ? i + g : -1})
      if (j >= 0) m[i + j * n] = narrow<T>(-1);
  }
  return m;
}

//! The n x n matrix a character descriptor (kind G S H T A D, fill L or U,
//! diagonal N or U) makes of the stored one; a real Hermitian matrix is
//! symmetric, an antisymmetric one L - L^T from the strict triangle.
template <class T>
std::vector<T> legacy_matrix(const std::vector<T> &s, int64_t n, char kind, char fill, char diag) {
  const bool lower = fill == 'L', unit = diag == 'U' && kind != 'G' && kind != 'A';
  int32_t type = kind == 'G' ? 20 : kind == 'S' ? 21 : kind == 'H' ? 22 : kind == 'T' ? 23 : 24;
  if (kind == 'H' && !is_complex_v<T>) type = 21;
  std::vector<T> m = described_matrix(s, n, n, 1, {type, lower ? ORB_SPARSE_LOWER : ORB_SPARSE_UPPER,
                                                   unit ? ORB_SPARSE_UNIT : ORB_SPARSE_NON_UNIT});
  if (kind == 'A')
    for (int64_t i = 0; i < n; ++i)
      for (int64_t j = 0; j < n; ++j) {
        const bool stored = lower ? j < i : j > i;
        m[i + j * n] = stored ? s[i + j * n] : i == j ? narrow<T>(0) : narrow<T>(-wide(s[j + i * n]));
      }
  return m;
}

}  // namespace orb::test
