// Rank-k updates of one triangle of a symmetric or Hermitian C under their
// standard names: ssyrk_ ... zsyrk_, cherk_ and zherk_ (32-bit integers), the
// same with _64_ (64-bit integers) and cblas_ssyrk ... cblas_zherk (row- or
// column-major).
//
// Each name checks its arguments in the order of the standard routine,
// reports the first illegal one, returns early where the standard does, and
// hands the call to the threaded driver.  A row-major C is, read
// column-major, its transpose, which holds the other triangle, and a
// row-major A read column-major is A^T: so a row-major call is the
// column-major call with uplo flipped and the transposition flipped (N to T,
// or to C for herk, and back); n, k and the leading dimensions stay.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "precision.hpp"
#include "rank_k.hpp"
#include "report.hpp"

namespace orb::iface {

namespace {

// One call in the column-major argument order of the standard routine; S is
// the scalar type (T for syrk, the real type for herk).
template <class T, class S>
struct SyrkCall {
  char uplo, trans;
  int64_t n, k;
  const S *alpha;
  const T *a;
  int64_t lda;
  const S *beta;
  T *c;
  int64_t ldc;
};

template <class T, class S>
const char *family() {
  return kHermitian<T, S> ? "HERK" : "SYRK";
}

// The threaded driver of each routine, handed the checked call with its
// integers already 64 bits wide.
#define ORB_THREADED_RANK_K(name, T, S)                                                               \
  void threaded_rank_k(const SyrkCall<T, S> &s) {                                                    \
    orb_blas_##name(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, s.a, &s.lda, s.beta, s.c, &s.ldc);       \
  }
#define ORB_THREADED_SYRK(p, P, T) ORB_THREADED_RANK_K(p##syrk, T, T)
ORB_FOR_EACH_PRECISION(ORB_THREADED_SYRK)
ORB_THREADED_RANK_K(cherk, ORB_Complex8, float)
ORB_THREADED_RANK_K(zherk, ORB_Complex16, double)
#undef ORB_THREADED_SYRK
#undef ORB_THREADED_RANK_K

template <class T, class S>
bool leaves_c_unchanged(const SyrkCall<T, S> &s) {
  return triangle_unchanged(s.n, s.k, *s.alpha, *s.beta);
}

// After the standard's own tests (blas_rules.hpp), a call that changes C must
// provide C, and A when it reads it (alpha != 0, k > 0): the standard
// position of the first missing one, or 0.
template <class T, class S>
int check_operands(const SyrkCall<T, S> &s) {
  if (leaves_c_unchanged(s)) return 0;
  if (!is_zero(*s.alpha) && s.k > 0 && !s.a) return 6;
  if (!s.c) return 9;
  return 0;
}

template <class I, class S>
void syrk_operands(CallText &t, I n, I k, const S *alpha, const void *a, I lda, const S *beta, const void *c, I ldc) {
  t.integer(n).integer(k).scalar(alpha).address(a).integer(lda).scalar(beta).address(c).integer(ldc);
}

}  // namespace

template <class T, class S, class I>
void fortran_syrk(int iface, const char *uplo, const char *trans, const I *n, const I *k, const S *alpha, const T *a,
                  const I *lda, const S *beta, T *c, const I *ldc) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, rank_k_ops<T, S>());
        SyrkCall<T, S> s = {};
        if (!info) {
          s = {*uplo, *trans, *n, *k, alpha, a, *lda, beta, c, *ldc};
          info = check_operands(s);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, family<T, S>(), int64).report, info);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_rank_k(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family<T, S>(), int64).upper).character(uplo).character(trans);
        syrk_operands(t, n, k, alpha, a, lda, beta, c, ldc);
      });
}

