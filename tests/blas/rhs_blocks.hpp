// What the interposed kernel calls of a driver cut by right-hand sides
// (trsm, symm, hemm) must add up to.
#pragma once

#include "partition/rhs.hpp"

#include <gtest/gtest.h>
#include <orb/orb_types.h>

#include <set>
#include <utility>

namespace orb::test {

//! The blocks one driver call's kernel calls took, as (first column or row,
//! count): sorted, they must be the rule's blocks for rhs items on `workers`
//! workers, one after another from 0 to rhs.
using RhsBlocks = std::set<std::pair<ORB_INT, ORB_INT>>;

inline void expect_rule_blocks(const RhsBlocks &blocks, ORB_INT rhs, int64_t workers) {
  ORB_INT next = 0;
  int64_t i = 0;
  for (const auto &[first, count] : blocks) {
    EXPECT_EQ(first, next);
    EXPECT_EQ(count, thr::rhs_range(rhs, workers, i++).size());
    next = first + count;
  }
  EXPECT_EQ(next, rhs);
}

}  // namespace orb::test
