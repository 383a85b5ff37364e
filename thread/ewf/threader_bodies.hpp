// Loop bodies of the statistics and data-fitting threaders.
//
// Each body is a small copyable function object over a range of the task
// runtime; it holds only what its calls need and tells each call which thread
// number and thread count to report.  The data-fitting twins are the same
// shapes instantiated under their own module, so that the two modules' loops
// stay distinct types.
#pragma once

#include <orb/orb_threader.h>

#include "runtime/loop.hpp"

#include <cstdint>

namespace orb::thr {

enum class ThreaderModule { stx, df };

//! General loop: index i is reported with the running thread's arena slot.
template <ThreaderModule M>
class ThreaderFor {
 public:
  ThreaderFor(int n, int nthreads, orb_threader_fn callback, void *context)
      : n_(n), nthreads_(nthreads), callback_(callback), context_(context) {}

  //! callback(i, slot, T, context) for every i of r; slot is -2 outside an arena.
  void operator()(int64_t begin, int64_t end) const {
    const int slot = rt::current_slot();
    for (int64_t i = begin; i != end && i < n_; ++i) callback_(static_cast<int>(i), slot, nthreads_, context_);
  }

 private:
  int n_;
  int nthreads_;
  orb_threader_fn callback_;
  void *context_;
};

//! Sections: index i is its own thread number out of m.
template <ThreaderModule M>
class ThreaderForSections {
 public:
  ThreaderForSections(int m, orb_threader_fn callback, void *context)
      : m_(m), callback_(callback), context_(context) {}

  //! callback(i, i, m, context) for every i of r.
  void operator()(int64_t begin, int64_t end) const {
    for (int64_t i = begin; i != end; ++i) callback_(static_cast<int>(i), static_cast<int>(i), m_, context_);
  }

 private:
  int m_;
  orb_threader_fn callback_;
  void *context_;
};

//! Chunked loop over chunk numbers: chunk j covers indices j*L .. j*L + L - 1
//! below n, in order, each reported as thread j of K.
class StxThreaderForBlock {
 public:
  StxThreaderForBlock(int n, int64_t length, int count, orb_threader_fn callback, void *context)
      : n_(n), length_(length), count_(count), callback_(callback), context_(context) {}

  //! Runs every chunk of r, one after another.
  void operator()(int64_t begin, int64_t end) const {
    for (int64_t j = begin; j != end; ++j) {
      const int64_t first = j * length_;
      const int64_t last = first + length_ < n_ ? first + length_ : n_;
      for (int64_t i = first; i < last; ++i) callback_(static_cast<int>(i), static_cast<int>(j), count_, context_);
    }
  }

 private:
  int n_;
  int64_t length_;
  int count_;
  orb_threader_fn callback_;
  void *context_;
};

using StxThreaderFor = ThreaderFor<ThreaderModule::stx>;
using DFThreaderFor = ThreaderFor<ThreaderModule::df>;
using StxThreaderForSections = ThreaderForSections<ThreaderModule::stx>;
using DFThreaderForSections = ThreaderForSections<ThreaderModule::df>;

}  // namespace orb::thr
