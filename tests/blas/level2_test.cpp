// The threaded level-2 drivers: the pieces GER and SYR (GERC and HER) cut a
// call into, observed at the core's kernels, against the rules' worked tables
// (partition/matvec.cpp, partition/triangle.cpp), and their results against
// one call of the sequential kernel.
#include "dense.hpp"
#include "interpose.hpp"
#include "blas_rules.hpp"

#include <algorithm>
#include <string>
#include <tuple>

namespace orb::test {
namespace {

struct CutCase {
  std::string name;
  char uplo;  //!< 0 for GER
  ORB_INT m, n, incx, incy;
  int budget;
  std::vector<std::tuple<ORB_INT, ORB_INT, ORB_INT>> syr;  //!< order and first row and column of each diagonal block
  std::vector<std::tuple<ORB_INT, ORB_INT, ORB_INT, ORB_INT>> ger;  //!< rows, columns, first row and column
};

const CutCase kCases[] = {
    {"ger_4x250", 0, 300, 1000, 1, 1, 4, {}, {{300, 250, 0, 0}, {300, 250, 0, 250}, {300, 250, 0, 500}, {300, 250, 0, 750}}},
    {"ger_negative_incy", 0, 300, 1000, 2, -2, 2, {}, {{300, 500, 0, 0}, {300, 500, 0, 500}}},
    {"ger_too_small", 0, 100, 100, 1, 1, 4, {}, {{100, 100, 0, 0}}},
    {"syr_lower", 'L', 1000, 1000, 1, 1, 2, {{294, 0, 0}, {706, 294, 294}}, {{706, 294, 294, 0}}},
    {"syr_upper_negative_incx", 'U', 1000, 1000, -3, -3, 2, {{706, 0, 0}, {294, 706, 706}}, {{706, 294, 0, 706}}},
    {"syr_too_small", 'L', 500, 500, 1, 1, 2, {{500, 0, 0}}, {}},
};

template <class T, class S>
void check_cut(const CutCase &c) {
  SCOPED_TRACE(c.name);
  const ORB_INT lda = c.m + 3;
  auto a0 = random_matrix<T>(c.m, c.n, lda, 21);
  const auto x = random_matrix<T>(1, c.m, std::abs(c.incx), 22), y = random_matrix<T>(1, c.n, std::abs(c.incy), 23);
  const S alpha = narrow<S>(cld(0.75, -0.25));
  auto a = a0, want = a0;
  const auto call = [&](T *into, bool threaded) {
    const char uplo[] = {c.uplo, 0};
    if constexpr (std::is_same_v<T, double>) {
      if (c.uplo) (threaded ? orb_blas_dsyr : orb_blas_xdsyr)(uplo, &c.n, &alpha, x.data(), &c.incx, into, &lda);
      else (threaded ? orb_blas_dger : orb_blas_xdger)(&c.m, &c.n, &alpha, x.data(), &c.incx, y.data(), &c.incy, into, &lda);
    } else {
      if constexpr (std::is_same_v<S, double>)
        (threaded ? orb_blas_zher : orb_blas_xzher)(uplo, &c.n, &alpha, x.data(), &c.incx, into, &lda);
      else
        (threaded ? orb_blas_zgerc : orb_blas_xzgerc)(&c.m, &c.n, &alpha, x.data(), &c.incx, y.data(), &c.incy, into, &lda);
    }
  };
  call(want.data(), false);
  observe();
  {
    const Budget budget(c.budget);
    call(a.data(), true);
  }
  const Observed seen = observed();
  std::vector<Block> syr, ger;
  for (const auto &[order, row, col] : c.syr) syr.emplace_back(a.data() + row + col * lda, order, order);
  for (const auto &[rows, cols, row, col] : c.ger) ger.emplace_back(a.data() + row + col * lda, rows, cols);
  EXPECT_EQ(blocks(seen.syr), syr);
  EXPECT_EQ(blocks(seen.ger), ger);
  for (size_t i = 0; i < a.size(); ++i) {
    const cld got = wide(a[i]), ref = wide(want[i]);
    ASSERT_LE(std::abs(got - ref), 8 * unit_roundoff<T>() * (1 + std::abs(ref))) << "A[" << i << "]";
  }
}

TEST(Level2Cuts, GerAndSyrFollowTheirRules) {
  for (const CutCase &c : kCases) {
    if (c.uplo) {
      check_cut<double, double>(c);
      check_cut<ORB_Complex16, double>(c);
    } else {
      check_cut<double, double>(c);
      check_cut<ORB_Complex16, ORB_Complex16>(c);
    }
  }
}

}  // namespace
}  // namespace orb::test
