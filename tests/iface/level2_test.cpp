// Every level-2 routine through every name form (32-bit and 64-bit Fortran
// names, CBLAS column- and row-major): results against the dense model of its
// matrix for each uplo, trans and diag, with unit, non-unit and negative
// increments; alpha = 0 reading neither A nor x; what a routine must not
// write (the other triangle, the padding, the gaps between vector entries)
// left as it was; and an operand missing from a call that needs it reported.
#include "hooks.hpp"
#include "level2.hpp"

#include <atomic>
#include <string>

namespace orb::test {
namespace {

struct Level2Case {
  char uplo, trans, diag;
  int64_t incx, incy;
  cld alpha, beta;
};

//! Runs routine r once in `form` and checks what it wrote.
template <class T, class S>
void check_level2(const Level2Routine<T, S> &r, Form form, const Level2Case &k) {
  const bool row = form == Form::CblasRow;
  Level2Args<T, S> c;
  c.uplo = form == Form::Fortran64 ? static_cast<char>(k.uplo | 0x20) : k.uplo;
  c.trans = k.trans, c.diag = k.diag, c.incx = k.incx, c.incy = k.incy;
  c.n = 7, c.m = r.has(Arg::m) ? 5 : 7, c.kl = 2, c.ku = 1, c.k = 2;
  c.alpha = narrow<S>(k.alpha), c.beta = narrow<T>(k.beta);
  // v: the column-major call the storage describes (a row-major A is B = A^T).
  Level2Args<T, S> v = c;
  if (row) {
    v.uplo = (c.uplo | 0x20) == 'u' ? 'L' : 'U';
    std::swap(v.m, v.n), std::swap(v.kl, v.ku);
  }
  const int64_t rows = r.lead == Lead::band ? v.kl + v.ku + 1 : r.lead == Lead::half_band ? v.k + 1 : v.m;
  c.lda = v.lda = rows + 2;
  const int64_t size = r.has(Arg::ap) ? v.n * (v.n + 1) / 2 : c.lda * v.n;
  std::vector<T> a0 = random_matrix<T>(size, 1, size, 11);
  for (int64_t i = 0; r.solve && i < v.n; ++i) {  // a well-conditioned triangle
    T &d = a0[stored_at(r, v, i, i)];
    d = narrow<T>(wide(d) + cld(4));
  }
  const bool product = r.kind == Level2Kind::product, update = r.kind == Level2Kind::update;
  const bool as_stored = (k.trans | 0x20) == 'n' || !r.has(Arg::trans);
  const int64_t lenx = update ? c.m : as_stored ? c.n : c.m, leny = update ? c.n : as_stored ? c.m : c.n;
  std::vector<T> x0 = random_matrix<T>(1, lenx, std::abs(k.incx), 12), y0 = random_matrix<T>(1, leny, std::abs(k.incy), 13);
  if (product && k.alpha == cld(0)) fill_nan(a0), fill_nan(x0);
  if (product && k.beta == cld(0)) fill_nan(y0, std::abs(k.incy));
  std::vector<T> a = a0, x = x0, y = y0;
  c.a = a.data(), c.x = x.data(), c.y = y.data();
  r.call(form, c);

  // The matrix the caller means, and op of it.
  const std::vector<cld> model = dense_model(r, v, a0.data());
  const auto at = [&](int64_t i, int64_t j) { return row ? model[j + i * v.m] : model[i + j * v.m]; };
  const char op = static_cast<char>(k.trans | 0x20);
  const auto op_at = [&](int64_t i, int64_t j) {
    if (!r.has(Arg::trans) || op == 'n') return at(i, j);
    return op == 'c' ? std::conj(at(j, i)) : at(j, i);
  };
  const auto norm1 = [](cld z) { return std::fabs(z.real()) + std::fabs(z.imag()); };
  const long double eps = 64 * (c.n + 2) * unit_roundoff<T>();
  const cld al = wide(c.alpha), be = wide(c.beta);
  const auto xv = [&](int64_t i) { return wide(entry(x0.data(), lenx, k.incx, i)); };
  const auto yv = [&](int64_t i) { return wide(entry(y0.data(), leny, k.incy, i)); };

  if (r.kind == Level2Kind::triangle) {
    // x := op(A) x, or op(A) x_new = x for a solve.
    for (int64_t i = 0; i < c.n; ++i) {
      cld sum = 0;
      long double bound = 0;
      for (int64_t j = 0; j < c.n; ++j) {
        const cld term = op_at(i, j) * (r.solve ? wide(entry(x.data(), lenx, k.incx, j)) : xv(j));
        sum += term, bound += norm1(term);
      }
      const cld got = r.solve ? sum : wide(entry(x.data(), lenx, k.incx, i)), want = r.solve ? xv(i) : sum;
      EXPECT_LE(norm1(got - want), eps * (bound + norm1(want)) + 1e-30) << r.name << " x[" << i << "]";
    }
  } else if (product) {
    for (int64_t i = 0; i < leny; ++i) {
      cld sum = 0;
      long double bound = 0;
      for (int64_t j = 0; j < lenx && al != cld(0); ++j) sum += op_at(i, j) * xv(j), bound += norm1(op_at(i, j) * xv(j));
      cld want = al * sum;
      bound *= norm1(al);
      if (be != cld(0)) want += be * yv(i), bound += norm1(be * yv(i));
      const cld got = wide(entry(y.data(), leny, k.incy, i));
      EXPECT_LE(norm1(got - want), eps * bound + 1e-30) << r.name << " y[" << i << "]";
    }
  } else {
    // A + alpha x y' (the Hermitian rank-2 update adds its conjugate too), compared where stored.
    const bool conj = r.hermitian || r.conj_y, two = r.has(Arg::y);
    const auto second = [&](int64_t j) { return two ? yv(j) : xv(j); };
    for (int64_t j = 0; j < v.n; ++j)
      for (int64_t i = 0; i < v.m; ++i) {
        const int64_t s = stored_at(r, v, i, j);
        if (s < 0) continue;
        const int64_t ci = row ? j : i, cj = row ? i : j;  // the caller's (row, column)
        const cld yj = conj ? std::conj(second(cj)) : second(cj);
        cld delta = al * xv(ci) * yj;
        if (two && r.hermitian) delta += std::conj(al) * yv(ci) * std::conj(xv(cj));
        else if (two && !r.has(Arg::m)) delta += al * yv(ci) * xv(cj);
        cld want = wide(a0[s]) + delta;
        if (r.hermitian && i == j && al != cld(0)) want = want.real();  // alpha = 0 returns at once
        EXPECT_LE(norm1(wide(a[s]) - want), eps * (norm1(wide(a0[s])) + 2 * norm1(delta)) + 1e-30)
            << r.name << " A(" << ci << "," << cj << ")";
      }
  }
  // Nothing else changes: unstored entries, padding, gaps, and the inputs.
  for (size_t s = 0; s < a.size(); ++s) {
    bool stored = false;
    for (int64_t j = 0; j < v.n && !stored; ++j)
      for (int64_t i = 0; i < v.m && !stored; ++i) stored = stored_at(r, v, i, j) == static_cast<int64_t>(s);
    if (!stored || !update)
      EXPECT_TRUE(wide(a[s]) == wide(a0[s]) || std::isnan(wide(a0[s]).real())) << r.name << " storage " << s;
  }
  for (size_t i = 0; i < x.size(); ++i)
    if (r.kind != Level2Kind::triangle || i % std::abs(k.incx) != 0)
      EXPECT_TRUE(wide(x[i]) == wide(x0[i]) || std::isnan(wide(x0[i]).real())) << r.name << " x storage " << i;
  for (size_t i = 0; i < y.size(); ++i)
    if (!product || i % std::abs(k.incy) != 0) EXPECT_TRUE(wide(y[i]) == wide(y0[i])) << r.name << " y storage " << i;
}

//! Every routine of T with alpha type S, every form, every letter, two pairs of increments.
template <class T, class S>
void check_every_level2() {
  for (const auto &r : level2_routines<T, S>())
    for (Form form : kForms)
      for (char uplo : {'U', 'L'})
        for (char trans : {'N', 'T', 'C'})
          for (char diag : {'N', 'U'})
            for (const auto &[incx, incy] : {std::pair<int64_t, int64_t>{1, 1}, {-2, 3}, {3, -1}}) {
              if ((!r.has(Arg::uplo) && uplo == 'L') || (!r.has(Arg::trans) && trans != 'N') ||
                  (!r.has(Arg::diag) && diag == 'U'))
                continue;
              SCOPED_TRACE(std::string(r.name) + " " + form_name(form) + " " + uplo + trans + diag + " inc " +
                           std::to_string(incx) + "," + std::to_string(incy));
              check_level2(r, form, {uplo, trans, diag, incx, incy, cld(1.5, -0.5), cld(0.5, 0.25)});
              if (r.kind != Level2Kind::triangle && uplo == 'U' && trans == 'N' && incx == 1) {
                check_level2(r, form, {uplo, trans, diag, incx, incy, cld(0), cld(0.5, 0.25)});
                check_level2(r, form, {uplo, trans, diag, incx, incy, cld(1.5, -0.5), cld(0)});
              }
            }
}

TYPED_TEST(Results, EveryLevel2RoutineInEveryForm) {
  check_every_level2<TypeParam, TypeParam>();
  if constexpr (is_complex_v<TypeParam>) check_every_level2<TypeParam, decltype(TypeParam::real)>();
}

// Without memory for conj(x), a row-major Hermitian product (and GBMV with
// the conjugate transpose) computes element by element: the same results.
}  // namespace
}  // namespace orb::test

