// Balanced split of n items over a number of workers, for drivers that cut a
// range themselves.
#include <orb/orb_service.h>

// n items over nthr workers, the remainder going one each to the first workers:
//   n = 10, nthr = 4  ->  [0,3) [3,6) [6,8) [8,10)
//   n = 2,  nthr = 4  ->  [0,1) [1,2) [2,2) [2,2)
extern "C" void orb_serv_divbythreadsnb(ORB_INT n, ORB_INT nthr, ORB_INT ithr, ORB_INT *first,
                                        ORB_INT *count) {
  ORB_INT f = 0, c = 0;
  if (n > 0 && nthr > 0 && ithr >= 0 && ithr < nthr) {
    const ORB_INT base = n / nthr, rest = n % nthr;
    c = base + (ithr < rest ? 1 : 0);
    f = ithr * base + (ithr < rest ? ithr : rest);
  }
  if (first) *first = f;
  if (count) *count = c;
}
