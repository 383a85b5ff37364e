// Shared pieces of the copy and transposition tests: the routines of each
// precision, test values, and what the layer asks of the core.
#pragma once

#include <orb/orb_trans.h>

#include "dense.hpp"
#include "hooks.hpp"

#include <functional>
#include <map>
#include <string>

namespace orb::test {

template <class T>
struct Api;
#define ORB_TEST_API(p, T, tolerance)                                           \
  template <>                                                                   \
  struct Api<T> {                                                               \
    static constexpr double tol = tolerance;                                    \
    static constexpr auto omatcopy = &orb_trans_orb_##p##omatcopy;              \
    static constexpr auto omatcopy2 = &orb_trans_orb_##p##omatcopy2_par;        \
    static constexpr auto imatcopy = &orb_##p##imatcopy;                        \
    static constexpr auto square_t = &orb_trans_orb_##p##imatcopy_square_t_par; \
    static constexpr auto omatadd = &orb_trans_orb_##p##omatadd_par;            \
  };
ORB_TEST_API(s, float, 1e-5)
ORB_TEST_API(d, double, 1e-13)
ORB_TEST_API(c, ORB_Complex8, 1e-5)
ORB_TEST_API(z, ORB_Complex16, 1e-13)
#undef ORB_TEST_API

//! Distinct values, with an imaginary part for the complex types.
template <class T>
T value(int k) { return narrow<T>(cld(k + 1.25, -0.5 - k % 7)); }
//! op(x) of one element: conjugated for 'R' and 'C'.
inline cld apply(char trans, cld x) { return trans == 'R' || trans == 'C' ? std::conj(x) : x; }
inline bool transposes(char trans) { return trans == 'T' || trans == 'C'; }
//! Offset of element (i, j) for an ordering, leading dimension and line stride.
inline int64_t at(char ord, int64_t ld, int64_t i, int64_t j, int64_t stride = 1) {
  return ord == 'R' ? i * ld + j * stride : i * stride + j * ld;
}

//! buf holds `want` at its offsets and, given a sentinel, the sentinel
//! everywhere else (without one, other offsets are not looked at).
template <class T>
void expect_exactly(const std::vector<T> &buf, const std::map<int64_t, cld> &want, const T *sentinel,
                    const std::string &what) {
  int wrong = 0;
  for (int64_t k = 0; k < static_cast<int64_t>(buf.size()); ++k) {
    const auto it = want.find(k);
    if (it == want.end() && !sentinel) continue;
    const cld got = wide(buf[k]), expected = it == want.end() ? wide(*sentinel) : it->second;
    if (std::abs(got - expected) > Api<T>::tol * (1 + std::abs(expected)) && ++wrong <= 3)
      ADD_FAILURE() << what << ": offset " << k << " holds " << got << ", expected " << expected;
  }
  EXPECT_EQ(wrong, 0) << what;
}

//! A call of the core's double routines, recorded by the interposers.
struct CoreCall {
  std::string routine;
  char trans;
  int64_t rows, cols, lda, ldb;
  double alpha;
  const void *a, *b;
};
//! The core calls made while f runs.
std::vector<CoreCall> observe(const std::function<void()> &f);
extern bool fail_scratch;  //!< orb_serv_malloc returns NULL while set

}  // namespace orb::test
