// Results of trsm through every name form (32-bit, 64-bit, CBLAS column- and
// row-major) and precision.  This layer adds the argument order, the integer
// widening and the row-major mapping (side and triangle flipped, m and n
// exchanged), so small shapes with every combination of letters suffice; the
// threaded cut is swept below it.  A row-major call is checked as the
// column-major solve it stands for.
#include <gtest/gtest.h>

#include "triangular.hpp"

namespace orb::test {
namespace {

TYPED_TEST(Results, TrsmThroughEveryNameForm) {
  using T = TypeParam;
  const int shapes[][2] = {{5, 4}, {1, 1}, {0, 3}, {3, 0}, {33, 20}};
  for (Form form : kForms)
    for (const TrsmOps &o : every_trsm_ops())
      for (const auto &sh : shapes)
        for (const cld alpha : {cld(1.5, -0.5), cld(0)}) {
          const bool row = form == Form::CblasRow;
          const int m = sh[0], n = sh[1];
          SCOPED_TRACE(::testing::Message() << form_name(form) << ' ' << trsm_ops_name(o) << " m=" << m << " n=" << n
                                            << " alpha=" << alpha);
          check_trsm<T>(row ? row_major_twin(o) : o, row ? n : m, row ? m : n, alpha, 2,
                        [&](T al, const T *a, ORB_INT lda, T *b, ORB_INT ldb) {
                          call_trsm<T>(form, o, m, n, al, a, static_cast<int>(lda), b, static_cast<int>(ldb));
                        });
        }
}

// Lower-case letters are the same call.
TEST(TrsmNames, LowerCaseLettersAreTheSameCall) {
  for (const TrsmOps &o : every_trsm_ops()) {
    const TrsmOps lower = {static_cast<char>(o.side | 0x20), static_cast<char>(o.uplo | 0x20),
                           static_cast<char>(o.trans | 0x20), static_cast<char>(o.diag | 0x20)};
    SCOPED_TRACE(trsm_ops_name(lower));
    check_trsm<double>(o, 9, 7, 2.0, 1, [&](double al, const double *a, ORB_INT lda, double *b, ORB_INT ldb) {
      call_trsm<double>(Form::Fortran32, lower, 9, 7, al, a, static_cast<int>(lda), b, static_cast<int>(ldb));
    });
  }
}

}  // namespace
}  // namespace orb::test