extern std::atomic<bool> refuse_scratch;  // product_test.cpp, beside its orb_serv_malloc

namespace orb::test {
namespace {

TYPED_TEST(Results, RowMajorConjugatedProductsWithoutScratch) {
  using T = TypeParam;
  if constexpr (is_complex_v<T>) {
    refuse_scratch = true;
    for (const auto &r : level2_routines<T, T>())
      if (r.kind == Level2Kind::product)
        for (const char uplo : {'U', 'L'}) {
          SCOPED_TRACE(std::string(r.name) + " " + uplo);
          check_level2(r, Form::CblasRow, {uplo, 'C', 'N', -2, 3, cld(1.5, -0.5), cld(0.5, 0.25)});
          check_level2(r, Form::CblasRow, {uplo, 'C', 'N', 1, 1, cld(1.5, -0.5), cld(0)});
        }
    refuse_scratch = false;
  }
}

// A call with work to do must give its operands: a missing one is reported
// at its own position (the layout counts first in CBLAS), nothing written.
TEST(Level2Names, MissingOperandsAreReported) {
  const int n = 3, inc = 1, lda = 3;
  const double alpha = 1, beta = 0;
  std::vector<double> a(9, 1.0), x(3, 1.0), y(3, 5.0);
  const Reports reports;
  dsymv_("U", &n, &alpha, nullptr, &lda, x.data(), &inc, &beta, y.data(), &inc);
  dger_(&n, &n, &alpha, x.data(), &inc, nullptr, &inc, a.data(), &lda);
  dtrsv_("L", "N", "N", &n, a.data(), &lda, nullptr, &inc);
  cblas_dsymv(CblasRowMajor, CblasUpper, n, alpha, a.data(), lda, x.data(), inc, beta, nullptr, inc);
  EXPECT_EQ(y, std::vector<double>(3, 5.0));
  // alpha = 0 reads neither A nor x: scaling y by beta needs only y.
  dsymv_("U", &n, &beta, nullptr, &lda, nullptr, &inc, &beta, y.data(), &inc);
  EXPECT_EQ(y, std::vector<double>(3, 0.0));
  const Reports::Log want = {{"DSYMV ", 4}, {"DGER  ", 6}, {"DTRSV ", 7}, {"cblas_dsymv", 10}};
  EXPECT_EQ(Reports::taken(), want);
}

}  // namespace
}  // namespace orb::test
