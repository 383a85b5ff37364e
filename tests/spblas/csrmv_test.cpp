// The character-descriptor CSR product: the kernel each descriptor reaches
// (the core's kernels and the threader are interposed here), the results of
// every kind, operation, base, value type and integer width against the dense
// reference, and the row cut of the threaded kernels.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/orb_threader.h>

#include "hooks.hpp"
#include "precision.hpp"
#include "sparse.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <string>

namespace orb::test {
namespace {
std::string called;  // the last interposed kernel, with the alpha it received
double alpha_seen = 0;
std::atomic<int> sections_asked{0};
int limit = 0;  // the threader's answer to the kernels; 0: the real one
}  // namespace
}  // namespace orb::test

using namespace orb::test;

#define ORB_TEST_LEGACY(name)                                                                                \
  extern "C" void name(const ORB_INT *m, const ORB_INT *k, const double *alpha, const double *val,           \
                       const ORB_INT *indx, const ORB_INT *pntrb, const ORB_INT *pntre, const double *x,     \
                       double *y, const double *beta) {                                                      \
    called = #name;                                                                                          \
    alpha_seen = *alpha;                                                                                     \
    static const auto real = ORB_TEST_NEXT(name);                                                            \
    real(m, k, alpha, val, indx, pntrb, pntre, x, y, beta);                                                  \
  }
ORB_TEST_LEGACY(orb_spblas_dcsr1ttluf__mvout_seq)
ORB_TEST_LEGACY(orb_spblas_dcsr0ng__c__mvout_omp)
ORB_TEST_LEGACY(orb_spblas_dcsr0tg__c__mvout_omp)
ORB_TEST_LEGACY(orb_spblas_dcsr0nal_c__mvout_omp)
ORB_TEST_LEGACY(orb_spblas_dcsr0nslnc__mvout_omp)

extern "C" void orb_stx_serv_threader_sections(int m, void *context, orb_threader_fn callback) {
  sections_asked = m;
  static const auto real = ORB_TEST_NEXT(orb_stx_serv_threader_sections);
  real(m, context, callback);
}
extern "C" int orb_stx_serv_threader_get_num_threads_limit(void) {
  static const auto real = ORB_TEST_NEXT(orb_stx_serv_threader_get_num_threads_limit);
  return limit > 0 ? limit : real();
}

