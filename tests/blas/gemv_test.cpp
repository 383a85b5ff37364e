// The threaded GEMV drivers: results in every precision, and how the double
// precision driver cuts y among its workers.
#include "dense.hpp"
#include "interpose.hpp"

#include <orb/orb_service.h>

#include <cstdlib>

namespace orb::test {
namespace {

struct GemvCase {
  ORB_INT m, n;
  char trans;
  ORB_INT incx, incy;
  int budget;
  size_t kernel_calls;  // by the double-precision driver
};

// y as an (len x 1) matrix with leading dimension |inc|; reversed order for a negative increment.
template <class T>
std::vector<T> as_column(const std::vector<T> &v, ORB_INT len, ORB_INT inc) {
  std::vector<T> out(static_cast<size_t>(len));
  for (ORB_INT i = 0; i < len; ++i) out[i] = v[(inc > 0 ? i : len - 1 - i) * std::abs(inc)];
  return out;
}

template <class T>
void run_gemv(const GemvCase &g) {
  const bool as_stored = g.trans == 'N';
  const ORB_INT lda = g.m + 2, lenx = as_stored ? g.n : g.m, leny = as_stored ? g.m : g.n;
  const auto a = random_matrix<T>(g.m, g.n, lda, 4);
  const auto x = random_matrix<T>(1, lenx, std::abs(g.incx), 5);  // one entry per increment
  const auto y0 = random_matrix<T>(1, leny, std::abs(g.incy), 6);
  auto y = y0;
  const T alpha = narrow<T>(cld(0.75, -0.5)), beta = narrow<T>(cld(-1.25, 0.25));
  const int previous = orb_serv_set_num_threads_local(g.budget);
  observe();
  gemv(&g.trans, &g.m, &g.n, &alpha, a.data(), &lda, x.data(), &g.incx, &beta, y.data(), &g.incy);
  orb_serv_set_num_threads_local(previous);
  if (std::is_same_v<T, double>) {
    const Observed o = observed();
    EXPECT_EQ(o.gemv.size(), g.kernel_calls);
    ORB_INT covered = 0;
    for (const GemvCall &call : o.gemv) covered += as_stored ? call.m : call.n;
    EXPECT_EQ(covered, leny);  // the blocks of y add up to y, each taken once
  }
  // op(A) x + y as a GEMM of columns: the same reference as the matrix products.
  const char tx = 'N';
  const ORB_INT one = 1;
  EXPECT_TRUE(matches_gemm(as_column(y, leny, g.incy), as_column(y0, leny, g.incy), g.trans, tx, leny, one, lenx,
                           alpha, a, lda, as_column(x, lenx, g.incx), lenx, beta, leny));
  for (size_t i = 0; i < y.size(); ++i)  // entries between the strides stay untouched
    if (i % std::abs(g.incy) != 0) {
      EXPECT_EQ(wide(y[i]), wide(y0[i]));
    }
}

class Gemv : public ::testing::TestWithParam<GemvCase> {};

TEST_P(Gemv, MatchesNaiveProductInEveryPrecision) {
  run_gemv<float>(GetParam());
  run_gemv<double>(GetParam());
  run_gemv<ORB_Complex8>(GetParam());
  run_gemv<ORB_Complex16>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Shapes, Gemv,
                         ::testing::Values(GemvCase{150, 150, 'N', 1, 1, 2, 1},      // too small to cut
                                           GemvCase{1000, 300, 'N', 1, 1, 1, 1},     // budget 1
                                           GemvCase{1000, 300, 'N', 2, -3, 2, 2},    // rows, negative incy
                                           GemvCase{300, 1000, 'T', -1, 2, 4, 4},    // columns
                                           GemvCase{200, 700, 'C', 3, -1, 3, 3},
                                           GemvCase{1000, 300, 'N', 1, 1, 8, 8}));

}  // namespace
}  // namespace orb::test
