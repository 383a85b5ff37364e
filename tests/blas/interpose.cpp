#include "interpose.hpp"

#include "hooks.hpp"

#include <cstring>
#include <mutex>

namespace orb::test {
namespace {
std::mutex lock;
Observed record;
bool failing = false, strict_mode = false;

template <class T>
T get(const T *p) { return p ? *p : T{}; }
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

extern "C" ORB_GEMM_DECL(xd, double, ORB_INT) {
  {
    std::lock_guard<std::mutex> g(lock);
    record.gemm.push_back({get(transa), get(transb), m, get(m), get(n), get(k), get(lda), get(ldb), get(ldc), a, b,
                           c, get(beta)});
  }
  static const auto real = ORB_TEST_NEXT(orb_blas_xdgemm);
  real(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" ORB_GEMV_DECL(orb_blas_xdgemv, double, ORB_INT) {
  {
    std::lock_guard<std::mutex> g(lock);
    record.gemv.push_back({get(trans), get(m), get(n), get(incx), get(incy), a, x, y});
  }
  static const auto real = ORB_TEST_NEXT(orb_blas_xdgemv);
  real(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

// Scratch comes back filled with NaN, so a partial buffer that is summed
// without having been written shows in the result.
extern "C" void *orb_serv_allocate(int64_t bytes, int alignment) {
  std::lock_guard<std::mutex> g(lock);
  record.alloc_bytes.push_back(bytes);
  record.alloc_alignment.push_back(alignment);
  if (failing) return nullptr;
  static const auto real = ORB_TEST_NEXT(orb_serv_allocate);
  void *p = real(bytes, alignment);
  if (p) std::memset(p, 0xff, static_cast<size_t>(bytes));
  return p;
}

extern "C" void orb_serv_deallocate(void *ptr) {
  {
    std::lock_guard<std::mutex> g(lock);
    if (ptr) ++record.deallocations;
  }
  static const auto real = ORB_TEST_NEXT(orb_serv_deallocate);
  real(ptr);
}

extern "C" int orb_serv_cbwr_get(int what) {
  static const auto real = ORB_TEST_NEXT(orb_serv_cbwr_get);
  const int word = real(what);
  std::lock_guard<std::mutex> g(lock);
  return strict_mode && what == -1 ? word | ORB_CBWR_STRICT : word;
}
