// Threaded entries for one matrix.  Copies and additions are bound by memory
// traffic and this layer runs them sequentially: each entry hands its
// arguments to the core's routine and returns its result.
#include "trans/trans_precision.hpp"

#include <orb/orb_trans.h>

namespace orb::thr {

namespace {

template <class T>
int omatcopy2_par(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A, ORB_INT lda,
                  ORB_INT stridea, T *B, ORB_INT ldb, ORB_INT strideb) {
  return TransPrecision<T>::omatcopy2(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb);
}

template <class T>
int omatadd_par(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, T alpha, const T *A,
                ORB_INT lda, T beta, const T *B, ORB_INT ldb, T *C, ORB_INT ldc) {
  return TransPrecision<T>::omatadd_seq(ordering, transa, transb, rows, cols, alpha, A, lda, beta, B, ldb, C, ldc);
}

}  // namespace

}  // namespace orb::thr

// The square in-place transposition has no parallel form here: 0 tells the
// caller to run the sequential in-place routine, and the matrix is untouched.
#define ORB_TRANS_SINGLE_PAR(p, P, T)                                                                               \
  extern "C" int orb_trans_orb_##p##imatcopy_square_t_par(char, char, ORB_INT, ORB_INT, T, T *, ORB_INT,        \
                                                          ORB_INT) {                                             \
    return 0;                                                                                                    \
  }                                                                                                              \
  extern "C" int orb_trans_orb_##p##omatcopy2_par(char ordering, char trans, ORB_INT rows, ORB_INT cols,        \
                                                  T alpha, const T *A, ORB_INT lda, ORB_INT stridea, T *B,       \
                                                  ORB_INT ldb, ORB_INT strideb) {                                \
    return orb::thr::omatcopy2_par<T>(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb);     \
  }                                                                                                              \
  extern "C" int orb_trans_orb_##p##omatadd_par(char ordering, char transa, char transb, ORB_INT rows,          \
                                                ORB_INT cols, T alpha, const T *A, ORB_INT lda, T beta,          \
                                                const T *B, ORB_INT ldb, T *C, ORB_INT ldc) {                    \
    return orb::thr::omatadd_par<T>(ordering, transa, transb, rows, cols, alpha, A, lda, beta, B, ldb, C, ldc);  \
  }
ORB_FOR_EACH_PRECISION(ORB_TRANS_SINGLE_PAR)
