/* orb: threaded LAPACK drivers.
 *
 * orb_lapack_?getrf computes the LU factorization with partial pivoting
 * A = P L U of a column-major m x n matrix, with the argument list of the
 * standard ?getrf: every argument by reference, pivots 1-based and global,
 * info the 1-based index of the first zero pivot (the factorization is
 * completed all the same).  orb_lapack_* take 64-bit integers (ORB_INT),
 * orb_lapack_lp64_* take 32-bit integers. */
#ifndef ORB_LAPACK_H
#define ORB_LAPACK_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

#define ORB_GETRF_DECL(name, T, I) void name(const I *m, const I *n, T *a, const I *lda, I *ipiv, I *info)

ORB_GETRF_DECL(orb_lapack_sgetrf, float, ORB_INT);
ORB_GETRF_DECL(orb_lapack_dgetrf, double, ORB_INT);
ORB_GETRF_DECL(orb_lapack_cgetrf, ORB_Complex8, ORB_INT);
ORB_GETRF_DECL(orb_lapack_zgetrf, ORB_Complex16, ORB_INT);
ORB_GETRF_DECL(orb_lapack_lp64_sgetrf, float, int);
ORB_GETRF_DECL(orb_lapack_lp64_dgetrf, double, int);
ORB_GETRF_DECL(orb_lapack_lp64_cgetrf, ORB_Complex8, int);
ORB_GETRF_DECL(orb_lapack_lp64_zgetrf, ORB_Complex16, int);

ORB_END_DECLS

#endif
