/* Loads a library that defines xerbla_ with RTLD_LOCAL, then makes two
 * illegal calls (m < 0) through orb: dgemm_ and a row-major cblas_dgemm.
 *   client_xerbla LIBRARY foreign   both reports reach the library's handler
 *   client_xerbla LIBRARY orb       the library's handler sees none
 * Prints "client ok" when that holds. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

enum { RowMajor = 101, NoTrans = 111 };
void cblas_dgemm(int, int, int, int, int, int, double, const double *, int, const double *, int, double, double *,
                 int);
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *);

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  void *lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!lib) {
    printf("cannot load %s: %s\n", argv[1], dlerror());
    return 2;
  }
  int (*reports)(void) = (int (*)(void))dlsym(lib, "foreign_reports");
  const char *(*name)(void) = (const char *(*)(void))dlsym(lib, "foreign_last_name");
  int (*info)(void) = (int (*)(void))dlsym(lib, "foreign_last_info");
  const double one = 1, zero = 0, x[4] = {0};
  double c[4] = {0};
  const int bad = -1, two = 2;
  int ok = 1;
  dgemm_("N", "N", &bad, &two, &two, &one, x, &two, x, &two, &zero, c, &two);
  if (strcmp(argv[2], "foreign") == 0)
    ok = reports() == 1 && strncmp(name(), "DGEMM", 5) == 0 && info() == 3;
  /* Row-major m is checked as the column-major n: reported as the caller's argument 4. */
  cblas_dgemm(RowMajor, NoTrans, NoTrans, -1, 2, 2, 1.0, x, 2, x, 2, 0.0, c, 2);
  if (strcmp(argv[2], "foreign") == 0)
    ok = ok && reports() == 2 && strcmp(name(), "cblas_dgemm") == 0 && info() == 4;
  else
    ok = reports() == 0;
  printf("%s (handler saw %d reports, last %s %d)\n", ok ? "client ok" : "client WRONG", reports(), name(), info());
  return ok ? 0 : 1;
}
