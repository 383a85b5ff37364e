// The worker launcher of the threaded BLAS drivers and its affinity
// partitioner objects.
//
// orb_blas_invoke_thin_thread runs worker(i, nthreads, args) for every i in
// [0, nthreads) as one parallel loop in the caller's arena, grain size 1, the
// caller's thread taking part, and returns when every worker has run.  Without
// a partitioner every index is its own task (simple splitting); with one, the
// loop replays where each index ran last time.  The loop runs in a context of
// its own: a caller that cancels its own tasks never cancels a worker of a
// product it asked for, and a worker the runtime could not start runs on the
// calling thread (runtime/loop.hpp).
//
// The partitioner object is the task runtime's own affinity partitioner,
// allocated on its own: a 16-byte record, zero at creation, of a pointer to a
// cache-aligned array of 2-byte slots and that array's size.  Before each loop
// it sizes the array to the arena's maximum concurrency x 16 slots and, when
// the size changes, allocates a new array filled with 0xFF bytes (no affinity
// recorded yet); deleting it releases the array.
#include <orb/internal/blas_args.h>
#include "runtime/loop.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

extern "C" int64_t orb_blas_invoke_thin_thread(int64_t nthreads, orb_blas_worker_fn worker, blas_args_t *args,
                                               void *partitioner) {
  namespace rt = orb::thr::rt;
  if (!worker) return 0;
  if (nthreads == 1) return worker(0, 1, args);
  if (nthreads < 1) return 0;
  rt::LoopShape shape;
  shape.split = partitioner ? rt::Split::affinity : rt::Split::simple;
  shape.affinity = partitioner;
  rt::run_loop(nthreads, shape, [=](int64_t begin, int64_t end) {
    for (int64_t i = begin; i < end; ++i) worker(i, nthreads, args);
  });
  return 0;
}

extern "C" void *orb_blas_new_affinity_partitioner(void) { return orb::thr::rt::new_affinity(); }

extern "C" void orb_blas_delete_affinity_partitioner(void *partitioner) {
  orb::thr::rt::delete_affinity(partitioner);
}
