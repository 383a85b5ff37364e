/* A program written for the system BLAS: built with -lblas, never against orb.
 * Prints "client ok" when both products are right. */
#include <stdio.h>

/* Declared as the program's author would, without any library's header. */
enum { RowMajor = 101, NoTrans = 111 };
void cblas_dgemm(int, int, int, int, int, int, double, const double *, int, const double *, int, double, double *,
                 int);
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *);

int main(void) {
  const double a[4] = {1, 2, 3, 4}, b[4] = {5, 6, 7, 8}, one = 1, zero = 0;
  double c[4] = {0}, r[4] = {0};
  const int n = 2;
  dgemm_("N", "N", &n, &n, &n, &one, a, &n, b, &n, &zero, c, &n);         /* column-major */
  cblas_dgemm(RowMajor, NoTrans, NoTrans, 2, 2, 2, 1.0, a, 2, b, 2, 0.0, r, 2);
  const int ok = c[0] == 23 && c[1] == 34 && c[2] == 31 && c[3] == 46 && r[0] == 19 && r[1] == 22 &&
                 r[2] == 43 && r[3] == 50;
  printf("%s\n", ok ? "client ok" : "client WRONG");
  return ok ? 0 : 1;
}
