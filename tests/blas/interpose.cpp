#include <orb/internal/orb_kernels.h>
#include "interpose.hpp"

#include "hooks.hpp"
#include "precision.hpp"
#include "scratch.hpp"

#include <cstring>
#include <unordered_map>
#include <mutex>

namespace orb::test {
namespace {
std::mutex lock;
Observed record;
bool failing = false, strict_mode = false;
long failing_at = -1;
// Blocks had since observe() and not given back, by whether a thread keeps
// them.  Never destroyed: the runtime's threads give their kept blocks back
// as they end, which can be after the program's statics are gone.
std::unordered_map<void *, bool> &live = *new std::unordered_map<void *, bool>;

template <class Call>
void remember(std::vector<Call> Observed::*calls, const Call &call) {
  std::lock_guard<std::mutex> g(lock);
  (record.*calls).push_back(call);
}
}  // namespace

void observe(bool fail_alloc, bool strict, long fail_at) {
  std::lock_guard<std::mutex> g(lock);
  record = Observed{};
  live.clear();
  failing = fail_alloc;
  failing_at = fail_at;
  strict_mode = strict;
}

Observed observed() {
  std::lock_guard<std::mutex> g(lock);
  failing = strict_mode = false;
  failing_at = -1;
  record.leaked = 0;
  for (const auto &[p, kept] : live) record.leaked += !kept;
  return record;
}

}  // namespace orb::test

using namespace orb::test;

// Each kernel records its call (illegal ones, with a null argument, go unrecorded) and forwards it.
#define ORB_TEST_WRAP(DECL, name, record, args, ...)                  \
  extern "C" DECL(orb_blas_x##name, __VA_ARGS__) {                    \
    record;                                                           \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##name);         \
    return real args;                                                 \
  }
