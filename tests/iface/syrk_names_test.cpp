// Results of ?syrk and ?herk through every name form (32-bit, 64-bit, CBLAS
// column- and row-major).  This layer adds the argument order, the integer
// widening and the row-major mapping (uplo and the transposition flipped), so
// small shapes with every letter the routine takes suffice; the threaded cut
// is swept below it.  A row-major call is checked as the column-major update
// it stands for.
#include <gtest/gtest.h>

#include "rank_k.hpp"

namespace orb::test {
namespace {

//! The column-major letter a row-major transposition stands for.
template <class T, class S>
char row_major_trans(char t) {
  return t != 'N' ? 'N' : RankK<T, S>::hermitian ? 'C' : 'T';
}

template <class T, class S>
void every_form() {
  using R = RankK<T, S>;
  const int shapes[][2] = {{5, 3}, {1, 1}, {0, 2}, {4, 0}, {33, 20}};
  struct Scalars {
    double alpha, beta;
  };
  const Scalars scalars[] = {{1.5, 0.5}, {0.0, 2.0}, {-1.0, 0.0}, {0.0, 1.0}};
  for (Form form : kForms)
    for (const char uplo : {'U', 'L', 'u'})
      for (const char *op = R::ops; *op; ++op)
        for (const auto &sh : shapes)
          for (const Scalars &s : scalars) {
            const bool row = form == Form::CblasRow;
            const int n = sh[0], k = sh[1];
            const char trans = *op;
            SCOPED_TRACE(::testing::Message() << form_name(form) << ' ' << uplo << trans << " n=" << n << " k=" << k
                                              << " alpha=" << s.alpha << " beta=" << s.beta);
            const char twin_uplo = row ? ((uplo | 0x20) == 'u' ? 'L' : 'U') : uplo;
            const char twin_trans = row ? row_major_trans<T, S>(trans) : trans;
            check_rank_k<T, S>(twin_uplo, twin_trans, n, k, narrow<S>(s.alpha), narrow<S>(s.beta), 2,
                               [&](S al, const T *a, ORB_INT lda, S be, T *c, ORB_INT ldc) {
                                 const int la = lda, lc = ldc;
                                 const int64_t n8 = n, k8 = k, la8 = lda, lc8 = ldc;
                                 switch (form) {
                                   case Form::Fortran32: R::f32(&uplo, &trans, &n, &k, &al, a, &la, &be, c, &lc); break;
                                   case Form::Fortran64:
                                     R::f64(&uplo, &trans, &n8, &k8, &al, a, &la8, &be, c, &lc8);
                                     break;
                                   default:
                                     R::cblas(row ? CblasRowMajor : CblasColMajor, uplo, trans, n, k, &al, a, la, &be,
                                              c, lc);
                                 }
                               });
          }
}

TEST(RankKNames, Ssyrk) { every_form<float, float>(); }
TEST(RankKNames, Dsyrk) { every_form<double, double>(); }
TEST(RankKNames, Csyrk) { every_form<ORB_Complex8, ORB_Complex8>(); }
TEST(RankKNames, Zsyrk) { every_form<ORB_Complex16, ORB_Complex16>(); }
TEST(RankKNames, Cherk) { every_form<ORB_Complex8, float>(); }
TEST(RankKNames, Zherk) { every_form<ORB_Complex16, double>(); }

}  // namespace
}  // namespace orb::test
