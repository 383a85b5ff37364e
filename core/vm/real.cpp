// The real kernels: chunks of the vector go through SLEEF's kernels of the
// widest instruction set the processor runs (or the module's own loops), then
// the results are looked over for math errors.  A chunk that is not a plain
// contiguous array of the work type (strided, half precision, or computed in
// place) is first gathered into a local buffer.
#include "vm/blocks.hpp"
#include "vm/elements.hpp"
#include "vm/errors.hpp"
#include "vm/kernels.hpp"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace orb::vm {

namespace {

#define ORB_VM_POLE_SLEEF(name, stem, ha, la, pole, cost) Pole::pole,
#define ORB_VM_POLE_OWN(name, pole, cost) Pole::pole,
constexpr Pole kUnaryPole[kUnary] = {ORB_VM_SLEEF_UNARY(ORB_VM_POLE_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_POLE_OWN)};
constexpr Pole kBinaryPole[kBinary] = {ORB_VM_SLEEF_BINARY(ORB_VM_POLE_SLEEF) ORB_VM_OWN_BINARY(ORB_VM_POLE_OWN)};

// Function names as error reports give them: the precision letter, then the name.
#define ORB_VM_NAME_SLEEF(name, stem, ha, la, pole, cost) P #name,
#define ORB_VM_NAME_OWN(name, pole, cost) P #name,
#define P "h"
constexpr const char *kUnaryNameH[kUnary] = {ORB_VM_SLEEF_UNARY(ORB_VM_NAME_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_NAME_OWN)};
constexpr const char *kBinaryNameH[kBinary] = {ORB_VM_SLEEF_BINARY(ORB_VM_NAME_SLEEF)
                                                   ORB_VM_OWN_BINARY(ORB_VM_NAME_OWN)};
#undef P
#define P "s"
constexpr const char *kUnaryNameS[kUnary] = {ORB_VM_SLEEF_UNARY(ORB_VM_NAME_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_NAME_OWN)};
constexpr const char *kBinaryNameS[kBinary] = {ORB_VM_SLEEF_BINARY(ORB_VM_NAME_SLEEF)
                                                   ORB_VM_OWN_BINARY(ORB_VM_NAME_OWN)};
#undef P
#define P "d"
constexpr const char *kUnaryNameD[kUnary] = {ORB_VM_SLEEF_UNARY(ORB_VM_NAME_SLEEF) ORB_VM_OWN_UNARY(ORB_VM_NAME_OWN)};
constexpr const char *kBinaryNameD[kBinary] = {ORB_VM_SLEEF_BINARY(ORB_VM_NAME_SLEEF)
                                                   ORB_VM_OWN_BINARY(ORB_VM_NAME_OWN)};
#undef P

template <class T>
const char *unary_name(int f) {
  return letter_of<T>() == 'h' ? kUnaryNameH[f] : letter_of<T>() == 's' ? kUnaryNameS[f] : kUnaryNameD[f];
}
template <class T>
const char *binary_name(int f) {
  return letter_of<T>() == 'h' ? kBinaryNameH[f] : letter_of<T>() == 's' ? kBinaryNameS[f] : kBinaryNameD[f];
}

template <class W>
const SleefBlocks<W> &sleef();
template <>
const SleefBlocks<double> &sleef<double>() {
  return blocks().d;
}
template <>
const SleefBlocks<float> &sleef<float>() {
  return blocks().s;
}

//! 1 / sqrt(x) within one ulp.  Single precision: in double, rounded once.
//! Double: the correctly rounded root s and r = 1 / s are corrected by the
//! exact residuals of both roundings, e = x - s^2 and d = 1 - r s (each one
//! fused multiply-add): 1 / sqrt(x) = r (1 + d) (1 - e / 2x) to second order.
void invsqrt(const float *x, float *y, int64_t m) {
  for (int64_t i = 0; i < m; ++i) y[i] = static_cast<float>(1.0 / std::sqrt(static_cast<double>(x[i])));
}
void invsqrt(const double *x, double *y, int64_t m) {
  sleef<double>().unary[k_sqrt][0](x, y, m);
  for (int64_t i = 0; i < m; ++i) {
    const double s = y[i], r = 1.0 / s;
    const double t = std::fma(-r, s, 1.0) - std::fma(-s, s, x[i]) / (2 * x[i]);
    y[i] = std::isfinite(t) ? std::fma(r, t, r) : r;  // 0, infinity, NaN: r as it is
  }
}

//! y = f(x) over m elements; whether every result is finite.
template <class W>
bool apply_unary(int f, int acc, const W *x, W *y, int64_t m) {
  if (f < kSleefUnary) return sleef<W>().unary[f][acc](x, y, m);
  switch (f) {
    case k_inv:
      for (int64_t i = 0; i < m; ++i) y[i] = W(1) / x[i];
      break;
    case k_invsqrt:
      invsqrt(x, y, m);
      break;
    case k_sqr:
      for (int64_t i = 0; i < m; ++i) y[i] = x[i] * x[i];
      break;
    default:
      for (int64_t i = 0; i < m; ++i) y[i] = std::fabs(x[i]);
      break;
  }
  return sleef<W>().all_finite(y, m);
}

//! y = f(a, b) over m elements; whether every result is finite.
template <class W>
bool apply_binary(int f, int acc, const W *a, const W *b, W *y, int64_t m) {
  if (f < kSleefBinary) return sleef<W>().binary[f][acc](a, b, y, m);
  switch (f) {
    case k_add:
      for (int64_t i = 0; i < m; ++i) y[i] = a[i] + b[i];
      break;
    case k_sub:
      for (int64_t i = 0; i < m; ++i) y[i] = a[i] - b[i];
      break;
    case k_mul:
      for (int64_t i = 0; i < m; ++i) y[i] = a[i] * b[i];
      break;
    default:
      for (int64_t i = 0; i < m; ++i) y[i] = a[i] / b[i];
      break;
  }
  return sleef<W>().all_finite(y, m);
}

//! Whether results found finite stay finite as stored: half precision can
//! overflow in the conversion, so its results are always looked over.
template <class T>
constexpr bool stored_as_computed = std::is_same_v<T, typename Real<T>::Work>;

//! The work-type view of m elements of x from element i0 at stride inc: x
//! itself where it is one (contiguous, of the work type, not overwritten
//! before it is read), else a copy in buf.
template <class T, class W = typename Real<T>::Work>
const W *view(const T *x, int64_t i0, int64_t inc, int64_t m, bool in_place, W *buf) {
  if constexpr (std::is_same_v<T, W>) {
    if (inc == 1 && !in_place) return x + i0;
  }
  for (int64_t j = 0; j < m; ++j) buf[j] = Real<T>::load(x[(i0 + j) * inc]);
  return buf;
}

//! Where m results for y from element i0 are computed: y itself where it can
//! be, else buf (then stored by store_results).
template <class T, class W = typename Real<T>::Work>
W *target(T *y, int64_t i0, int64_t inc, W *buf) {
  if constexpr (std::is_same_v<T, W>) {
    if (inc == 1) return y + i0;
  }
  return buf;
}

template <class T, class W>
void store_results(T *y, int64_t i0, int64_t inc, int64_t m, const W *r, const W *buf) {
  if (r != buf) return;
  for (int64_t j = 0; j < m; ++j) y[(i0 + j) * inc] = Real<T>::store(r[j]);
}

}  // namespace

