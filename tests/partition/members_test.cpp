// The worked table of a batch's member runs (thread/partition/members.cpp).
#include "cuts.hpp"
#include "partition/members.hpp"

namespace orb::test {
namespace {

struct MemberRow {
  int64_t members, budget;
  std::vector<int64_t> sizes;  // one per worker: W is sizes.size()
};

void PrintTo(const MemberRow &r, std::ostream *os) { *os << r.members << " members, budget " << r.budget; }

class MemberRuns : public ::testing::TestWithParam<MemberRow> {};

TEST_P(MemberRuns, ContiguousRunsOfAtLeast128OnTheBudget) {
  const MemberRow &row = GetParam();
  const int64_t w = thr::member_workers(row.members, row.budget);
  ASSERT_EQ(w, static_cast<int64_t>(row.sizes.size()));
  expect_cut(row.members, row.sizes, [&](int64_t i) { return thr::member_run(row.members, w, i); });
}

INSTANTIATE_TEST_SUITE_P(
    Table, MemberRuns,
    ::testing::Values(MemberRow{1000, 4, {250, 250, 250, 250}}, MemberRow{100, 8, {100}},
                      MemberRow{1000, 16, {125, 125, 125, 125, 125, 125, 125, 125}}, MemberRow{129, 4, {65, 64}},
                      MemberRow{257, 4, {86, 86, 85}}, MemberRow{128, 4, {128}}, MemberRow{0, 4, {}},
                      MemberRow{100000, 1, {100000}}));

}  // namespace
}  // namespace orb::test
