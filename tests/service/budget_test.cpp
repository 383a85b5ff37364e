// The per-thread budget and the hooks, in this process.
#include <orb/orb_service.h>

#include <gtest/gtest.h>

#include <ostream>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Budget, DefaultIsThePhysicalCoreCount) {
  const int cores = orb_serv_get_ncpus() * orb_serv_get_ncorespercpu();
  EXPECT_GE(cores, 1);
  EXPECT_EQ(orb_serv_get_max_threads(), cores);
  EXPECT_GE(orb_serv_get_nlogicalcores(), cores);
  EXPECT_EQ(orb_serv_get_ht(), orb_serv_get_nlogicalcores() != cores ? 1 : 0);
}

TEST(Budget, LocalSettingBelongsToTheCallingThread) {
  const int cores = orb_serv_get_max_threads();
  EXPECT_EQ(orb_serv_set_num_threads_local(3), 0);
  EXPECT_EQ(orb_serv_get_max_threads(), 3);
  int other = -1;
  std::thread([&] { other = orb_serv_get_max_threads(); }).join();
  EXPECT_EQ(other, cores);
  EXPECT_EQ(orb_serv_set_num_threads_local(0), 3);
  EXPECT_EQ(orb_serv_get_max_threads(), cores);
  // A negative setting clears the override as 0 does, and is not reported back.
  EXPECT_EQ(orb_serv_set_num_threads_local(-5), 0);
  EXPECT_EQ(orb_serv_get_max_threads(), cores);
  EXPECT_EQ(orb_serv_set_num_threads_local(0), 0);
}

TEST(Budget, ConcurrentThreadsKeepTheirOwnSettings) {
  constexpr int kThreads = 8;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 1; t <= kThreads; ++t) {
    threads.emplace_back([t, &wrong] {
      for (int i = 0; i < 2000; ++i) {
        orb_serv_set_num_threads_local(t);
        if (orb_serv_get_max_threads() != t) wrong++;
      }
      orb_serv_set_num_threads_local(0);
    });
  }
  for (auto &th : threads) th.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST(Budget, InertSettersChangeNothing) {
  const int before = orb_serv_get_max_threads();
  orb_serv_set_num_threads(7);
  orb_serv_set_dynamic(0);
  orb_serv_set_num_stripes(9);
  EXPECT_EQ(orb_serv_domain_set_num_threads(7, 1), 1);
  EXPECT_EQ(orb_serv_get_max_threads(), before);
  EXPECT_EQ(orb_serv_get_dynamic(), 1);
  EXPECT_EQ(orb_serv_get_num_stripes(), 1);
  for (int domain = 0; domain < 5; ++domain) EXPECT_EQ(orb_serv_domain_get_max_threads(domain), 1);
  EXPECT_EQ(orb_serv_omp_in_parallel(), 0);
  EXPECT_EQ(orb_serv_get_thread_layer(), 4);
}

// ---- hooks ----

std::vector<std::string> g_reports;
void recording_xerbla(const char *name, const int *info, int len) {
  g_reports.push_back(std::string(name, static_cast<size_t>(len)) + ":" + std::to_string(*info));
}
void other_xerbla(const char *, const int *, int) {}

class XerblaHook : public ::testing::Test {
 protected:
  orb_xerbla_fn saved_ = nullptr;
  void SetUp() override {
    saved_ = orb_serv_set_xerbla(nullptr);
    g_reports.clear();
  }
  void TearDown() override { orb_serv_set_xerbla(saved_); }
};

TEST_F(XerblaHook, SetReturnsThePreviousOrTheDefault) {
  EXPECT_EQ(orb_serv_set_xerbla(recording_xerbla), orb_serv_default_xerbla);
  EXPECT_EQ(orb_serv_set_xerbla(other_xerbla), recording_xerbla);
  EXPECT_EQ(orb_serv_set_xerbla(nullptr), other_xerbla);
}

TEST_F(XerblaHook, InterfaceInstallerNeverReplaces) {
  orb_serv_set_xerbla(recording_xerbla);
  orb_serv_set_xerbla_interface(other_xerbla);
  const int info = 4;
  orb_serv_xerbla("DGEMM", &info, 5);
  EXPECT_EQ(g_reports, std::vector<std::string>{"DGEMM:4"});
  orb_serv_set_xerbla(nullptr);
  orb_serv_set_xerbla_interface(recording_xerbla);  // empty slot: installs
  orb_serv_xerbla("DGEMV", &info, 5);
  EXPECT_EQ(g_reports.size(), 2u);
}

