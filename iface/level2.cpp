// The level-2 routines under their standard names: dsymv_ (32-bit integers,
// with dsymv and DSYMV), dsymv_64_ (64-bit) and cblas_dsymv (row- or
// column-major), for every routine of ORB_LEVEL2_ROUTINES.
//
// Each name sees its call as the slots of its argument list
// (blas_rules.hpp): it checks them in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call, integers widened, to the threaded driver.  The verbose line
// walks the same list.
//
// A row-major call is the column-major call of the transposes.  Read
// column-major, a row-major A is B = A^T; for a symmetric A that is A, for a
// Hermitian A it is conj(A), and its stored triangle is the other one.  So:
//   - every uplo flips (U <-> L);
//   - GBMV and the triangles flip op: N <-> T, and C (A^H = conj(B)) becomes
//     N on conjugated vectors; GBMV also exchanges m with n and kl with ku;
//   - GER exchanges m with n and x with y (B += alpha y x^T); GERC, B +=
//     alpha conj(y) x^T, is run as conj(B) += conj(alpha) y x^H; HER2 and
//     HPR2 exchange x with y and conjugate alpha (the same update);
//   - the Hermitian products compute conj(y) := conj(alpha) B conj(x) +
//     conj(beta) conj(y), with conj(x) in scratch and y conjugated in place
//     (without the scratch, element by element from the storage);
//   - the Hermitian updates conjugate their triangle in place, run on it
//     (conj(B) is A), and conjugate it back.
// A report counts the layout as position 1 and names the positions of the
// column-major call that was checked; cblas_xerbla, told that the call was
// row-major, exchanges them back.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <utility>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "lp64.hpp"
#include "precision.hpp"
#include "report.hpp"
#include "scratch.hpp"

namespace orb::iface {

namespace {

using rules::Arg;
using rules::Level2Kind;
using rules::where;

//! A routine's names from its lower-case name: "dsymv" gives "DSYMV ",
//! "DSYMV"/"DSYMV_64" and "cblas_dsymv".
RoutineName level2_name(const char *lower, bool int64) {
  char family[8] = {};
  for (size_t i = 1; lower[i] && i < sizeof family; ++i)
    family[i - 1] = static_cast<char>(std::toupper(static_cast<unsigned char>(lower[i])));
  return routine_name(static_cast<char>(std::toupper(static_cast<unsigned char>(lower[0]))), family, int64);
}

//! The exact tests of the call's scalars that decide its early returns.
template <class Shape, class T, class S>
std::pair<bool, bool> scalar_tests(const void *const *slot) {
  constexpr int alpha_at = where<Shape>(Arg::alpha), beta_at = where<Shape>(Arg::beta);
  bool alpha_zero = false, beta_one = false;
  if constexpr (alpha_at >= 0) alpha_zero = slot[alpha_at] && is_zero(*static_cast<const S *>(slot[alpha_at]));
  if constexpr (beta_at >= 0) beta_one = slot[beta_at] && is_one(*static_cast<const T *>(slot[beta_at]));
  return {alpha_zero, beta_one};
}

//! The standard's test, then the operands: 0 or the first illegal position.
template <class Shape, class T, class S, class I>
int check(const void *const *slot) {
  if (const int info = rules::check_level2<Shape, I>(slot)) return info;
  const auto [alpha_zero, beta_one] = scalar_tests<Shape, T, S>(slot);
  return rules::missing_operand<Shape, I>(slot, alpha_zero, beta_one);
}

template <class Shape, class T, class S, class I>
bool does_nothing(const void *const *slot) {
  const auto [alpha_zero, beta_one] = scalar_tests<Shape, T, S>(slot);
  return rules::level2_does_nothing<Shape, I>(slot, alpha_zero, beta_one);
}

//! Argument i of the call, as whatever pointer the driver's parameter wants.
struct Slot {
  const void *p;
  template <class U>
  operator U *() const {
    return static_cast<U *>(const_cast<void *>(p));
  }
};

template <class Entry, class Slots, size_t... i>
void call_driver(Entry entry, const Slots &slot, std::index_sequence<i...>) {
  entry(Slot{slot[i]}...);
}

//! The call's arguments after the routine's name, in the order of its list.
template <class Shape, class T, class S, class I>
void describe(CallText &t, const void *const *slot) {
  for (size_t i = 0; i < Shape::count; ++i) {
    const void *p = slot[i];
    switch (Shape::args[i]) {
      case Arg::uplo:
      case Arg::trans:
      case Arg::diag: t.character(static_cast<const char *>(p)); break;
      case Arg::alpha: t.scalar(static_cast<const S *>(p)); break;
      case Arg::beta: t.scalar(static_cast<const T *>(p)); break;
      case Arg::a:
      case Arg::ap:
      case Arg::x:
      case Arg::y: t.address(p); break;
      default: t.integer(static_cast<const I *>(p)); break;
    }
  }
}

}  // namespace

template <class Shape, class T, class S, class I, class Entry, class... A>
void fortran_level2(int iface, const char *lower, Entry entry, A... args) {
  constexpr bool int64 = sizeof(I) == 8;
  const void *const slot[] = {static_cast<const void *>(args)...};
  run_reported(
      iface,
      [&] {
        if (const int info = check<Shape, T, S, I>(slot)) {
          report_fortran(level2_name(lower, int64).report, info);
          return;
        }
        if (does_nothing<Shape, T, S, I>(slot)) return;
        entry(orb::thr::widen(args)...);
      },
      [&](CallText &t) { describe<Shape, T, S, I>(t.routine(level2_name(lower, int64).upper), slot); });
}

namespace {

//! A CBLAS call held as the slots of its column-major twin: what it passes by
//! value is kept here, integers as 64 bits.
template <class Shape, class T, class S>
struct CblasCall {
  const void *slot[Shape::count] = {};
  int64_t integer[Shape::count] = {};
  char letter[Shape::count] = {};
  T scalar[Shape::count] = {};  // alpha and beta given by value (real types only)

