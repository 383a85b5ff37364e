// Interposers of the core's double routines and scratch allocator: they
// record what the threading layer asks for, then forward to the real ones.
#include "trans_support.hpp"

namespace orb::test {
bool fail_scratch = false;
namespace {
bool recording = false;
std::vector<CoreCall> calls;
}  // namespace
std::vector<CoreCall> observe(const std::function<void()> &f) {
  calls.clear();
  recording = true;
  f();
  recording = false;
  return calls;
}
void record(CoreCall call) {
  if (recording) calls.push_back(std::move(call));
}
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
