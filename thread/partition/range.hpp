// What every cutting rule of the threading layer is written with: the range of
// items one worker takes, and the quotient rounded up.
//
// A rule hands worker i of p one half-open range [begin, end) of the items it
// cuts (rows or columns of C, steps of k, entries of y).  Every worker computes
// its own range from the same few numbers, so workers never exchange bounds;
// a worker whose range is empty has nothing to do.  Each rule's file says which
// workers that can happen to.
#pragma once

#include <cstdint>

namespace orb::thr {

//! Items [begin, end) of one worker.
struct Range {
  int64_t begin = 0;
  int64_t end = 0;

  //! How many items the range holds.
  constexpr int64_t size() const { return end - begin; }
  //! True when the worker has nothing to do.
  constexpr bool empty() const { return end <= begin; }
};

//! ceil(x / y) for x >= 0 and y > 0.
constexpr int64_t ceil_div(int64_t x, int64_t y) { return (x + y - 1) / y; }

}  // namespace orb::thr
