// The table of the routine comparisons (`orb-bench level1`, `level3`): the
// libraries' header, and one row per routine and size, each library timed
// interleaved with the others and printed as a rate, then orb's ratios to
// the serial provider and to the fastest peer, paired round by round.
#pragma once

#include "libraries.hpp"

#include <functional>
#include <vector>

namespace orb::bench {

//! Prints each library (what it says of itself, or why it is missing), then
//! the column heads: `size_head` over the size column, each library's label.
void print_libraries(const std::vector<GemmLibrary> &libs, const char *size_head);

//! Times calls[i] for every library i that has one (an empty call: the
//! library is missing), interleaved over `rounds` batches of about `target_s`
//! seconds each, after one untimed call; then prints the row: the routine and
//! size, cell(i, best seconds) for each library ("n/a" for one without a
//! call), the ratio to the serial provider (library 1) and to the fastest
//! peer, and that peer's label.  `prepare`, when given, runs untimed before
//! every call (a routine that overwrites its operands gets them back).
void time_row(const std::vector<GemmLibrary> &libs, const std::vector<std::function<void()>> &calls, const char *routine,
              long size, double target_s, int rounds, const std::function<void(size_t i, double best_s)> &cell,
              const std::function<void()> &prepare = {});

}  // namespace orb::bench
