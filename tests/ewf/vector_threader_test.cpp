// The vector-function threaders, observed from both sides: the module's seven
// entry points are defined in this executable (recording which thread set
// what, then forwarding to the core's), and the kernels handed to the
// threaders record the pieces they are given.  The threaders load the entry
// points from the handle of this program, so they find the recording ones.
#include <orb/internal/orb_ewf.h>

#include "process.hpp"

#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <ostream>
#include <thread>
#include <vector>

namespace {

struct Recorded {
  std::mutex lock;
  int set_calls = 0;                                      //!< calls of the four setters the pieces make
  std::map<std::thread::id, const void *> last_input;     //!< each thread's last input pointer
};
Recorded &recorded() {
  static Recorded r;
  return r;
}
void count_set() {
  std::lock_guard<std::mutex> g(recorded().lock);
  ++recorded().set_calls;
}

template <class Fn>
Fn next(const char *name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

orb_vm_error_callback orb_ewf_kernel_GetErrorCallBack(void) {
  static const auto real = next<orb_vm_error_callback (*)(void)>("orb_ewf_kernel_GetErrorCallBack");
  return real();
}
orb_vm_error_callback orb_ewf_kernel_SetErrorCallBack(orb_vm_error_callback cb) {
  static const auto real = next<orb_vm_error_callback (*)(orb_vm_error_callback)>("orb_ewf_kernel_SetErrorCallBack");
  count_set();
  return real(cb);
}
unsigned orb_ewf_kernel_GetMode(void) {
  static const auto real = next<unsigned (*)(void)>("orb_ewf_kernel_GetMode");
  return real();
}
unsigned orb_ewf_kernel_SetMode(unsigned mode) {
  static const auto real = next<unsigned (*)(unsigned)>("orb_ewf_kernel_SetMode");
  count_set();
  return real(mode);
}
void orb_ewf_kernel_SetInterfInputVectorPointer(const void *x) {
  static const auto real = next<void (*)(const void *)>("orb_ewf_kernel_SetInterfInputVectorPointer");
  {
    std::lock_guard<std::mutex> g(recorded().lock);
    ++recorded().set_calls;
    recorded().last_input[std::this_thread::get_id()] = x;
  }
  real(x);
}
int orb_ewf_kernel_GetErrStatus(void) {
  static const auto real = next<int (*)(void)>("orb_ewf_kernel_GetErrStatus");
  return real();
}
int orb_ewf_kernel_SetErrStatus(int status) {
  static const auto real = next<int (*)(int)>("orb_ewf_kernel_SetErrStatus");
  count_set();
  return real(status);
}

}  // extern "C"

namespace orb::test {
namespace {

const tbb::global_control kWorkers(tbb::global_control::max_allowed_parallelism, 4);

void *program() {
  static void *const handle = dlopen(nullptr, RTLD_LAZY);
  return handle;
}

int callback_a(const orb_vm_error_context *) { return 0; }

//! One piece as its kernel saw it.
struct Piece {
  int64_t begin;
  int count;
  std::thread::id thread;
  unsigned mode;
  orb_vm_error_callback callback;
  int status_on_entry;
};

struct Pieces {
  std::mutex lock;
  std::vector<Piece> seen;
  const double *base = nullptr;
  int64_t fail_at = -1;  //!< the piece holding this index ends with status 3
  void clear(const double *b, int64_t fail = -1) {
    seen.clear();
    base = b;
    fail_at = fail;
  }
  //! Sorted by start; true when they cover [0, n) once each.
  bool cover(int64_t n) {
    std::sort(seen.begin(), seen.end(), [](const Piece &a, const Piece &b) { return a.begin < b.begin; });
    int64_t next = 0;
    for (const Piece &p : seen) {
      if (p.begin != next || p.count < 1) return false;
      next += p.count;
    }
    return next == n;
  }
};
Pieces pieces;

int doubling(int n, const double *x, double *y) {
  const int64_t begin = x - pieces.base;
  {
    std::lock_guard<std::mutex> g(pieces.lock);
    pieces.seen.push_back({begin, n, std::this_thread::get_id(), orb_ewf_kernel_GetMode(),
                           orb_ewf_kernel_GetErrorCallBack(), orb_ewf_kernel_GetErrStatus()});
  }
  for (int i = 0; i < n; ++i) y[i] = 2 * x[i];
  const int status = pieces.fail_at >= begin && pieces.fail_at < begin + n ? 3 : 0;
  return orb_ewf_kernel_SetErrStatus(status);
}

int doubling_strided(int n, const double *x, int incx, double *y, int incy) {
  {
    std::lock_guard<std::mutex> g(pieces.lock);
    pieces.seen.push_back({(x - pieces.base) / incx, n, std::this_thread::get_id(), 0, nullptr, 0});
  }
  for (int i = 0; i < n; ++i) y[i * incy] = 2 * x[i * incx];
  return orb_ewf_kernel_SetErrStatus(0);
}

int run(int n, std::vector<double> &x, std::vector<double> &y, float cost, unsigned mode, int64_t fail_at = -1) {
  pieces.clear(x.data(), fail_at);
  orb_ewf_kernel_SetMode(mode);
  int status = 0;
  tbb::task_arena(4).execute(
      [&] { status = orb_ewf_serv_threader_d_1i_1o(&doubling, n, x.data(), y.data(), program(), nullptr, cost); });
  orb_ewf_kernel_SetMode(0);
  return status;
}

TEST(VectorThreader, GetMinNIsAlwaysOne) {
  int min_n = -5;
  EXPECT_EQ(orb_ewf_serv_GetMinN(&min_n), 1);
  EXPECT_EQ(min_n, 1);
}

TEST(VectorThreader, NinetyNineElementsRunOnTheCallerWithoutHandOver) {
  std::vector<double> x(99, 1.5), y(99);
  const int before = recorded().set_calls;
  // No handle at all: the short path never loads the entry points.
  pieces.clear(x.data(), 5);
  const int status = orb_ewf_serv_threader_d_1i_1o(&doubling, 99, x.data(), y.data(), nullptr, nullptr, 1.0f);
  EXPECT_EQ(status, 3);  // the kernel's own result
  ASSERT_EQ(pieces.seen.size(), 1u);
  EXPECT_EQ(pieces.seen[0].count, 99);
  EXPECT_EQ(pieces.seen[0].thread, std::this_thread::get_id());
  EXPECT_EQ(recorded().set_calls, before + 1);  // the kernel's own status only
  EXPECT_EQ(y[98], 3.0);
}

TEST(VectorThreader, HundredElementsGoThroughTheLoop) {
  std::vector<double> x(100, 1.0), y(100);
  const int before = recorded().set_calls;
  EXPECT_EQ(run(100, x, y, 1.0f, 0), 0);
  EXPECT_TRUE(pieces.cover(100));
  EXPECT_GT(recorded().set_calls, before + 4);  // the hand-over of at least one piece
  EXPECT_EQ(y[99], 2.0);
}

// Pieces of the simple splitter hold between half the grain and the grain:
// the runtime halves a range while it is longer than the grain.
struct GrainRow {
  float cost;
  int n, shortest, longest;
};
void PrintTo(const GrainRow &r, std::ostream *os) { *os << "cost " << r.cost << ", n " << r.n; }
class Grain : public ::testing::TestWithParam<GrainRow> {};

TEST_P(Grain, PiecesFollowTheCost) {
  const GrainRow row = GetParam();
  std::vector<double> x(row.n, 1.0), y(row.n);
  run(row.n, x, y, row.cost, ORB_VM_SPLIT_SIMPLE);
  ASSERT_TRUE(pieces.cover(row.n));
  for (const Piece &p : pieces.seen) {
    EXPECT_GE(p.count, row.shortest) << "piece at " << p.begin;
    EXPECT_LE(p.count, row.longest) << "piece at " << p.begin;
  }
}

INSTANTIATE_TEST_SUITE_P(VectorThreader, Grain,
                         ::testing::Values(GrainRow{1.0f, 40000, 5000, 10000},    // grain 10000
                                           GrainRow{100.0f, 40000, 50, 100},      // grain 100
                                           GrainRow{20000.0f, 3000, 1, 1}));      // grain 0: single elements

TEST(VectorThreader, TheModeChoosesTheSplitter) {
  const int n = 20000;
  std::vector<double> x(n, 1.0), y(n);
  run(n, x, y, 20000.0f, ORB_VM_SPLIT_STATIC);  // one piece per thread, whatever the grain
  ASSERT_TRUE(pieces.cover(n));
  EXPECT_LE(pieces.seen.size(), 8u);
  run(n, x, y, 20000.0f, ORB_VM_SPLIT_SIMPLE);
  EXPECT_EQ(pieces.seen.size(), static_cast<size_t>(n));
  for (unsigned mode : {0u, 0x30000u}) {  // the runtime's adaptive splitting
    run(n, x, y, 20000.0f, mode);
    ASSERT_TRUE(pieces.cover(n));
    EXPECT_LT(pieces.seen.size(), static_cast<size_t>(n));
  }
}

TEST(VectorThreader, EveryPieceGetsTheCallersModeCallbackAndAZeroStatus) {
  const int n = 40000;
  std::vector<double> x(n, 1.0), y(n);
  orb_ewf_kernel_SetErrorCallBack(&callback_a);
  orb_ewf_kernel_SetErrStatus(7);  // left over from earlier work: no piece sees it
  const unsigned mode = ORB_VM_SPLIT_SIMPLE | ORB_VM_LA;
  run(n, x, y, 100.0f, mode);
  orb_ewf_kernel_SetErrorCallBack(nullptr);
  ASSERT_TRUE(pieces.cover(n));
  for (const Piece &p : pieces.seen) {
    EXPECT_EQ(p.mode, mode);
    EXPECT_EQ(p.callback, &callback_a);
    EXPECT_EQ(p.status_on_entry, 0);
  }
}

TEST(VectorThreader, AZeroStatusNeverClearsAnotherPiecesStatus) {
  const int n = 40000;
  std::vector<double> x(n, 1.0), y(n);
  for (int64_t fail_at : {int64_t{0}, int64_t{n / 2}, int64_t{n - 1}}) {
    EXPECT_EQ(run(n, x, y, 100.0f, ORB_VM_SPLIT_SIMPLE, fail_at), 3) << fail_at;
    EXPECT_EQ(orb_ewf_kernel_GetErrStatus(), 3);  // the caller ends with the merged status
  }
  EXPECT_EQ(run(n, x, y, 100.0f, ORB_VM_SPLIT_SIMPLE), 0);
  EXPECT_EQ(orb_ewf_kernel_GetErrStatus(), 0);
}

TEST(VectorThreader, TheInputPointerIsClearedOnTheCaller) {
  const int n = 40000;
  std::vector<double> x(n, 1.0), y(n);
  std::thread([&] {  // a thread of its own: its last record is this call's
    pieces.clear(x.data());
    orb_ewf_serv_threader_d_1i_1o(&doubling, n, x.data(), y.data(), program(), nullptr, 100.0f);
    std::lock_guard<std::mutex> g(recorded().lock);
    auto it = recorded().last_input.find(std::this_thread::get_id());
    ASSERT_NE(it, recorded().last_input.end());
    EXPECT_EQ(it->second, nullptr);
  }).join();
}

TEST(VectorThreader, StridedPiecesStartAtTheirElement) {
  const int n = 5000;
  std::vector<double> x(3 * n), y(2 * n);
  for (int i = 0; i < 3 * n; ++i) x[i] = i;
  pieces.clear(x.data());
  orb_ewf_kernel_SetMode(ORB_VM_SPLIT_SIMPLE);
  tbb::task_arena(4).execute([&] {
    orb_ewf_serv_threader_d_1iI_1oI(&doubling_strided, n, x.data(), 3, y.data(), 2, program(), 100.0f);
  });
  orb_ewf_kernel_SetMode(0);
  ASSERT_TRUE(pieces.cover(n));
  EXPECT_GT(pieces.seen.size(), 1u);
  for (int i = 0; i < n; ++i) ASSERT_EQ(y[2 * i], 2.0 * (3 * i)) << i;
}

// Loading ends the process when it cannot find what it needs (in a process
// of its own).
TEST(VectorThreader, MissingEntryPointsEndTheProcess) {
  const ProbeResult none = run_probe({"ewf-load", "none"});
  EXPECT_EQ(none.exit_code, 2);
  EXPECT_NE(none.err.find("given no core library"), std::string::npos) << none.err;
  const ProbeResult libm = run_probe({"ewf-load", "libm.so.6"});
  EXPECT_EQ(libm.exit_code, 2);
  EXPECT_NE(libm.err.find("_ewfGetErrorCallBack"), std::string::npos) << libm.err;
  const ProbeResult core = run_probe({"ewf-load", "liborb_core.so.2"});
  EXPECT_EQ(core.exit_code, 0);
  EXPECT_EQ(field(core.out, "done"), "1");
}

}  // namespace
}  // namespace orb::test
