// Strided batches: matrix i of a batch starts i * stride elements after the
// first.  The matrices are independent, but each is a copy bound by memory
// traffic, so this layer runs them one after another, in order, through the
// core's single-matrix routine, which checks and reports each on its own.
#include "trans/trans_precision.hpp"

#include <orb/orb_trans.h>

namespace orb::thr {

namespace {

//! Matrix i of a batch based at p; a missing base stays missing, so that the
//! routine reports it instead of receiving a made-up address.
template <class T>
T *nth(T *p, ORB_INT i, ORB_INT stride) {
  return p ? p + i * stride : nullptr;
}

template <class T>
void omatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A,
                            ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb, ORB_INT strideb, ORB_INT batch_size) {
  for (ORB_INT i = 0; i < batch_size; ++i)
    TransPrecision<T>::omatcopy(ordering, trans, rows, cols, alpha, nth(A, i, stridea), lda, nth(B, i, strideb), ldb);
}

template <class T>
void imatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB, ORB_INT lda,
                            ORB_INT ldb, ORB_INT stride, ORB_INT batch_size) {
  for (ORB_INT i = 0; i < batch_size; ++i)
    TransPrecision<T>::imatcopy(ordering, trans, rows, cols, alpha, nth(AB, i, stride), lda, ldb);
}

template <class T>
void omatadd_batch_strided(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, const T *A,
                           ORB_INT lda, ORB_INT stridea, const T *B, ORB_INT ldb, ORB_INT strideb, T *C, ORB_INT ldc,
                           ORB_INT stridec, ORB_INT batch_size, T alpha, T beta) {
  for (ORB_INT i = 0; i < batch_size; ++i)
    TransPrecision<T>::omatadd(ordering, transa, transb, rows, cols, alpha, nth(A, i, stridea), lda, beta,
                             nth(B, i, strideb), ldb, nth(C, i, stridec), ldc);
}

}  // namespace

}  // namespace orb::thr

#define ORB_TRANS_BATCH_STRIDED_PAR(p, P, T)                                                                          \
  extern "C" void orb_trans_orb_##p##omatcopy_batch_strided_par(                                                  \
      char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A, ORB_INT lda, ORB_INT stridea,    \
      T *B, ORB_INT ldb, ORB_INT strideb, ORB_INT batch_size) {                                                    \
    orb::thr::omatcopy_batch_strided<T>(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb,      \
                                        batch_size);                                                               \
  }                                                                                                                \
  extern "C" void orb_trans_orb_##p##imatcopy_batch_strided_par(char ordering, char trans, ORB_INT rows,          \
                                                                ORB_INT cols, T alpha, T *AB, ORB_INT lda,         \
                                                                ORB_INT ldb, ORB_INT stride, ORB_INT batch_size) { \
    orb::thr::imatcopy_batch_strided<T>(ordering, trans, rows, cols, alpha, AB, lda, ldb, stride, batch_size);    \
  }                                                                                                                \
  extern "C" void orb_trans_orb_##p##omatadd_batch_strided_par(                                                   \
      char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, const T *A, ORB_INT lda,                \
      ORB_INT stridea, const T *B, ORB_INT ldb, ORB_INT strideb, T *C, ORB_INT ldc, ORB_INT stridec,               \
      ORB_INT batch_size, T alpha, T beta) {                                                                       \
    orb::thr::omatadd_batch_strided<T>(ordering, transa, transb, rows, cols, A, lda, stridea, B, ldb, strideb, C,  \
                                       ldc, stridec, batch_size, alpha, beta);                                     \
  }
ORB_FOR_EACH_PRECISION(ORB_TRANS_BATCH_STRIDED_PAR)
