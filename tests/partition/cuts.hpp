// What every rule of thread/partition promises, checked against one row of its
// worked table: the workers' ranges follow one another from 0 without gap or
// overlap, with the sizes the table lists, and end at the last item.
#pragma once

#include "partition/range.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace orb::test {

//! Checks range_of(i) for i = 0 .. sizes.size() - 1 against the sizes of a
//! table row of `items` items.
template <class RangeOf>
void expect_cut(int64_t items, const std::vector<int64_t> &sizes, RangeOf range_of) {
  int64_t next = 0;
  for (size_t i = 0; i < sizes.size(); ++i) {
    const thr::Range r = range_of(static_cast<int64_t>(i));
    EXPECT_EQ(r.begin, next) << "worker " << i;
    EXPECT_EQ(r.size(), sizes[i]) << "worker " << i;
    next = r.end;
  }
  EXPECT_EQ(next, items);
}

}  // namespace orb::test