template <class T>
int real_unary(int f, int n, const T *x, int incx, T *y, int incy) {
  using W = typename Real<T>::Work;
  if (n <= 0) return state().status = 0;
  KernelCall call(unary_name<T>(f), x, incx);
  const int acc = accuracy_of(call.st.mode);
  const bool in_place = static_cast<const void *>(x) == static_cast<const void *>(y);
  alignas(64) W xb[kChunk], yb[kChunk];
  for (int64_t i0 = 0; i0 < n; i0 += kChunk) {
    const int64_t m = std::min<int64_t>(kChunk, n - i0);
    const W *xs = view(x, i0, incx, m, in_place, xb);
    W *ys = target(y, i0, incy, yb);
    const bool finite = apply_unary(f, acc, xs, ys, m) && stored_as_computed<T>;
    if (call.report.wanted() && !finite)
      for (int64_t j = 0; j < m; ++j) {
        const W r = Real<T>::stored(ys[j]);
        if (std::isfinite(r)) continue;
        if (const int s = classify<W>(kUnaryPole[f], xs[j], W(0), r))
          call.report.error(s, call.first + i0 + j, xs[j], 0, r);
      }
    store_results(y, i0, incy, m, ys, yb);
  }
  return call.finish();
}

template <class T>
int real_binary(int f, int n, const T *a, int inca, const T *b, int incb, T *y, int incy) {
  using W = typename Real<T>::Work;
  if (n <= 0) return state().status = 0;
  KernelCall call(binary_name<T>(f), a, inca);
  const int acc = accuracy_of(call.st.mode);
  const bool a_in_place = static_cast<const void *>(a) == static_cast<const void *>(y);
  const bool b_in_place = static_cast<const void *>(b) == static_cast<const void *>(y);
  alignas(64) W ab[kChunk], bb[kChunk], yb[kChunk];
  for (int64_t i0 = 0; i0 < n; i0 += kChunk) {
    const int64_t m = std::min<int64_t>(kChunk, n - i0);
    const W *as = view(a, i0, inca, m, a_in_place, ab);
    const W *bs = view(b, i0, incb, m, b_in_place, bb);
    W *ys = target(y, i0, incy, yb);
    const bool finite = apply_binary(f, acc, as, bs, ys, m) && stored_as_computed<T>;
    if (call.report.wanted() && !finite)
      for (int64_t j = 0; j < m; ++j) {
        const W r = Real<T>::stored(ys[j]);
        if (std::isfinite(r)) continue;
        if (const int s = classify<W>(kBinaryPole[f], as[j], bs[j], r))
          call.report.error(s, call.first + i0 + j, as[j], bs[j], r);
      }
    store_results(y, i0, incy, m, ys, yb);
  }
  return call.finish();
}

