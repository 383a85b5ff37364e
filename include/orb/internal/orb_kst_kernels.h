/* orb: the contract between the three libraries for the direct sparse solver
 * (not installed).  The core holds the solver's state and computes every
 * phase; programs call orb_kestrel.h, whose names take these arguments. */
#ifndef ORB_INTERNAL_KST_KERNELS_H
#define ORB_INTERNAL_KST_KERNELS_H

#include <orb/orb_kestrel.h>

ORB_BEGIN_DECLS

int32_t orb_kst_analyse(orb_kestrel_handle *handle, int64_t n, const void *row_ptr, const void *col_index,
                        const orb_kestrel_options *options);
#define ORB_KST_CORE_DECLS(p, T)                                                                     \
  int32_t orb_kst_##p##_factor(orb_kestrel_handle handle, const T *values);                          \
  int32_t orb_kst_##p##_solve(orb_kestrel_handle handle, int64_t nrhs, const T *b, int64_t ldb, T *x, \
                              int64_t ldx);
ORB_KST_CORE_DECLS(s, float)
ORB_KST_CORE_DECLS(d, double)
ORB_KST_CORE_DECLS(c, ORB_Complex8)
ORB_KST_CORE_DECLS(z, ORB_Complex16)
#undef ORB_KST_CORE_DECLS
int32_t orb_kst_get_statistics(orb_kestrel_handle handle, orb_kestrel_statistics *statistics);
void orb_kst_destroy(orb_kestrel_handle handle);

ORB_END_DECLS

#endif
