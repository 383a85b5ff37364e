// The ordered loop, sections, ordered pass-through and thread-limit services,
// alike for the statistics and data-fitting modules.
#include "ewf/threader_bodies.hpp"
#include "ewf/threader_run.hpp"

#include <orb/orb_threader.h>

namespace orb::thr {

namespace {

//! In order on the calling thread, each call told it is thread 0 of 1.
void ordered_loop(int64_t n64, orb_threader_fn callback, void *context) {
  if (!callback) return;
  const int n = static_cast<int>(n64);
  for (int i = 0; i < n; ++i) callback(i, 0, 1, context);
}

//! m sections when 1 <= m <= P, else P: a caller that cannot say how many
//! sections it has gets one per thread the arena can run.
template <class Body>
void sections(int m, orb_threader_fn callback, void *context) {
  if (!callback) return;
  const int p = arena_concurrency();
  const int count = m >= 1 && m <= p ? m : p;
  run_loop(count, Body(count, callback, context), rt::Split::automatic);
}

int pass_through(int p1, int p2, int p3, void *p4, orb_threader_fn callback) {
  return callback ? callback(p1, p2, p3, p4) : 0;
}

}  // namespace

}  // namespace orb::thr

using namespace orb::thr;

extern "C" {

void orb_stx_serv_threader_for_ordered(int64_t n, int, void *context, orb_threader_fn callback) {
  ordered_loop(n, callback, context);
}
void orb_df_serv_threader_for_ordered(int64_t n, int, void *context, orb_threader_fn callback) {
  ordered_loop(n, callback, context);
}

void orb_stx_serv_threader_sections(int m, void *context, orb_threader_fn callback) {
  sections<StxThreaderForSections>(m, callback, context);
}
void orb_df_serv_threader_sections(int m, void *context, orb_threader_fn callback) {
  sections<DFThreaderForSections>(m, callback, context);
}

int orb_stx_serv_threader_ordered(int p1, int p2, int p3, void *p4, orb_threader_fn callback) {
  return pass_through(p1, p2, p3, p4, callback);
}
int orb_df_serv_threader_ordered(int p1, int p2, int p3, void *p4, orb_threader_fn callback) {
  return pass_through(p1, p2, p3, p4, callback);
}

int orb_stx_serv_threader_get_num_threads_limit(void) { return arena_concurrency(); }
int orb_df_serv_threader_get_num_threads_limit(void) { return arena_concurrency(); }

}  // extern "C"
