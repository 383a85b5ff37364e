// Small programs the tests start in a fresh process (the environment is read
// once per process), one per first argument: provider, provider2 (the kernel
// providers a first kernel call binds, and what they computed); env (what the
// environment reader recorded); cleanup N, cleanup-reenter, cleanup-explicit,
// cleanup-race ROUNDS (the clean-up list); header IFACE [UPDATE] (printed twice,
// shown once), lines IFACE THREADS (concurrent verbose lines); calls
// fortran32|fortran64|cblas (the standard names, for their verbose lines);
// cuts BUDGET (how many kernel calls a small dgemm and ddot make, under the
// threshold scale of the environment).
#include <orb/internal/orb_ewf.h>
#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>
#include <orb/orb_kestrel.h>
#include <orb/orb_service.h>
#include <orb/orb_sparse.h>
#include <orb/orb_vm.h>

#include <dirent.h>
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

extern "C" {
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *);
void dgemm_64_(const char *, const char *, const int64_t *, const int64_t *, const int64_t *, const double *,
               const double *, const int64_t *, const double *, const int64_t *, const double *, double *,
               const int64_t *);
void zgemv_(const char *, const int *, const int *, const ORB_Complex16 *, const ORB_Complex16 *, const int *,
            const ORB_Complex16 *, const int *, const ORB_Complex16 *, ORB_Complex16 *, const int *);
}

// The version record and processor frequency that the verbose header shows,
// fixed here in place of the core's, so that the tests compare whole lines.
namespace {
int version_update = 0;
}  // namespace

extern "C" void orb_serv_get_version(OrbVersion *v) {
  *v = OrbVersion{2, 0, version_update, "Product", "20240131", "x86-64", "Linux"};
}

extern "C" double orb_serv_get_max_cpu_frequency(void) { return 3.456; }

