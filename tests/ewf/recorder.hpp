// What a threader callback saw, index by index.
#pragma once

#include <orb/orb_threader.h>

#include <atomic>
#include <memory>
#include <string>

namespace orb::test {

//! One module's set of threader services, so that a case runs against both.
struct ThreaderSet {
  std::string name;
  void (*loop)(int64_t, int, void *, orb_threader_fn);
  void (*ordered_loop)(int64_t, int, void *, orb_threader_fn);
  void (*sections)(int, void *, orb_threader_fn);
  int (*ordered)(int, int, int, void *, orb_threader_fn);
  int (*limit)(void);
};

inline const ThreaderSet kStx{"stx",
                              orb_stx_serv_threader_for,
                              orb_stx_serv_threader_for_ordered,
                              orb_stx_serv_threader_sections,
                              orb_stx_serv_threader_ordered,
                              orb_stx_serv_threader_get_num_threads_limit};
inline const ThreaderSet kDf{"df",
                             orb_df_serv_threader_for,
                             orb_df_serv_threader_for_ordered,
                             orb_df_serv_threader_sections,
                             orb_df_serv_threader_ordered,
                             orb_df_serv_threader_get_num_threads_limit};

//! Per-index call counts and the last thread number and count reported, plus
//! the order in which each reported thread number received its indices.
struct Recorder {
  static constexpr int kSlots = 64;  // more thread numbers than any case hands out

  explicit Recorder(int n)
      : size(n), calls(new std::atomic<int>[n]), thread(new std::atomic<int>[n]),
        nthreads(new std::atomic<int>[n]), position(new std::atomic<int>[n]) {
    for (int i = 0; i < n; ++i) {
      calls[i] = 0;
      thread[i] = nthreads[i] = position[i] = -1;
    }
    for (auto &c : per_thread) c = 0;
    for (auto &b : busy) b = 0;
  }

  //! Callback for the services: records one call, ignoring the result.
  static int record(int index, int thr, int nthr, void *context) {
    auto *r = static_cast<Recorder *>(context);
    if (index < 0 || index >= r->size) {
      r->out_of_range.fetch_add(1);
      return 0;
    }
    r->calls[index].fetch_add(1);
    r->thread[index] = thr;
    r->nthreads[index] = nthr;
    if (thr >= 0 && thr < kSlots) {
      r->position[index] = r->per_thread[thr].fetch_add(1);
      // A thread number is held by one running call at a time: per-thread
      // scratch indexed by it must never be used by two calls at once.
      if (r->busy[thr].exchange(1)) r->overlaps.fetch_add(1);
      for (volatile int spin = 0; spin < r->work; spin = spin + 1) {
      }
      r->busy[thr] = 0;
    }
    return 0;
  }

  int total_calls() const {
    int sum = 0;
    for (int i = 0; i < size; ++i) sum += calls[i];
    return sum;
  }

  int size;
  std::unique_ptr<std::atomic<int>[]> calls, thread, nthreads, position;
  std::atomic<int> per_thread[kSlots];
  std::atomic<int> busy[kSlots];
  std::atomic<int> out_of_range{0};
  std::atomic<int> overlaps{0};
  int work = 200;  //!< spin per call, so that calls of a loop overlap in time
};

}  // namespace orb::test
