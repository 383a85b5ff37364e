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
  }
ORB_FOR_EACH_PRECISION(ORB_TEST_KERNELS)

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
