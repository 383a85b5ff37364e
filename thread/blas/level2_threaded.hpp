// Which level-2 drivers cut their calls, and how.  Level2Driver<list, T, S>
// is one call of the sequential kernel; a specialisation takes over the
// routines of one argument list that a measurement showed to gain from a
// second worker (docs/architecture.md has the figures):
//
//   GER, GERU, GERC   the columns of A, with the matching entries of y, in
//                     balanced ranges; the worker count is the rule of the
//                     drivers that stream a matrix once (partition/matvec.cpp,
//                     len = n): 300 x 1000 on a budget of 4 is 4 x 250
//                     columns.
//   SYR, HER          the triangle in column blocks of equal area
//                     (partition/triangle.cpp, as a rank-1 update: k = 1):
//                     each block is one call of the kernel on its diagonal
//                     block and one GER (GERC for HER) on the rectangle
//                     beside it; n = 1000 on 2 workers, lower, is 294 and
//                     706 columns.
//
// SYMV, HEMV, TRMV and TRSV, which read one triangle of A, are in
// level2_triangle.hpp.
//
// A call that is illegal or has nothing to do goes whole to the kernel, which
// reports it once or returns.  Every worker writes its own columns of A and
// reads the rest, so no lock is taken.  The argument record carries uplo in
// word2, x in b with its increment in ldb, y in word3 with its increment in
// ldc.
#pragma once

#include <orb/internal/blas_args.h>
#include "partition/balanced.hpp"
#include "partition/level1.hpp"
#include "partition/matvec.hpp"
#include "partition/triangle.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "blas_rules.hpp"
#include "precision.hpp"

#include <type_traits>

namespace orb::thr {

template <class List, class T, class S>
struct Level2Driver {
  template <auto Kernel, class... A>
  static void run(A... args) {
    Kernel(args...);
  }
};

//! Whether a call is legal and changes something: only those are cut.
template <class List, class T, class S, class... A>
bool worth_cutting(bool alpha_zero, bool beta_one, A... args) {
  const void *const slot[] = {static_cast<const void *>(args)...};
  return rules::check_level2<List, ORB_INT>(slot) == 0 &&
         !rules::level2_does_nothing<List, ORB_INT>(slot, alpha_zero, beta_one);
}

template <class T>
T *element(const void *base, ORB_INT offset) {
  return static_cast<T *>(const_cast<void *>(base)) + offset;
}

template <class T, class S>
struct Level2Driver<rules::Ger, T, S> {
  template <auto Kernel>
  static int64_t worker(int64_t i, int64_t w, blas_args_t *r) {
    const Range cols = balanced_range(r->n, w, i);
    if (cols.empty()) return 0;
    const ORB_INT count = cols.size();
    Kernel(&r->m, &count, static_cast<const S *>(r->alpha), static_cast<const T *>(r->b), &r->ldb,
           element<const T>(r->word3, level1_offset(r->n, r->ldc, cols)), &r->ldc, element<T>(r->a, cols.begin * r->lda),
           &r->lda);
    return 0;
  }

  template <auto Kernel>
  static void run(ORB_L2_PARAMS_Ger(T, S, ORB_INT)) {
    int64_t workers = 1;
    if (worth_cutting<rules::Ger, T, S>(alpha && is_zero(*alpha), false, ORB_L2_ARGS_Ger))
      workers = matvec_workers(*n, *m, *n, orb_serv_get_max_threads());
    if (workers <= 1) {
      Kernel(ORB_L2_ARGS_Ger);
      return;
    }
    blas_args_t r{};
    r.m = *m, r.n = *n, r.alpha = alpha, r.b = x, r.ldb = *incx, r.word3 = y, r.ldc = *incy, r.a = a, r.lda = *lda;
    orb_blas_invoke_thin_thread(workers, worker<Kernel>, &r, nullptr);
  }
};

//! The rank-1 update of a rectangle that a SYR (GER) or HER (GERC) block needs.
template <class T>
constexpr auto rectangle_kernel() {
  if constexpr (std::is_same_v<T, float>) return &orb_blas_xsger;
  else if constexpr (std::is_same_v<T, double>) return &orb_blas_xdger;
  else if constexpr (std::is_same_v<T, ORB_Complex8>) return &orb_blas_xcgerc;
  else return &orb_blas_xzgerc;
}

//! A worker's block of the triangle the call's uplo word names.
inline TriangleBlock triangle_block(const blas_args_t *r, int64_t i, int64_t w) {
  return triangle_block(r->n, w, i, (*static_cast<const char *>(r->word2) | 0x20) == 'u');
}

template <class T, class S>
struct Level2Driver<rules::Syr, T, S> {
  template <auto Kernel>
  static int64_t worker(int64_t i, int64_t w, blas_args_t *r) {
    const TriangleBlock b = triangle_block(r, i, w);
    if (b.cols.empty()) return 0;
    const ORB_INT count = b.cols.size(), height = b.rows.size();
    const T *x = static_cast<const T *>(r->b), *xj = x + level1_offset(r->n, r->ldb, b.cols);
    Kernel(static_cast<const char *>(r->word2), &count, static_cast<const S *>(r->alpha), xj, &r->ldb,
           element<T>(r->a, b.cols.begin + b.cols.begin * r->lda), &r->lda);
    if (b.rows.empty()) return 0;
    T alpha{};
    if constexpr (std::is_same_v<T, S>) alpha = *static_cast<const S *>(r->alpha);
    else alpha = T{*static_cast<const S *>(r->alpha), 0};
    rectangle_kernel<T>()(&height, &count, &alpha, x + level1_offset(r->n, r->ldb, b.rows), &r->ldb, xj, &r->ldb,
                          element<T>(r->a, b.rows.begin + b.cols.begin * r->lda), &r->lda);
    return 0;
  }

  template <auto Kernel>
  static void run(ORB_L2_PARAMS_Syr(T, S, ORB_INT)) {
    int64_t workers = 1;
    if (worth_cutting<rules::Syr, T, S>(alpha && is_zero(*alpha), false, ORB_L2_ARGS_Syr))
      workers = triangle_workers(*n, 1, orb_serv_get_max_threads());
    if (workers <= 1) {
      Kernel(ORB_L2_ARGS_Syr);
      return;
    }
    blas_args_t r{};
    r.word2 = uplo, r.n = *n, r.alpha = alpha, r.b = x, r.ldb = *incx, r.a = a, r.lda = *lda;
    orb_blas_invoke_thin_thread(workers, worker<Kernel>, &r, nullptr);
  }
};

}  // namespace orb::thr
