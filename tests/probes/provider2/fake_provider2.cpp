// A stand-in for the second kernel provider, for the probe to name in
// ORB_PROVIDER2: a dgemm_ and a zgemm_ with 64-bit integers that count their
// calls and compute the product naively, and the real one's initialisation, which runs
// the configuration whose number BLIS_ARCH_TYPE holds, and its names of them.
#include <complex>
#include <cstdint>
#include <cstdlib>

namespace {

// Its configurations, in an order of its own: the core must look the number up.
const char *const kConfigs[] = {"penryn", "zen3", "haswell", "skx", "sandybridge", "generic"};
constexpr int kConfigCount = sizeof kConfigs / sizeof kConfigs[0];
int running = kConfigCount - 1;

double conj_if(double v, bool) { return v; }
std::complex<double> conj_if(std::complex<double> v, bool c) { return c ? std::conj(v) : v; }

// Element (i, l) of op(X), op given by the option letter.
template <class T>
T at(const T *x, int64_t ld, char op, int64_t i, int64_t l) {
  const char o = static_cast<char>(op | 0x20);
  return o == 'n' ? x[i + l * ld] : conj_if(x[l + i * ld], o == 'c');
}

long calls = 0;

template <class T>
void gemm(const char *ta, const char *tb, const int64_t *m, const int64_t *n, const int64_t *k, const T *alpha,
          const T *a, const int64_t *lda, const T *b, const int64_t *ldb, const T *beta, T *c, const int64_t *ldc) {
  __atomic_add_fetch(&calls, 1, __ATOMIC_RELAXED);
  for (int64_t j = 0; j < *n; ++j)
    for (int64_t i = 0; i < *m; ++i) {
      T s{};
      for (int64_t l = 0; l < *k; ++l) s += at(a, *lda, *ta, i, l) * at(b, *ldb, *tb, l, j);
      c[i + j * *ldc] = *alpha * s + *beta * c[i + j * *ldc];
    }
}

}  // namespace

extern "C" {

void bli_init() {
  const char *v = std::getenv("BLIS_ARCH_TYPE");
  if (v && std::atoi(v) >= 0 && std::atoi(v) < kConfigCount) running = std::atoi(v);
}

const char *bli_arch_string(int id) { return id >= 0 && id < kConfigCount ? kConfigs[id] : nullptr; }

int bli_arch_query_id() { return running; }

// Calls of both products so far.
long orb_fake_gemm_calls() { return __atomic_load_n(&calls, __ATOMIC_RELAXED); }

void dgemm_(const char *ta, const char *tb, const int64_t *m, const int64_t *n, const int64_t *k, const double *alpha,
            const double *a, const int64_t *lda, const double *b, const int64_t *ldb, const double *beta, double *c,
            const int64_t *ldc) {
  gemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void zgemm_(const char *ta, const char *tb, const int64_t *m, const int64_t *n, const int64_t *k,
            const std::complex<double> *alpha, const std::complex<double> *a, const int64_t *lda,
            const std::complex<double> *b, const int64_t *ldb, const std::complex<double> *beta,
            std::complex<double> *c, const int64_t *ldc) {
  gemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // extern "C"
