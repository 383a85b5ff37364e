// Operands, calls and the result check of one gemm shape.
#include "gemm_problem.hpp"

#include <orb/orb_types.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace orb::bench {

RealBuffer::RealBuffer(size_t count, size_t real_bytes) : count_(count), real_bytes_(real_bytes) {
  const size_t bytes = (count * real_bytes + 63) / 64 * 64;  // aligned_alloc wants a multiple of the alignment
  void *p = std::aligned_alloc(64, bytes ? bytes : 64);
  if (!p) throw std::bad_alloc();
  data_.reset(p);
}

void RealBuffer::Free::operator()(void *p) const { std::free(p); }

namespace {

template <typename Real>
double max_rel_diff(const Real *x, const Real *ref, size_t n) {
  double diff = 0, scale = 0;
  for (size_t i = 0; i < n; ++i) {
    const double d = std::fabs(static_cast<double>(x[i]) - static_cast<double>(ref[i]));
    // A NaN in either makes the difference infinite rather than vanish in max().
    diff = std::isnan(d) ? std::numeric_limits<double>::infinity() : std::max(diff, d);
    scale = std::max(scale, std::fabs(static_cast<double>(ref[i])));
  }
  if (diff == 0) return 0;
  return scale > 0 ? diff / scale : std::numeric_limits<double>::infinity();
}

// splitmix64: fast, and the same sequence on every machine.
uint64_t next_random(uint64_t &state) {
  uint64_t z = (state += 0x9e3779b97f4a7c15ull);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  return z ^ (z >> 31);
}

template <typename Real>
void fill(const RealBuffer &buf, uint64_t &state) {
  Real *p = static_cast<Real *>(buf.data());
  for (size_t i = 0; i < buf.count(); ++i)
    p[i] = static_cast<Real>(static_cast<double>(next_random(state) >> 11) * 0x1.0p-52 - 1.0);
}

size_t components(Precision p) { return p == Precision::z ? 2 : 1; }

template <typename I>
using FortranGemm = void (*)(const char *, const char *, const I *, const I *, const I *, const void *,
                             const void *, const I *, const void *, const I *, const void *, void *, const I *,
                             size_t, size_t);
using OrbGemm = void (*)(const char *, const char *, const ORB_INT *, const ORB_INT *, const ORB_INT *,
                         const void *, const void *, const ORB_INT *, const void *, const ORB_INT *, const void *,
                         void *, const ORB_INT *);

}  // namespace

double max_relative_difference(const float *x, const float *ref, size_t n) { return max_rel_diff(x, ref, n); }
double max_relative_difference(const double *x, const double *ref, size_t n) { return max_rel_diff(x, ref, n); }

GemmProblem::GemmProblem(const GemmShape &shape, uint64_t seed)
    : shape_(shape), alpha_{1.5, 0.25}, beta_{0.5, 0}, alpha_s_{1.5f, 0.25f}, beta_s_{0.5f, 0} {
  const size_t comp = components(shape.prec);
  const size_t real = shape.prec == Precision::s ? sizeof(float) : sizeof(double);
  const auto m = static_cast<size_t>(shape.m), n = static_cast<size_t>(shape.n), k = static_cast<size_t>(shape.k);
  a_ = RealBuffer(m * k * comp, real);
  b_ = RealBuffer(k * n * comp, real);
  c0_ = RealBuffer(m * n * comp, real);
  c_ = RealBuffer(m * n * comp, real);
  ref_ = RealBuffer(m * n * comp, real);
  uint64_t state = seed;
  for (const RealBuffer *buf : {&a_, &b_, &c0_}) {
    if (real == sizeof(float))
      fill<float>(*buf, state);
    else
      fill<double>(*buf, state);
  }
  reset_c();
}

void GemmProblem::reset_c() { std::memcpy(c_.data(), c0_.data(), c_.count() * c_.real_bytes()); }

void GemmProblem::keep_as_reference() { std::memcpy(ref_.data(), c_.data(), c_.count() * c_.real_bytes()); }

double GemmProblem::difference_from_reference() const {
  if (c_.real_bytes() == sizeof(float))
    return max_relative_difference(static_cast<const float *>(c_.data()), static_cast<const float *>(ref_.data()),
                                   c_.count());
  return max_relative_difference(static_cast<const double *>(c_.data()), static_cast<const double *>(ref_.data()),
                                 c_.count());
}

double GemmProblem::tolerance() const {
  const double eps = shape_.prec == Precision::s ? std::numeric_limits<float>::epsilon()
                                                 : std::numeric_limits<double>::epsilon();
  // A complex term is four real products and their sums.
  const double terms = static_cast<double>(shape_.k) * (shape_.prec == Precision::z ? 4 : 1);
  return 4 * std::max(terms, 16.0) * eps;
}

void GemmProblem::call(const GemmLibrary &lib) {
  void *fn = lib.entries.get(shape_.prec);
  const void *alpha = shape_.prec == Precision::s ? static_cast<const void *>(alpha_s_) : alpha_;
  const void *beta = shape_.prec == Precision::s ? static_cast<const void *>(beta_s_) : beta_;
  const char *ta = &shape_.transa, *tb = &shape_.transb;
  // A is stored m x k, or k x m when transposed; B k x n, or n x k.
  const int64_t lda = shape_.transa == 'N' ? shape_.m : shape_.k, ldb = shape_.transb == 'N' ? shape_.k : shape_.n;
  switch (lib.abi) {
    case CallAbi::orb: {
      const ORB_INT m = shape_.m, n = shape_.n, k = shape_.k, la = lda, lb = ldb;
      reinterpret_cast<OrbGemm>(fn)(ta, tb, &m, &n, &k, alpha, a_.data(), &la, b_.data(), &lb, beta, c_.data(), &m);
      break;
    }
    case CallAbi::fortran_ilp64: {
      const int64_t m = shape_.m, n = shape_.n, k = shape_.k;
      reinterpret_cast<FortranGemm<int64_t>>(fn)(ta, tb, &m, &n, &k, alpha, a_.data(), &lda, b_.data(), &ldb, beta,
                                                 c_.data(), &m, 1, 1);
      break;
    }
    case CallAbi::fortran_lp64: {
      const auto m = static_cast<int32_t>(shape_.m), n = static_cast<int32_t>(shape_.n),
                 k = static_cast<int32_t>(shape_.k), la = static_cast<int32_t>(lda), lb = static_cast<int32_t>(ldb);
      reinterpret_cast<FortranGemm<int32_t>>(fn)(ta, tb, &m, &n, &k, alpha, a_.data(), &la, b_.data(), &lb, beta,
                                                 c_.data(), &m, 1, 1);
      break;
    }
  }
}

}  // namespace orb::bench
