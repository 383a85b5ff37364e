// Binds the kernel provider through a first kernel call and reports what it
// saw: the provider's path before and after, the number of threads of the
// process before and after, whether the product was right, and what
// OPENBLAS_NUM_THREADS holds afterwards.  Runs no
// threaded driver, so the task runtime starts no thread of its own.
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <vector>

static int thread_count() {
  int n = 0;
  if (DIR *d = opendir("/proc/self/task")) {
    while (dirent *e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

int main() {
  const char *before = orb_serv_provider_path();
  std::printf("path_before=%s\nthreads_before=%d\n", before ? before : "none", thread_count());
  std::fflush(stdout);
  const ORB_INT n = 400;
  const double alpha = 1.0, beta = 0.0;
  std::vector<double> a(n * n, 1.0), b(n * n, 2.0), c(n * n, -1.0);
  orb_blas_xdgemm("N", "N", &n, &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n);
  const char *after = orb_serv_provider_path();
  const char *env = std::getenv("OPENBLAS_NUM_THREADS");
  std::printf("path_after=%s\nthreads_after=%d\nproduct_ok=%d\nopenblas_threads_env=%s\n", after ? after : "none",
              thread_count(), c[0] == 2.0 * n && c[n * n - 1] == 2.0 * n, env ? env : "unset");
  return 0;
}
