/* A program written for the system LAPACK: built with its reference
 * liblapack, never against orb.  Solves a system of order 300 with dgesv_,
 * whose factorization is the library's dgetrf_, and prints "client ok" when
 * the solution is right. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

void dgesv_(const int *, const int *, double *, const int *, int *, double *, const int *, int *);

int main(void) {
  enum { N = 300 };
  static double a[N * N], b[N], x[N], saved[N * N];
  static int ipiv[N];
  unsigned state = 12345;
  for (int i = 0; i < N * N; ++i) {
    state = state * 1103515245u + 12345u;
    a[i] = saved[i] = (double)(state >> 8) / (double)(1u << 24) - 0.5;
  }
  for (int i = 0; i < N; ++i) x[i] = 1.0 + i % 7;
  for (int i = 0; i < N; ++i) {
    b[i] = 0;
    for (int j = 0; j < N; ++j) b[i] += saved[i + j * N] * x[j];
  }
  const int n = N, one = 1;
  int info = -1;
  dgesv_(&n, &one, a, &n, ipiv, b, &n, &info);
  double err = 0;
  for (int i = 0; i < N; ++i) err = fmax(err, fabs(b[i] - x[i]));
  const int ok = info == 0 && err < 1e-8;
  printf("%s\n", ok ? "client ok" : "client WRONG");
  return ok ? 0 : 1;
}
