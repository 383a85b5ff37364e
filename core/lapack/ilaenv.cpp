// The core's tuning answers for the LU factorization (name "?GETRF", any
// option string), read by the threaded drivers at every call.
//
//   min(m, n)        block size nb (ispec 1)   threaded? (ispec 3)
//   below 192        64                        no: 192 (sequential)
//   192 .. 1535      64                        yes: 0
//   1536 .. 3071     128                       yes
//   3072 .. 4999     192                       yes
//   5000 and above   256                       yes (the task graph)
//
// Below 192 rows or columns a factorization takes a few hundred microseconds
// at most, and its first panel alone is a third of the work: threads would
// mostly wait.  The block size grows with the matrix so that the panels,
// which run on one thread at a time in the look-ahead scheme, stay a small
// share of the work, while the trailing updates stay in blocks the product
// kernels run at full speed; from 5000 the task graph has a block column
// task per 256 columns, enough tasks for the threads and no more.
//
// ispec 17 (look-ahead depth) is 1: the block column after the next panel is
// updated on its own, ahead of the bulk, so that its panel is ready when the
// next panel is done.  ispec 18 is 0: the graph factors its panels with the
// threaded recursive scheme.
#include <orb/internal/orb_lapack_kernels.h>

#include "blas_rules.hpp"

namespace {

constexpr ORB_INT kSequentialBelow = 192;

bool is_getrf(const char *name) {
  if (!name) return false;
  const char c = name[0] & ~0x20;
  if (c != 'S' && c != 'D' && c != 'C' && c != 'Z') return false;
  const char *family = "GETRF";
  for (int i = 0; i < 5; ++i)
    if (!name[i + 1] || !orb::rules::same_letter(name[i + 1], family[i])) return false;
  return true;
}

ORB_INT block_size(ORB_INT mn) {
  if (mn < 1536) return 64;
  if (mn < 3072) return 128;
  if (mn < 5000) return 192;
  return 256;
}

}  // namespace

extern "C" ORB_INT orb_lapack_ilaenv(const ORB_INT *ispec, const char *name, const char *, const ORB_INT *n1,
                                     const ORB_INT *n2, const ORB_INT *, const ORB_INT *) {
  if (!ispec || !is_getrf(name)) return -1;
  const ORB_INT m = n1 ? *n1 : 0, n = n2 ? *n2 : 0;
  const ORB_INT mn = m < n ? m : n;
  switch (*ispec) {
    case 1: return block_size(mn);
    case 3: return mn < kSequentialBelow ? kSequentialBelow : 0;
    case 17: return 1;
    case 18: return 0;
    default: return -1;
  }
}
