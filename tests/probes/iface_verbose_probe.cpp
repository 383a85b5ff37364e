// Calls the standard names once each in a fresh process, for the verbose
// report: `iface_verbose_probe fortran32|fortran64|cblas`.
#include <orb/orb_cblas.h>
#include <orb/orb_types.h>

#include <cstring>

extern "C" {
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *);
void dgemm_64_(const char *, const char *, const int64_t *, const int64_t *, const int64_t *, const double *,
               const double *, const int64_t *, const double *, const int64_t *, const double *, double *,
               const int64_t *);
void zgemv_(const char *, const int *, const int *, const ORB_Complex16 *, const ORB_Complex16 *, const int *,
            const ORB_Complex16 *, const int *, const ORB_Complex16 *, ORB_Complex16 *, const int *);
}

int main(int argc, char **argv) {
  if (argc < 2) return 2;
  double a[16] = {}, b[16] = {}, c[16] = {};
  const double alpha = 1.5, beta = 0.0;
  const ORB_Complex16 za = {1.0, -0.5}, zb = {0.0, 0.0};
  ORB_Complex16 zm[8] = {}, zx[4] = {}, zy[4] = {};
  if (std::strcmp(argv[1], "fortran32") == 0) {
    const int m = 2, n = 3, k = 4, bad = -1, inc = 1, back = -1;
    dgemm_("N", "T", &m, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
    zgemv_("C", &m, &n, &za, zm, &m, zx, &inc, &zb, zy, &back);
    dgemm_("N", "T", &bad, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
  } else if (std::strcmp(argv[1], "fortran64") == 0) {
    const int64_t m = 2, n = 3, k = 4;
    dgemm_64_("N", "T", &m, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
  } else if (std::strcmp(argv[1], "cblas") == 0) {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasTrans, 2, 3, 4, alpha, a, 4, b, 4, beta, c, 3);
    cblas_zgemv(CblasColMajor, CblasConjTrans, 2, 3, &za, zm, 2, zx, 1, &zb, zy, 1);
  } else {
    return 2;
  }
  return 0;
}
