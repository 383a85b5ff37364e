// The library called from inside a caller's own parallel code: from a task of
// a cancelled task group, from the bodies of a caller's parallel loop (with and
// without a lock held around the call), and from many caller threads at once.
// Every call must compute its whole result, and a thread that waits inside a
// call must never start one of the caller's other tasks.
//
// Operands hold small integers, so every product is exact in any summation
// order: each result must equal, bit for bit, the one the core's sequential
// kernel computes for the whole call.
#include "blas_api.hpp"
#include "dense.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>
#include <orb/orb_threader.h>

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace orb::test {
namespace {

//! One library call with its own operands, and the result it must produce.
class Job {
 public:
  virtual ~Job() = default;
  virtual void run() = 0;  //!< calls the library; may be called once
  virtual bool correct() const = 0;
};

//! Integers in [-4, 4]: products and sums stay exact.
template <class T>
std::vector<T> small_integers(size_t count, unsigned seed) {
  std::vector<T> v(count);
  for (size_t i = 0; i < count; ++i) {
    const auto at = [&](size_t j) { return static_cast<long double>(static_cast<int>((j * 7 + seed) % 9) - 4); };
    v[i] = narrow<T>(cld(at(2 * i), at(2 * i + 1)));
  }
  return v;
}

template <class T>
T scalar(double re) {
  return narrow<T>(cld(re, 0));
}

//! C = op(A) op(B) - C through the standard Fortran name.
template <class T>
class GemmJob : public Job {
 public:
  GemmJob(char ta, int m, int n, int k, unsigned seed)
      : ta_(ta), m_(m), n_(n), k_(k), a_(small_integers<T>(size_t(m) * k, seed)),
        b_(small_integers<T>(size_t(k) * n, seed + 1)), c_(small_integers<T>(size_t(m) * n, seed + 2)), want_(c_) {
    const ORB_INT m64 = m, n64 = n, k64 = k, lda = ta == 'N' ? m : k;
    const T one = scalar<T>(1), minus = scalar<T>(-1);
    Api<T>::kernel_gemm(&ta_, "N", &m64, &n64, &k64, &one, a_.data(), &lda, b_.data(), &k64, &minus, want_.data(),
                        &m64);
  }
  void run() override {
    const int lda = ta_ == 'N' ? m_ : k_;
    const T one = scalar<T>(1), minus = scalar<T>(-1);
    Api<T>::gemm32(&ta_, "N", &m_, &n_, &k_, &one, a_.data(), &lda, b_.data(), &k_, &minus, c_.data(), &m_);
  }
  bool correct() const override { return std::memcmp(c_.data(), want_.data(), c_.size() * sizeof(T)) == 0; }

 private:
  char ta_;
  int m_, n_, k_;
  std::vector<T> a_, b_, c_, want_;
};

//! y = A x + 2 y through the standard Fortran name.
class GemvJob : public Job {
 public:
  GemvJob(int m, int n, unsigned seed)
      : m_(m), n_(n), a_(small_integers<double>(size_t(m) * n, seed)), x_(small_integers<double>(n, seed + 1)),
        y_(small_integers<double>(m, seed + 2)), want_(y_) {
    const ORB_INT m64 = m, n64 = n, one = 1;
    const double alpha = 1, beta = 2;
    orb_blas_xdgemv("N", &m64, &n64, &alpha, a_.data(), &m64, x_.data(), &one, &beta, want_.data(), &one);
  }
  void run() override {
    const int one = 1;
    const double alpha = 1, beta = 2;
    dgemv_("N", &m_, &n_, &alpha, a_.data(), &m_, x_.data(), &one, &beta, y_.data(), &one);
  }
  bool correct() const override { return y_ == want_; }

 private:
  int m_, n_;
  std::vector<double> a_, x_, y_, want_;
};

//! A threader loop of the core's modules: every index exactly once.
class ThreaderJob : public Job {
 public:
  using Service = void (*)(int64_t, int, void *, orb_threader_fn);
  ThreaderJob(Service service, int n, int t) : service_(service), n_(n), t_(t), counts_(n) {}
  void run() override { service_(n_, t_, this, count); }
  bool correct() const override {
    for (const auto &c : counts_)
      if (c.load() != 1) return false;
    return true;
  }

 private:
  static int count(int i, int, int, void *self) {
    static_cast<ThreaderJob *>(self)->counts_[i].fetch_add(1);
    return 0;
  }
  Service service_;
  int n_, t_;
  std::vector<std::atomic<int>> counts_;
};

struct Family {
  const char *name;
  std::unique_ptr<Job> (*make)(unsigned seed);
};

// Shapes that take each way of cutting a call on two or more workers: the
// two-dimensional grid, the split along k, the row blocks of GEMV, the loop
// services with and without chunking.
const Family kFamilies[] = {
    {"dgemm_grid", [](unsigned s) -> std::unique_ptr<Job> { return std::make_unique<GemmJob<double>>('N', 256, 192, 96, s); }},
    {"dgemm_split_k", [](unsigned s) -> std::unique_ptr<Job> { return std::make_unique<GemmJob<double>>('T', 96, 64, 4096, s); }},
    {"sgemm_grid", [](unsigned s) -> std::unique_ptr<Job> { return std::make_unique<GemmJob<float>>('T', 200, 130, 64, s); }},
    {"zgemm_grid", [](unsigned s) -> std::unique_ptr<Job> { return std::make_unique<GemmJob<ORB_Complex16>>('N', 140, 100, 40, s); }},
    {"dgemv", [](unsigned s) -> std::unique_ptr<Job> { return std::make_unique<GemvJob>(1024, 300, s); }},
    {"stx_for", [](unsigned) -> std::unique_ptr<Job> { return std::make_unique<ThreaderJob>(orb_stx_serv_threader_for, 3000, 0); }},
    {"stx_for_chunks", [](unsigned) -> std::unique_ptr<Job> { return std::make_unique<ThreaderJob>(orb_stx_serv_threader_for, 3000, 1); }},
    {"df_for", [](unsigned) -> std::unique_ptr<Job> { return std::make_unique<ThreaderJob>(orb_df_serv_threader_for, 3000, 0); }},
};

class CallerParallel : public ::testing::TestWithParam<Family> {
 protected:
  std::unique_ptr<Job> make(unsigned seed) const { return GetParam().make(seed); }
};

// The caller's group is cancelled while its task is inside the call (the task
// has started and waits for a go), or by the task itself just before the call.
TEST_P(CallerParallel, CancelledGroupStillGetsWholeResult) {
  for (int round = 0; round < 6; ++round) {
    const bool cancel_from_inside = round % 2 == 1;
    auto job = make(round);
    std::atomic<bool> started{false}, go{false}, finished{false};
    tbb::task_group group;
    group.run([&] {
      started = true;
      if (cancel_from_inside) group.cancel();
      while (!go) std::this_thread::yield();
      job->run();
      finished = true;
    });
    while (!started) std::this_thread::yield();
    if (!cancel_from_inside) group.cancel();
    go = true;
    group.wait();
    ASSERT_TRUE(finished);
    EXPECT_TRUE(job->correct()) << "round " << round;
  }
}

// Plain threads and the runtime's own threads call at once.
TEST_P(CallerParallel, ManyCallersAtOnce) {
  constexpr int kThreads = 6, kCallsEach = 3;
  std::vector<std::unique_ptr<Job>> jobs;
  for (int i = 0; i < 2 * kThreads * kCallsEach; ++i) jobs.push_back(make(i));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int c = 0; c < kCallsEach; ++c) jobs[t * kCallsEach + c]->run();
    });
  for (auto &t : threads) t.join();
  const int base = kThreads * kCallsEach;
  tbb::parallel_for(0, base, [&](int i) { jobs[base + i]->run(); });
  for (size_t i = 0; i < jobs.size(); ++i) EXPECT_TRUE(jobs[i]->correct()) << "call " << i;
}

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
    for (int round = 0; round < 8; ++round) {
      GemmJob<double> job('N', 256, 64, 64, round);
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

INSTANTIATE_TEST_SUITE_P(Families, CallerParallel, ::testing::ValuesIn(kFamilies),
                         [](const ::testing::TestParamInfo<Family> &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orb::test

extern "C" void orb_blas_xdgemm(const char *transa, const char *transb, const ORB_INT *m, const ORB_INT *n,
                                const ORB_INT *k, const double *alpha, const double *a, const ORB_INT *lda,
                                const double *b, const ORB_INT *ldb, const double *beta, double *c,
                                const ORB_INT *ldc) {
  static const auto next = reinterpret_cast<decltype(&orb_blas_xdgemm)>(dlsym(RTLD_NEXT, "orb_blas_xdgemm"));
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
