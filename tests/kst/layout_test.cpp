// The analysis's layout of the factor, read from the handle: the worked
// examples of docs/architecture.md to the letter, and the properties every
// layout must have on grids and random patterns (rows ascending with the
// supernode's own columns first, children's rows inside their parent's,
// pointers consistent with the widths).
#include <orb/orb_kestrel.h>

#include "kst/kst.hpp"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace orb::test {
namespace {

//! A pattern as CSR of the upper triangle, zero-based, 32-bit.
struct Pattern {
  explicit Pattern(int64_t rows) : n(rows) {}
  int64_t n;
  std::vector<int32_t> ptr{0}, col;
  void row(std::vector<int32_t> cols) {
    col.insert(col.end(), cols.begin(), cols.end());
    ptr.push_back(static_cast<int32_t>(col.size()));
  }
};

Pattern grid(int k) {
  Pattern p{k * k};
  for (int v = 0; v < k * k; ++v) {
    std::vector<int32_t> c{v};
    if (v % k + 1 < k) c.push_back(v + 1);
    if (v + k < k * k) c.push_back(v + k);
    p.row(c);
  }
  return p;
}

Pattern random_pattern(int64_t n, int per_row, uint32_t seed) {
  std::mt19937 gen(seed);
  Pattern p{n};
  for (int64_t i = 0; i < n; ++i) {
    std::vector<int32_t> c{static_cast<int32_t>(i)};
    for (int e = 0; e < per_row && i + 1 < n; ++e) c.push_back(static_cast<int32_t>(i + 1 + gen() % (n - i - 1)));
    p.row(c);
  }
  return p;
}

struct Analysed {
  orb_kestrel_handle h = nullptr;
  Analysed(const Pattern &p, int ordering, const int64_t *perm = nullptr) {
    orb_kestrel_options o;
    orb_kestrel_default_options(&o);
    o.ordering = ordering;
    o.permutation = perm;
    EXPECT_EQ(orb_kestrel_analyse(&h, p.n, p.ptr.data(), p.col.data(), &o), ORB_KESTREL_SUCCESS);
  }
  ~Analysed() { orb_kestrel_destroy(h); }
  const kst::Symbolic &s() const { return h->symbolic; }
  std::vector<int64_t> get(const kst::Owned<int64_t> &a, int64_t count) const {
    return std::vector<int64_t>(a.get(), a.get() + count);
  }
};

TEST(KestrelLayout, GridWithSeparatorLast) {
  const std::vector<int64_t> perm{0, 3, 6, 2, 5, 8, 1, 4, 7};
  Analysed a(grid(3), ORB_KESTREL_USER_ORDER, perm.data());
  ASSERT_NE(a.h, nullptr);
  const kst::Symbolic &s = a.s();
  EXPECT_EQ(a.get(s.perm, 9), perm);  // already a postorder
  ASSERT_EQ(s.supernodes, 2);
  EXPECT_EQ(a.get(s.super, 3), (std::vector<int64_t>{1, 4, 10}));
  EXPECT_EQ(a.get(s.row_ptr, 3), (std::vector<int64_t>{1, 7, 13}));
  EXPECT_EQ(a.get(s.rows, 12), (std::vector<int64_t>{1, 2, 3, 7, 8, 9, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(a.get(s.value_ptr, 3), (std::vector<int64_t>{1, 19, 55}));
  EXPECT_EQ(s.stats.factor_entries, 36);
}

TEST(KestrelLayout, TridiagonalChainsRelaxIntoTwo) {
  Pattern p{10};
  for (int i = 0; i < 10; ++i) p.row(i + 1 < 10 ? std::vector<int32_t>{i, i + 1} : std::vector<int32_t>{i});
  Analysed a(p, ORB_KESTREL_NATURAL);
  ASSERT_NE(a.h, nullptr);
  const kst::Symbolic &s = a.s();
  ASSERT_EQ(s.supernodes, 2);
  EXPECT_EQ(a.get(s.super, 3), (std::vector<int64_t>{1, 6, 11}));
  EXPECT_EQ(a.get(s.rows, 11), (std::vector<int64_t>{1, 2, 3, 4, 5, 6, 6, 7, 8, 9, 10}));
  EXPECT_EQ(s.stats.factor_entries, 35);
}

struct RelaxCase {
  int64_t width, stored, zeros;
  bool kept;
};
class KestrelRelax : public ::testing::TestWithParam<RelaxCase> {};
TEST_P(KestrelRelax, Rule) {
  const RelaxCase c = GetParam();
  EXPECT_EQ(kst::keep_merged(c.width, c.stored, c.zeros), c.kept);
}
INSTANTIATE_TEST_SUITE_P(Kestrel, KestrelRelax,
                         ::testing::Values(RelaxCase{4, 100, 80, true}, RelaxCase{4, 100, 81, false},
                                           RelaxCase{6, 27, 15, false}, RelaxCase{6, 21, 4, true},
                                           RelaxCase{16, 100, 50, true}, RelaxCase{17, 100, 11, false},
                                           RelaxCase{48, 100, 10, true}, RelaxCase{49, 100, 6, false},
                                           RelaxCase{200, 1000, 50, true}));

//! Every layout's properties, on the patterns and orderings of the table.
class KestrelLayoutProperties : public ::testing::TestWithParam<int> {};
TEST_P(KestrelLayoutProperties, Hold) {
  const int which = GetParam();
  const Pattern p = which == 0 ? grid(9) : which == 1 ? grid(20) : random_pattern(300, 2, which);
  Analysed a(p, which % 2 ? ORB_KESTREL_NATURAL : ORB_KESTREL_NESTED_DISSECTION);
  ASSERT_NE(a.h, nullptr);
  const kst::Symbolic &s = a.s();
  const int64_t n = s.n, ns = s.supernodes;
  std::set<int64_t> seen(s.perm.get(), s.perm.get() + n);
  EXPECT_EQ(static_cast<int64_t>(seen.size()), n);
  EXPECT_EQ(s.super[0], 1);
  EXPECT_EQ(s.super[ns], n + 1);
  for (int64_t t = 0; t < ns; ++t) {
    const int64_t w = s.super[t + 1] - s.super[t], r = s.row_ptr[t + 1] - s.row_ptr[t];
    ASSERT_GE(w, 1);
    ASSERT_GE(r, w);
    EXPECT_EQ(s.value_ptr[t + 1] - s.value_ptr[t], r * w);
    const int64_t *rows = s.rows.get() + s.row_ptr[t] - 1;
    for (int64_t i = 0; i < w; ++i) EXPECT_EQ(rows[i], s.super[t] + i);
    for (int64_t i = 1; i < r; ++i) EXPECT_LT(rows[i - 1], rows[i]);
    if (r == w) continue;
    // The rows below feed the supernode of the first one: all are among its rows.
    const int64_t parent = s.column_of[rows[w] - 1];
    EXPECT_GT(parent, t);
    const int64_t *prow = s.rows.get() + s.row_ptr[parent] - 1;
    const std::set<int64_t> mine(prow, prow + (s.row_ptr[parent + 1] - s.row_ptr[parent]));
    for (int64_t i = w; i < r; ++i) EXPECT_TRUE(mine.count(rows[i])) << "supernode " << t << " row " << rows[i];
  }
}
INSTANTIATE_TEST_SUITE_P(Kestrel, KestrelLayoutProperties, ::testing::Values(0, 1, 2, 3, 4, 5));

}  // namespace
}  // namespace orb::test
