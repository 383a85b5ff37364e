// trsm, trmm, syrk, herk, syr2k, her2k, symm and hemm through their 64-bit
// names with lower-case letters; the 32-bit names and CBLAS are checked by
// the reference test programs in tests/client.  gemmt, which those programs
// do not know, through every name form, row-major CBLAS included.
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
    for (const bool multiply : {false, true})
      check_trsm<T>(o, 33, 20, cld(1.5, -0.5), 2, [&](T al, const T *a, ORB_INT lda, T *b, ORB_INT ldb) {
        call_trsm<T>(Form::Fortran64, lc, 33, 20, al, a, static_cast<int>(lda), b, static_cast<int>(ldb), multiply);
      }, multiply);
  }
  for (const char side : {'L', 'r'})
    for (const char uplo : {'U', 'l'}) {
      SCOPED_TRACE((std::string{side, uplo}));
      const auto symm = [&](auto hermitian) {
        constexpr bool H = decltype(hermitian)::value;
        check_symm<T, H>(side, uplo, 33, 20, cld(1.5, -0.5), cld(0.5), 2,
                         [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ldc) {
                           call_symm<T, H>(Form::Fortran64, side, uplo, 33, 20, al, a, lda, b, ldb, be, c, ldc);
                         });
      };
      symm(std::false_type{});
      if constexpr (is_complex_v<T>) symm(std::true_type{});
    }
}

// syrk and syr2k in every precision, herk and her2k as the real-beta updates
// of a complex type.
template <class T, class S>
void rank_k_64() {
  for (const char uplo : {'U', 'l'})
    for (const char *op = RankK<T, S>::ops; *op; ++op) {
      const char trans = lower(*op);
      SCOPED_TRACE((std::string{uplo, trans}));
      check_rank_k<T, S>(uplo, trans, 33, 20, narrow<S>(1.5), narrow<S>(0.5), 2,
                         [&](S al, const T *a, ORB_INT lda, S be, T *c, ORB_INT ldc) {
                           call_rank_k<T, S>(Form::Fortran64, uplo, trans, 33, 20, al, a, lda, be, c, ldc);
                         });
      check_rank_2k<T, S>(uplo, trans, 33, 20, narrow<T>(cld(1.5, -0.5)), narrow<S>(0.5), 2,
                          [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, S be, T *c, ORB_INT ldc) {
                            call_rank_2k<T, S>(Form::Fortran64, uplo, trans, 33, 20, al, a, lda, b, ldb, be, c, ldc);
                          });
    }
}

TYPED_TEST(Results, Syrk64Syr2k64AndTheirHermitianTwins) {
  rank_k_64<TypeParam, TypeParam>();
  if constexpr (is_complex_v<TypeParam>) rank_k_64<TypeParam, decltype(TypeParam::real)>();
}

// gemmt through every form: a row-major call is the column-major product of
// the transposes on the other triangle, which the check reads as stored.
class GemmtNames : public ::testing::TestWithParam<Form> {};

template <class T>
void gemmt_forms(Form f) {
  for (const char uplo : {'U', 'l'})
    for (const char ta : {'N', 't', 'C'})
      for (const char tb : {'n', 'T', 'c'}) {
        SCOPED_TRACE((std::string{letter_v<T>, uplo, ta, tb}));
        check_gemmt<T>(f == Form::CblasRow, uplo, ta, tb, 37, 21, cld(1.5, -0.5), cld(0.5), 2,
                       [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ldc) {
                         call_gemmt<T>(f, uplo, ta, tb, 37, 21, al, a, lda, b, ldb, be, c, ldc);
                       });
      }
}

TEST_P(GemmtNames, EveryPrecisionTriangleAndOperation) {
  gemmt_forms<float>(GetParam()), gemmt_forms<double>(GetParam());
  gemmt_forms<ORB_Complex8>(GetParam()), gemmt_forms<ORB_Complex16>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Forms, GemmtNames, ::testing::ValuesIn(kForms),
                         [](const auto &info) { return std::string(form_name(info.param)); });

}  // namespace
}  // namespace orb::test
