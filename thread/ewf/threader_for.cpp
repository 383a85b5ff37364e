// The parallel loop services of the statistics and data-fitting threaders.
//
// With P the current arena's concurrency, a caller that asks for fewer than P
// threads gets its indices grouped so that it sees at most t thread numbers:
// the statistics loop in chunks of consecutive indices (one chunk per number,
// see threader_chunks.hpp), the data-fitting loop one index per number.  Any
// other request runs the general loop, which reports the runtime's slot of
// the running thread and a thread count of P, so that per-thread scratch
// indexed by the slot needs P entries.
#include "ewf/threader_bodies.hpp"
#include "ewf/threader_chunks.hpp"
#include "ewf/threader_run.hpp"

#include <orb/orb_threader.h>

namespace orb::thr {

namespace {

//! The general loop: every index once, reported with the running thread's slot
//! and thread count P (t itself when the caller asked for exactly P).  The
//! affinity history lets repeated loops of one shape land where they ran before.
template <class Body>
void general_loop(int n, int t, int p, orb_threader_fn callback, void *context, SharedAffinity &affinity) {
  const int nthreads = t == p ? t : p;
  if (n < 1) return;
  SharedAffinity::Lease lease(affinity);
  run_loop(n, Body(n, nthreads, callback, context), rt::Split::affinity, lease.history());
}

//! Every index its own section: callback(i, i, n, context).
template <class Body>
void sections_loop(int n, orb_threader_fn callback, void *context) {
  run_loop(n, Body(n, callback, context), rt::Split::automatic);
}

}  // namespace

}  // namespace orb::thr

using namespace orb::thr;

extern "C" {

void orb_stx_serv_threader_for(int64_t n64, int t, void *context, orb_threader_fn callback) {
  static SharedAffinity affinity;
  if (!callback) return;
  const int n = static_cast<int>(n64);  // loops are 32-bit ranges
  const int p = arena_concurrency();
  if (t > 0 && t < p) {
    if (t == n) {
      sections_loop<StxThreaderForSections>(t, callback, context);
      return;
    }
    const ChunkPlan plan = plan_chunks(n, t);
    if (plan.count < 1) return;
    const int chunks = static_cast<int>(plan.count);
    run_loop(chunks, StxThreaderForBlock(n, plan.length, chunks, callback, context), rt::Split::automatic);
    return;
  }
  general_loop<StxThreaderFor>(n, t, p, callback, context, affinity);
}

void orb_df_serv_threader_for(int64_t n64, int t, void *context, orb_threader_fn callback) {
  static SharedAffinity affinity;
  if (!callback) return;
  const int n = static_cast<int>(n64);
  const int p = arena_concurrency();
  if (t > 0 && t < p) {
    if (n > 0) sections_loop<DFThreaderForSections>(n, callback, context);
    return;
  }
  general_loop<DFThreaderFor>(n, t, p, callback, context, affinity);
}

}  // extern "C"
