// What the threaded BLAS drivers ask of the core, observed from the test
// executable: its definitions of the kernels orb_blas_x?gemm,
// orb_blas_x?gemv, orb_blas_x?trsm, orb_blas_x?syrk, orb_blas_x?herk, orb_blas_x?symm, orb_blas_x?hemm and the level-1 kernels (every precision), orb_serv_allocate, orb_serv_deallocate
// and orb_serv_cbwr_get take precedence over the core's, record each call and
// forward it.
#pragma once

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <thread>
#include <vector>

namespace orb::test {

//! A kernel call; the operands as the element type's addresses, beta's real part.
struct GemmCall {
  const ORB_INT *m_ptr;
  ORB_INT m, n, k, ldc;
  const void *a, *b;
  void *c;
  double beta;
  std::thread::id thread = std::this_thread::get_id();  //!< where the kernel ran
};

struct GemvCall {
  char trans;
  ORB_INT m, n, incx, incy;
  std::thread::id thread = std::this_thread::get_id();
};

//! A triangular-solve kernel call: the block of B it solves.
struct TrsmCall {
  ORB_INT m, n;
  const void *b;
  std::thread::id thread = std::this_thread::get_id();
};

//! A rank-k kernel call (?syrk, ?herk): the diagonal block of C it updates.
struct SyrkCall {
  ORB_INT n;
  const void *c;
};

//! A symmetric-product kernel call (?symm, ?hemm): the block of C it computes.
struct SymmCall {
  ORB_INT m, n;
  const void *c;
};

//! A level-1 kernel call: its length, where its x and y start, its increments.
struct Level1Call {
  ORB_INT n;
  const void *x, *y;
  ORB_INT incx, incy;
};

struct Observed {
  std::vector<GemmCall> gemm;
  std::vector<GemvCall> gemv;
  std::vector<TrsmCall> trsm;
  std::vector<SyrkCall> syrk;
  std::vector<SymmCall> symm;
  std::vector<Level1Call> level1;
  std::vector<long> alloc_bytes;
  std::vector<int> alloc_alignment;
  int deallocations = 0;
};

//! Clears the record; allocations fail while fail_alloc holds; strict adds
//! the strict bit to the reproducibility mode.
void observe(bool fail_alloc = false, bool strict = false);
//! Everything recorded since observe(); allocations and the mode are ordinary again.
Observed observed();

//! The calling thread's budget while it lives.
struct Budget {
  explicit Budget(int n) : previous(orb_serv_set_num_threads_local(n)) {}
  ~Budget() { orb_serv_set_num_threads_local(previous); }
  int previous;
};

}  // namespace orb::test
