// What the transposition layer asks of the core, observed by interposing
// the core's double routines and scratch allocator (they record each call,
// then forward it): the routine each matrix of a batch reaches, with which
// pointers and sizes; and the reports of illegal arguments.
#include <gtest/gtest.h>
#include <orb/orb_trans.h>

#include <functional>

#include "hooks.hpp"

namespace orb::test {
namespace {

//! A call of the core's double routines, recorded by the interposers.
struct CoreCall {
  std::string routine;
  char trans;
  int64_t rows, cols, lda, ldb;
  double alpha;
  const void *a, *b;
};
bool recording = false, fail_scratch = false;  // fail_scratch: orb_serv_malloc returns NULL
std::vector<CoreCall> calls;

void record(CoreCall call) {
  if (recording) calls.push_back(std::move(call));
}

//! The core calls made while f runs.
std::vector<CoreCall> observe(const std::function<void()> &f) {
  calls.clear();
  recording = true;
  f();
  recording = false;
  return calls;
}

}  // namespace
}  // namespace orb::test

using orb::test::record;

extern "C" int orb_trans_orb_domatcopy(char o, char t, ORB_INT r, ORB_INT c, double alpha, const double *A,
                                       ORB_INT lda, double *B, ORB_INT ldb) {
  static const auto real = ORB_TEST_NEXT(orb_trans_orb_domatcopy);
  record({"omatcopy", t, r, c, lda, ldb, alpha, A, B});
  return real(o, t, r, c, alpha, A, lda, B, ldb);
}

extern "C" int orb_trans_orb_dimatcopy(char o, char t, ORB_INT r, ORB_INT c, double alpha, double *AB, ORB_INT lda,
                                       ORB_INT ldb) {
  static const auto real = ORB_TEST_NEXT(orb_trans_orb_dimatcopy);
  record({"imatcopy", t, r, c, lda, ldb, alpha, AB, AB});
  return real(o, t, r, c, alpha, AB, lda, ldb);
}

