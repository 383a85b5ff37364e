#include <orb/internal/orb_kernels.h>
#include "interpose.hpp"

#include "hooks.hpp"

#include <cstring>
#include <mutex>

namespace orb::test {
namespace {
std::mutex lock;
Observed record;
bool failing = false, strict_mode = false;
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

// Calls with a null argument (illegal ones) are forwarded unrecorded.
extern "C" ORB_GEMM_DECL(xd, double, ORB_INT) {
  if (m && n && k && ldc && beta) {
    std::lock_guard<std::mutex> g(lock);
    record.gemm.push_back({m, *m, *n, *k, *ldc, a, b, c, *beta});
  }
  static const auto real = ORB_TEST_NEXT(orb_blas_xdgemm);
  real(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" ORB_GEMV_DECL(orb_blas_xdgemv, double, ORB_INT) {
  if (trans && m && n && incx && incy) {
    std::lock_guard<std::mutex> g(lock);
    record.gemv.push_back({*trans, *m, *n, *incx, *incy});
  }
  static const auto real = ORB_TEST_NEXT(orb_blas_xdgemv);
  real(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

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
