// Batches: which single-matrix routine each matrix reaches, with which
// pointers and sizes, observed by interposing the core's double routines.
#include "trans_support.hpp"

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
  const int64_t rows64[] = {2, 9, 3}, cols64[] = {3, 9, 2}, lda64[] = {2, 9, 3}, ldb64[] = {3, 9, 4};
  const int32_t rows32[] = {2, 9, 3}, cols32[] = {3, 9, 2}, lda32[] = {2, 9, 3}, ldb32[] = {3, 9, 4};
  auto pick = [&](const int32_t *n32, const int64_t *n64) { return width == 1 ? (const void *)n32 : n64; };
  const char trans[] = {'T', 'N', 'T'};
  const double alpha[] = {2.0, 5.0, -1.0};
  const int64_t group_size[] = {2, 0, 3};
  std::vector<double> a(60, 1.0), b(60, 0.0);
  const double *A[5];
  double *B[5];
  for (int m = 0; m < 5; ++m) A[m] = &a[12 * m], B[m] = &b[12 * m];
  const auto calls = observe([&] {
    if (in_place)
      orb_trans_orb_dimatcopy_batch_par('C', trans, pick(rows32, rows64), pick(cols32, cols64), alpha, B,
                                        pick(lda32, lda64), pick(ldb32, ldb64), 3, group_size, width);
    else
      orb_trans_orb_domatcopy_batch_par('C', trans, pick(rows32, rows64), pick(cols32, cols64), alpha, A,
                                        pick(lda32, lda64), B, pick(ldb32, ldb64), 3, group_size, width);
  });
  ASSERT_EQ(calls.size(), 5u);
  for (int m = 0; m < 5; ++m) {
    const int g = m < 2 ? 0 : 2;
    EXPECT_EQ(calls[m].a, in_place ? (const void *)B[m] : A[m]) << "matrix " << m;
    EXPECT_EQ(calls[m].b, B[m]) << "matrix " << m;
    EXPECT_EQ(calls[m].trans, trans[g]);
    EXPECT_EQ(calls[m].alpha, alpha[g]);
    EXPECT_EQ(std::vector<int64_t>({calls[m].rows, calls[m].cols, calls[m].lda, calls[m].ldb}),
              std::vector<int64_t>({rows64[g], cols64[g], lda64[g], ldb64[g]}));
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

}  // namespace
}  // namespace orb::test
