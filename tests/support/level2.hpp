// The level-2 routines for tests: every routine of ORB_LEVEL2_ROUTINES in
// every name form, called from one description of the call, and one dense
// model of its matrix, from which the expected result is computed naively
// and compared with what the routine wrote (and did not write).
#pragma once

#include "blas_api.hpp"
#include "dense.hpp"
#include "blas_rules.hpp"

#include <utility>
#include <vector>

extern "C" {
#define ORB_TEST_L2_NAMES(list, name, NAME, T, S, E, A, B) \
  void name##_(ORB_L2_PARAMS_##list(T, S, int));             \
  void name##_64_(ORB_L2_PARAMS_##list(T, S, int64_t));
ORB_LEVEL2_ROUTINES(ORB_TEST_L2_NAMES)
#undef ORB_TEST_L2_NAMES
}

namespace orb::test {

using rules::Arg;
using rules::Level2Kind;
using rules::Lead;

//! One call: the letters, sizes, scalars and operands by argument kind, the
//! integers in both widths.  slot32 / slot64 list them in the routine's order.
template <class T, class S>
struct Level2Args {
  char uplo = 'U', trans = 'N', diag = 'N';
  int64_t m = 0, n = 0, kl = 0, ku = 0, k = 0, lda = 1, incx = 1, incy = 1;
  S alpha{};
  T beta{};
  T *a = nullptr, *x = nullptr, *y = nullptr;

