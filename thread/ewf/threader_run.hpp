// Running one threader loop on the task runtime.
//
// Every loop gets a fresh task group context bound to the caller's, so that
// cancelling the caller's work stops handing the loop to other threads; the
// calling thread takes part, and before it returns it runs every index that a
// cancellation or a failure of the runtime left out (runtime/loop.hpp).  The
// core's modules therefore always see every index exactly once.
#pragma once

#include "runtime/loop.hpp"

#include <atomic>

namespace orb::thr {

//! P: the maximum concurrency of the calling thread's current arena.
inline int arena_concurrency() { return rt::max_concurrency(); }

//! Runs body over [0, n) with grain 1, split as asked, bound to the caller.
template <class Body>
void run_loop(int n, const Body &body, rt::Split split, void *affinity = nullptr) noexcept {
  rt::LoopShape shape;
  shape.split = split;
  shape.binding = rt::Binding::caller;
  shape.affinity = affinity;
  rt::run_loop(n, shape, body);
}

//! The affinity history one loop service keeps across calls.
//!
//! A history is rewritten by the loop that uses it, and resized when the
//! arena's size changes, so two loops must never share it at once.  The first
//! caller leases the shared history; a caller that finds it in use (another
//! thread, or a loop nested in a callback) runs with a fresh one.
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

    //! The history this loop runs with (null: none could be had).
    void *history() { return held_ ? owner_.shared_.get() : private_.get(); }

   private:
    SharedAffinity &owner_;
    bool held_;
    rt::Affinity private_;
  };

 private:
  rt::Affinity shared_;
  std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
};

}  // namespace orb::thr