namespace {

int thread_count() {
  int n = 0;
  if (DIR *d = opendir("/proc/self/task")) {
    while (dirent *e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
  }
  return n;
}

int provider() {
  const char *before = orb_serv_provider_path();
  std::printf("path_before=%s\nthreads_before=%d\n", before ? before : "none", thread_count());
  std::fflush(stdout);
  const ORB_INT n = 400;
  const float alpha = 1.0f, beta = 0.0f;
  std::vector<float> a(n * n, 1.0f), b(n * n, 2.0f), c(n * n, -1.0f);
  // A single-precision product: only the first provider computes those.
  orb_blas_xsgemm("T", "N", &n, &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n);
  const char *after = orb_serv_provider_path(), *env = std::getenv("OPENBLAS_NUM_THREADS");
  const char *coretype = std::getenv("OPENBLAS_CORETYPE"), *kernels = orb_serv_provider_kernels();
  std::printf("path_after=%s\nthreads_after=%d\nproduct_ok=%d\nopenblas_threads_env=%s\n", after ? after : "none",
              thread_count(), c[0] == 2.0f * n && c[n * n - 1] == 2.0f * n, env ? env : "unset");
  std::printf("openblas_coretype_env=%s\nkernel_set=%s\n", coretype ? coretype : "unset", kernels ? kernels : "");
  return 0;
}

void *as_arg(int i) { return reinterpret_cast<void *>(static_cast<intptr_t>(i)); }
int from_arg(void *arg) { return static_cast<int>(reinterpret_cast<intptr_t>(arg)); }

void print_index(void *arg) { std::printf("cleanup=%d\n", from_arg(arg)); }

void register_printing(int i) {
  orb_serv_thr_register_cleanup(print_index, as_arg(i));
  std::printf("registered=%d\n", i);
  std::fflush(stdout);
}

// The clean-up at index 7 registers index 8 while the list runs.
void print_and_register(void *arg) {
  print_index(arg);
  register_printing(8);
}

int cleanup_reenter() {
  for (int i = 0; i < 7; ++i) register_printing(i);
  orb_serv_thr_register_cleanup(print_and_register, as_arg(7));
  std::printf("registered=7\n");
  return 0;
}

// The calling thread's budget, as "cores" when it is the physical core count.
void print_budget() {
  const int budget = orb_serv_get_max_threads(), cores = orb_serv_get_ncpus() * orb_serv_get_ncorespercpu();
  std::printf("budget=%s\n", budget == cores ? "cores" : std::to_string(budget).c_str());
}

// 997 and 998: local settings no machine's core count matches.
int cleanup_explicit() {
  orb_serv_thr_register_cleanup(print_index, as_arg(0));
  std::printf("previous=%d\n", orb_serv_set_num_threads_local(997));
  orb_serv_thr_register_cleanup(print_index, as_arg(1));
  print_budget();
  orb_serv_thr_cleanup();
  std::printf("cleaned\n");
  print_budget();
  std::printf("previous=%d\n", orb_serv_set_num_threads_local(998));
  print_budget();
  return 0;
}

std::vector<std::atomic<int>> *race_runs;
std::atomic<int> race_total{0};

void count_run(void *arg) {
  (*race_runs)[static_cast<size_t>(from_arg(arg))].fetch_add(1);
  race_total.fetch_add(1);
}

int cleanup_race(int rounds) {
  std::vector<std::atomic<int>> runs(static_cast<size_t>(rounds));
  race_runs = &runs;
  std::atomic<bool> registering{true};
  std::thread cleaner([&] {
    while (registering.load()) orb_serv_thr_cleanup();
  });
  int registered = 0;
  for (; registered < rounds; ++registered) {
    // Keep the list below its 8 entries.  An entry that is lost never runs:
    // stop registering when the others stay this far behind for a second.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (registered - race_total.load() >= 6 && std::chrono::steady_clock::now() < deadline)
      std::this_thread::yield();
    if (registered - race_total.load() >= 6) break;
    orb_serv_thr_register_cleanup(count_run, as_arg(registered));
  }
  registering = false;
  cleaner.join();
  orb_serv_thr_cleanup();
  int lost = rounds - registered, repeated = 0;
  for (const auto &r : runs) {
    lost += r.load() == 0;
    repeated += r.load() > 1;
  }
  std::printf("lost=%d\nrepeated=%d\n", lost, repeated);
  return 0;
}

int verbose_lines(int iface, int threads) {
  std::atomic<int> waiting{threads};
  std::vector<std::thread> pool;
  for (int i = 0; i < threads; ++i)
    pool.emplace_back([&, i] {
      const std::string text = "CALL" + std::to_string(i);
      // Release every thread at once, so that the first calls race for the header.
      waiting.fetch_sub(1);
      while (waiting.load() > 0) std::this_thread::yield();
      orb_serv_print_verbose_info(iface, text.c_str(), 0.5);
    });
  for (auto &t : pool) t.join();
  return 0;
}

int calls(const char *form) {
  double a[16] = {}, b[16] = {}, c[16] = {};
  const double alpha = 1.5, beta = 0.0;
  const ORB_Complex16 za = {1.0, -0.5}, zb = {0.0, 0.0};
  ORB_Complex16 zm[8] = {}, zx[4] = {}, zy[4] = {};
  if (std::strcmp(form, "fortran32") == 0) {
    const int m = 2, n = 3, k = 4, bad = -1, inc = 1, back = -1;
    dgemm_("N", "T", &m, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
    zgemv_("C", &m, &n, &za, zm, &m, zx, &inc, &zb, zy, &back);
    dgemm_("N", "T", &bad, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
  } else if (std::strcmp(form, "fortran64") == 0) {
    const int64_t m = 2, n = 3, k = 4;
    dgemm_64_("N", "T", &m, &n, &k, &alpha, a, &m, b, &n, &beta, c, &m);
  } else if (std::strcmp(form, "cblas") == 0) {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasTrans, 2, 3, 4, alpha, a, 4, b, 4, beta, c, 3);
    cblas_zgemv(CblasColMajor, CblasConjTrans, 2, 3, &za, zm, 2, zx, 1, &zb, zy, 1);
  } else if (std::strcmp(form, "vm") == 0) {
    orb_vm_dexp(3, a, c);
    orb_vm_dpowx_strided_64(2, a, 2, 1.5, c, 1);
  } else if (std::strcmp(form, "sparse") == 0) {
    int32_t ptr[] = {0, 1, 2}, col[] = {0, 2};
    orb_sparse_matrix A = nullptr;
    if (orb_sparse_d_create_csr3(&A, 0, 2, 3, ptr, col, a) != ORB_SPARSE_OK) return 3;
    orb_sparse_d_mv(ORB_SPARSE_OP_N, alpha, A, {ORB_SPARSE_GENERAL, 0, 0}, b, beta, c);
    orb_sparse_d_mm(ORB_SPARSE_OP_N, alpha, A, {ORB_SPARSE_GENERAL, 0, 0}, ORB_SPARSE_BLOCK_COL_MAJOR, b, 2, 3, beta,
                    c, 2);
    orb_sparse_destroy(A);
    const int m = 2, k = 3;
    orb_dcsrmv_lp64("N", &m, &k, &alpha, "GLNC", a, col, ptr, ptr + 1, b, &beta, c);
  } else if (std::strcmp(form, "kestrel") == 0) {
    int32_t ptr[] = {0, 2, 3}, col[] = {0, 1, 1};
    double values[] = {4, 1, 3}, rhs[] = {1, 2}, x[2];
    orb_kestrel_options o;
    orb_kestrel_default_options(&o);
    orb_kestrel_handle h = nullptr;
    if (orb_kestrel_analyse(&h, 2, ptr, col, &o) != ORB_KESTREL_SUCCESS) return 3;
    orb_kestrel_d_factor(h, values);
    orb_kestrel_d_solve(h, 1, rhs, 2, x, 2);
    orb_kestrel_d_solve(h, -1, rhs, 2, x, 2);
    orb_kestrel_destroy(h);
  } else {
    return 2;
  }
  return 0;
}

}  // namespace

// Calls of the tests' stand-in second provider so far, or -1 when the second
// provider is another file (or none).
long provider2_calls() {
  const char *path = orb_serv_provider2_path();
  void *h = path ? dlopen(path, RTLD_NOW | RTLD_NOLOAD) : nullptr;
  auto calls = h ? reinterpret_cast<long (*)()>(dlsym(h, "orb_fake_gemm_calls")) : nullptr;
  const long n = calls ? calls() : -1;
  if (h) dlclose(h);
  return n;
}

// C = op(A) B for n x n operands of depth k, all ones in A and twos in B,
// their storage `offset` bytes past a 64-byte boundary; reports under `name`.
void routed_product(const char *name, const char *ta, ORB_INT n, ORB_INT k, size_t offset) {
  const ORB_INT ld_ab = (*ta == 'N' ? n : k);
  const size_t bytes = sizeof(double) * static_cast<size_t>(n * std::max(n, k)) + 64;
  char *store[3];
  double *x[3];
  for (int i = 0; i < 3; ++i) {
    store[i] = static_cast<char *>(std::aligned_alloc(64, bytes));
    x[i] = reinterpret_cast<double *>(store[i] + offset);
  }
  std::fill(x[0], x[0] + n * k, 1.0);
  std::fill(x[1], x[1] + n * k, 2.0);
  std::fill(x[2], x[2] + n * n, -1.0);
  const double alpha = 1.0, beta = 0.0;
  const long before = provider2_calls();
  orb_blas_xdgemm(ta, "N", &n, &n, &k, &alpha, x[0], &ld_ab, x[1], &k, &beta, x[2], &n);
  const bool ok = std::all_of(x[2], x[2] + n * n, [k](double v) { return v == 2.0 * static_cast<double>(k); });
  std::printf("%s_ok=%d\n%s_calls=%ld\n", name, ok, name, before < 0 ? -1 : provider2_calls() - before);
  for (char *p : store) std::free(p);
}

// Shallow: what the rule sends to a second provider on AVX2 kernels, and the
// same product too deep, transposed or off the cache lines.  Large: a
// transposed product off the cache lines, which goes to one on AVX-512 kernels.
int provider2() {
  const char *path = orb_serv_provider2_path(), *config = orb_serv_provider2_config();
  std::printf("path=%s\nconfig=%s\n", path ? path : "none", config ? config : "none");
  routed_product("shallow", "N", 24, 32, 0);
  routed_product("deep", "N", 24, 65, 0);
  routed_product("transposed", "T", 24, 32, 0);
  routed_product("off_lines", "N", 24, 32, 8);
  routed_product("large", "T", 200, 200, 8);
  const char *arch = std::getenv("BLIS_ARCH_TYPE");
  std::printf("blis_arch_env=%s\n", arch ? arch : "unset");
  return 0;
}

// The core's dgemm and ddot kernels, counted and forwarded.
namespace {
std::atomic<int> gemm_pieces{0}, dot_pieces{0};
}  // namespace
extern "C" ORB_GEMM_DECL(xd, double, ORB_INT) {
  ++gemm_pieces;
  static const auto next = reinterpret_cast<decltype(&orb_blas_xdgemm)>(dlsym(RTLD_NEXT, "orb_blas_xdgemm"));
  next(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
extern "C" ORB_DOT_DECL(orb_blas_xddot, double, ORB_INT) {
  ++dot_pieces;
  static const auto next = reinterpret_cast<decltype(&orb_blas_xddot)>(dlsym(RTLD_NEXT, "orb_blas_xddot"));
  return next(n, x, incx, y, incy);
}
namespace {

int cuts(int budget) {
  orb_serv_set_num_threads_local(budget);
  const ORB_INT n = 9, one = 1, len = 100;
  const double alpha = 1, beta = 0;
  std::vector<double> a(81, 1.0), c(81), x(100, 1.0);
  orb_blas_dgemm("N", "N", &n, &n, &n, &alpha, a.data(), &n, a.data(), &n, &beta, c.data(), &n);
  const double dot = orb_blas_ddot(&len, x.data(), &one, x.data(), &one);
  std::printf("gemm_pieces=%d\ndot_pieces=%d\nresults=%g,%g\n", gemm_pieces.load(), dot_pieces.load(), c[80], dot);
  return 0;
}

}  // namespace

//! The vector-function threaders' one-time loading from `library` ("none":
//! no handle at all), which ends the process when an entry point is missing.
int ewf_load(const char *library) {
  void *handle = std::strcmp(library, "none") == 0 ? nullptr : dlopen(library, RTLD_LAZY);
  orb_vm_error_callback (*get_callback)(void);
  orb_vm_error_callback (*set_callback)(orb_vm_error_callback);
  unsigned (*get_mode)(void);
  unsigned (*set_mode)(unsigned);
  void (*set_input)(const void *);
  int (*get_status)(void);
  int (*set_status)(int);
  int done = -1;
  orb_ewf_serv_LoadFunctions(handle, &get_callback, &set_callback, &get_mode, &set_mode, &set_input, &get_status,
                             &set_status, &done);
  std::printf("done=%d\n", done);
  return 0;
}

//! The largest error in ulps of a few vector functions of doubles against
//! long double, with whichever SLEEF set ORB_VM_ISA leaves the module.
int vm_isa() {
  const int n = 4096;
  std::vector<double> x(n), y(n);
  double worst = 0;
  const auto look = [&](long double (*ref)(long double)) {
    for (int i = 0; i < n; ++i) {
      const long double r = ref(x[i]);
      const long double ulp = ldexpl(1.0L, ilogbl(r) - 52);
      worst = std::max(worst, static_cast<double>(fabsl(y[i] - r) / ulp));
    }
  };
  for (int i = 0; i < n; ++i) x[i] = -30 + 60.0 * i / n + 1e-3;
  orb_vm_dexp(n, x.data(), y.data());
  look(expl);
  orb_vm_dsin(n, x.data(), y.data());
  look(sinl);
  orb_vm_derf(n, x.data(), y.data());
  look(erfl);
  for (int i = 0; i < n; ++i) x[i] = 1e-3 + 1e3 * i / n;
  orb_vm_dln(n, x.data(), y.data());
  look(logl);
  orb_vm_dsqrt(n, x.data(), y.data());
  look(sqrtl);
  std::printf("max_ulps=%.4f\n", worst);
  return 0;
}

int main(int argc, char **argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "vm-isa") return vm_isa();
  if (mode == "ewf-load" && argc == 3) return ewf_load(argv[2]);
  if (mode == "provider") return provider();
  if (mode == "provider2") return provider2();
  if (mode == "env") {
    OrbEnvSettings s;
    orb_serv_get_env_settings(&s);
    std::printf("num_threads=%d\nnum_stripes=%d\nblas=%d\nfft=%d\newf=%d\nkestrel=%d\ndynamic=%d\n", s.num_threads,
                s.num_stripes, s.blas_threads, s.fft_threads, s.ewf_threads, s.kestrel_threads, s.dynamic);
    std::printf("max_threads=%d\nppn=%d\ndomain=%d\n", orb_serv_get_max_threads(), orb_serv_mpi_get_ppn(),
                orb_serv_domain_get_max_threads(1));
    return 0;
  }
  if (mode == "cleanup" && argc == 3) {
    for (int i = 0; i < std::atoi(argv[2]); ++i) register_printing(i);
    return 0;
  }
  if (mode == "cleanup-reenter") return cleanup_reenter();
  if (mode == "cleanup-explicit") return cleanup_explicit();
  if (mode == "cleanup-race" && argc == 3) return cleanup_race(std::atoi(argv[2]));
  if (mode == "header" && (argc == 3 || argc == 4)) {
    if (argc == 4) version_update = std::atoi(argv[3]);
    orb_serv_print_verbose_header(std::atoi(argv[2]));
    orb_serv_print_verbose_header(std::atoi(argv[2]));
    return 0;
  }
  if (mode == "lines" && argc == 4) return verbose_lines(std::atoi(argv[2]), std::atoi(argv[3]));
  if (mode == "calls" && argc == 3) return calls(argv[2]);
  if (mode == "cuts" && argc == 3) return cuts(std::atoi(argv[2]));
  return 2;
}