template <class T>
int real_sincos(int n, const T *x, int incx, T *s, int incs, T *c, int incc) {
  using W = typename Real<T>::Work;
  if (n <= 0) return state().status = 0;
  KernelCall call(letter_of<T>() == 'h' ? "hsincos" : letter_of<T>() == 's' ? "ssincos" : "dsincos", x, incx);
  const int acc = accuracy_of(call.st.mode);
  const bool in_place = static_cast<const void *>(x) == static_cast<const void *>(s) ||
                        static_cast<const void *>(x) == static_cast<const void *>(c);
  alignas(64) W xb[kChunk], sb[kChunk], cb[kChunk];
  for (int64_t i0 = 0; i0 < n; i0 += kChunk) {
    const int64_t m = std::min<int64_t>(kChunk, n - i0);
    const W *xs = view(x, i0, incx, m, in_place, xb);
    W *ss = target(s, i0, incs, sb);
    W *cs = target(c, i0, incc, cb);
    sleef<W>().sincos[acc](xs, ss, cs, m);
    if (call.report.wanted())
      for (int64_t j = 0; j < m; ++j)
        if (std::isnan(ss[j]) && !std::isnan(xs[j]))
          call.report.error(ORB_VM_STATUS_ERRDOM, call.first + i0 + j, xs[j], 0, ss[j]);
    store_results(s, i0, incs, m, ss, sb);
    store_results(c, i0, incc, m, cs, cb);
  }
  return call.finish();
}

template <class T>
int real_linear_frac(int n, const T *a, int inca, const T *b, int incb, T *y, int incy, T s1, T s2, T s3, T s4) {
  using W = typename Real<T>::Work;
  if (n <= 0) return state().status = 0;
  KernelCall call(letter_of<T>() == 'h'   ? "hlinearfrac"
                  : letter_of<T>() == 's' ? "slinearfrac"
                                          : "dlinearfrac",
                  a, inca);
  const W p = Real<T>::load(s1), q = Real<T>::load(s2), u = Real<T>::load(s3), v = Real<T>::load(s4);
  alignas(64) W ab[kChunk], bb[kChunk], yb[kChunk];
  for (int64_t i0 = 0; i0 < n; i0 += kChunk) {
    const int64_t m = std::min<int64_t>(kChunk, n - i0);
    const W *as = view(a, i0, inca, m, true, ab);
    const W *bs = view(b, i0, incb, m, true, bb);
    for (int64_t j = 0; j < m; ++j) yb[j] = (p * as[j] + q) / (u * bs[j] + v);
    if (call.report.wanted())
      for (int64_t j = 0; j < m; ++j) {
        const W r = Real<T>::stored(yb[j]);
        if (std::isfinite(r)) continue;
        const W num = p * as[j] + q, den = u * bs[j] + v;
        if (const int s = classify<W>(Pole::divisor_zero, num, den, r))
          call.report.error(s, call.first + i0 + j, as[j], bs[j], r);
      }
    for (int64_t j = 0; j < m; ++j) y[(i0 + j) * incy] = Real<T>::store(yb[j]);
  }
  return call.finish();
}

#define ORB_VM_INSTANTIATE_REAL(T)                                                 \
  template int real_unary<T>(int, int, const T *, int, T *, int);                  \
  template int real_binary<T>(int, int, const T *, int, const T *, int, T *, int); \
  template int real_sincos<T>(int, const T *, int, T *, int, T *, int);            \
  template int real_linear_frac<T>(int, const T *, int, const T *, int, T *, int, T, T, T, T);
ORB_VM_INSTANTIATE_REAL(ORB_Half)
ORB_VM_INSTANTIATE_REAL(float)
ORB_VM_INSTANTIATE_REAL(double)

}  // namespace orb::vm