template <class T, class S>
void cblas_syrk(int layout, int uplo, int trans, int n, int k, const S *alpha, const T *a, int lda, const S *beta,
                T *c, int ldc) {
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        char ul = uplo_letter(uplo), tr = transpose_letter(trans);
        int info = !known_layout(layout) ? 1 : !ul ? 2 : !tr ? 3 : 0;
        SyrkCall<T, S> s = {};
        if (!info) {
          if (row) {
            flip_for_row_major<T, S>(ul, tr);
          }
          s = {ul, tr, n, k, alpha, a, lda, beta, c, ldc};
          info = rules::check_syrk(&s.uplo, &s.trans, &s.n, &s.k, s.alpha, &s.lda, s.beta, &s.ldc, rank_k_ops<T, S>());
          if (!info) info = check_operands(s);
          if (info) ++info;
        }
        if (info) {
          // No position changes places between a row-major call and its twin.
          report_cblas(routine_name(Precision<T>::upper, family<T, S>(), false).cblas, info, row, nullptr, 0);
          return;
        }
        if (leaves_c_unchanged(s)) return;
        threaded_rank_k(s);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, family<T, S>(), false).cblas);
        cblas_layout(t, layout);
        cblas_uplo(t, uplo);
        cblas_transpose(t, trans);
        syrk_operands(t, n, k, alpha, a, lda, beta, c, ldc);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_syrk;
using orb::iface::fortran_syrk;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// Fortran passes the lengths of uplo and trans after the last argument; they
// are not declared, and so never read (see gemm.cpp).
#define ORB_FORTRAN_RANK_K(name, iface, T, S, I)                                                                  \
  extern "C" ORB_EXPORT void name(const char *uplo, const char *trans, const I *n, const I *k, const S *alpha,   \
                                  const T *a, const I *lda, const S *beta, T *c, const I *ldc) {                 \
    fortran_syrk<T, S, I>(iface, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                                \
  }
#define ORB_FORTRAN_RANK_K_FORMS(lower, upper, T, S)          \
  ORB_FORTRAN_RANK_K(lower##_, kLp64, T, S, int)              \
  ORB_FORTRAN_RANK_K(lower##_64_, kIlp64, T, S, ORB_INT)      \
  ORB_FORTRAN_NAME_FORMS(lower, upper)
#define ORB_FORTRAN_SYRK_FORMS(p, P, T) ORB_FORTRAN_RANK_K_FORMS(p##syrk, P##SYRK, T, T)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_SYRK_FORMS)
ORB_FORTRAN_RANK_K_FORMS(cherk, CHERK, ORB_Complex8, float)
ORB_FORTRAN_RANK_K_FORMS(zherk, ZHERK, ORB_Complex16, double)

// Real scalars come by value, complex ones through void pointers.
#define ORB_CBLAS_BY_VALUE(name, T, S, M)                                                                          \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, S alpha, \
                               const M *a, int lda, S beta, M *c, int ldc) {                                       \
    cblas_syrk<T, S>(layout, uplo, trans, n, k, &alpha, static_cast<const T *>(a), lda, &beta, static_cast<T *>(c),  \
                     ldc);                                                                                         \
  }
#define ORB_CBLAS_BY_POINTER(name, T)                                                                                \
  extern "C" void cblas_##name(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,           \
                               const void *alpha, const void *a, int lda, const void *beta, void *c, int ldc) {     \
    cblas_syrk<T, T>(layout, uplo, trans, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a), lda,      \
                     static_cast<const T *>(beta), static_cast<T *>(c), ldc);                                        \
  }
ORB_CBLAS_BY_VALUE(ssyrk, float, float, float)
ORB_CBLAS_BY_VALUE(dsyrk, double, double, double)
ORB_CBLAS_BY_POINTER(csyrk, ORB_Complex8)
ORB_CBLAS_BY_POINTER(zsyrk, ORB_Complex16)
ORB_CBLAS_BY_VALUE(cherk, ORB_Complex8, float, void)
ORB_CBLAS_BY_VALUE(zherk, ORB_Complex16, double, void)
