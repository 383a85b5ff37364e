// Group batches: groups of matrices that share their transposition code,
// scalar and sizes, run group by group and matrix by matrix, in order,
// through the core's single-matrix routine.
//
// The size arrays hold one entry per group in the caller's integer width
// (width code 1: int32_t; 0 or 2: int64_t).  The matrix pointer arrays hold
// one entry per matrix and run on across groups: with group sizes {2, 3},
// group 0 takes entries 0 and 1, group 1 entries 2, 3 and 4.
#include "trans/trans_precision.hpp"

#include <orb/orb_trans.h>

#include <cstdint>

namespace orb::thr {

namespace {

//! Entry g of a size array of the given width code; an unknown width gives
//! -1 for every size, which the single-matrix routine reports as illegal.
ORB_INT size_at(const void *array, ORB_INT g, int width) {
  switch (width) {
    case 1: return static_cast<const int32_t *>(array)[g];
    case 0:
    case 2: return static_cast<const int64_t *>(array)[g];
    default: return -1;
  }
}

//! Sizes of one group, as read from the caller's arrays.
struct GroupSizes {
  ORB_INT rows, cols, lda, ldb;
};

//! Whether the walk can read every array it needs: with a known width the
//! size arrays are read, and without the others there is no batch to run.
bool arrays_present(const char *trans, const void *rows, const void *cols, const void *alpha, const void *A,
                    const void *lda, const void *B, const void *ldb, const ORB_INT *group_size, int width) {
  const bool sizes_read = width == 0 || width == 1 || width == 2;
  return trans && alpha && A && B && group_size && (!sizes_read || (rows && cols && lda && ldb));
}

//! Runs matrix(first + k, g, sizes) for every matrix k of every group g, first
//! being the number of matrices in the groups before g.
template <class Matrix>
void walk_groups(const void *rows, const void *cols, const void *lda, const void *ldb, ORB_INT group_count,
                 const ORB_INT *group_size, int width, Matrix &&matrix) {
  ORB_INT first = 0;
  for (ORB_INT g = 0; g < group_count; ++g) {
    const GroupSizes sizes{size_at(rows, g, width), size_at(cols, g, width), size_at(lda, g, width),
                           size_at(ldb, g, width)};
    const ORB_INT count = group_size[g] > 0 ? group_size[g] : 0;
    for (ORB_INT k = 0; k < count; ++k) matrix(first + k, g, sizes);
    first += count;
  }
}

template <class T>
void omatcopy_batch(char ordering, const char *trans, const void *rows, const void *cols, const T *alpha,
                    const T *const *A, const void *lda, T *const *B, const void *ldb, ORB_INT group_count,
                    const ORB_INT *group_size, int width) {
  if (group_count <= 0 || !arrays_present(trans, rows, cols, alpha, A, lda, B, ldb, group_size, width)) return;
  walk_groups(rows, cols, lda, ldb, group_count, group_size, width, [&](ORB_INT m, ORB_INT g, const GroupSizes &s) {
    TransPrecision<T>::omatcopy(ordering, trans[g], s.rows, s.cols, alpha[g], A[m], s.lda, B[m], s.ldb);
  });
}

template <class T>
void imatcopy_batch(char ordering, const char *trans, const void *rows, const void *cols, const T *alpha,
                    T *const *AB, const void *lda, const void *ldb, ORB_INT group_count, const ORB_INT *group_size,
                    int width) {
  if (group_count <= 0 || !arrays_present(trans, rows, cols, alpha, AB, lda, AB, ldb, group_size, width)) return;
  walk_groups(rows, cols, lda, ldb, group_count, group_size, width, [&](ORB_INT m, ORB_INT g, const GroupSizes &s) {
    TransPrecision<T>::imatcopy(ordering, trans[g], s.rows, s.cols, alpha[g], AB[m], s.lda, s.ldb);
  });
}

}  // namespace

}  // namespace orb::thr

#define ORB_TRANS_BATCH_GROUP_PAR(p, P, T)                                                                          \
  extern "C" void orb_trans_orb_##p##omatcopy_batch_par(                                                        \
      char ordering, const char *trans_array, const void *rows_array, const void *cols_array,                    \
      const T *alpha_array, const T *const *A_array, const void *lda_array, T *const *B_array,                   \
      const void *ldb_array, ORB_INT group_count, const ORB_INT *group_size_array, int width) {                  \
    orb::thr::omatcopy_batch<T>(ordering, trans_array, rows_array, cols_array, alpha_array, A_array, lda_array, \
                                B_array, ldb_array, group_count, group_size_array, width);                       \
  }                                                                                                              \
  extern "C" void orb_trans_orb_##p##imatcopy_batch_par(                                                        \
      char ordering, const char *trans_array, const void *rows_array, const void *cols_array,                    \
      const T *alpha_array, T *const *AB_array, const void *lda_array, const void *ldb_array,                    \
      ORB_INT group_count, const ORB_INT *group_size_array, int width) {                                         \
    orb::thr::imatcopy_batch<T>(ordering, trans_array, rows_array, cols_array, alpha_array, AB_array, lda_array, \
                                ldb_array, group_count, group_size_array, width);                                \
  }
ORB_FOR_EACH_PRECISION(ORB_TRANS_BATCH_GROUP_PAR)
