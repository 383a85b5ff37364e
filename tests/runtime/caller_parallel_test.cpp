// The library called from inside a caller's own parallel code: from a task of
// a cancelled task group, from the bodies of a caller's parallel loop (with and
// without a lock held around the call), and from many caller threads at once.
// Every call must compute its whole result, and a thread that waits inside a
// call must never start one of the caller's other tasks.
//
// Operands hold small integers, so every product is exact in any summation
// order: each result must equal the one the core's sequential kernel computes
// for the whole call.  The precisions share one frame, so double stands for all.
#include "blas_api.hpp"
#include "hooks.hpp"
#include "rank_k.hpp"

#include <orb/orb_service.h>
#include <orb/orb_threader.h>

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace orb::test {
namespace {

//! One library call with its own operands: run() calls the library once,
//! correct() says whether it produced the expected result.
struct Job {
  std::function<void()> run;
  std::function<bool()> correct;
};

//! Integers in [-4, 4]: products and sums stay exact.
std::vector<double> small_integers(size_t count, unsigned seed) {
  std::vector<double> v(count);
  for (size_t i = 0; i < count; ++i) v[i] = static_cast<int>((i * 7 + seed) % 9) - 4;
  return v;
}

struct Operands {
  std::vector<double> a, x, y, want;
};

std::shared_ptr<Operands> operands(size_t a, size_t x, size_t y, unsigned seed) {
  auto o = std::make_shared<Operands>(
      Operands{small_integers(a, seed), small_integers(x, seed + 1), small_integers(y, seed + 2), {}});
  o->want = o->y;
  return o;
}

//! C = op(A) B - C through the standard Fortran name.
Job gemm_job(char ta, int m, int n, int k, unsigned seed) {
  auto o = operands(size_t(m) * k, size_t(k) * n, size_t(m) * n, seed);
  const ORB_INT m8 = m, n8 = n, k8 = k, lda8 = ta == 'N' ? m : k;
  const double one = 1, minus = -1;
  orb_blas_xdgemm(&ta, "N", &m8, &n8, &k8, &one, o->a.data(), &lda8, o->x.data(), &k8, &minus, o->want.data(), &m8);
  return {[=] {
            const int lda = ta == 'N' ? m : k;
            dgemm_(&ta, "N", &m, &n, &k, &one, o->a.data(), &lda, o->x.data(), &k, &minus, o->y.data(), &m);
          },
          [o] { return o->y == o->want; }};
}

//! y = A x + 2 y through the standard Fortran name.
Job gemv_job(int m, int n, unsigned seed) {
  auto o = operands(size_t(m) * n, n, m, seed);
  const ORB_INT m8 = m, n8 = n, inc8 = 1;
  const double alpha = 1, beta = 2;
  orb_blas_xdgemv("N", &m8, &n8, &alpha, o->a.data(), &m8, o->x.data(), &inc8, &beta, o->want.data(), &inc8);
  return {[=] {
            const int inc = 1;
            dgemv_("N", &m, &n, &alpha, o->a.data(), &m, o->x.data(), &inc, &beta, o->y.data(), &inc);
          },
          [o] { return o->y == o->want; }};
}

//! The lower triangle of C = A B^T - C through the standard Fortran name:
//! triangle blocks instead of the grid, and the core's own GEMMT.
Job gemmt_job(int n, int k, unsigned seed) {
  auto o = operands(size_t(n) * k, size_t(n) * k, size_t(n) * n, seed);
  const ORB_INT n8 = n, k8 = k;
  const double one = 1, minus = -1;
  orb_blas_xdgemmt("L", "N", "T", &n8, &k8, &one, o->a.data(), &n8, o->x.data(), &n8, &minus, o->want.data(), &n8);
  return {[=] { dgemmt_("L", "N", "T", &n, &k, &one, o->a.data(), &n, o->x.data(), &n, &minus, o->y.data(), &n); },
          [o] { return o->y == o->want; }};
}

//! A threader loop of the core's modules: every index exactly once.
Job threader_job(int t) {
  using Counts = std::vector<std::atomic<int>>;
  auto counts = std::make_shared<Counts>(3000);
  const orb_threader_fn count = [](int i, int, int, void *c) { return (*static_cast<Counts *>(c))[i]++, 0; };
  return {[=] { orb_stx_serv_threader_for(3000, t, counts.get(), count); },
          [=] { return std::all_of(counts->begin(), counts->end(), [](const auto &c) { return c == 1; }); }};
}

struct Family {
  const char *name;
  Job (*make)(unsigned seed);
};
void PrintTo(const Family &f, std::ostream *os) { *os << f.name; }

// Shapes that take each way of running a call on two or more workers: the
// grid (whose region the row, column and right-hand-side cuts of the other
// level-2 and level-3 families share), the two phases of the split along k,
// the row blocks of GEMV, the triangle blocks of GEMMT (those of the rank-k
// and rank-2k updates), the loop service with and without chunking.
const Family kFamilies[] = {
    {"dgemm_grid", [](unsigned s) { return gemm_job('N', 256, 192, 96, s); }},
    {"dgemm_split_k", [](unsigned s) { return gemm_job('T', 96, 64, 4096, s); }},
    {"dgemv", [](unsigned s) { return gemv_job(1024, 300, s); }},
    {"dgemmt", [](unsigned s) { return gemmt_job(300, 64, s); }},
    {"threader_for", [](unsigned) { return threader_job(0); }},
    {"threader_for_chunks", [](unsigned) { return threader_job(1); }},
};

class CallerParallel : public ::testing::TestWithParam<Family> {};

// The caller's group is cancelled while its task is inside the call (the task
// has started and waits for a go), or by the task itself just before the call.
TEST_P(CallerParallel, CancelledGroupStillGetsWholeResult) {
  for (unsigned round = 0; round < 6; ++round) {
    const bool cancel_from_inside = round % 2 == 1;
    Job job = GetParam().make(round);
    std::atomic<bool> started{false}, go{false}, finished{false};
    tbb::task_group group;
    group.run([&] {
      started = true;
      if (cancel_from_inside) group.cancel();
      while (!go) std::this_thread::yield();
      job.run();
      finished = true;
    });
    while (!started) std::this_thread::yield();
    if (!cancel_from_inside) group.cancel();
    go = true;
    group.wait();
    ASSERT_TRUE(finished);
    EXPECT_TRUE(job.correct()) << "round " << round;
  }
}

// Plain threads and the runtime's own threads call at once.
TEST_P(CallerParallel, ManyCallersAtOnce) {
  constexpr int kThreads = 6, kCallsEach = 3, kBase = kThreads * kCallsEach;
  std::vector<Job> jobs;
  for (unsigned i = 0; i < 2 * kBase; ++i) jobs.push_back(GetParam().make(i));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int c = 0; c < kCallsEach; ++c) jobs[t * kCallsEach + c].run();
    });
  for (auto &t : threads) t.join();
  tbb::parallel_for(0, kBase, [&](int i) { jobs[kBase + i].run(); });
  for (size_t i = 0; i < jobs.size(); ++i) EXPECT_TRUE(jobs[i].correct()) << "call " << i;
}

