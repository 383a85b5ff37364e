// orb-bench's sparse peer module for Eigen: the CSR arrays copied into a
// row-major sparse matrix, and its product with a dense vector, which Eigen
// runs on the calling thread.
#include "spmv_peer.h"

#include <Eigen/Core>
#include <Eigen/SparseCore>

#include <cstdio>
#include <new>

namespace {
using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor, int32_t>;
}

extern "C" __attribute__((visibility("default"))) void *orb_peer_spmv_open(int32_t rows, int32_t cols,
                                                                           const int32_t *ptr, const int32_t *col,
                                                                           const double *val, int, char *why) {
  auto *m = new (std::nothrow) Matrix(rows, cols);
  if (!m) {
    std::snprintf(why, 200, "out of memory");
    return nullptr;
  }
  const Eigen::Map<const Matrix> view(rows, cols, ptr[rows], ptr, col, val);
  *m = view;
  m->makeCompressed();
  return m;
}

extern "C" __attribute__((visibility("default"))) void orb_peer_spmv_run(void *m, const double *x, double *y) {
  const Matrix &a = *static_cast<Matrix *>(m);
  Eigen::Map<Eigen::VectorXd>(y, a.rows()).noalias() = a * Eigen::Map<const Eigen::VectorXd>(x, a.cols());
}

extern "C" __attribute__((visibility("default"))) void orb_peer_spmv_close(void *m) { delete static_cast<Matrix *>(m); }

extern "C" __attribute__((visibility("default"))) const char *orb_peer_spmv_about() {
  static char text[96];
  std::snprintf(text, sizeof text, "Eigen %d.%d.%d, sequential, row-major", EIGEN_WORLD_VERSION, EIGEN_MAJOR_VERSION,
                EIGEN_MINOR_VERSION);
  return text;
}
