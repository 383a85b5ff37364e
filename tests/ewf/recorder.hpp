// The two modules' threader services side by side, and a callback that
// records what each call was told.
#pragma once

#include <orb/orb_threader.h>

#include <atomic>
#include <vector>

namespace orb::test {

struct ThreaderSet {
  const char *name;
  void (*loop)(int64_t, int, void *, orb_threader_fn);
  void (*ordered_loop)(int64_t, int, void *, orb_threader_fn);
  void (*sections)(int, void *, orb_threader_fn);
  int (*ordered)(int, int, int, void *, orb_threader_fn);
  int (*limit)(void);
};
inline const ThreaderSet kStx{"stx", orb_stx_serv_threader_for, orb_stx_serv_threader_for_ordered,
                              orb_stx_serv_threader_sections, orb_stx_serv_threader_ordered,
                              orb_stx_serv_threader_get_num_threads_limit};
inline const ThreaderSet kDf{"df", orb_df_serv_threader_for, orb_df_serv_threader_for_ordered,
                             orb_df_serv_threader_sections, orb_df_serv_threader_ordered,
                             orb_df_serv_threader_get_num_threads_limit};

//! Per index: how often it was called, with which thread number and count,
//! and how many calls that thread number had received before it.
struct Recorder {
  static constexpr int kNumbers = 64;  // above any thread number a case hands out

  explicit Recorder(int n) : calls(n), thread(n), nthreads(n), position(n) {}

  static int record(int index, int thr, int nthr, void *context) {
    auto *r = static_cast<Recorder *>(context);
    if (index < 0 || index >= static_cast<int>(r->calls.size()) || thr < 0 || thr >= kNumbers) {
      r->invalid.fetch_add(1);
      return 0;
    }
    r->calls[index].fetch_add(1);
    r->thread[index] = thr;
    r->nthreads[index] = nthr;
    r->position[index] = r->received[thr].fetch_add(1);
    // Per-thread scratch indexed by the number must never serve two calls at once.
    if (r->busy[thr].exchange(1)) r->overlaps.fetch_add(1);
    for (volatile int spin = 0; spin < r->work; spin = spin + 1) {
    }
    r->busy[thr] = 0;
    return 0;
  }

  int total() const {
    int sum = 0;
    for (const auto &c : calls) sum += c;
    return sum;
  }

  std::vector<std::atomic<int>> calls, thread, nthreads, position;
  std::atomic<int> received[kNumbers] = {}, busy[kNumbers] = {};
  std::atomic<int> invalid{0}, overlaps{0};
  int work = 2000; //!< spin per call, so that the calls of a loop overlap in time
};

}  // namespace orb::test
