// One knob for every threading threshold: ORB_THRESHOLD_SCALE.
//
// Each rule that decides whether a call is worth cutting, and into how many
// pieces, measures the call against its own constants (elements per worker,
// right-hand sides per worker, the tile of the matrix product's grid, the
// depth of a slice of k, products per batch worker).  The rules read every
// such constant through threshold(), which scales it by the value of
// ORB_THRESHOLD_SCALE (read once per process; a number from 0 to 1, anything
// else counts as 1) and never lets it fall below 1:
//
//     nominal   scale 1   scale 0.5   scale 0.01   scale 0
//       4096     4096       2048          41           1
//         64       64         32           1           1
//          1        1          1           1           1
//
// At 0 every rule cuts whatever has more than one piece of work, which is how
// the test programs run the threaded paths on their small sizes; it is a
// testing knob, never faster.  Rules that pick a shape (the grid's aspect
// windows, the split's size window) are not thresholds and stay as they are.
#pragma once

#include <cstdint>

namespace orb::thr {

//! nominal x scale rounded up, at least 1 (the table above).
int64_t scaled_threshold(int64_t nominal, double scale);

//! The process's scale: ORB_THRESHOLD_SCALE when it is a number in [0, 1], else 1.
double threshold_scale();

//! A rule's constant as this process applies it.
inline int64_t threshold(int64_t nominal) { return scaled_threshold(nominal, threshold_scale()); }

}  // namespace orb::thr
