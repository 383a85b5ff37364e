// What the threaded BLAS drivers ask of the core: the test executable's own
// kernels, orb_serv_allocate, orb_serv_deallocate and orb_serv_cbwr_get take
// precedence over the core's, record each call and forward it.
#pragma once

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <algorithm>
#include <thread>
#include <tuple>
#include <vector>

namespace orb::test {

// Kernel calls as recorded: sizes, where the operands start, and the thread that ran them.
struct GemmCall {
  const ORB_INT *m_ptr;
  ORB_INT m, n, k, ldc;
  const void *a, *b;
  void *c;
  double beta;  //!< its real part
  std::thread::id thread = std::this_thread::get_id();
};
struct GemvCall {
  char trans;
  ORB_INT m, n, incx, incy;
  std::thread::id thread = std::this_thread::get_id();
};
//! ?trsm, ?trmm: the block of B; ?syrk, ?herk, ?syr2k, ?her2k, ?gemmt: the
//! diagonal block of C (m unused); ?symm, ?hemm: the block of C.
struct BlockCall {
  ORB_INT m, n;
  const void *p;
};
//! A recorded block as its start, rows and columns, ordered by start.
using Block = std::tuple<const void *, ORB_INT, ORB_INT>;
//! The recorded blocks in the order of their starts.
inline std::vector<Block> blocks(const std::vector<BlockCall> &calls) {
  std::vector<Block> v;
  for (const BlockCall &b : calls) v.emplace_back(b.p, b.m, b.n);
  std::sort(v.begin(), v.end());
  return v;
}
struct Level1Call {
  ORB_INT n;
  const void *x, *y;
  ORB_INT incx, incy;
};

struct Observed {
  std::vector<GemmCall> gemm;
  std::vector<GemvCall> gemv;
  std::vector<BlockCall> trsm, trmm, syrk, syr2k, gemmt, symm;
  std::vector<BlockCall> ger, syr;  //!< ?ger, ?gerc and ?syr, ?her: the block of A
  //! ?symv, ?hemv, ?trmv, ?trsv: the diagonal block of A (m = n, its order);
  //! ?symv_rect, ?hemv_rect: the rectangle of A (m rows, n columns).
  std::vector<BlockCall> symv, symv_rect, trmv, trsv;
  std::vector<Level1Call> level1;
  std::vector<long> alloc_bytes;
  std::vector<int> alloc_alignment;
  int deallocations = 0;
  //! Blocks had and not given back, leaving out those a thread keeps
  //! (scratch.hpp), which go back when the thread ends.
  int leaked = 0;
};

//! Clears the record; allocations fail while fail_alloc holds, or only the
//! one numbered fail_at (from 0, counted from here); strict adds the strict
//! bit to the reproducibility mode.
void observe(bool fail_alloc = false, bool strict = false, long fail_at = -1);
//! Everything recorded since observe(); allocations and the mode are ordinary again.
Observed observed();

//! The calling thread's budget while it lives.
struct Budget {
  explicit Budget(int n) : previous(orb_serv_set_num_threads_local(n)) {}
  ~Budget() { orb_serv_set_num_threads_local(previous); }
  int previous;
};

}  // namespace orb::test
