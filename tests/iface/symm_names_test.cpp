// Results of ?symm and ?hemm through every name form (32-bit, 64-bit, CBLAS
// column- and row-major).  This layer adds the argument order, the integer
// widening and the row-major mapping (side and uplo flipped, m and n
// exchanged), so small shapes suffice; the threaded cut is swept below it.
// A row-major call is checked as the column-major product it stands for.
#include <gtest/gtest.h>

#include "symmetric.hpp"

namespace orb::test {
namespace {

template <class T, bool H>
void every_form() {
  using R = SymmApi<T, H>;
  const int shapes[][2] = {{5, 3}, {1, 1}, {0, 2}, {4, 0}, {33, 20}};
  const cld scalars[][2] = {{{1.5, -0.5}, {0.5, 0.25}}, {0.0, 2.0}, {1.0, 0.0}};
  for (Form form : kForms)
    for (const char side : {'L', 'R', 'l'})
      for (const char uplo : {'U', 'L', 'u'})
        for (const auto &sh : shapes)
          for (const auto &s : scalars) {
            const bool row = form == Form::CblasRow;
            const int m = sh[0], n = sh[1];
            SCOPED_TRACE(::testing::Message() << form_name(form) << ' ' << side << uplo << " m=" << m << " n=" << n
                                              << " alpha=" << s[0] << " beta=" << s[1]);
            const char twin_side = row ? ((side | 0x20) == 'l' ? 'R' : 'L') : side;
            const char twin_uplo = row ? ((uplo | 0x20) == 'u' ? 'L' : 'U') : uplo;
            check_symm<T, H>(twin_side, twin_uplo, row ? n : m, row ? m : n, s[0], s[1], 2,
                             [&](T al, const T *a, ORB_INT lda, const T *b, ORB_INT ldb, T be, T *c, ORB_INT ldc) {
                               const int la = lda, lb = ldb, lc = ldc;
                               const int64_t m8 = m, n8 = n, la8 = lda, lb8 = ldb, lc8 = ldc;
                               switch (form) {
                                 case Form::Fortran32:
                                   R::f32(&side, &uplo, &m, &n, &al, a, &la, b, &lb, &be, c, &lc);
                                   break;
                                 case Form::Fortran64:
                                   R::f64(&side, &uplo, &m8, &n8, &al, a, &la8, b, &lb8, &be, c, &lc8);
                                   break;
                                 default:
                                   R::cblas(row ? CblasRowMajor : CblasColMajor, side, uplo, m, n, &al, a, la, b, lb,
                                            &be, c, lc);
                               }
                             });
          }
}

TEST(SymmNames, Ssymm) { every_form<float, false>(); }
TEST(SymmNames, Dsymm) { every_form<double, false>(); }
TEST(SymmNames, Csymm) { every_form<ORB_Complex8, false>(); }
TEST(SymmNames, Zsymm) { every_form<ORB_Complex16, false>(); }
TEST(SymmNames, Chemm) { every_form<ORB_Complex8, true>(); }
TEST(SymmNames, Zhemm) { every_form<ORB_Complex16, true>(); }

}  // namespace
}  // namespace orb::test
