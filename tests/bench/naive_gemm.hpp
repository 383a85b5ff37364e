// A plain triple-loop gemm behind each calling convention the benchmark
// uses, for checking the benchmark's own plumbing.
#pragma once

#include "libraries.hpp"

#include <orb/orb_types.h>

#include <complex>
#include <cstddef>
#include <cstdint>

namespace orb::bench::test {

// A plain triple loop behind each calling convention; `beta_twice` applies
// beta once more, as a split with wrongly scaled partial sums would.
inline bool beta_twice = false;

template <typename T, typename I>
void naive_gemm(const I *m, const I *n, const I *k, const T *alpha, const T *a, const I *lda, const T *b,
                const I *ldb, const T *beta, T *c, const I *ldc) {
  for (I j = 0; j < *n; ++j)
    for (I i = 0; i < *m; ++i) {
      T sum = T(0);
      for (I p = 0; p < *k; ++p) sum += a[i + p * *lda] * b[p + j * *ldb];
      T &cij = c[i + j * *ldc];
      cij = *alpha * sum + *beta * cij;
      if (beta_twice) cij = *beta * cij;
    }
}

template <typename T>
void fake_lp64(const char *, const char *, const int32_t *m, const int32_t *n, const int32_t *k, const T *alpha,
               const T *a, const int32_t *lda, const T *b, const int32_t *ldb, const T *beta, T *c,
               const int32_t *ldc, size_t, size_t) {
  naive_gemm(m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <typename T>
void fake_ilp64(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const T *alpha,
                const T *a, const int64_t *lda, const T *b, const int64_t *ldb, const T *beta, T *c,
                const int64_t *ldc, size_t, size_t) {
  naive_gemm(m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <typename T>
void fake_orb(const char *, const char *, const ORB_INT *m, const ORB_INT *n, const ORB_INT *k, const T *alpha,
              const T *a, const ORB_INT *lda, const T *b, const ORB_INT *ldb, const T *beta, T *c,
              const ORB_INT *ldc) {
  naive_gemm(m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <template <typename> class Fake>
GemmLibrary fake_library(CallAbi abi) {
  GemmLibrary lib;
  lib.key = "fake";
  lib.abi = abi;
  lib.entries.s = reinterpret_cast<void *>(Fake<float>::call);
  lib.entries.d = reinterpret_cast<void *>(Fake<double>::call);
  lib.entries.z = reinterpret_cast<void *>(Fake<std::complex<double>>::call);
  return lib;
}

template <typename T>
struct Lp64 {
  static constexpr auto call = fake_lp64<T>;
};
template <typename T>
struct Ilp64 {
  static constexpr auto call = fake_ilp64<T>;
};
template <typename T>
struct Orb {
  static constexpr auto call = fake_orb<T>;
};

}  // namespace orb::bench::test