TEST_F(XerblaHook, NullArgumentsReportNothing) {
  orb_serv_set_xerbla(recording_xerbla);
  const int info = 1;
  orb_serv_xerbla(nullptr, &info, 3);
  orb_serv_xerbla("ABC", nullptr, 3);
  EXPECT_TRUE(g_reports.empty());
}

TEST_F(XerblaHook, CheckPtrReportsNullPointersWithTheirName) {
  orb_serv_set_xerbla(recording_xerbla);
  int x = 0;
  EXPECT_EQ(orb_serv_check_ptr(&x, "x"), 0);
  EXPECT_EQ(orb_serv_check_ptr(nullptr, nullptr), 1);
  EXPECT_TRUE(g_reports.empty());
  EXPECT_EQ(orb_serv_check_ptr(nullptr, "work_buffer"), 1);
  EXPECT_EQ(g_reports, std::vector<std::string>{"work_buffer:1102"});
  EXPECT_EQ(orb_serv_check_ptr_and_warn(nullptr, "quiet"), 1);
  EXPECT_EQ(orb_serv_check_ptr_and_warn(&x, "quiet"), 0);
  EXPECT_EQ(g_reports.size(), 1u);
}

int g_progress_calls = 0;
int recording_progress(int *thread, int *step, char *stage, int len) {
  ++g_progress_calls;
  return *thread + *step + len + (stage[0] == 'F' ? 100 : 0);
}

TEST(ProgressHook, PassesArgumentsThroughAndReturnsTheResult) {
  int thread = 1, step = 2;
  char stage[] = "FACTOR";
  orb_progress_fn saved = orb_serv_set_progress(nullptr);
  EXPECT_EQ(orb_serv_progress(&thread, &step, stage, 6), 0);  // none installed
  orb_serv_set_progress_interface(recording_progress);
  EXPECT_EQ(orb_serv_progress(&thread, &step, stage, 6), 109);
  EXPECT_EQ(orb_serv_set_progress_interface(nullptr), recording_progress);  // not replaced
  EXPECT_EQ(orb_serv_progress(&thread, &step, stage, 6), 109);
  EXPECT_EQ(g_progress_calls, 2);
  orb_serv_set_progress(saved);
}

struct PivotCase {
  double a;
  int replaced;
  double after;
};
void PrintTo(const PivotCase &c, std::ostream *os) { *os << c.a; }
class DefaultPivot : public ::testing::TestWithParam<PivotCase> {};

TEST_P(DefaultPivot, ReplacesOnlySmallPivots) {
  const double eps = 1e-8;
  double a = GetParam().a;
  EXPECT_EQ(orb_serv_kestrel_pivot(nullptr, &a, &eps), GetParam().replaced);
  EXPECT_EQ(a, GetParam().after);
  EXPECT_EQ(std::signbit(a), std::signbit(GetParam().after));
}

INSTANTIATE_TEST_SUITE_P(Values, DefaultPivot,
                         ::testing::Values(PivotCase{0.0, 1, -1e-8}, PivotCase{5e-9, 1, 1e-8},
                                           PivotCase{-5e-9, 1, -1e-8}, PivotCase{1e-8, 1, 1e-8},
                                           PivotCase{-1e-8, 1, -1e-8}, PivotCase{2e-8, 0, 2e-8},
                                           PivotCase{-3.0, 0, -3.0}));

int doubling_pivot(const void *, double *a, const double *) {
  *a *= 2;
  return 7;
}

TEST(PivotHook, InstalledCallbackReplacesTheDefault) {
  const double eps = 1.0;
  double a = 0.25;
  EXPECT_EQ(orb_serv_set_kestrel_pivot(doubling_pivot), orb_serv_default_kestrel_pivot);
  EXPECT_EQ(orb_serv_kestrel_pivot(nullptr, &a, &eps), 7);
  EXPECT_EQ(a, 0.5);
  EXPECT_EQ(orb_serv_set_kestrel_pivot_interface(nullptr), doubling_pivot);
  EXPECT_EQ(orb_serv_set_kestrel_pivot(nullptr), doubling_pivot);
}

}  // namespace
