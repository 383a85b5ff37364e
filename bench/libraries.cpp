// Loading the libraries a gemm comparison measures.
//
// Peers export the standard names (`dgemm_`), and so does the serial provider
// beneath orb, each with its own integer width.  Each is opened with its own
// private symbol scope, and its entry points are taken from its handle with
// dlsym, never from the global scope.
#include "libraries.hpp"

#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <dlfcn.h>

#include <cstdint>
#include <string>

// Weak, so that orb-bench also runs against a threading layer built without
// these entries; a null address reports orb's drivers as "n/a".
#pragma weak orb_blas_sgemm
#pragma weak orb_blas_dgemm
#pragma weak orb_blas_zgemm
#pragma weak orb_serv_provider_path

namespace orb::bench {

int private_dlopen_flags() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  // The sanitizer runtimes refuse RTLD_DEEPBIND.  Without it a library's own
  // calls still find its own names, since nothing in the global scope of
  // orb-bench exports a standard BLAS name.
  return RTLD_NOW | RTLD_LOCAL;
#else
  return RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND;
#endif
}

namespace {

// Opens `lib.path` privately and resolves its three gemm names; on failure
// records why in `lib.missing` and returns null.
void *open_private(GemmLibrary &lib) {
  void *handle = dlopen(lib.path.c_str(), private_dlopen_flags());
  if (!handle) {
    const char *why = dlerror();
    lib.missing = why ? why : "cannot be loaded";
    return nullptr;
  }
  lib.entries.s = dlsym(handle, "sgemm_");
  lib.entries.d = dlsym(handle, "dgemm_");
  lib.entries.z = dlsym(handle, "zgemm_");
  if (!lib.entries.d) lib.missing = "no dgemm_ in " + lib.path;
  return lib.missing.empty() ? handle : nullptr;
}

template <typename Fn>
Fn lookup(void *handle, const char *name) {
  return reinterpret_cast<Fn>(dlsym(handle, name));
}

}  // namespace

std::string orb_provider_path() {
  const char *bound = orb_serv_provider_path ? orb_serv_provider_path() : nullptr;
  return bound && *bound ? bound : kSerialProviderPath;
}

GemmLibrary orb_library(int threads) {
  GemmLibrary lib;
  lib.key = "orb";
  lib.label = "orb";
  lib.threads = threads;
  lib.settle_s = 0.02;  // task-runtime workers spin for well under a millisecond
  lib.abi = CallAbi::orb;
  lib.entries.s = orb_blas_sgemm ? reinterpret_cast<void *>(&orb_blas_sgemm) : nullptr;
  lib.entries.d = orb_blas_dgemm ? reinterpret_cast<void *>(&orb_blas_dgemm) : nullptr;
  lib.entries.z = orb_blas_zgemm ? reinterpret_cast<void *>(&orb_blas_zgemm) : nullptr;
  char version[32];
  lib.about = std::string("orb ") + orb_serv_get_version_string(version, sizeof version);
  if (!lib.entries.d) lib.missing = "this build of orb has no orb_blas_dgemm";
  return lib;
}

GemmLibrary serial_provider(const std::string &path) {
  GemmLibrary lib;
  lib.key = "serial";
  lib.label = "serial provider";
  lib.path = path;
  lib.threads = 1;
  lib.abi = CallAbi::fortran_ilp64;
  if (void *h = open_private(lib)) {
    // A threaded build of the provider is held to one thread, as orb's core
    // holds it (opening the same file again hands back the core's copy).
    if (auto set_threads = lookup<void (*)(int)>(h, "openblas_set_num_threads")) set_threads(1);
    if (auto config = lookup<const char *(*)()>(h, "openblas_get_config")) lib.about = config();
  }
  return lib;
}

namespace {

// A threaded peer at `path` (32-bit integers), opened and set to `threads`
// through its own thread-count setter `setter`, which takes an integer of
// type Count; on success the library's own description goes in `about`.
template <class Count>
GemmLibrary threaded_peer(const char *key, const char *label, const std::string &path, int threads,
                          double settle_s, const char *setter, void *&handle) {
  GemmLibrary lib;
  lib.key = key;
  lib.label = label;
  lib.path = path;
  lib.threads = threads;
  lib.peer = true;
  lib.settle_s = settle_s;
  lib.abi = CallAbi::fortran_lp64;
  handle = open_private(lib);
  if (!handle) return lib;
  auto set_threads = lookup<void (*)(Count)>(handle, setter);
  if (!set_threads) {
    lib.missing = std::string("no ") + setter + " in " + path;
    handle = nullptr;
    return lib;
  }
  set_threads(threads);
  return lib;
}

}  // namespace

GemmLibrary openblas_pthread(const std::string &path, int threads) {
  // Its idle workers keep spinning for about 2^28 cycles after a call
  // (roughly 0.1 s) before they sleep; the next library must not share the
  // cores with them.
  void *h = nullptr;
  GemmLibrary lib = threaded_peer<int>("openblas", "OpenBLAS", path, threads, 0.15, "openblas_set_num_threads", h);
  if (!h) return lib;
  if (auto config = lookup<const char *(*)()>(h, "openblas_get_config")) lib.about = config();
  return lib;
}

GemmLibrary blis_pthread(const std::string &path, int threads) {
  // Its thread count is a 64-bit dim_t; the setting holds for every later
  // call from any thread, including its BLAS-compatible names.
  void *h = nullptr;
  GemmLibrary lib = threaded_peer<int64_t>("blis", "BLIS", path, threads, 0.02, "bli_thread_set_num_threads", h);
  if (!h) return lib;
  auto version = lookup<const char *(*)()>(h, "bli_info_get_version_str");
  auto arch_id = lookup<int (*)()>(h, "bli_arch_query_id");
  auto arch_name = lookup<const char *(*)(int)>(h, "bli_arch_string");
  if (version) lib.about = std::string("BLIS ") + version();
  if (arch_id && arch_name) lib.about += std::string(" ") + arch_name(arch_id());
  return lib;
}

std::vector<GemmLibrary> gemm_libraries(int threads) {
  std::vector<GemmLibrary> libs;
  libs.push_back(orb_library(threads));
  if (libs[0].available()) {
    // The core binds its provider on the first kernel call; a 1 x 1 product
    // makes it do so, so that the serial column measures the very file orb uses.
    const char n = 'N';
    const ORB_INT one = 1;
    const double alpha = 1, beta = 0, a = 1, b = 1;
    double c = 0;
    orb_blas_dgemm(&n, &n, &one, &one, &one, &alpha, &a, &one, &b, &one, &beta, &c, &one);
  }
  libs.push_back(serial_provider(orb_provider_path()));
  libs.push_back(openblas_pthread(kOpenBlasPthreadPath, threads));
  libs.push_back(blis_pthread(kBlisPthreadPath, threads));
  return libs;
}

}  // namespace orb::bench
