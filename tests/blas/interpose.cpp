#include <orb/internal/orb_kernels.h>
#include "interpose.hpp"

#include "hooks.hpp"
#include "precision.hpp"

#include <cstring>
#include <mutex>

namespace orb::test {
namespace {
std::mutex lock;
Observed record;
bool failing = false, strict_mode = false;

template <class Call>
void remember(std::vector<Call> Observed::*calls, const Call &call) {
  std::lock_guard<std::mutex> g(lock);
  (record.*calls).push_back(call);
}
}  // namespace

void observe(bool fail_alloc, bool strict) {
  std::lock_guard<std::mutex> g(lock);
  record = Observed{};
  failing = fail_alloc;
  strict_mode = strict;
}

Observed observed() {
  std::lock_guard<std::mutex> g(lock);
  failing = strict_mode = false;
  return record;
}

}  // namespace orb::test

using namespace orb::test;

// The kernels of both families in every precision.  Calls with a null
// argument (illegal ones) are forwarded unrecorded.
#define ORB_TEST_KERNELS(p, P, T)                                                                             \
  extern "C" ORB_GEMM_DECL(x##p, T, ORB_INT) {                                                                \
    if (m && n && k && ldc && beta)                                                                           \
      remember(&Observed::gemm, GemmCall{m, *m, *n, *k, *ldc, a, b, c, orb::real_part(*beta)});               \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##p##gemm);                                              \
    real(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                       \
  }                                                                                                           \
  extern "C" ORB_GEMV_DECL(orb_blas_x##p##gemv, T, ORB_INT) {                                                 \
    if (trans && m && n && incx && incy) remember(&Observed::gemv, GemvCall{*trans, *m, *n, *incx, *incy}); \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##p##gemv);                                              \
    real(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                                 \
  }                                                                                                           \
  extern "C" ORB_TRSM_DECL(orb_blas_x##p##trsm, T, ORB_INT) {                                                 \
    if (m && n) remember(&Observed::trsm, TrsmCall{*m, *n, b});                                               \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##p##trsm);                                              \
    real(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                                              \
  }                                                                                                           \
  ORB_TEST_RANK_K(p##syrk, T, T)                                                                              \
  ORB_TEST_SYMM(p##symm, T)
#define ORB_TEST_SYMM(name, T)                                                        \
  extern "C" ORB_SYMM_DECL(orb_blas_x##name, T, ORB_INT) {                            \
    if (m && n) remember(&Observed::symm, SymmCall{*m, *n, c});                       \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##name);                         \
    real(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);                      \
  }
#define ORB_TEST_RANK_K(name, T, S)                                     \
  extern "C" ORB_SYRK_DECL(orb_blas_x##name, T, S, ORB_INT) {           \
    if (n) remember(&Observed::syrk, SyrkCall{*n, c});                  \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##name);           \
    real(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);               \
  }
ORB_FOR_EACH_PRECISION(ORB_TEST_KERNELS)
ORB_TEST_RANK_K(cherk, ORB_Complex8, float)
ORB_TEST_RANK_K(zherk, ORB_Complex16, double)
ORB_TEST_SYMM(chemm, ORB_Complex8)
ORB_TEST_SYMM(zhemm, ORB_Complex16)

// The level-1 kernels, one macro per argument list: each records the call
// and forwards it.
#define ORB_TEST_RECORD(n, x, incx, y, incy) \
  if (n && incx) remember(&Observed::level1, Level1Call{*n, x, y, *incx, incy ? *incy : 0});
#define ORB_TEST_FORWARD(name) static const auto real = ORB_TEST_NEXT(name);
#define ORB_TEST_DOT(name, T, I)                             \
  extern "C" ORB_DOT_DECL(name, T, I) {                      \
    ORB_TEST_RECORD(n, x, incx, y, incy)                     \
    ORB_TEST_FORWARD(name) return real(n, x, incx, y, incy); \
  }
#define ORB_TEST_CDOT(name, T, I)                               \
  extern "C" ORB_CDOT_DECL(name, T, I) {                        \
    ORB_TEST_RECORD(n, x, incx, y, incy)                        \
    ORB_TEST_FORWARD(name) real(result, n, x, incx, y, incy);   \
  }
#define ORB_TEST_NORM(name, T, R, I)                                                         \
  extern "C" ORB_NORM_DECL(name, T, R, I) {                                                  \
    ORB_TEST_RECORD(n, x, incx, static_cast<const void *>(nullptr), static_cast<const I *>(nullptr)) \
    ORB_TEST_FORWARD(name) return real(n, x, incx);                                          \
  }
#define ORB_TEST_INDEX(name, T, I) ORB_TEST_NORM(name, T, I, I)
#define ORB_TEST_SCAL(name, T, S, I)                                                         \
  extern "C" ORB_SCAL_DECL(name, T, S, I) {                                                  \
    ORB_TEST_RECORD(n, x, incx, static_cast<const void *>(nullptr), static_cast<const I *>(nullptr)) \
    ORB_TEST_FORWARD(name) real(n, alpha, x, incx);                                          \
  }
#define ORB_TEST_AXPY(name, T, I)                                        \
  extern "C" ORB_AXPY_DECL(name, T, I) {                                 \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, alpha, x, incx, y, incy);             \
  }
#define ORB_TEST_AXPBY(name, T, I)                                       \
  extern "C" ORB_AXPBY_DECL(name, T, I) {                                \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, alpha, x, incx, beta, y, incy);       \
  }
#define ORB_TEST_COPY(name, T, I)                                        \
  extern "C" ORB_COPY_DECL(name, T, I) {                                 \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, x, incx, y, incy);                    \
  }
#define ORB_TEST_SWAP(name, T, I)                                        \
  extern "C" ORB_SWAP_DECL(name, T, I) {                                 \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, x, incx, y, incy);                    \
  }
#define ORB_TEST_ROT(name, T, R, I)                                      \
  extern "C" ORB_ROT_DECL(name, T, R, I) {                               \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, x, incx, y, incy, c, s);              \
  }