  const void *slot(Arg what, bool wide, int (&narrow32)[17]) const {
    const auto integer = [&](const int64_t &v) -> const void * {
      narrow32[what] = static_cast<int>(v);
      return wide ? static_cast<const void *>(&v) : &narrow32[what];
    };
    switch (what) {
      case Arg::uplo: return &uplo;
      case Arg::trans: return &trans;
      case Arg::diag: return &diag;
      case Arg::m: return integer(m);
      case Arg::n: return integer(n);
      case Arg::kl: return integer(kl);
      case Arg::ku: return integer(ku);
      case Arg::k: return integer(k);
      case Arg::lda: return integer(lda);
      case Arg::incx: return integer(incx);
      case Arg::incy: return integer(incy);
      case Arg::alpha: return &alpha;
      case Arg::beta: return &beta;
      case Arg::a:
      case Arg::ap: return a;
      case Arg::x: return x;
      case Arg::y: return y;
    }
    return nullptr;
  }
};

//! Argument i as whatever a standard name's parameter wants.
struct FortranArg {
  const void *p;
  template <class U>
  operator U *() const {
    return static_cast<U *>(const_cast<void *>(p));
  }
};
//! The same for a CBLAS name: letters become enumerators, integers and real
//! scalars values.
struct CblasArg {
  const void *p;
  operator int() const { return static_cast<int>(*static_cast<const int64_t *>(p)); }
  operator float() const { return *static_cast<const float *>(p); }
  operator double() const { return *static_cast<const double *>(p); }
  operator CBLAS_UPLO() const { return cblas_uplo(*static_cast<const char *>(p)); }
  operator CBLAS_TRANSPOSE() const { return cblas_trans(*static_cast<const char *>(p)); }
  operator CBLAS_DIAG() const { return cblas_diag(*static_cast<const char *>(p)); }
  template <class U>
  operator U *() const {
    return static_cast<U *>(const_cast<void *>(p));
  }
};

template <class Shape, class F, size_t... i>
void call_fortran(F fn, const void *const *slot, std::index_sequence<i...>) {
  fn(FortranArg{slot[i]}...);
}
template <class Shape, class F, size_t... i>
void call_cblas(F fn, CBLAS_LAYOUT layout, const void *const *slot, std::index_sequence<i...>) {
  fn(layout, CblasArg{slot[i]}...);
}

//! One routine: its name, argument list and what its matrix is.
template <class T, class S>
struct Level2Routine {
  const char *name;
  const Arg *args;
  size_t count;
  Level2Kind kind;
  Lead lead;
  bool hermitian;  //!< the complex symmetric-storage routines (hemv ... hpr2)
  bool conj_y;     //!< gerc
  bool solve;      //!< trsv, tbsv, tpsv
  void (*call)(Form, const Level2Args<T, S> &);
  bool has(Arg what) const {
    for (size_t i = 0; i < count; ++i)
      if (args[i] == what) return true;
    return false;
  }
};

template <class Shape, class T, class S, class F32, class F64, class FC>
void call_level2(Form form, const Level2Args<T, S> &c, F32 f32, F64 f64, FC cblas) {
  int narrow32[17];
  const void *slot[Shape::count];
  const bool wide = form != Form::Fortran32;
  for (size_t i = 0; i < Shape::count; ++i) slot[i] = c.slot(Shape::args[i], wide, narrow32);
  constexpr auto all = std::make_index_sequence<Shape::count>{};
  switch (form) {
    case Form::Fortran32: call_fortran<Shape>(f32, slot, all); break;
    case Form::Fortran64: call_fortran<Shape>(f64, slot, all); break;
    case Form::CblasColumn: call_cblas<Shape>(cblas, CblasColMajor, slot, all); break;
    case Form::CblasRow: call_cblas<Shape>(cblas, CblasRowMajor, slot, all); break;
  }
}

#define ORB_TEST_L2_ENTRY(list, name, NAME, T_, S_, E, A, B)                                                   \
  if constexpr (std::is_same_v<T, T_> && std::is_same_v<S, S_>) {                                          \
    using Shape = rules::list;                                                                               \
    const std::string family = #name + 1;                                                                    \
    v.push_back({#name, Shape::args, Shape::count, Shape::kind, Shape::lead,                                 \
                 is_complex_v<T> && family[0] == 'h', family == "gerc", family.substr(2) == "sv",            \
                 [](Form f, const Level2Args<T, S> &c) { call_level2<Shape>(f, c, name##_, name##_64_, cblas_##name); }}); \
  }
//! Every level-2 routine of element type T whose alpha is an S.
template <class T, class S>
std::vector<Level2Routine<T, S>> level2_routines() {
  std::vector<Level2Routine<T, S>> v;
  ORB_LEVEL2_ROUTINES(ORB_TEST_L2_ENTRY)
  return v;
}
#undef ORB_TEST_L2_ENTRY

//! Where element (i, j) of the matrix is stored for a column-major call of
//! routine r with these arguments, or -1 when it is not stored.
template <class T, class S>
int64_t stored_at(const Level2Routine<T, S> &r, const Level2Args<T, S> &c, int64_t i, int64_t j) {
  const bool upper = (c.uplo | 0x20) == 'u', packed = r.has(Arg::ap);
  if (r.has(Arg::kl)) return i >= j - c.ku && i <= j + c.kl ? c.ku + i - j + j * c.lda : -1;
  if (!r.has(Arg::uplo)) return i + j * c.lda;  // ger
  if (upper ? i > j : i < j) return -1;
  if (r.has(Arg::k)) {
    if (upper ? j - i > c.k : i - j > c.k) return -1;
    return (upper ? c.k + i - j : i - j) + j * c.lda;
  }
  if (packed) return upper ? i + j * (j + 1) / 2 : i + j * (2 * c.n - j - 1) / 2;
  return i + j * c.lda;
}

//! The dense m x n matrix a column-major call of r describes.
template <class T, class S>
std::vector<cld> dense_model(const Level2Routine<T, S> &r, const Level2Args<T, S> &c, const T *a) {
  const int64_t m = r.has(Arg::m) ? c.m : c.n, n = c.n;
  std::vector<cld> d(static_cast<size_t>(m * n));
  const bool triangle = r.kind == Level2Kind::triangle, general = r.has(Arg::kl) || !r.has(Arg::uplo);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      const int64_t at = stored_at(r, c, i, j), mirror = general || triangle ? -1 : stored_at(r, c, j, i);
      cld v = at >= 0 ? wide(a[at]) : mirror >= 0 ? wide(a[mirror]) : cld(0);
      if (at < 0 && mirror >= 0 && r.hermitian) v = std::conj(v);
      if (i == j && r.hermitian) v = v.real();
      if (i == j && triangle && (c.diag | 0x20) == 'u') v = 1;
      d[i + j * m] = v;
    }
  return d;
}

//! Entry i of a vector of len entries with increment inc.
template <class T>
T &entry(T *v, int64_t len, int64_t inc, int64_t i) {
  return v[(inc > 0 ? i : len - 1 - i) * (inc < 0 ? -inc : inc)];
}

}  // namespace orb::test
