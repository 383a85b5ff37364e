// The level-2 routines (matrix-vector products, triangular products and
// solves, rank-1 and rank-2 updates) as data: each argument list is a row of
// argument kinds in the order of the reference routine, and one walker over a
// row checks a call, names its missing operands, and lets every layer build,
// forward and describe the call without a line written per routine.
//
// Twelve argument lists serve the 62 routines (ORB_LEVEL2_ROUTINES in
// orb_blas.h names each routine's list):
//
//   Gbmv  trans m n kl ku alpha a lda x incx beta y incy   lda >= kl + ku + 1
//   Symv  uplo n alpha a lda x incx beta y incy            lda >= max(1, n)
//   Sbmv  uplo n k alpha a lda x incx beta y incy          lda >= k + 1
//   Spmv  uplo n alpha ap x incx beta y incy
//   Trmv  uplo trans diag n a lda x incx                   lda >= max(1, n)
//   Tbmv  uplo trans diag n k a lda x incx                 lda >= k + 1
//   Tpmv  uplo trans diag n ap x incx
//   Ger   m n alpha x incx y incy a lda                    lda >= max(1, m)
//   Syr   uplo n alpha x incx a lda                        lda >= max(1, n)
//   Spr   uplo n alpha x incx ap
//   Syr2  uplo n alpha x incx y incy a lda                 lda >= max(1, n)
//   Spr2  uplo n alpha x incx y incy ap
//
// A letter must be one the standard allows, a size at least 0, an increment
// not 0, a scalar present; the first that is not is the report, counted from 1.
#pragma once

#include "blas_rules.hpp"

#include <cstddef>
#include <cstdint>

namespace orb::rules {

namespace level2 {
//! What an argument of a level-2 routine is (unscoped, so that the lists
//! below read as the reference's own).
enum Arg : unsigned char { uplo, trans, diag, m, n, kl, ku, k, alpha, a, lda, ap, x, incx, beta, y, incy };

//! What a routine does with its vectors: y := alpha op(A) x + beta y (product),
//! x := op(A) x or op(A)^-1 x (triangle), A := A + alpha x y' (update).
enum class Level2Kind : unsigned char { product, triangle, update };

//! How lda is bounded: by m, by the order n, by the band kl + ku + 1, by k + 1.
enum class Lead : unsigned char { none, rows, order, band, half_band };

#define ORB_LEVEL2_SHAPE(Name, kind_, lead_, ...)            \
  struct Name {                                              \
    static constexpr Arg args[] = {__VA_ARGS__};             \
    static constexpr size_t count = sizeof args / sizeof *args; \
    static constexpr Level2Kind kind = Level2Kind::kind_;    \
    static constexpr Lead lead = Lead::lead_;                \
  };
ORB_LEVEL2_SHAPE(Gbmv, product, band, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Symv, product, order, uplo, n, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Sbmv, product, half_band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Spmv, product, none, uplo, n, alpha, ap, x, incx, beta, y, incy)
ORB_LEVEL2_SHAPE(Trmv, triangle, order, uplo, trans, diag, n, a, lda, x, incx)
ORB_LEVEL2_SHAPE(Tbmv, triangle, half_band, uplo, trans, diag, n, k, a, lda, x, incx)
ORB_LEVEL2_SHAPE(Tpmv, triangle, none, uplo, trans, diag, n, ap, x, incx)
ORB_LEVEL2_SHAPE(Ger, update, rows, m, n, alpha, x, incx, y, incy, a, lda)
ORB_LEVEL2_SHAPE(Syr, update, order, uplo, n, alpha, x, incx, a, lda)
ORB_LEVEL2_SHAPE(Spr, update, none, uplo, n, alpha, x, incx, ap)
ORB_LEVEL2_SHAPE(Syr2, update, order, uplo, n, alpha, x, incx, y, incy, a, lda)
ORB_LEVEL2_SHAPE(Spr2, update, none, uplo, n, alpha, x, incx, y, incy, ap)
#undef ORB_LEVEL2_SHAPE
}  // namespace level2
using level2::Arg;
using level2::Lead;
using level2::Level2Kind;
using level2::Gbmv;
using level2::Symv;
using level2::Sbmv;
using level2::Spmv;
using level2::Trmv;
using level2::Tbmv;
using level2::Tpmv;
using level2::Ger;
using level2::Syr;
using level2::Spr;
using level2::Syr2;
using level2::Spr2;

//! The position (from 0) of `what` in the list of Shape, or -1.
template <class Shape>
constexpr int where(Arg what) {
  for (size_t i = 0; i < Shape::count; ++i)
    if (Shape::args[i] == what) return static_cast<int>(i);
  return -1;
}

//! One call seen through its argument list: slot[i] points to argument i as
//! the caller passed it (integers of type I).
template <class Shape, class I>
struct Level2View {
  const void *const *slot;