#define ORB_TEST_ROTM(name, T, I)                                        \
  extern "C" ORB_ROTM_DECL(name, T, I) {                                 \
    ORB_TEST_RECORD(n, x, incx, y, incy)                                 \
    ORB_TEST_FORWARD(name) real(n, x, incx, y, incy, param);             \
  }
ORB_TEST_DOT(orb_blas_xsdot, float, ORB_INT)
ORB_TEST_DOT(orb_blas_xddot, double, ORB_INT)
ORB_TEST_CDOT(orb_blas_xcdotu, ORB_Complex8, ORB_INT)
ORB_TEST_CDOT(orb_blas_xcdotc, ORB_Complex8, ORB_INT)
ORB_TEST_CDOT(orb_blas_xzdotu, ORB_Complex16, ORB_INT)
ORB_TEST_CDOT(orb_blas_xzdotc, ORB_Complex16, ORB_INT)
ORB_TEST_NORM(orb_blas_xsasum, float, float, ORB_INT)
ORB_TEST_NORM(orb_blas_xdasum, double, double, ORB_INT)
ORB_TEST_NORM(orb_blas_xscasum, ORB_Complex8, float, ORB_INT)
ORB_TEST_NORM(orb_blas_xdzasum, ORB_Complex16, double, ORB_INT)
ORB_TEST_NORM(orb_blas_xsnrm2, float, float, ORB_INT)
ORB_TEST_NORM(orb_blas_xdnrm2, double, double, ORB_INT)
ORB_TEST_NORM(orb_blas_xscnrm2, ORB_Complex8, float, ORB_INT)
ORB_TEST_NORM(orb_blas_xdznrm2, ORB_Complex16, double, ORB_INT)
ORB_TEST_SCAL(orb_blas_xsscal, float, float, ORB_INT)
ORB_TEST_SCAL(orb_blas_xdscal, double, double, ORB_INT)
ORB_TEST_SCAL(orb_blas_xcscal, ORB_Complex8, ORB_Complex8, ORB_INT)
ORB_TEST_SCAL(orb_blas_xzscal, ORB_Complex16, ORB_Complex16, ORB_INT)
ORB_TEST_SCAL(orb_blas_xcsscal, ORB_Complex8, float, ORB_INT)
ORB_TEST_SCAL(orb_blas_xzdscal, ORB_Complex16, double, ORB_INT)
ORB_TEST_ROT(orb_blas_xsrot, float, float, ORB_INT)
ORB_TEST_ROT(orb_blas_xdrot, double, double, ORB_INT)
ORB_TEST_ROT(orb_blas_xcsrot, ORB_Complex8, float, ORB_INT)
ORB_TEST_ROT(orb_blas_xzdrot, ORB_Complex16, double, ORB_INT)
ORB_TEST_ROTM(orb_blas_xsrotm, float, ORB_INT)
ORB_TEST_ROTM(orb_blas_xdrotm, double, ORB_INT)
#define ORB_TEST_LEVEL1(p, P, T)                   \
  ORB_TEST_AXPY(orb_blas_x##p##axpy, T, ORB_INT)   \
  ORB_TEST_AXPBY(orb_blas_x##p##axpby, T, ORB_INT) \
  ORB_TEST_COPY(orb_blas_x##p##copy, T, ORB_INT)   \
  ORB_TEST_SWAP(orb_blas_x##p##swap, T, ORB_INT)   \
  ORB_TEST_INDEX(orb_blas_xi##p##amax, T, ORB_INT) \
  ORB_TEST_INDEX(orb_blas_xi##p##amin, T, ORB_INT)
ORB_FOR_EACH_PRECISION(ORB_TEST_LEVEL1)

// Scratch comes back filled with NaN, so a partial buffer that is summed
// without having been written shows in the result.
extern "C" void *orb_serv_allocate(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_allocate);
  std::lock_guard<std::mutex> g(lock);
  record.alloc_bytes.push_back(bytes);
  record.alloc_alignment.push_back(alignment);
  void *p = failing ? nullptr : real(bytes, alignment);
  if (p) std::memset(p, 0xff, static_cast<size_t>(bytes));
  return p;
}

extern "C" void orb_serv_deallocate(void *ptr) {
  static const auto real = ORB_TEST_NEXT(orb_serv_deallocate);
  if (ptr) {
    std::lock_guard<std::mutex> g(lock);
    ++record.deallocations;
  }
  real(ptr);
}

extern "C" int orb_serv_cbwr_get(int what) {
  static const auto real = ORB_TEST_NEXT(orb_serv_cbwr_get);
  std::lock_guard<std::mutex> g(lock);
  return strict_mode && what == -1 ? real(what) | ORB_CBWR_STRICT : real(what);
}