namespace orb::test {
namespace {

// The decoding examples: which kernel runs, with which alpha.
TEST(LegacyCsr, DescriptorsReachTheirKernels) {
  ORB_INT ptr[] = {0, 1, 2}, col[] = {0, 1};
  double val[] = {2, 3}, x[] = {1, 1}, y[] = {5, 5};
  const ORB_INT n = 2;
  const double one = 1, two = 2, zero = 0;
  struct Row {
    const char *trans, *descr, *kernel;
    double alpha;
  };
  const Row rows[] = {
      {"N", "GLNC", "orb_spblas_dcsr0ng__c__mvout_omp", 1},
      {"C", "G", "orb_spblas_dcsr0tg__c__mvout_omp", 1},  // zero-based only with C: fourth char is C below
      {"t", "tluf", "orb_spblas_dcsr1ttluf__mvout_seq", 1},
      {"T", "ALNC", "orb_spblas_dcsr0nal_c__mvout_omp", -2},
      {"n", "hlnc", "orb_spblas_dcsr0nslnc__mvout_omp", 1},
  };
  for (const Row &r : rows) {
    called.clear();
    const std::string descr = std::string(r.descr) + (std::string(r.descr).size() == 1 ? "LNC" : "");
    const double *alpha = r.alpha == -2 ? &two : &one;
    orb_spblas_orb_dcsrmv(r.trans, &n, &n, alpha, descr.c_str(), val, col, ptr, ptr + 1, x, &zero, y);
    EXPECT_EQ(called, r.kernel) << r.trans << " " << descr;
    EXPECT_EQ(alpha_seen, r.alpha) << descr;
  }
  EXPECT_EQ(two, 2.0);  // the caller's alpha is unchanged
  // An unknown kind: no kernel, y as it was.
  called.clear();
  y[0] = y[1] = 5;
  orb_spblas_orb_dcsrmv("N", &n, &n, &one, "XLNC", val, col, ptr, ptr + 1, x, &zero, y);
  EXPECT_TRUE(called.empty());
  EXPECT_EQ(y[0], 5.0);
  EXPECT_EQ(y[1], 5.0);
}

template <class S>
class LegacyResults : public ::testing::Test {};
TYPED_TEST_SUITE(LegacyResults, SparseTypes, SparseName);

//! The legacy routine of the type and integer width: 64-bit names, or lp64.
template <class T, class I>
void csrmv(const char *t, I m, I k, T alpha, const char *d, const T *val, const I *indx, const I *b, const I *e,
           const T *x, T beta, T *y);
#define ORB_TEST_CSRMV(p, P, T)                                                                                  \
  template <>                                                                                                   \
  void csrmv<T, int64_t>(const char *t, int64_t m, int64_t k, T alpha, const char *d, const T *val,             \
                         const int64_t *indx, const int64_t *b, const int64_t *e, const T *x, T beta, T *y) {  \
    orb_spblas_orb_##p##csrmv(t, &m, &k, &alpha, d, val, indx, b, e, x, &beta, y);                              \
  }                                                                                                             \
  template <>                                                                                                   \
  void csrmv<T, int32_t>(const char *t, int32_t m, int32_t k, T alpha, const char *d, const T *val,             \
                         const int32_t *indx, const int32_t *b, const int32_t *e, const T *x, T beta, T *y) {  \
    orb_spblas_lp64_orb_##p##csrmv(t, &m, &k, &alpha, d, val, indx, b, e, x, &beta, y);                         \
  }
ORB_FOR_EACH_PRECISION(ORB_TEST_CSRMV)

// Every kind under N, T and C against the matrix the descriptor names: T and
// C transpose general and triangular matrices (C without conjugating), leave
// symmetric, Hermitian and diagonal ones as they are, and negate an
// antisymmetric one.
TYPED_TEST(LegacyResults, EveryKindOperationAndBase) {
  using T = typename TypeParam::value_type;
  using I = typename TypeParam::index_type;
  const int64_t n = 9;
  uint64_t seed = 900;
  for (const char kind : {'G', 'S', 'H', 'T', 'A', 'D'})
    for (const char fill : {'L', 'U'})
      for (const char diag : {'N', 'U'})
        for (const char base : {'C', 'F'})
          for (const char *trans : {"N", "T", "C"}) {
            const std::vector<T> s = stored_matrix<T>(n, n, 1, ++seed);
            const std::vector<T> m = legacy_matrix(s, n, kind, fill, diag);
            const bool transposes = *trans != 'N' && (kind == 'G' || kind == 'T' || kind == 'A');
            const int b = base == 'C' ? 0 : 1;
            SparseArrays<T, I> a = compressed<T, I>(s, n, n, b, false, true);
            const std::vector<T> x = random_matrix<T>(n, 1, n, seed + 1);
            std::vector<T> y0 = random_matrix<T>(n, 1, n, seed + 2), y = y0;
            const T alpha = narrow<T>(cld(1.5, -0.5)), beta = narrow<T>(cld(0.5, 0.25));
            const char descr[] = {kind, fill, diag, base, 0};
            csrmv<T, I>(trans, n, n, alpha, descr, a.values.data(), a.index.data(), a.start.data(), a.end.data(),
                        x.data(), beta, y.data());
            EXPECT_TRUE(matches_gemv(y, y0, transposes ? 'T' : 'N', n, n, alpha, m, n, x, 1, beta, 1))
                << trans << " " << descr;
          }
}

// The threaded kernels cut a large matrix's rows into as many parts as the
// threader offers (it runs at most its arena's threads of them), whether
// each part writes its own rows of y (general and triangular A x) or adds
// into a private y that is then summed (A^T x, symmetric and antisymmetric
// matrices); the product is the one the calling thread alone forms, and beta
// exactly 0 does not read y.
TEST(LegacyCsr, ThreadedKernelsCutRowsIntoParts) {
  const int64_t n = 40000;
  std::vector<ORB_INT> ptr{0}, col;
  std::vector<double> val;
  for (int64_t i = 0; i < n; ++i) {
    for (int64_t j = std::max<int64_t>(0, i - 2); j <= std::min(n - 1, i + 2); ++j)
      col.push_back(j), val.push_back(1.0 + static_cast<double>((i + 2 * j) % 7));
    ptr.push_back(static_cast<ORB_INT>(col.size()));
  }
  std::vector<double> x(n);
  for (int64_t i = 0; i < n; ++i) x[i] = 1.0 + static_cast<double>(i % 5);
  const double one = 1, half = 0.5;
  for (const char *trans : {"N", "T"})
    for (const char *descr : {"GLNC", "TUNC", "SLNC", "HUUC", "ALNC"})
      for (const double *beta : {&half, static_cast<const double *>(nullptr)}) {
        const double zero = 0;
        const double *b = beta ? beta : &zero;
        std::vector<double> alone(n, 3.0), shared(n, beta ? 3.0 : NAN);
        limit = 1;
        orb_spblas_orb_dcsrmv(trans, &n, &n, &one, descr, val.data(), col.data(), ptr.data(), ptr.data() + 1,
                              x.data(), b, alone.data());
        limit = 4;
        sections_asked = 0;
        orb_spblas_orb_dcsrmv(trans, &n, &n, &one, descr, val.data(), col.data(), ptr.data(), ptr.data() + 1,
                              x.data(), b, shared.data());
        limit = 0;
        const bool seq = *descr == 'T' && *trans == 'T';
        EXPECT_EQ(sections_asked, seq ? 0 : 4) << trans << " " << descr;
        for (int64_t i = 0; i < n; ++i)
          ASSERT_NEAR(shared[i], alone[i], 1e-12 * std::abs(alone[i]) + 1e-12) << trans << " " << descr << " " << i;
      }
}

}  // namespace
}  // namespace orb::test
