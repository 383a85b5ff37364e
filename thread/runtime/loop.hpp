// Parallel loops on the task runtime, with one failure policy for the whole
// library.
//
// Every parallel region of the threading layer is one call of run_loop: a loop
// over the index range [0, n) whose body takes a sub-range [begin, end).  The
// task runtime is named only in this folder; the drivers see plain indices.
//
// What a loop promises its caller, whatever happens around it:
//   - Every index runs exactly once before run_loop returns.  The loop records
//     which indices ran; any index that did not (the runtime could not start a
//     task, or the caller's cancellation stopped a loop bound to the caller's
//     context) runs afterwards on the calling thread, in increasing order.
//   - The calling thread takes part in the loop and, while it waits for the
//     loop's other pieces, runs only pieces of this loop, never unrelated tasks
//     of its caller (the loop runs in an isolated region of the arena).  A
//     caller's task that holds a lock around a library call can therefore not
//     be re-entered on its own thread by a sibling task that wants the lock.
//   - Binding::own runs in a task group context of its own that the caller's
//     cancellation does not reach; Binding::caller runs in a context bound to
//     the caller's, as the threaders for the core's modules do, and finishes on
//     the calling thread what a cancellation skipped.
// Bodies must not throw.
#pragma once

#include <cstdint>

namespace orb::thr::rt {

//! How the runtime cuts the index range into pieces.
enum class Split {
  simple,     //!< down to the grain: with grain 1 every index is its own task
  automatic,  //!< the runtime's adaptive splitting
  even,       //!< one piece per thread, fixed in advance
  affinity,   //!< as the affinity record of the previous loop said
};

//! Whose cancellation can stop the loop's pieces (they then run on the caller).
enum class Binding { own, caller };

//! Runs body(ctx, begin, end) over sub-ranges covering [0, n).
using RangeFn = void (*)(void *ctx, int64_t begin, int64_t end);

//! The record of where each index of a loop ran, replayed by the next loop that
//! uses it.  One owner, one loop at a time.
class Affinity {
 public:
  Affinity();  //!< no record when the runtime cannot allocate one
  ~Affinity();
  Affinity(const Affinity &) = delete;
  Affinity &operator=(const Affinity &) = delete;

  //! The runtime's object, or null when it could not be had.
  void *get() const { return handle_; }

 private:
  void *handle_;
};

//! One loop's shape: grain, splitting and binding.  An affinity loop needs the
//! record it replays; without one it splits like a simple loop.
struct LoopShape {
  int64_t grain = 1;
  Split split = Split::simple;
  Binding binding = Binding::own;
  void *affinity = nullptr;  //!< an Affinity's get(), for Split::affinity
};

//! Runs fn over [0, n) as promised above; n < 1 does nothing.
void run_range(int64_t n, const LoopShape &shape, RangeFn fn, void *ctx) noexcept;

//! run_range with a function object body(begin, end).
template <class Body>
void run_loop(int64_t n, const LoopShape &shape, const Body &body) noexcept {
  run_range(
      n, shape, [](void *ctx, int64_t begin, int64_t end) { (*static_cast<const Body *>(ctx))(begin, end); },
      const_cast<Body *>(&body));
}

//! P: the maximum concurrency of the calling thread's current arena.
int max_concurrency() noexcept;

//! The calling thread's slot in its current arena, or -2 outside any.
int current_slot() noexcept;

//! The runtime's own affinity object, allocated on its own (null on failure),
//! for callers that carry it through an untyped pointer.
void *new_affinity() noexcept;
void delete_affinity(void *affinity) noexcept;

}  // namespace orb::thr::rt