  const void *at(Arg what) const {
    const int i = where<Shape>(what);
    return i < 0 ? nullptr : slot[i];
  }
  //! An integer argument's value; 0 for one the routine does not take.
  int64_t integer(Arg what) const {
    const void *p = at(what);
    return p ? *static_cast<const I *>(p) : 0;
  }
  char letter(Arg what) const {
    const void *p = at(what);
    return p ? static_cast<char>(*static_cast<const char *>(p) & ~0x20) : 0;
  }
  //! The order of a square matrix, or the columns of Gbmv and Ger.
  int64_t n() const { return integer(Arg::n); }
  int64_t m() const { return where<Shape>(Arg::m) < 0 ? n() : integer(Arg::m); }
  //! Entries of y (products) or of x (triangles): Gbmv's y has m entries unless A is transposed.
  int64_t y_length() const { return letter(Arg::trans) == 'N' || where<Shape>(Arg::trans) < 0 ? m() : n(); }
};

//! The standard's test of the call: position of the first illegal argument
//! (from 1), or 0.
template <class Shape, class I>
int check_level2(const void *const *slot) {
  const Level2View<Shape, I> v{slot};
  for (size_t i = 0; i < Shape::count; ++i) {
    const void *p = slot[i];
    const int position = static_cast<int>(i) + 1;
    const auto *c = static_cast<const char *>(p);
    const auto *value = static_cast<const I *>(p);
    switch (Shape::args[i]) {
      case Arg::uplo:
        if (!is_uplo(c)) return position;
        break;
      case Arg::trans:
        if (!is_operation(c)) return position;
        break;
      case Arg::diag:
        if (!is_diag(c)) return position;
        break;
      case Arg::m:
      case Arg::n:
      case Arg::kl:
      case Arg::ku:
      case Arg::k:
        if (!value || *value < 0) return position;
        break;
      case Arg::alpha:
      case Arg::beta:
        if (!p) return position;
        break;
      case Arg::incx:
      case Arg::incy:
        if (!value || *value == 0) return position;
        break;
      case Arg::lda: {
        int64_t least = 1;
        switch (Shape::lead) {
          case Lead::rows: least = at_least_one(v.m()); break;
          case Lead::order: least = at_least_one(v.n()); break;
          case Lead::band: least = v.integer(Arg::kl) + v.integer(Arg::ku) + 1; break;
          case Lead::half_band: least = v.integer(Arg::k) + 1; break;
          case Lead::none: break;
        }
        if (!value || *value < least) return position;
        break;
      }
      case Arg::a:
      case Arg::ap:
      case Arg::x:
      case Arg::y:
        break;
    }
  }
  return 0;
}

//! Whether a legal call leaves every operand as it is: no entry to compute,
//! or (products) alpha = 0 and beta = 1, or (updates) alpha = 0.  `alpha_zero`
//! and `beta_one` are the caller's exact tests of its scalars.
template <class Shape, class I>
bool level2_does_nothing(const void *const *slot, bool alpha_zero, bool beta_one) {
  const Level2View<Shape, I> v{slot};
  if (v.m() == 0 || v.n() == 0) return true;
  if constexpr (Shape::kind == Level2Kind::product) return alpha_zero && beta_one;
  if constexpr (Shape::kind == Level2Kind::update) return alpha_zero;
  return false;
}

//! After the standard's test, a call with something to do must give every
//! operand it reads or writes (a product reads A and x only when alpha != 0):
//! the position of the first one missing, or 0.
template <class Shape, class I>
int missing_operand(const void *const *slot, bool alpha_zero, bool beta_one) {
  if (level2_does_nothing<Shape, I>(slot, alpha_zero, beta_one)) return 0;
  for (size_t i = 0; i < Shape::count; ++i) {
    const Arg what = Shape::args[i];
    const bool read_by_product = Shape::kind != Level2Kind::product || !alpha_zero || what == Arg::y;
    if ((what == Arg::a || what == Arg::ap || what == Arg::x || what == Arg::y) && read_by_product && !slot[i])
      return static_cast<int>(i) + 1;
  }
  return 0;
}

}  // namespace orb::rules
