// Running one threader loop on the task runtime.
//
// Every loop gets a fresh task group context bound to the caller's, so that
// cancelling the caller's work cancels the loop and nothing else; the calling
// thread takes part and returns when the loop has ended.
#pragma once

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <atomic>

namespace orb::thr {

//! P: the maximum concurrency of the calling thread's current arena.
inline int arena_concurrency() { return tbb::this_task_arena::max_concurrency(); }

//! Runs body over [0, n) with grain 1 and the given partitioner.  The services
//! report nothing, so a runtime failure (it can only be out of memory) ends
//! the loop early instead of leaving the exported function by an exception.
template <class Body, class Partitioner>
void run_loop(int n, const Body &body, Partitioner &partitioner) noexcept {
  try {
    tbb::task_group_context context(tbb::task_group_context::bound);
    tbb::parallel_for(tbb::blocked_range<int>(0, n, 1), body, partitioner, context);
  } catch (...) {
  }
}

//! The affinity history one loop service keeps across calls.
//!
//! A partitioner's history is rewritten by the loop that uses it, and resized
//! when the arena's size changes, so two loops must never share it at once.
//! The first caller leases the shared history; a caller that finds it in use
//! (another thread, or a loop nested in a callback) runs with a fresh one.
class SharedAffinity {
 public:
  //! Exclusive use of the shared history, or of a private one while it is taken.
  class Lease {
   public:
    explicit Lease(SharedAffinity &owner)
        : owner_(owner), held_(!owner.busy_.test_and_set(std::memory_order_acquire)) {}
    ~Lease() {
      if (held_) owner_.busy_.clear(std::memory_order_release);
    }
    Lease(const Lease &) = delete;
    Lease &operator=(const Lease &) = delete;

    //! The partitioner this loop runs with.
    tbb::affinity_partitioner &partitioner() { return held_ ? owner_.shared_ : private_; }

   private:
    SharedAffinity &owner_;
    bool held_;
    tbb::affinity_partitioner private_;
  };

 private:
  tbb::affinity_partitioner shared_;
  std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
};

}  // namespace orb::thr
