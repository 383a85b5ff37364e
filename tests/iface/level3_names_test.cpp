// Results of trsm, syrk, herk, symm and hemm through their 64-bit names and
// with lower-case letters, in every precision.  The 32-bit names and both
// CBLAS layouts are the reference test programs' (tests/client, run against
// liborb), which check every letter combination at small sizes; the threaded
// cuts are swept below this layer.
#include <gtest/gtest.h>

#include "rank_k.hpp"
#include "symmetric.hpp"
#include "triangular.hpp"

namespace orb::test {
namespace {

char lower(char c) { return static_cast<char>(c | 0x20); }

TYPED_TEST(Results, TrsmAndSymmThroughTheir64BitNames) {
  using T = TypeParam;
  for (const TrsmOps &o : every_trsm_ops()) {
    const TrsmOps lc = {lower(o.side), lower(o.uplo), lower(o.trans), lower(o.diag)};
    SCOPED_TRACE(trsm_ops_name(o));
    check_trsm<T>(o, 33, 20, cld(1.5, -0.5), 2, [&](T al, const T *a, ORB_INT lda, T *b, ORB_INT ldb) {
      call_trsm<T>(Form::Fortran64, lc, 33, 20, al, a, static_cast<int>(lda), b, static_cast<int>(ldb));
    });
  }
  for (const char side : {'L', 'r'})
    for (const char uplo : {'U', 'l'}) {
      SCOPED_TRACE((std::string{side, uplo}));
      const int64_t m = 33, n = 20;
      check_symm<T, false>(side, uplo, m, n, cld(1.5, -0.5), cld(0.5), 2,
                           [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ldc) {
                             SymmApi<T, false>::f64(&side, &uplo, &m, &n, &al, a, &lda, b, &ldb, &be, c, &ldc);
                           });
      if constexpr (is_complex_v<T>)
        check_symm<T, true>(side, uplo, m, n, cld(1.5, -0.5), cld(0.5), 2,
                            [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ldc) {
                              SymmApi<T, true>::f64(&side, &uplo, &m, &n, &al, a, &lda, b, &ldb, &be, c, &ldc);
                            });
    }
}

template <class T, class S>
void rank_k_64() {
  for (const char uplo : {'U', 'l'})
    for (const char *op = RankK<T, S>::ops; *op; ++op) {
      const char trans = lower(*op);
      SCOPED_TRACE((std::string{uplo, trans}));
      const int64_t n = 33, k = 20;
      check_rank_k<T, S>(uplo, trans, n, k, narrow<S>(1.5), narrow<S>(0.5), 2,
                         [&](S al, const T *a, ORB_INT lda, S be, T *c, ORB_INT ldc) {
                           RankK<T, S>::f64(&uplo, &trans, &n, &k, &al, a, &lda, &be, c, &ldc);
                         });
    }
}

TEST(RankKNames, Syrk64AndHerk64) {
  rank_k_64<float, float>();
  rank_k_64<double, double>();
  rank_k_64<ORB_Complex8, ORB_Complex8>();
  rank_k_64<ORB_Complex16, ORB_Complex16>();
  rank_k_64<ORB_Complex8, float>();
  rank_k_64<ORB_Complex16, double>();
}

}  // namespace
}  // namespace orb::test
