// Conversions of an analysed record to the ESB (slices of 8 rows) and DIA
// (stored diagonals) layouts.  This build has neither layout yet: each
// conversion answers 6, and the analysis keeps the CSR record with its
// balanced partition, which is what it does whenever a conversion fails.
#include <orb/internal/orb_sparse_kernels.h>

#define ORB_SPARSE_CONVERT_ENTRIES(p, T, I, w)                                                  \
  extern "C" int32_t orb_sparse_##p##_convert_esb_##w(orb_sparse_matrix, int32_t) {             \
    return ORB_SPARSE_UNSUPPORTED;                                                              \
  }                                                                                             \
  extern "C" int32_t orb_sparse_##p##_convert_dia_##w(orb_sparse_matrix, int32_t) {             \
    return ORB_SPARSE_UNSUPPORTED;                                                              \
  }

ORB_SPARSE_EACH(ORB_SPARSE_CONVERT_ENTRIES)
