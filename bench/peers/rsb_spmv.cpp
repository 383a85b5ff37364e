// orb-bench's sparse peer module for the threaded librsb: the matrix in the
// library's own recursive layout, built from the CSR arrays with its default
// flags, and its product on the number of threads the benchmark asks for.
#include "spmv_peer.h"

#include <rsb-config.h>
#include <rsb.h>

#include <cstdio>

namespace {
bool started = false;
}

extern "C" __attribute__((visibility("default"))) void *orb_peer_spmv_open(int32_t rows, int32_t cols,
                                                                           const int32_t *ptr, const int32_t *col,
                                                                           const double *val, int threads,
                                                                           char *why) {
  if (!started && rsb_lib_init(RSB_NULL_INIT_OPTIONS) != RSB_ERR_NO_ERROR) {
    std::snprintf(why, 200, "rsb_lib_init failed");
    return nullptr;
  }
  started = true;
  rsb_int_t n = threads;
  rsb_lib_set_opt(RSB_IO_WANT_EXECUTING_THREADS, &n);
  rsb_err_t err = RSB_ERR_NO_ERROR;
  rsb_mtx_t *m = rsb_mtx_alloc_from_csr_const(val, ptr, col, ptr[rows], RSB_NUMERICAL_TYPE_DOUBLE, rows, cols, 1, 1,
                                              RSB_FLAG_DEFAULT_RSB_MATRIX_FLAGS, &err);
  if (!m) std::snprintf(why, 200, "rsb_mtx_alloc_from_csr_const failed (%d)", static_cast<int>(err));
  return m;
}

extern "C" __attribute__((visibility("default"))) void orb_peer_spmv_run(void *m, const double *x, double *y) {
  const double one = 1, zero = 0;
  rsb_spmv(RSB_TRANSPOSITION_N, &one, static_cast<rsb_mtx_t *>(m), x, 1, &zero, y, 1);
}

extern "C" __attribute__((visibility("default"))) void orb_peer_spmv_close(void *m) {
  rsb_mtx_free(static_cast<rsb_mtx_t *>(m));
}

extern "C" __attribute__((visibility("default"))) const char *orb_peer_spmv_about() {
  static char text[96];
  std::snprintf(text, sizeof text, "librsb %s, threaded, default matrix flags", RSB_PACKAGE_VERSION);
  return text;
}
