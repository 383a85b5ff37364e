// Sequential level-2 kernels: the matrix-vector products (general band,
// symmetric and Hermitian in full, band and packed storage), the triangular
// products and solves in the same three storages, and the rank-1 and rank-2
// updates, in every precision.
//
// One template serves them all, driven by the routine's argument list
// (blas_rules.hpp).  Like the GEMV kernel, it checks the call in the
// standard order and reports the first illegal argument without touching
// anything; it returns at once when there is nothing to compute (a size of 0,
// a product with alpha = 0 and beta = 1, an update with alpha = 0); a product
// with alpha = 0 only scales y by beta, reading neither A nor x (the standard
// routine does the same, and a caller may pass null for them); everything
// else goes to the provider.  The threaded drivers call these kernels whole
// or once per piece.
#include "blas/provider.hpp"
#include "blas/scale.hpp"
#include "service/report.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include "blas_rules.hpp"
#include "precision.hpp"

#include <cctype>
#include <cstddef>
#include <utility>

namespace orb::core {

namespace {

using rules::Arg;
using rules::where;

//! The routine's name in capitals, as reports spell it: "DSYMV".
struct UpperName {
  char text[8] = {};
  explicit UpperName(const char *lower) {
    for (size_t i = 0; lower[i] && i + 1 < sizeof text; ++i)
      text[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(lower[i])));
  }
};

//! Calls a provider routine with one hidden length of 1 per character argument.
template <class Fn, size_t... L, class... A>
void call_fortran(Fn fn, std::index_sequence<L...>, A... args) {
  fn(args..., (static_cast<void>(L), std::size_t{1})...);
}

template <class Shape>
constexpr size_t letters() {
  size_t count = 0;
  for (Arg a : Shape::args) count += a == Arg::uplo || a == Arg::trans || a == Arg::diag;
  return count;
}

template <class Shape, class T, class S, class Kernel, class... A>
void xlevel2(const char *name, Kernel kernel, A... args) {
  const void *const slot[] = {static_cast<const void *>(args)...};
  if (const int info = rules::check_level2<Shape, ORB_INT>(slot)) {
    report_xerbla(UpperName(name).text, info);
    return;
  }
  constexpr int alpha_at = where<Shape>(Arg::alpha), beta_at = where<Shape>(Arg::beta);
  bool alpha_zero = false, beta_one = false;
  if constexpr (alpha_at >= 0) alpha_zero = is_zero(*static_cast<const S *>(slot[alpha_at]));
  if constexpr (beta_at >= 0) beta_one = is_one(*static_cast<const T *>(slot[beta_at]));
  if (rules::level2_does_nothing<Shape, ORB_INT>(slot, alpha_zero, beta_one)) return;
  if constexpr (Shape::kind == rules::Level2Kind::product) {
    if (alpha_zero) {
      const rules::Level2View<Shape, ORB_INT> v{slot};
      T *y = static_cast<T *>(const_cast<void *>(slot[where<Shape>(Arg::y)]));
      scale_vector(*static_cast<const T *>(slot[beta_at]), y, v.y_length(), v.integer(Arg::incy));
      return;
    }
  }
  call_fortran(kernel(), std::make_index_sequence<letters<Shape>()>{}, args...);
}

}  // namespace

}  // namespace orb::core

#define ORB_XLEVEL2(list, name, NAME, T, S, E, A, B)                                                               \
  extern "C" void orb_blas_x##name(ORB_L2_PARAMS_##list(T, S, ORB_INT)) {                                   \
    orb::core::xlevel2<orb::rules::list, T, S>(                                                              \
        #name, [] { return orb::core::provider().name; }, ORB_L2_ARGS_##list);                             \
  }
ORB_LEVEL2_ROUTINES(ORB_XLEVEL2)
