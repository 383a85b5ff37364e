// The user names of the character-descriptor products (orb_?csrmv, ?cscmv,
// ?coomv, ?bsrmv and their _lp64 forms): every kind, operation and base of
// each format against the dense reference, and the calls that return with y
// as it was.
#include <orb/orb_sparse.h>

#include "sparse.hpp"

#include <gtest/gtest.h>

#include <string>

namespace orb::test {
namespace {

enum Form { kCsrForm, kCscForm, kCooForm, kBsrForm };

//! The four routines of a value type and integer width (int32_t: _lp64).
template <class T, class I>
struct Legacy;
#define ORB_TEST_LEGACY_NAMES(p, T, I, W)                   \
  template <>                                               \
  struct Legacy<T, I> {                                     \
    static constexpr auto csr = &orb_##p##csrmv##W;         \
    static constexpr auto csc = &orb_##p##cscmv##W;         \
    static constexpr auto coo = &orb_##p##coomv##W;         \
    static constexpr auto bsr = &orb_##p##bsrmv##W;         \
  };
ORB_TEST_LEGACY_NAMES(s, float, int64_t, )
ORB_TEST_LEGACY_NAMES(d, double, int64_t, )
ORB_TEST_LEGACY_NAMES(c, ORB_Complex8, int64_t, )
ORB_TEST_LEGACY_NAMES(z, ORB_Complex16, int64_t, )
ORB_TEST_LEGACY_NAMES(s, float, int32_t, _lp64)
ORB_TEST_LEGACY_NAMES(d, double, int32_t, _lp64)
ORB_TEST_LEGACY_NAMES(c, ORB_Complex8, int32_t, _lp64)
ORB_TEST_LEGACY_NAMES(z, ORB_Complex16, int32_t, _lp64)

//! Runs one routine on the stored n x n matrix s in the form's arrays (BSR
//! in 2 x 2 blocks, row-major when zero-based), separate pointer arrays or
//! one (`one_array`).
template <class T, class I>
void run(Form f, const char *trans, const char *descr, const std::vector<T> &s, int64_t n, bool one_array,
         T alpha, const std::vector<T> &x, T beta, std::vector<T> &y) {
  using L = Legacy<T, I>;
  const int base = descr[3] == 'C' ? 0 : 1;
  const I m = static_cast<I>(n);
  SparseArrays<T, I> a;
  switch (f) {
    case kCooForm: {
      a = coordinates<T, I>(s, n, n, base);
      const I nnz = static_cast<I>(a.values.size());
      L::coo(trans, &m, &m, &alpha, descr, a.values.data(), a.row.data(), a.index.data(), &nnz, x.data(), &beta,
             y.data());
      return;
    }
    case kBsrForm: {
      const I b = 2, mb = static_cast<I>(n / 2);
      a = blocks<T, I>(s, n, n, 2, base, base == 0 ? ORB_SPARSE_BLOCK_ROW_MAJOR : ORB_SPARSE_BLOCK_COL_MAJOR);
      const I *end = one_array ? a.start.data() + 1 : a.end.data();
      L::bsr(trans, &mb, &mb, &b, &alpha, descr, a.values.data(), a.index.data(), a.start.data(), end, x.data(),
             &beta, y.data());
      return;
    }
    default: {
      a = compressed<T, I>(s, n, n, base, f == kCscForm, !one_array);
      const I *end = one_array ? a.start.data() + 1 : a.end.data();
      (f == kCscForm ? L::csc : L::csr)(trans, &m, &m, &alpha, descr, a.values.data(), a.index.data(),
                                        a.start.data(), end, x.data(), &beta, y.data());
    }
  }
}

template <class S>
class LegacyNames : public ::testing::Test {};
TYPED_TEST_SUITE(LegacyNames, SparseTypes, SparseName);

// Transposing letters transpose general, triangular and antisymmetric
// matrices (C conjugates, except in csrmv) and leave symmetric, Hermitian and
// diagonal ones as they are, except in coomv, which applies them to every
// kind.  Blocks of 2 x 2 make the BSR form.
TYPED_TEST(LegacyNames, EveryFormKindOperationAndBase) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const int64_t n = 8;
  uint64_t seed = 4000;
  for (const Form f : {kCsrForm, kCscForm, kCooForm, kBsrForm})
    for (const char kind : {'G', 'S', 'H', 'T', 'A', 'D'})
      for (const char fill : {'L', 'U'})
        for (const char diag : {'N', 'U'})
          for (const char base : {'C', 'F'})
            for (const char *trans : {"N", "T", "C"}) {
              if (f == kCooForm && (kind == 'A' || (kind == 'H' && *trans != 'N'))) continue;
              const std::vector<T> s = stored_matrix<T>(n, n, f == kBsrForm ? 2 : 1, ++seed);
              const std::vector<T> m = legacy_matrix(s, n, kind, fill, diag);
              // coomv applies the letter to every kind (the handles' COO product relies on it).
              const bool transposes = *trans != 'N' && (kind == 'G' || kind == 'T' || kind == 'A' || f == kCooForm);
              const char op = !transposes ? 'N' : *trans == 'C' && f != kCsrForm ? 'C' : 'T';
              const std::vector<T> x = random_matrix<T>(n, 1, n, seed + 1);
              std::vector<T> y0 = random_matrix<T>(n, 1, n, seed + 2);
              const bool beta_zero = seed % 2 == 0;
              if (beta_zero) fill_nan(y0);
              const T alpha = narrow<T>(cld(1.5, -0.5)), beta = narrow<T>(beta_zero ? cld(0) : cld(0.5, 0.25));
              const char descr[] = {kind, fill, diag, base, 0};
              for (const bool one_array : {false, true}) {
                std::vector<T> y = y0;
                run<T, I>(f, trans, descr, s, n, one_array, alpha, x, beta, y);
                EXPECT_TRUE(matches_gemv(y, y0, op, n, n, alpha, m, n, x, 1, beta, 1))
                    << "form " << f << " " << trans << " " << descr << (one_array ? " one array" : "");
              }
            }
}

// Calls that cannot be served leave y as it was: an unknown kind, a null
// argument, a negative size, a block size of 0.
TEST(LegacyNames, UnservedCallsLeaveY) {
  int64_t ptr[] = {0, 1, 2}, col[] = {0, 1};
  double val[] = {2, 3}, x[] = {1, 1};
  const int64_t n = 2, minus = -1, zero_block = 0;
  const double one = 1, zero = 0;
  const auto kept = [](const double *y) { return y[0] == 5.0 && y[1] == 5.0; };
  double y[] = {5, 5};
  orb_dcscmv("N", &n, &n, &one, "XLNC", val, col, ptr, ptr + 1, x, &zero, y);
  EXPECT_TRUE(kept(y));
  orb_dbsrmv("N", &n, &n, &zero_block, &one, "GLNC", val, col, ptr, ptr + 1, x, &zero, y);
  EXPECT_TRUE(kept(y));
  orb_dcsrmv("N", &minus, &n, &one, "GLNC", val, col, ptr, ptr + 1, x, &zero, y);
  EXPECT_TRUE(kept(y));
  orb_dcoomv("N", &n, &n, &one, "GLNC", val, col, nullptr, &n, x, &zero, y);
  EXPECT_TRUE(kept(y));
  orb_dcsrmv("N", &n, &n, &one, "GLNC", val, col, ptr, ptr + 1, nullptr, &zero, y);
  EXPECT_TRUE(kept(y));
  // The same call with every argument served.
  orb_dcsrmv("N", &n, &n, &one, "GLNC", val, col, ptr, ptr + 1, x, &zero, y);
  EXPECT_EQ(y[0], 2.0);
  EXPECT_EQ(y[1], 3.0);
}

}  // namespace
}  // namespace orb::test
