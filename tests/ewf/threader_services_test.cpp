// Sections, the ordered loop and pass-through, and the thread limit.
#include "recorder.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/task_arena.h>

#include <thread>
#include <array>

namespace orb::test {
namespace {

// m sections when 1 <= m <= P, else P; each told it is section i of that many.
TEST(ThreaderSections, RunsOneCallPerSection) {
  for (const ThreaderSet *set : {&kStx, &kDf})
    for (auto [p, m, count] : {std::array<int, 3>{4, 3, 3}, {4, 4, 4}, {8, 1, 1}, {4, 0, 4}, {8, 0, 8}, {4, -2, 4}, {4, 9, 4}}) {
      Recorder rec(count);
      tbb::task_arena(p).execute([&] { set->sections(m, &rec, Recorder::record); });
      EXPECT_EQ(rec.invalid.load(), 0);
      ASSERT_EQ(rec.total(), count) << set->name << " m " << m;
      for (int i = 0; i < count; ++i)
        EXPECT_TRUE(rec.calls[i] == 1 && rec.thread[i] == i && rec.nthreads[i] == count) << set->name << " m " << m;
    }
}

// The ordered loop runs on the caller, in order, as thread 0 of 1, whatever t.
struct OrderedLog {
  std::thread::id caller;
  std::vector<int> indices;
  int wrong = 0;
};

int log_ordered(int index, int thr, int nthr, void *context) {
  auto *log = static_cast<OrderedLog *>(context);
  log->wrong += thr != 0 || nthr != 1 || std::this_thread::get_id() != log->caller;
  log->indices.push_back(index);
  return 0;
}

TEST(ThreaderForOrdered, RunsInOrderOnTheCaller) {
  for (const ThreaderSet *set : {&kStx, &kDf})
    for (int64_t n : {0, -3, 1, 37})
      for (int t : {0, 4, 64}) {
        OrderedLog log{std::this_thread::get_id(), {}, 0};
        tbb::task_arena(8).execute([&] { set->ordered_loop(n, t, &log, log_ordered); });
        EXPECT_EQ(log.wrong, 0);
        ASSERT_EQ(log.indices.size(), static_cast<size_t>(n > 0 ? n : 0)) << set->name;
        for (int i = 0; i < n; ++i) EXPECT_EQ(log.indices[i], i);
      }
}

int echo(int a, int b, int c, void *p) { return a * 10000 + b * 100 + c + (p ? 7 : 0); }

TEST(ThreaderOrdered, PassesArgumentsThroughAndReturnsTheResult) {
  int token = 0;
  for (const ThreaderSet *set : {&kStx, &kDf}) {
    EXPECT_EQ(set->ordered(3, 5, 9, &token, echo), 30509 + 7) << set->name;
    EXPECT_EQ(set->ordered(-1, 0, 2, nullptr, echo), -10000 + 2) << set->name;
  }
}

TEST(ThreaderLimit, IsTheCurrentArenasConcurrency) {
  for (const ThreaderSet *set : {&kStx, &kDf})
    for (int p : {1, 3, 8}) {
      int seen = -1;
      tbb::task_arena(p).execute([&] { seen = set->limit(); });
      EXPECT_EQ(seen, p) << set->name;
    }
}

}  // namespace
}  // namespace orb::test