#define ORB_RECORD_OMATADD(name)                                                                                  \
  extern "C" int name(char o, char ta, char tb, ORB_INT r, ORB_INT c, double alpha, const double *A, ORB_INT lda, \
                      double beta, const double *B, ORB_INT ldb, double *C, ORB_INT ldc) {                       \
    static const auto real = ORB_TEST_NEXT(name);                                                                \
    record({#name, ta, r, c, lda, ldb, alpha, A, C});                                                            \
    return real(o, ta, tb, r, c, alpha, A, lda, beta, B, ldb, C, ldc);                                           \
  }
ORB_RECORD_OMATADD(orb_trans_orb_domatadd)
ORB_RECORD_OMATADD(orb_trans_orb_domatadd_seq)

extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) {
  static const auto real = ORB_TEST_NEXT(orb_serv_malloc);
  return orb::test::fail_scratch ? nullptr : real(bytes, alignment);
}

namespace orb::test {
namespace {

TEST(StridedBatch, EachMatrixAtItsStride) {
  // Three 2 x 3 column-major matrices 10 elements apart, transposed into
  // blocks 8 apart; the gaps between blocks stay untouched.
  std::vector<double> A(30), B(24, -1.0);
  for (int k = 0; k < 30; ++k) A[k] = k;
  auto batch = [&](ORB_INT size) {
    return observe([&] { orb_trans_orb_domatcopy_batch_strided_par('C', 'T', 2, 3, 2.0, A.data(), 2, 10, B.data(), 3, 8, size); });
  };
  EXPECT_TRUE(batch(0).empty());
  const auto calls = batch(3);
  ASSERT_EQ(calls.size(), 3u);
  for (int m = 0; m < 3; ++m) {
    EXPECT_EQ(calls[m].a, A.data() + 10 * m);
    EXPECT_EQ(calls[m].b, B.data() + 8 * m);
    for (int i = 0; i < 2; ++i)
      for (int j = 0; j < 3; ++j) EXPECT_EQ(B[8 * m + j + 3 * i], 2.0 * A[10 * m + i + 2 * j]);
    EXPECT_EQ(B[8 * m + 6] + B[8 * m + 7], -2.0);
  }
  // The addition batch loops over orb_trans_orb_domatadd, the single entry
  // calls the _seq routine.
  const auto adds = observe([&] {
    orb_trans_orb_domatadd_batch_strided_par('R', 'N', 'T', 2, 2, A.data(), 2, 4, A.data(), 2, 5, B.data(), 2, 6, 2, 1.0, 1.0);
    orb_trans_orb_domatadd_par('R', 'N', 'N', 2, 2, 1.0, A.data(), 2, 1.0, A.data(), 2, B.data(), 2);
  });
  ASSERT_EQ(adds.size(), 3u);
  EXPECT_EQ(adds[1].a, A.data() + 4);
  EXPECT_EQ(adds[1].b, B.data() + 6);
  EXPECT_EQ(adds[1].routine, "orb_trans_orb_domatadd");
  EXPECT_EQ(adds[2].routine, "orb_trans_orb_domatadd_seq");
}

// Groups of sizes {2, 0, 3}: the empty group takes no pointer entries, the
// last one entries 2, 3 and 4.  Width codes 0 and 2 read 64-bit sizes, 1
// 32-bit ones; the in-place batch walks its one array alike.
class GroupBatch : public ::testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(GroupBatch, WalksPointersAcrossGroups) {
  const auto [width, in_place] = GetParam();
  // rows, cols, lda and ldb of each group, in both widths
  const int64_t n64[4][3] = {{2, 9, 3}, {3, 9, 2}, {2, 9, 3}, {3, 9, 4}};
  int32_t n32[4][3];
  for (int v = 0; v < 12; ++v) n32[v / 3][v % 3] = static_cast<int32_t>(n64[v / 3][v % 3]);
  auto pick = [&](int v) { return width == 1 ? (const void *)n32[v] : n64[v]; };
  const char trans[] = {'T', 'N', 'T'};
  const double alpha[] = {2.0, 5.0, -1.0};
  const int64_t group_size[] = {2, 0, 3};
  std::vector<double> a(60, 1.0), b(60, 0.0);
  const double *A[5];
  double *B[5];
  for (int m = 0; m < 5; ++m) A[m] = &a[12 * m], B[m] = &b[12 * m];
  const auto calls = observe([&] {
    if (in_place)
      orb_trans_orb_dimatcopy_batch_par('C', trans, pick(0), pick(1), alpha, B, pick(2), pick(3), 3, group_size, width);
    else
      orb_trans_orb_domatcopy_batch_par('C', trans, pick(0), pick(1), alpha, A, pick(2), B, pick(3), 3, group_size, width);
  });
  ASSERT_EQ(calls.size(), 5u);
  for (int m = 0; m < 5; ++m) {
    const int g = m < 2 ? 0 : 2;
    EXPECT_EQ(calls[m].a, in_place ? (const void *)B[m] : A[m]) << "matrix " << m;
    EXPECT_EQ(calls[m].b, B[m]) << "matrix " << m;
    EXPECT_EQ(calls[m].trans, trans[g]);
    EXPECT_EQ(calls[m].alpha, alpha[g]);
    EXPECT_EQ(std::vector<int64_t>({calls[m].rows, calls[m].cols, calls[m].lda, calls[m].ldb}),
              std::vector<int64_t>({n64[0][g], n64[1][g], n64[2][g], n64[3][g]}));
  }
  EXPECT_EQ(b[12 * 4 + 1], in_place ? 0.0 : -1.0);  // -op(A)(1, 0), or in place of zeros
}

INSTANTIATE_TEST_SUITE_P(Widths, GroupBatch, ::testing::Combine(::testing::Values(0, 1, 2), ::testing::Bool()));

TEST(GroupBatch, UnknownWidthReportsEveryMatrix) {
  const int64_t sizes[] = {3, 3, 3}, group_size[] = {2, -4, 1};  // a negative group takes no entries
  const char trans[] = {'N', 'N', 'T'};
  const double alpha[] = {1, 1, 1};
  std::vector<double> buf(9, 4.0);
  const double *A[] = {buf.data(), buf.data(), buf.data()};
  double *B[] = {buf.data(), buf.data(), buf.data()};
  for (int width : {3, -1}) {
    Reports reports;
    const auto calls = observe(
        [&] { orb_trans_orb_domatcopy_batch_par('C', trans, sizes, sizes, alpha, A, sizes, B, sizes, 3, group_size, width); });
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[2].trans, 'T');
    for (const auto &c : calls) EXPECT_EQ(c.rows, -1);
    EXPECT_EQ(Reports::taken(), (Reports::Log(3, {"DOMATCOPY", 3})));
    EXPECT_EQ(buf, std::vector<double>(9, 4.0));
  }
  EXPECT_TRUE(observe([&] {
    orb_trans_orb_domatcopy_batch_par('C', trans, sizes, sizes, alpha, A, sizes, B, sizes, 0, group_size, 0);
  }).empty());
}

// What only the batch entry points can check - counts, group sizes, arrays -
// is reported under their own names before any matrix is touched.
TEST(BatchEntry, ReportsBeforeAnyMatrix) {
  double buf[4] = {};
  double *B[] = {buf};
  const double *A[] = {buf};
  const int64_t one[] = {1}, sizes[] = {1, -1};
  const double alpha[] = {1};
  const std::pair<std::function<void()>, std::pair<std::string, int>> cases[] = {
      {[&] { orb_domatcopy_batch_strided('C', 'N', 1, 1, 1, buf, 1, 1, buf, 1, 1, -1); }, {"orb_domatcopy_batch_strided", 12}},
      {[&] { orb_domatcopy_batch('C', "N", one, one, alpha, nullptr, one, B, one, 1, one); }, {"orb_domatcopy_batch", 6}},
      {[&] { orb_domatcopy_batch('C', "N", one, one, alpha, A, one, B, one, -1, one); }, {"orb_domatcopy_batch", 10}},
      {[&] { orb_domatcopy_batch('C', "NN", one, one, alpha, A, one, B, one, 2, sizes); }, {"orb_domatcopy_batch", 11}},
      {[&] { orb_dimatcopy_batch('C', "N", one, one, alpha, B, one, nullptr, 1, one); }, {"orb_dimatcopy_batch", 8}},
  };
  for (const auto &[call, report] : cases) {
    Reports reports;
    EXPECT_TRUE(observe(call).empty()) << report.first << " " << report.second;
    EXPECT_EQ(Reports::taken(), Reports::Log(1, report));
  }
}

// Illegal arguments: the first one is reported by position and nothing is
// written; empty matrices need no storage and report nothing.

struct IllegalCase {
  const char *label;
  std::function<int(const double *, double *)> call;  // source, destination
  const char *routine;
  int info;
};

void PrintTo(const IllegalCase &c, std::ostream *os) { *os << c.label; }
class IllegalArgument : public ::testing::TestWithParam<IllegalCase> {};

TEST_P(IllegalArgument, IsReportedAndNothingIsWritten) {
  const IllegalCase &c = GetParam();
  std::vector<double> A(64), B(64, -5.0);
  for (int k = 0; k < 64; ++k) A[k] = k + 1;
  Reports reports;
  EXPECT_EQ(c.call(A.data(), B.data()), c.info);
  EXPECT_EQ(Reports::taken(), (c.info ? Reports::Log{{c.routine, c.info}} : Reports::Log{}));
  for (int k = 0; k < 64; ++k) ASSERT_EQ(B[k], -5.0) << "offset " << k << " written";
  for (int k = 0; k < 64; ++k) ASSERT_EQ(A[k], k + 1.0) << "source offset " << k << " written";
}

// 3 x 4 column-major source unless the case says otherwise.
const IllegalCase kIllegal[] = {
    {"ordering", [](auto A, auto B) { return orb_trans_orb_domatcopy('X', 'N', 3, 4, 1, A, 3, B, 3); }, "DOMATCOPY", 1},
    {"trans", [](auto A, auto B) { return orb_trans_orb_domatcopy('C', 'Q', 3, 4, 1, A, 3, B, 3); }, "DOMATCOPY", 2},
    {"rows", [](auto A, auto B) { return orb_trans_orb_domatcopy('C', 'N', -1, 4, 1, A, 3, B, 3); }, "DOMATCOPY", 3},
    {"first_of_two", [](auto A, auto B) { return orb_trans_orb_domatcopy('x', 'N', -1, 4, 1, A, 3, B, 3); }, "DOMATCOPY", 1},
    {"A_null", [](auto, auto B) { return orb_trans_orb_domatcopy('C', 'N', 3, 4, 1, nullptr, 3, B, 3); }, "DOMATCOPY", 6},
    {"lda_col", [](auto A, auto B) { return orb_trans_orb_domatcopy('C', 'N', 3, 4, 1, A, 2, B, 3); }, "DOMATCOPY", 7},
    {"B_null", [](auto A, auto) { return orb_trans_orb_domatcopy('C', 'N', 3, 4, 1, A, 3, nullptr, 3); }, "DOMATCOPY", 8},
    {"ldb_transposed", [](auto A, auto B) { return orb_trans_orb_domatcopy('C', 'T', 3, 4, 1, A, 3, B, 3); }, "DOMATCOPY", 9},
    {"lda2", [](auto A, auto B) { return orb_trans_orb_domatcopy2_seq('C', 'N', 3, 4, 1, A, 0, 1, B, 3, 1); }, "DOMATCOPY2", 7},
    {"stridea", [](auto A, auto B) { return orb_trans_orb_domatcopy2_seq('C', 'N', 3, 4, 1, A, 3, 0, B, 3, 1); }, "DOMATCOPY2", 8},
    {"strideb", [](auto A, auto B) { return orb_trans_orb_domatcopy2_seq('C', 'N', 3, 4, 1, A, 3, 1, B, 3, -1); }, "DOMATCOPY2", 11},
    {"in_place_null", [](auto, auto) { return orb_trans_orb_dimatcopy('C', 'T', 3, 4, 1, nullptr, 3, 4); }, "DIMATCOPY", 6},
    {"in_place_lda", [](auto, auto B) { return orb_trans_orb_dimatcopy('R', 'T', 3, 4, 1, B, 3, 3); }, "DIMATCOPY", 7},
    {"in_place_ldb", [](auto, auto B) { return orb_trans_orb_dimatcopy('C', 'T', 3, 4, 1, B, 3, 3); }, "DIMATCOPY", 8},
    {"add_transb", [](auto A, auto B) { return orb_trans_orb_domatadd_seq('C', 'N', 'x', 3, 4, 1, A, 3, 1, A, 3, B, 3); }, "DOMATADD", 3},
    {"add_lda", [](auto A, auto B) { return orb_trans_orb_domatadd_seq('C', 'T', 'N', 3, 4, 1, A, 3, 1, A, 3, B, 3); }, "DOMATADD", 8},
    {"add_B_null", [](auto A, auto B) { return orb_trans_orb_domatadd_seq('C', 'N', 'N', 3, 4, 1, A, 3, 1, nullptr, 3, B, 3); }, "DOMATADD", 10},
    {"add_ldc", [](auto A, auto B) { return orb_trans_orb_domatadd_seq('R', 'N', 'C', 3, 4, 1, A, 4, 1, A, 3, B, 3); }, "DOMATADD", 13},
    {"c_name", [](auto, auto) { return orb_trans_orb_comatadd('C', 'N', 'N', 1, 1, {}, nullptr, 1, {}, nullptr, 1, nullptr, 1); }, "COMATADD", 7},
    {"z_name", [](auto, auto) { return orb_trans_orb_zimatcopy('R', 'N', 1, 2, {}, nullptr, 2, 2); }, "ZIMATCOPY", 6},
    {"empty_copy", [](auto, auto) { return orb_trans_orb_domatcopy('C', 'T', 0, 5, 1, nullptr, 1, nullptr, 5); }, "", 0},
    {"empty_in_place", [](auto, auto) { return orb_trans_orb_dimatcopy('R', 'N', 4, 0, 1, nullptr, 1, 1); }, "", 0},
    {"empty_add", [](auto, auto) { return orb_trans_orb_domatadd('R', 'N', 'T', 0, 0, 1, nullptr, 1, 1, nullptr, 1, nullptr, 1); }, "", 0},
};

INSTANTIATE_TEST_SUITE_P(Cases, IllegalArgument, ::testing::ValuesIn(kIllegal),
                         [](const auto &info) { return std::string(info.param.label); });

// An in-place copy without scratch reports 1000 and keeps its matrix.
TEST(InPlaceScratch, FailureReportsAndKeepsTheMatrix) {
  std::vector<double> AB(15);
  for (int k = 0; k < 15; ++k) AB[k] = k;
  Reports reports;
  fail_scratch = true;
  const int rectangular = orb_trans_orb_dimatcopy('C', 'T', 3, 5, 2, AB.data(), 3, 5);
  const int square = orb_trans_orb_dimatcopy('C', 'T', 3, 3, 1, AB.data(), 3, 3);  // needs no scratch
  fail_scratch = false;
  EXPECT_EQ(rectangular, 1000);
  EXPECT_EQ(square, 0);
  EXPECT_EQ(Reports::taken(), (Reports::Log{{"DIMATCOPY", 1000}}));
  // The square transposition ran; the rest was left as it was.
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(AB[i + 3 * j], j + 3 * i);
  for (int k = 9; k < 15; ++k) EXPECT_EQ(AB[k], k);
}

}  // namespace
}  // namespace orb::test
