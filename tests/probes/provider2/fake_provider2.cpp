// A stand-in for the second kernel provider, for the probe to name in
// ORB_PROVIDER2: a dgemm_ with 64-bit integers that counts its calls and
// computes the product naively, and the real one's initialisation, which runs
// the configuration whose number BLIS_ARCH_TYPE holds, and its names of them.
#include <cstdint>
#include <cstdlib>

namespace {

// Its configurations, in an order of its own: the core must look the number up.
const char *const kConfigs[] = {"penryn", "zen3", "haswell", "skx", "sandybridge", "generic"};
constexpr int kConfigCount = sizeof kConfigs / sizeof kConfigs[0];
int running = kConfigCount - 1;

double at(const double *x, int64_t ld, bool t, int64_t i, int64_t l) { return t ? x[l + i * ld] : x[i + l * ld]; }

}  // namespace

extern "C" {

long orb_fake_gemm_calls = 0;

void bli_init() {
  const char *v = std::getenv("BLIS_ARCH_TYPE");
  if (v && std::atoi(v) >= 0 && std::atoi(v) < kConfigCount) running = std::atoi(v);
}

const char *bli_arch_string(int id) { return id >= 0 && id < kConfigCount ? kConfigs[id] : nullptr; }

int bli_arch_query_id() { return running; }

void dgemm_(const char *ta, const char *tb, const int64_t *m, const int64_t *n, const int64_t *k, const double *alpha,
            const double *a, const int64_t *lda, const double *b, const int64_t *ldb, const double *beta, double *c,
            const int64_t *ldc) {
  __atomic_add_fetch(&orb_fake_gemm_calls, 1, __ATOMIC_RELAXED);
  const bool at_ = (*ta | 0x20) != 'n', bt = (*tb | 0x20) != 'n';
  for (int64_t j = 0; j < *n; ++j)
    for (int64_t i = 0; i < *m; ++i) {
      double s = 0;
      for (int64_t l = 0; l < *k; ++l) s += at(a, *lda, at_, i, l) * at(b, *ldb, bt, l, j);
      c[i + j * *ldc] = *alpha * s + *beta * c[i + j * *ldc];
    }
}

}  // extern "C"
