// The worker launcher, with and without an affinity partitioner reused across arenas.
#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>

#include <gtest/gtest.h>
#include <oneapi/tbb/task_arena.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace {

constexpr int kMaxWorkers = 512;
std::atomic<int> runs[kMaxWorkers];
std::atomic<int64_t> seen_nthr{0};
std::thread::id caller;

int64_t count_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  EXPECT_EQ(args, reinterpret_cast<blas_args_t *>(&seen_nthr));
  runs[ithr].fetch_add(1);
  seen_nthr = nthr;
  return nthr == 1 && std::this_thread::get_id() == caller ? 42 : 0;
}

class Invoke : public ::testing::TestWithParam<std::tuple<int64_t, bool>> {};

TEST_P(Invoke, RunsEveryIndexExactlyOnce) {
  const auto [nthreads, with_affinity] = GetParam();
  for (auto &r : runs) r = 0;
  caller = std::this_thread::get_id();
  void *partitioner = with_affinity ? orb_blas_new_affinity_partitioner() : nullptr;
  // The second round replays the recorded affinity in an arena larger than the first.
  tbb::task_arena larger(tbb::this_task_arena::max_concurrency() + 1);
  for (int round = 0; round < 2; ++round) {
    int64_t result = -1;
    const auto run = [&] {
      result = orb_blas_invoke_thin_thread(nthreads, count_worker, reinterpret_cast<blas_args_t *>(&seen_nthr),
                                           partitioner);
    };
    round == 0 ? run() : larger.execute(run);
    EXPECT_EQ(result, nthreads == 1 ? 42 : 0);  // one worker runs on the caller and returns its result
  }
  orb_blas_delete_affinity_partitioner(partitioner);
  for (int64_t i = 0; i < kMaxWorkers; ++i) ASSERT_EQ(runs[i].load(), i < nthreads ? 2 : 0) << "index " << i;
  if (nthreads > 0) {
    EXPECT_EQ(seen_nthr.load(), nthreads);
  }
}

INSTANTIATE_TEST_SUITE_P(Counts, Invoke,
                         ::testing::Combine(::testing::Values<int64_t>(-1, 0, 1, 2, 3, 7, 64, 500),
                                            ::testing::Bool()));

}  // namespace