#define ORB_TEST_KERNELS(p, P, T)                                                                                   \
  extern "C" ORB_GEMM_DECL(x##p, T, ORB_INT) {                                                                      \
    if (m && n && k && ldc && beta)                                                                                 \
      remember(&Observed::gemm, GemmCall{m, *m, *n, *k, *ldc, a, b, c, orb::real_part(*beta)});                     \
    static const auto real = ORB_TEST_NEXT(orb_blas_x##p##gemm);                                                    \
    real(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                             \
  }                                                                                                                 \
  ORB_TEST_WRAP(ORB_GEMV_DECL, p##gemv,                                                                             \
                if (trans && m && n && incx && incy) remember(&Observed::gemv, GemvCall{*trans, *m, *n, *incx, *incy}), \
                (trans, m, n, alpha, a, lda, x, incx, beta, y, incy), T, ORB_INT)                                    \
  ORB_TEST_WRAP(ORB_TRSM_DECL, p##trsm, if (m && n) remember(&Observed::trsm, BlockCall{*m, *n, b}),                \
                (side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb), T, ORB_INT)                                 \
  ORB_TEST_WRAP(ORB_TRSM_DECL, p##trmm, if (m && n) remember(&Observed::trmm, BlockCall{*m, *n, b}),                \
                (side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb), T, ORB_INT)                                 \
  ORB_TEST_WRAP(ORB_GEMMT_DECL, p##gemmt, if (n) remember(&Observed::gemmt, BlockCall{0, *n, c}),                   \
                (uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc), T, ORB_INT)                       \
  ORB_TEST_RANK_K(p##syrk, p##syr2k, T, T)                                                                          \
  ORB_TEST_SYMM(p##symm, T)
#define ORB_TEST_SYMM(name, T)                                                                   \
  ORB_TEST_WRAP(ORB_SYMM_DECL, name, if (m && n) remember(&Observed::symm, BlockCall{*m, *n, c}), \
                (side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc), T, ORB_INT)
#define ORB_TEST_RANK_K(name, name_2k, T, S)                                                      \
  ORB_TEST_WRAP(ORB_SYRK_DECL, name, if (n) remember(&Observed::syrk, BlockCall{0, *n, c}),        \
                (uplo, trans, n, k, alpha, a, lda, beta, c, ldc), T, S, ORB_INT)                   \
  ORB_TEST_WRAP(ORB_SYR2K_DECL, name_2k, if (n) remember(&Observed::syr2k, BlockCall{0, *n, c}),   \
                (uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc), T, S, ORB_INT)
ORB_FOR_EACH_PRECISION(ORB_TEST_KERNELS)
ORB_TEST_RANK_K(cherk, cher2k, ORB_Complex8, float)
ORB_TEST_RANK_K(zherk, zher2k, ORB_Complex16, double)
ORB_TEST_SYMM(chemm, ORB_Complex8)
ORB_TEST_SYMM(zhemm, ORB_Complex16)

// The level-1 kernels the tests observe: length, x and y.
#define ORB_TEST_XY(DECL, name, args, ...) \
  ORB_TEST_WRAP(DECL, name, if (n && incx) remember(&Observed::level1, Level1Call{*n, x, y, *incx, *incy}), args, __VA_ARGS__)
#define ORB_TEST_X(DECL, name, args, ...) \
  ORB_TEST_WRAP(DECL, name, if (n && incx) remember(&Observed::level1, Level1Call{*n, x, nullptr, *incx, 0}), args, __VA_ARGS__)
ORB_TEST_XY(ORB_DOT_DECL, ddot, (n, x, incx, y, incy), double, ORB_INT)
ORB_TEST_XY(ORB_AXPY_DECL, daxpy, (n, alpha, x, incx, y, incy), double, ORB_INT)
ORB_TEST_XY(ORB_COPY_DECL, dcopy, (n, x, incx, y, incy), double, ORB_INT)
ORB_TEST_XY(ORB_SWAP_DECL, dswap, (n, x, incx, y, incy), double, ORB_INT)
ORB_TEST_XY(ORB_ROT_DECL, drot, (n, x, incx, y, incy, c, s), double, double, ORB_INT)
ORB_TEST_XY(ORB_ROTM_DECL, drotm, (n, x, incx, y, incy, param), double, ORB_INT)
ORB_TEST_X(ORB_NORM_DECL, dasum, (n, x, incx), double, double, ORB_INT)
ORB_TEST_X(ORB_NORM_DECL, dnrm2, (n, x, incx), double, double, ORB_INT)
ORB_TEST_X(ORB_SCAL_DECL, dscal, (n, alpha, x, incx), double, double, ORB_INT)
ORB_TEST_X(ORB_INDEX_DECL, idamax, (n, x, incx), double, ORB_INT)
ORB_TEST_X(ORB_INDEX_DECL, idamin, (n, x, incx), double, ORB_INT)
ORB_TEST_X(ORB_INDEX_DECL, izamax, (n, x, incx), ORB_Complex16, ORB_INT)
ORB_TEST_X(ORB_INDEX_DECL, izamin, (n, x, incx), ORB_Complex16, ORB_INT)

// The level-2 kernels the threaded drivers cut into: the block of A each call updates.
#define ORB_TEST_L2_DECL(name, list, T, S) void name(ORB_L2_PARAMS_##list(T, S, ORB_INT))
ORB_TEST_WRAP(ORB_TEST_L2_DECL, dger, if (m && n) remember(&Observed::ger, BlockCall{*m, *n, a}),
              (m, n, alpha, x, incx, y, incy, a, lda), Ger, double, double)
ORB_TEST_WRAP(ORB_TEST_L2_DECL, dsyr, if (n) remember(&Observed::syr, BlockCall{*n, *n, a}), (uplo, n, alpha, x, incx, a, lda),
              Syr, double, double)
ORB_TEST_WRAP(ORB_TEST_L2_DECL, zgerc, if (m && n) remember(&Observed::ger, BlockCall{*m, *n, a}),
              (m, n, alpha, x, incx, y, incy, a, lda), Ger, ORB_Complex16, ORB_Complex16)
ORB_TEST_WRAP(ORB_TEST_L2_DECL, zher, if (n) remember(&Observed::syr, BlockCall{*n, *n, a}), (uplo, n, alpha, x, incx, a, lda),
              Syr, ORB_Complex16, double)

// The level-2 kernels of the products with a triangle and of the solve.
#define ORB_TEST_TRIANGLE(p, sym, T)                                                                                   \
  ORB_TEST_WRAP(ORB_TEST_L2_DECL, p##sym, if (n) remember(&Observed::symv, BlockCall{*n, *n, a}),                   \
                (uplo, n, alpha, a, lda, x, incx, beta, y, incy), Symv, T, T)                                       \
  ORB_TEST_WRAP(ORB_SYMV_RECT_DECL, p##sym##_rect, if (m && k) remember(&Observed::symv_rect, BlockCall{*m, *k, a}), \
                (m, k, alpha, a, lda, xr, xc, yr, yc), T)                                                            \
  ORB_TEST_WRAP(ORB_TEST_L2_DECL, p##trmv, if (n) remember(&Observed::trmv, BlockCall{*n, *n, a}),                  \
                (uplo, trans, diag, n, a, lda, x, incx), Trmv, T, T)                                                 \
  ORB_TEST_WRAP(ORB_TEST_L2_DECL, p##trsv, if (n) remember(&Observed::trsv, BlockCall{*n, *n, a}),                  \
                (uplo, trans, diag, n, a, lda, x, incx), Trmv, T, T)
ORB_TEST_TRIANGLE(d, symv, double)
ORB_TEST_TRIANGLE(z, hemv, ORB_Complex16)

// Scratch comes back filled with NaN, so a partial buffer that is summed
// without having been written shows in the result.
extern "C" void *orb_serv_allocate(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_allocate);
  std::lock_guard<std::mutex> g(lock);
  const bool fail = failing || failing_at == static_cast<long>(record.alloc_bytes.size());
  record.alloc_bytes.push_back(bytes);
  record.alloc_alignment.push_back(alignment);
  void *p = fail ? nullptr : real(bytes, alignment);
  if (p) {
    std::memset(p, 0xff, static_cast<size_t>(bytes));
    live[p] = alignment == orb::kThreadScratchAlignment;
  }
  return p;
}

extern "C" void orb_serv_deallocate(void *ptr) {
  static const auto real = ORB_TEST_NEXT(orb_serv_deallocate);
  if (ptr) {
    std::lock_guard<std::mutex> g(lock);
    ++record.deallocations;
    live.erase(ptr);
  }
  real(ptr);
}

extern "C" int orb_serv_cbwr_get(int what) {
  static const auto real = ORB_TEST_NEXT(orb_serv_cbwr_get);
  std::lock_guard<std::mutex> g(lock);
  return strict_mode && what == -1 ? real(what) | ORB_CBWR_STRICT : real(what);
}