  void put(size_t i, CBLAS_UPLO v) { put_letter(i, uplo_letter(v)); }
  void put(size_t i, CBLAS_TRANSPOSE v) { put_letter(i, transpose_letter(v)); }
  void put(size_t i, CBLAS_DIAG v) { put_letter(i, diag_letter(v)); }
  void put(size_t i, int v) {
    integer[i] = v;
    slot[i] = &integer[i];
  }
  void put(size_t i, float v) { put_scalar(i, v); }
  void put(size_t i, double v) { put_scalar(i, v); }
  template <class P>
  void put(size_t i, P *p) {
    slot[i] = p;
  }

  template <class V>
  void put_scalar(size_t i, V v) {
    if constexpr (!Precision<T>::is_complex) scalar[i] = static_cast<T>(v);
    else reinterpret_cast<typename Precision<T>::real_type &>(scalar[i]) = static_cast<typename Precision<T>::real_type>(v);
    slot[i] = &scalar[i];
  }
  void put_letter(size_t i, char c) {
    letter[i] = c;
    slot[i] = c ? &letter[i] : nullptr;
  }

  template <Arg what>
  void exchange_with(Arg other) {
    std::swap(slot[where<Shape>(what)], slot[where<Shape>(other)]);
  }
  char *letter_of(Arg what) { return where<Shape>(what) < 0 ? nullptr : &letter[where<Shape>(what)]; }
  template <class V>
  V *operand(Arg what) const {
    return static_cast<V *>(const_cast<void *>(slot[where<Shape>(what)]));
  }
  int64_t value(Arg what) const { return *static_cast<const int64_t *>(slot[where<Shape>(what)]); }
};

//! Whether the row-major call exchanges x and y: GER always (B += alpha y
//! x^T), HER2 and HPR2 as conj(B) += conj(alpha) y x^H + alpha x y^H, which
//! is their own update with x and y exchanged and alpha conjugated.
template <class Shape, class T>
constexpr bool swaps_vectors = std::is_same_v<Shape, rules::Ger> ||
                               (Precision<T>::is_complex &&
                                (std::is_same_v<Shape, rules::Syr2> || std::is_same_v<Shape, rules::Spr2>));

//! Row-major to column-major, as the file's opening comment lays out.
//! Returns whether op was C on a complex matrix (the vectors are then
//! conjugated around the call).
template <class Shape, class T, class S>
bool to_column_major(CblasCall<Shape, T, S> &c) {
  if (char *u = c.letter_of(Arg::uplo); u && *u) *u = *u == 'U' ? 'L' : 'U';
  bool conjugated = false;
  if (char *t = c.letter_of(Arg::trans); t && *t) {
    conjugated = *t == 'C' && Precision<T>::is_complex;
    *t = *t == 'N' ? 'T' : 'N';
  }
  if constexpr (where<Shape>(Arg::m) >= 0) c.template exchange_with<Arg::m>(Arg::n);
  if constexpr (where<Shape>(Arg::kl) >= 0) c.template exchange_with<Arg::kl>(Arg::ku);
  if constexpr (swaps_vectors<Shape, T>) {
    c.template exchange_with<Arg::x>(Arg::y);
    c.template exchange_with<Arg::incx>(Arg::incy);
  }
  return conjugated;
}

//! Positions of the column-major call that a row-major one exchanges, as the
//! caller counts them (the layout first).
template <class Shape, class T>
struct RowMajorExchanges {
  static constexpr RowMajorExchange list[] = {{0, 0}};
};
template <class T>
struct RowMajorExchanges<rules::Gbmv, T> {
  static constexpr RowMajorExchange list[] = {{3, 4}, {5, 6}};
};
template <class T>
struct RowMajorExchanges<rules::Ger, T> {
  static constexpr RowMajorExchange list[] = {{2, 3}, {5, 7}, {6, 8}};
};
template <>
struct RowMajorExchanges<rules::Syr2, ORB_Complex8> {
  static constexpr RowMajorExchange list[] = {{5, 7}, {6, 8}};
};
template <>
struct RowMajorExchanges<rules::Syr2, ORB_Complex16> : RowMajorExchanges<rules::Syr2, ORB_Complex8> {};
template <>
struct RowMajorExchanges<rules::Spr2, ORB_Complex8> : RowMajorExchanges<rules::Syr2, ORB_Complex8> {};
template <>
struct RowMajorExchanges<rules::Spr2, ORB_Complex16> : RowMajorExchanges<rules::Syr2, ORB_Complex8> {};

template <class T>
void conjugate_strided(T *v, int64_t count, int64_t inc) {
  const int64_t step = inc < 0 ? -inc : inc;
  for (int64_t i = 0; i < count; ++i) v[i * step] = conjugate(v[i * step]);
}

//! Conjugates the stored triangle (or, for GER, the m x n matrix) of an update.
template <class Shape, class T, class S>
void conjugate_matrix(const CblasCall<Shape, T, S> &c) {
  const int64_t n = c.value(Arg::n);
  if constexpr (where<Shape>(Arg::ap) >= 0) {
    conjugate_strided(c.template operand<T>(Arg::ap), n * (n + 1) / 2, 1);
  } else {
    T *a = c.template operand<T>(Arg::a);
    const int64_t lda = c.value(Arg::lda);
    const bool upper = c.letter[0] == 'U';
    const int64_t rows = where<Shape>(Arg::m) >= 0 ? c.value(Arg::m) : n;
    for (int64_t j = 0; j < n; ++j) {
      const bool general = where<Shape>(Arg::uplo) < 0;
      const int64_t first = general || upper ? 0 : j, last = general ? rows : upper ? j + 1 : n;
      conjugate_strided(a + first + j * lda, last - first, 1);
    }
  }
}

//! Element (i, j) of the column-major B a product reads: its band (GBMV),
//! or its stored triangle in full, band or packed storage with the other
//! triangle the conjugate (the Hermitian products; a real diagonal).
template <class Shape, class T, class S>
T stored_element(const CblasCall<Shape, T, S> &c, int64_t i, int64_t j) {
  const T *a = c.template operand<const T>(where<Shape>(Arg::ap) >= 0 ? Arg::ap : Arg::a);
  if constexpr (std::is_same_v<Shape, rules::Gbmv>) {
    const int64_t kl = c.value(Arg::kl), ku = c.value(Arg::ku);
    return i - j > kl || j - i > ku ? T{} : a[ku + i - j + j * c.value(Arg::lda)];
  } else {
    const bool upper = c.letter[0] == 'U', mirrored = upper ? i > j : i < j;
    if (mirrored) std::swap(i, j);
    T v{};
    if constexpr (where<Shape>(Arg::ap) >= 0) {
      const int64_t n = c.value(Arg::n);
      v = a[upper ? i + j * (j + 1) / 2 : i + j * (2 * n - j - 1) / 2];
    } else if constexpr (where<Shape>(Arg::k) >= 0) {
      const int64_t k = c.value(Arg::k), lda = c.value(Arg::lda);
      if (upper ? j - i > k : i - j > k) return T{};
      v = a[(upper ? k + i - j : i - j) + j * lda];
    } else {
      v = a[i + j * c.value(Arg::lda)];
    }
    if (i == j) v.imag = 0;
    return mirrored ? conjugate(v) : v;
  }
}

//! y := alpha conj(B) x + beta y element by element, for a call that could
//! not have its scratch copy of conj(x): slower, but it reads only what the
//! call gives and writes only y.
template <class Shape, class T, class S>
void product_without_scratch(const CblasCall<Shape, T, S> &c, int64_t nx, int64_t ny) {
  const T *x = c.template operand<const T>(Arg::x);
  T *y = c.template operand<T>(Arg::y);
  const T alpha = *c.template operand<const T>(Arg::alpha), beta = *c.template operand<const T>(Arg::beta);
  const int64_t incx = c.value(Arg::incx), incy = c.value(Arg::incy);
  const auto at = [](int64_t i, int64_t len, int64_t inc) { return (inc > 0 ? i : len - 1 - i) * (inc < 0 ? -inc : inc); };
  for (int64_t i = 0; i < ny; ++i) {
    T sum{};
    for (int64_t j = 0; j < nx; ++j) sum = add(sum, mul(conjugate(stored_element(c, i, j)), x[at(j, nx, incx)]));
    T &out = y[at(i, ny, incy)];
    out = add(mul(alpha, sum), is_zero(beta) ? T{} : mul(beta, out));
  }
}

//! Runs a legal row-major complex call that needs conjugation, or returns
//! false for one that does not.
template <class Shape, class T, class S, class Entry>
bool run_conjugated(CblasCall<Shape, T, S> &c, bool op_conjugated, bool hermitian, Entry entry) {
  if constexpr (!Precision<T>::is_complex) {
    return false;
  } else {
    constexpr auto kind = Shape::kind;
    if (kind == Level2Kind::triangle && op_conjugated) {
      // A^H x = conj(B conj(x)): x is the caller's own, conjugated around the call.
      T *x = c.template operand<T>(Arg::x);
      const int64_t n = c.value(Arg::n), incx = c.value(Arg::incx);
      conjugate_strided(x, n, incx);
      entry();
      conjugate_strided(x, n, incx);
      return true;
    }
    if (kind == Level2Kind::update && hermitian) {
      // GERC and the Hermitian updates: conj(B) is what the column-major call updates.
      // GERC: B += alpha conj(y) x^T is conj(B) += conj(alpha) y x^H (y now
      // first); HER2 and HPR2 take conj(alpha) with x and y exchanged too.
      const T alpha = conjugate(*c.template operand<const T>(Arg::alpha));
      if constexpr (swaps_vectors<Shape, T>) c.slot[where<Shape>(Arg::alpha)] = &alpha;
      conjugate_matrix(c);
      entry();
      conjugate_matrix(c);
      return true;
    }
    if (kind == Level2Kind::product && (hermitian || op_conjugated)) {
      // conj(y) := conj(alpha) B conj(x) + conj(beta) conj(y).
      rules::Level2View<Shape, int64_t> v{c.slot};
      const int64_t nx = v.y_length() == v.m() ? v.n() : v.m(), ny = v.y_length();
      const T *x = c.template operand<const T>(Arg::x);
      const int64_t incx = c.value(Arg::incx);
      T *y = c.template operand<T>(Arg::y);
      const Scratch<T> xc(nx, 64, Allocator::plain);
      if (!xc) {
        product_without_scratch(c, nx, ny);
        return true;
      }
      const int64_t step = incx < 0 ? -incx : incx;
      for (int64_t i = 0; i < nx; ++i) xc.get()[i] = conjugate(x[(incx > 0 ? i : nx - 1 - i) * step]);
      const T alpha = conjugate(*c.template operand<const T>(Arg::alpha));
      const T beta = conjugate(*c.template operand<const T>(Arg::beta));
      const int64_t one = 1;
      c.slot[where<Shape>(Arg::alpha)] = &alpha;
      c.slot[where<Shape>(Arg::beta)] = &beta;
      c.slot[where<Shape>(Arg::x)] = xc.get();
      c.slot[where<Shape>(Arg::incx)] = &one;
      conjugate_strided(y, ny, c.value(Arg::incy));
      entry();
      conjugate_strided(y, ny, c.value(Arg::incy));
      return true;
    }
    return false;
  }
}

}  // namespace

//! Appends one CBLAS argument: an enumerator by its name, a scalar by value.
template <class T, class S>
void describe_cblas(CallText &t, Arg, CBLAS_UPLO v) { cblas_uplo(t, v); }
template <class T, class S>
void describe_cblas(CallText &t, Arg, CBLAS_TRANSPOSE v) { cblas_transpose(t, v); }
template <class T, class S>
void describe_cblas(CallText &t, Arg, CBLAS_DIAG v) { cblas_diag(t, v); }
template <class T, class S>
void describe_cblas(CallText &t, Arg, int v) { t.integer(int64_t{v}); }
template <class T, class S>
void describe_cblas(CallText &t, Arg, float v) { t.scalar(&v); }
template <class T, class S>
void describe_cblas(CallText &t, Arg, double v) { t.scalar(&v); }
template <class T, class S, class P>
void describe_cblas(CallText &t, Arg what, P *p) {
  if (what == Arg::alpha) t.scalar(static_cast<const S *>(static_cast<const void *>(p)));
  else if (what == Arg::beta) t.scalar(static_cast<const T *>(static_cast<const void *>(p)));
  else t.address(p);
}

template <class Shape, class T, class S, class Entry, class... A>
void cblas_level2(const char *lower, Entry entry, int layout, A... args) {
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        CblasCall<Shape, T, S> c;
        size_t i = 0;
        (c.put(i++, args), ...);
        bool op_conjugated = false;
        int info = known_layout(layout) ? 0 : 1;
        if (!info) {
          if (row) op_conjugated = to_column_major(c);
          if (const int standard = check<Shape, T, S, int64_t>(c.slot)) info = standard + 1;
        }
        if (info) {
          report_cblas(level2_name(lower, false).cblas, info, row, RowMajorExchanges<Shape, T>::list);
          return;
        }
        if (does_nothing<Shape, T, S, int64_t>(c.slot)) return;
        constexpr auto all = std::make_index_sequence<Shape::count>{};
        // The complex routines whose matrix is Hermitian, and GERC.
        const bool hermitian = Precision<T>::is_complex && !std::is_same_v<Shape, rules::Gbmv> &&
                               Shape::kind != Level2Kind::triangle &&
                               (!std::is_same_v<Shape, rules::Ger> || lower[4] == 'c');
        if (row && run_conjugated(c, op_conjugated, hermitian, [&] { call_driver(entry, c.slot, all); })) return;
        call_driver(entry, c.slot, all);
      },
      [&](CallText &t) {
        t.routine(level2_name(lower, false).cblas);
        cblas_layout(t, layout);
        size_t i = 0;
        (describe_cblas<T, S>(t, Shape::args[i++], args), ...);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_level2;
using orb::iface::fortran_level2;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of the characters after the last argument; they
// are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_LEVEL2(list, name, NAME, T, S, E, A, B)                                                          \
  extern "C" ORB_EXPORT void name##_(ORB_L2_PARAMS_##list(T, S, int)) {                                       \
    fortran_level2<orb::rules::list, T, S, int>(kLp64, #name, orb_blas_##name, ORB_L2_ARGS_##list);           \
  }                                                                                                           \
  extern "C" ORB_EXPORT void name##_64_(ORB_L2_PARAMS_##list(T, S, ORB_INT)) {                                \
    fortran_level2<orb::rules::list, T, S, ORB_INT>(kIlp64, #name, orb_blas_##name, ORB_L2_ARGS_##list);      \
  }                                                                                                           \
  ORB_FORTRAN_NAME_FORMS(name, NAME)                                                                          \
  extern "C" void cblas_##name(ORB_CBLAS_L2_PARAMS_##list(E, A, B)) {                                          \
    cblas_level2<orb::rules::list, T, S>(#name, orb_blas_##name, layout, ORB_L2_ARGS_##list);                 \
  }
ORB_LEVEL2_ROUTINES(ORB_FORTRAN_LEVEL2)
