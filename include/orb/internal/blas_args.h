// The argument record of the threaded BLAS drivers.
//
// A driver fills one record on its own stack and hands a pointer to every
// worker of the call; the workers only read it.  Each field is one 64-bit
// word, in this order, whatever the precision: the pointers are untyped and
// each worker reads them as its own element type.  The level-1 drivers give
// the fields their own meanings (thread/blas/level1_frame.hpp).
#pragma once

#include <orb/orb_types.h>

//! Arguments of one threaded BLAS call, shared read-only by its workers.
struct blas_args_t {
  const char *transa;  //!< caller's character for op(A) (GEMV: its trans)
  const char *transb;  //!< caller's character for op(B) (TRSM: diag)
  const void *word2;   //!< TRSM, SYMM, HEMM: the caller's side; SYRK, HERK: uplo; GEMM leaves it unset
  const void *word3;   //!< TRSM, SYMM, HEMM: the caller's uplo; GEMM leaves it unset
  ORB_INT m;           //!< rows of C
  ORB_INT n;           //!< columns of C
  ORB_INT k;           //!< inner dimension
  const void *alpha;   //!< caller's alpha
  const void *beta;    //!< caller's beta
  const void *a;       //!< base of A
  const void *b;       //!< base of B (GEMV: x)
  void *c;             //!< base of C (GEMV: y; TRSM: B, solved in place)
  ORB_INT lda;         //!< leading dimension of A
  ORB_INT ldb;         //!< leading dimension of B (GEMV: increment of x)
  ORB_INT ldc;         //!< leading dimension of C (GEMV: increment of y)
  void *scratch;       //!< partial buffers of the split along k
  ORB_INT part_size;   //!< elements in one partial buffer (m * n)
  ORB_INT part_ld;     //!< leading dimension of every partial buffer (m)
};

static_assert(sizeof(blas_args_t) == 18 * 8, "one 64-bit word per field");
