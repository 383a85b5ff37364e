// A batch of products for the tests of the batch routines: groups described
// in column-major terms, seeded operands for every product, the group arrays
// in either integer width, and the check of every C against a naive product.
#pragma once

#include <orb/orb_blas.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "blas_api.hpp"
#include "dense.hpp"

namespace orb::test {

struct BatchGroup {
  char ta, tb;
  int m, n, k, size;
  cld alpha = 1, beta = 0;
};

template <class T>
struct BatchCase {
  //! The group arrays in integer width I.
  template <class I>
  struct Arrays {
    std::vector<I> m, n, k, lda, ldb, ldc, size;
    I count;
  };

  std::vector<BatchGroup> groups;
  std::vector<std::vector<T>> a, b, c, c0;  // one per product, numbered on across groups
  std::vector<const T *> ap, bp;
  std::vector<T *> cp;
  std::vector<char> ta, tb;
  std::vector<T> alpha, beta;
  Arrays<int64_t> v{{}, {}, {}, {}, {}, {}, {}, 0};  // a test may spoil them before a call

  static int rows(char t, int r, int c) { return (t | 0x20) == 'n' ? r : c; }
  static int64_t ld(int rows) { return (rows > 1 ? rows : 1) + 1; }  // one padding row

  explicit BatchCase(std::vector<BatchGroup> gs) : groups(std::move(gs)) {
    uint64_t seed = 1;
    for (const BatchGroup &g : groups) {
      ta.push_back(g.ta), tb.push_back(g.tb);
      alpha.push_back(narrow<T>(g.alpha)), beta.push_back(narrow<T>(g.beta));
      const int ra = rows(g.ta, g.m, g.k), rb = rows(g.tb, g.k, g.n);
      v.m.push_back(g.m), v.n.push_back(g.n), v.k.push_back(g.k), v.size.push_back(g.size), ++v.count;
      v.lda.push_back(ld(ra)), v.ldb.push_back(ld(rb)), v.ldc.push_back(ld(g.m));
      for (int i = 0; i < g.size; ++i) {
        a.push_back(random_matrix<T>(ra, rows(g.ta, g.k, g.m), ld(ra), seed++));
        b.push_back(random_matrix<T>(rb, rows(g.tb, g.n, g.k), ld(rb), seed++));
        c0.push_back(random_matrix<T>(g.m, g.n, ld(g.m), seed++));
      }
    }
    c = c0;
    for (size_t i = 0; i < a.size(); ++i)
      ap.push_back(a[i].data()), bp.push_back(b[i].data()), cp.push_back(c[i].data());
  }

  template <class I>
  Arrays<I> arrays() const {
    const auto to = [](const std::vector<int64_t> &x) { return std::vector<I>(x.begin(), x.end()); };
    return {to(v.m), to(v.n), to(v.k), to(v.lda), to(v.ldb), to(v.ldc), to(v.size), static_cast<I>(v.count)};
  }

  ::testing::AssertionResult matches() const {
    size_t i = 0;
    for (size_t g = 0; g < groups.size(); ++g) {
      const BatchGroup &gr = groups[g];
      for (int j = 0; j < gr.size; ++j, ++i)
        if (auto r = matches_gemm(c[i], c0[i], gr.ta, gr.tb, gr.m, gr.n, gr.k, alpha[g], a[i], v.lda[g], b[i],
                                  v.ldb[g], beta[g], v.ldc[g]);
            !r)
          return r << " in product " << i;
    }
    return ::testing::AssertionSuccess();
  }
  bool untouched() const { return c == c0; }
};

//! A batch through one name form; a row-major form stores each product as its
//! column-major twin (C^T = op(B)^T op(A)^T), so the case's groups are read
//! as the twins of the caller's.
template <class T>
void call_batch(Form form, BatchCase<T> &bc) {
  const auto fortran = [&](auto fn, auto v) {
    fn(bc.ta.data(), bc.tb.data(), v.m.data(), v.n.data(), v.k.data(), bc.alpha.data(), bc.ap.data(), v.lda.data(),
       bc.bp.data(), v.ldb.data(), bc.beta.data(), bc.cp.data(), v.ldc.data(), &v.count, v.size.data());
  };
  if (form == Form::Fortran64) return fortran(Api<T>::gemm_batch64, bc.v);
  auto v = bc.template arrays<int>();
  if (form == Form::Fortran32) return fortran(Api<T>::gemm_batch32, v);
  std::vector<CBLAS_TRANSPOSE> ta, tb;
  for (size_t g = 0; g < bc.ta.size(); ++g) ta.push_back(cblas_trans(bc.ta[g])), tb.push_back(cblas_trans(bc.tb[g]));
  auto ap = bc.ap, bp = bc.bp;
  const bool row = form == Form::CblasRow;
  if (row) std::swap(ta, tb), std::swap(v.m, v.n), std::swap(v.lda, v.ldb), std::swap(ap, bp);
  Api<T>::cblas_gemm_batch(row ? CblasRowMajor : CblasColMajor, ta.data(), tb.data(), v.m.data(), v.n.data(),
                           v.k.data(), bc.alpha.data(), ap.data(), v.lda.data(), bp.data(), v.ldb.data(),
                           bc.beta.data(), bc.cp.data(), v.ldc.data(), v.count, v.size.data());
}

}  // namespace orb::test
