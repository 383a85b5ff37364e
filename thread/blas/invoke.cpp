// The worker launcher of the threaded BLAS drivers and its affinity
// partitioner objects.
//
// orb_blas_invoke_thin_thread runs worker(i, nthreads, args) for every i in
// [0, nthreads) as one parallel loop of the task runtime in the caller's arena,
// grain size 1, the caller's thread taking part, and returns when the loop is
// over.  Without a partitioner every index is its own task (simple
// partitioner); with one, the loop replays where each index ran last time.
//
// The partitioner object is the task runtime's own affinity partitioner,
// allocated on its own: a 16-byte record, zero at creation, of a pointer to a
// cache-aligned array of 2-byte slots and that array's size.  Before each loop
// it sizes the array to the arena's maximum concurrency x 16 slots and, when
// the size changes, allocates a new array filled with 0xFF bytes (no affinity
// recorded yet); deleting it releases the array.  Holding the runtime's object
// rather than a copy of its layout keeps the replay working with whatever the
// runtime records in the slots.
//
// The runtime may fail to allocate a task.  The loop then stops early; the
// launcher waits for it and runs every index that did not complete on the
// calling thread, in increasing order, so a call never loses a piece.
#include "blas/blas_args.hpp"

#include <orb/orb_blas.h>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_group.h>

#include <memory>
#include <new>

namespace orb::thr {

namespace {

static_assert(sizeof(tbb::affinity_partitioner) == 16, "the partitioner object is a pointer and a size");

//! Loop body: runs the workers of one sub-range in increasing order and marks them done.
struct invoke_body {
  orb_blas_worker_fn worker;
  int64_t nthreads;
  blas_args_t *args;
  unsigned char *done;

  void operator()(const tbb::blocked_range<int64_t> &r) const {
    for (int64_t i = r.begin(); i != r.end(); ++i) {
      worker(i, nthreads, args);
      done[i] = 1;
    }
  }
};

}  // namespace

}  // namespace orb::thr

extern "C" int64_t orb_blas_invoke_thin_thread(int64_t nthreads, orb_blas_worker_fn worker, blas_args_t *args,
                                               void *partitioner) {
  if (!worker) return 0;
  if (nthreads == 1) return worker(0, 1, args);
  if (nthreads < 1) return 0;

  std::unique_ptr<unsigned char[]> done(new (std::nothrow) unsigned char[static_cast<size_t>(nthreads)]());
  if (!done) {
    // Not even the bookkeeping fits: run the pieces here, one after the other.
    for (int64_t i = 0; i < nthreads; ++i) worker(i, nthreads, args);
    return 0;
  }
  const orb::thr::invoke_body body{worker, nthreads, args, done.get()};
  const tbb::blocked_range<int64_t> range(0, nthreads, 1);
  try {
    tbb::task_group_context context;
    if (partitioner)
      tbb::parallel_for(range, body, *static_cast<tbb::affinity_partitioner *>(partitioner), context);
    else
      tbb::parallel_for(range, body, tbb::simple_partitioner(), context);
  } catch (...) {
    for (int64_t i = 0; i < nthreads; ++i)
      if (!done[i]) worker(i, nthreads, args);
  }
  return 0;
}

extern "C" void *orb_blas_new_affinity_partitioner(void) { return new (std::nothrow) tbb::affinity_partitioner(); }

extern "C" void orb_blas_delete_affinity_partitioner(void *partitioner) {
  delete static_cast<tbb::affinity_partitioner *>(partitioner);
}
