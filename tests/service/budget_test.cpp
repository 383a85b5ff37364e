// The per-thread budget, the error hook, the default error report and the
// default pivot, in this process.
#include <orb/orb_service.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <tuple>

#include "hooks.hpp"
#include "process.hpp"

namespace orb::test {
namespace {

TEST(Budget, DefaultIsThePhysicalCoreCount) {
  const int cores = orb_serv_get_ncpus() * orb_serv_get_ncorespercpu();
  EXPECT_GE(cores, 1);
  EXPECT_EQ(orb_serv_get_max_threads(), cores);
  EXPECT_GE(orb_serv_get_nlogicalcores(), cores);
  EXPECT_EQ(orb_serv_get_ht(), orb_serv_get_nlogicalcores() != cores ? 1 : 0);
  // The global setters are inert: each returns the value in force, which stays.
  EXPECT_EQ(orb_serv_set_num_threads(7), cores);
  EXPECT_EQ(orb_serv_domain_set_num_threads(7, 1), 1);
  EXPECT_EQ(orb_serv_set_dynamic(0), 1);
  EXPECT_EQ(orb_serv_set_num_stripes(4), 1);
  EXPECT_EQ(orb_serv_mpi_safe(), 0);
  EXPECT_EQ(orb_serv_get_max_threads(), cores);
  EXPECT_EQ(orb_serv_get_dynamic(), 1);
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
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 1; t <= 8; ++t)
    threads.emplace_back([t, &wrong] {
      for (int i = 0; i < 2000; ++i) {
        orb_serv_set_num_threads_local(t);
        if (orb_serv_get_max_threads() != t) wrong++;
      }
      orb_serv_set_num_threads_local(0);
    });
  for (auto &th : threads) th.join();
  EXPECT_EQ(wrong.load(), 0);
}

void other_xerbla(const char *, const int *, int) {}

// The interface's installer fills an empty slot only; null arguments and
// present pointers report nothing; a missing pointer is reported by its name.
TEST(XerblaHook, InterfaceInstallerNeverReplacesAndNullReportsNothing) {
  const int info = 4;
  {
    Reports reports;
    orb_serv_set_xerbla_interface(other_xerbla);
    orb_serv_xerbla("DGEMM", &info, 5);
    orb_serv_xerbla(nullptr, &info, 3);
    orb_serv_xerbla("ABC", nullptr, 3);
    int x = 0;
    EXPECT_EQ(orb_serv_check_ptr(&x, "x"), 0);
    EXPECT_EQ(orb_serv_check_ptr(nullptr, nullptr), 1);
    EXPECT_EQ(orb_serv_check_ptr(nullptr, "work_buffer"), 1);
    EXPECT_EQ(orb_serv_check_ptr_and_warn(nullptr, "quiet"), 1);
    EXPECT_EQ(Reports::taken(), (Reports::Log{{"DGEMM", 4}, {"work_buffer", 1102}}));
  }
  const orb_xerbla_fn saved = orb_serv_set_xerbla(nullptr);
  orb_serv_set_xerbla_interface(Reports::record);  // empty slot: installs
  EXPECT_EQ(orb_serv_set_xerbla(saved), Reports::record);
}

// The catalogued message of each code; the name is cut at 20 characters and
// at len, and a negative len prints nothing.
TEST(DefaultXerbla, PrintsTheCataloguedMessage) {
  const std::tuple<const char *, int, int, std::string> cases[] = {
      {"DGEMM", 3, 5, "parameter 3 was incorrect on entry to DGEMM"},
      {"DGEMM", -4, 5, "internal error 4 was reported by DGEMM"},
      {"DGEMM", 1000, 5, "not enough memory to run DGEMM"},
      {"DGETRF", 1001, 6, "DGETRF cannot run"},
      {"ptr_a", 1102, 5, "(ptr_a) is null"},
      {"SGEMM", 1225, 5, "SGEMM: a size exceeds"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ", 2, 26, "entry to ABCDEFGHIJKLMNOPQRST\n"},
      {"DGEMMXYZ", 2, 5, "entry to DGEMM\n"},
      {"DGEMM", 2, -1, ""}};
  for (const auto &[name, info, len, expected] : cases) {
    OutputCapture capture;
    orb_serv_default_xerbla(name, &info, len);
    capture.finish();
    const std::string &out = capture.out();
    EXPECT_EQ(out.empty(), expected.empty()) << out;
    EXPECT_NE(out.find(expected.empty() ? "" : "orb: error report"), std::string::npos) << out;
    EXPECT_NE(out.find(expected), std::string::npos) << out;
  }
}

// Pivots no larger than eps in magnitude become eps with their sign (zero: -eps).
TEST(DefaultPivot, ReplacesOnlySmallPivots) {
  const double eps = 1e-8;
  const std::tuple<double, int, double> cases[] = {{0.0, 1, -1e-8},  {5e-9, 1, 1e-8}, {-5e-9, 1, -1e-8},
                                                   {1e-8, 1, 1e-8},  {-1e-8, 1, -1e-8}, {2e-8, 0, 2e-8},
                                                   {-3.0, 0, -3.0}};
  for (auto [a, replaced, after] : cases) {
    const double before = a;
    EXPECT_EQ(orb_serv_kestrel_pivot(nullptr, &a, &eps), replaced) << before;
    EXPECT_EQ(a, after) << before;
    EXPECT_EQ(std::signbit(a), std::signbit(after)) << before;
  }
}

}  // namespace
}  // namespace orb::test
