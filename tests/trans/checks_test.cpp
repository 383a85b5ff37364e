// Illegal arguments: the first one is reported by position and nothing is
// written; an in-place copy without scratch reports 1000 and keeps its matrix.
#include "trans_support.hpp"

#include <functional>

namespace orb::test {
namespace {

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
  EXPECT_EQ(Reports::taken(), (Reports::Log{{c.routine, c.info}}));
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
};

INSTANTIATE_TEST_SUITE_P(Cases, IllegalArgument, ::testing::ValuesIn(kIllegal),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(IllegalArgument, EmptyMatricesNeedNoStorage) {
  Reports reports;
  EXPECT_EQ(orb_trans_orb_domatcopy('C', 'T', 0, 5, 1, nullptr, 1, nullptr, 5), 0);
  EXPECT_EQ(orb_trans_orb_dimatcopy('R', 'N', 4, 0, 1, nullptr, 1, 1), 0);
  EXPECT_EQ(orb_trans_orb_domatadd('R', 'N', 'T', 0, 0, 1, nullptr, 1, 1, nullptr, 1, nullptr, 1), 0);
  EXPECT_TRUE(Reports::taken().empty());
}

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