INSTANTIATE_TEST_SUITE_P(Families, CallerParallel, ::testing::ValuesIn(kFamilies),
                         [](const ::testing::TestParamInfo<Family> &info) { return std::string(info.param.name); });

// Pacing of the pieces of one product, observed through the core's kernel: the
// calling thread's piece ends only once another thread has taken the other
// piece, and that piece then takes a while, so the caller must wait.
struct Pacing {
  std::atomic<bool> on{false}, taken{false};
  std::thread::id caller;
} pacing;

// The caller waits inside a product while another thread's deque is full of
// the caller's unrelated tasks.  A thread waiting for its call's pieces must
// not take one of those: a caller holding a lock around the call would
// deadlock as soon as that task wanted the lock too.  Such a task is counted.
TEST(CallerParallelWait, WaitingCallerRunsOnlyItsOwnPieces) {
  static thread_local bool in_call = false;
  std::atomic<int> nested{0};
  std::atomic<bool> done{false}, filled{false};
  // The runtime keeps one thread per core; this test needs a few more.
  tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 4);
  tbb::task_arena arena(4);
  arena.execute([&] {
    tbb::task_group producer;
    producer.run([&] {
      tbb::task_group unrelated;
      for (int t = 0; t < 4000; ++t)
        unrelated.run([&] {
          if (in_call) ++nested;
        });
      filled = true;
      while (!done) std::this_thread::yield();  // keeps them queued, runs none itself
      unrelated.wait();
    });
    while (!filled) std::this_thread::yield();
    const int previous = orb_serv_set_num_threads_local(2);
    for (unsigned round = 0; round < 8; ++round) {
      Job job = gemm_job('N', 256, 64, 64, round);
      pacing.caller = std::this_thread::get_id();
      pacing.taken = false;
      pacing.on = true;
      in_call = true;
      job.run();
      in_call = false;
      pacing.on = false;
      EXPECT_TRUE(job.correct());
    }
    orb_serv_set_num_threads_local(previous);
    done = true;
    producer.wait();
  });
  EXPECT_EQ(nested.load(), 0);
}

}  // namespace
}  // namespace orb::test

extern "C" void orb_blas_xdgemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                                const ORB_INT *k, const double *alpha, const double *a, const ORB_INT *lda,
                                const double *b, const ORB_INT *ldb, const double *beta, double *c,
                                const ORB_INT *ldc) {
  static const auto next = ORB_TEST_NEXT(orb_blas_xdgemm);
  next(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  auto &p = orb::test::pacing;
  if (!p.on) return;
  if (std::this_thread::get_id() == p.caller) {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (!p.taken && std::chrono::steady_clock::now() < give_up) std::this_thread::yield();
  } else {
    p.taken = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
  }
}
