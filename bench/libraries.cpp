// Loading the libraries a gemm comparison measures.
//
// Peers export the standard names (`dgemm_`), and so does the serial provider
// beneath orb, each with its own integer width.  Each is opened with its own
// private symbol scope, and its entry points are taken from its handle with
// dlsym, never from the global scope.
#include "libraries.hpp"

#include "kernel_sets.hpp"
#include "service/processor.hpp"
#include "service/scoped_env.hpp"

#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include <dlfcn.h>

#include <cstdint>
#include <optional>
#include <string>

// Weak, so that orb-bench also runs against a threading layer built without
// these entries; a null address reports orb's drivers as "n/a".
#pragma weak orb_blas_sgemm
#pragma weak orb_blas_dgemm
#pragma weak orb_blas_zgemm
#pragma weak orb_serv_provider_path
#pragma weak orb_serv_provider_kernels

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
    // holds it (opening the same file again hands back the core's copy, and
    // with it the kernel set the core chose).
    if (auto set_threads = lookup<void (*)(int)>(h, "openblas_set_num_threads")) set_threads(1);
    if (auto config = lookup<const char *(*)()>(h, "openblas_get_config")) lib.about = config();
    if (auto corename = lookup<const char *(*)()>(h, "openblas_get_corename")) lib.kernels.ran = corename();
  }
  return lib;
}

namespace {

// A threaded peer at `path` (32-bit integers), opened but not yet called; on
// failure `missing` says why and the handle is null.
GemmLibrary threaded_peer(const char *key, const char *label, const std::string &path, int threads,
                          double settle_s, void *&handle) {
  GemmLibrary lib;
  lib.key = key;
  lib.label = label;
  lib.path = path;
  lib.threads = threads;
  lib.peer = true;
  lib.settle_s = settle_s;
  lib.abi = CallAbi::fortran_lp64;
  handle = open_private(lib);
  return lib;
}

// Tells the peer to use lib.threads through its own setter `setter`, which
// takes an integer of type Count; false, with the reason in `missing`, when it has none.
template <class Count>
bool set_peer_threads(GemmLibrary &lib, void *handle, const char *setter) {
  auto set_threads = lookup<void (*)(Count)>(handle, setter);
  if (!set_threads) {
    lib.missing = std::string("no ") + setter + " in " + lib.path;
    return false;
  }
  set_threads(lib.threads);
  return true;
}

}  // namespace

GemmLibrary openblas_pthread(const std::string &path, int threads, const std::string &own_kernels) {
  // It reads OPENBLAS_CORETYPE while it is loaded.
  const std::string best = openblas_set_to_force(own_kernels, core::this_processor());
  std::optional<core::ScopedEnv> forcing;
  if (!best.empty()) forcing.emplace("OPENBLAS_CORETYPE", best.c_str());
  // Its idle workers keep spinning for about 2^28 cycles after a call
  // (roughly 0.1 s) before they sleep; the next library must not share the
  // cores with them.
  void *h = nullptr;
  GemmLibrary lib = threaded_peer("openblas", "OpenBLAS", path, threads, 0.15, h);
  forcing.reset();
  if (!h || !set_peer_threads<int>(lib, h, "openblas_set_num_threads")) return lib;
  if (auto config = lookup<const char *(*)()>(h, "openblas_get_config")) lib.about = config();
  if (auto corename = lookup<const char *(*)()>(h, "openblas_get_corename")) lib.kernels.ran = corename();
  lib.kernels.own = own_kernels;
  if (!best.empty()) lib.kernels.forced = "OPENBLAS_CORETYPE=" + best;
  return lib;
}

GemmLibrary blis_pthread(const std::string &path, int threads, const std::string &own_kernels) {
  void *h = nullptr;
  GemmLibrary lib = threaded_peer("blis", "BLIS", path, threads, 0.02, h);
  if (!h) return lib;
  // It reads BLIS_ARCH_TYPE, a number of its own for each configuration, at
  // its first call, which initialises it.
  const std::string best = blis_config_to_force(own_kernels, core::this_processor());
  const int number = best.empty() ? -1 : blis_config_number(h, best);
  std::optional<core::ScopedEnv> forcing;
  if (number >= 0) forcing.emplace("BLIS_ARCH_TYPE", std::to_string(number).c_str());
  // Its thread count is a 64-bit dim_t; the setting holds for every later
  // call from any thread, including its BLAS-compatible names.
  if (!set_peer_threads<int64_t>(lib, h, "bli_thread_set_num_threads")) return lib;
  auto version = lookup<const char *(*)()>(h, "bli_info_get_version_str");
  auto arch_id = lookup<int (*)()>(h, "bli_arch_query_id");
  auto arch_name = lookup<const char *(*)(int)>(h, "bli_arch_string");
  if (version) lib.about = std::string("BLIS ") + version();
  if (arch_id && arch_name) {
    lib.kernels.ran = arch_name(arch_id());
    lib.about += " " + lib.kernels.ran;
  }
  lib.kernels.own = own_kernels;
  if (number >= 0) lib.kernels.forced = "BLIS_ARCH_TYPE=" + std::to_string(number) + " (" + best + ")";
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
  if (libs[0].available() && orb_serv_provider_kernels) {
    const char *kernels = orb_serv_provider_kernels();
    libs[0].kernels.ran = kernels ? kernels : "";
  }
  libs.push_back(serial_provider(orb_provider_path()));
  // The serial provider is the core's copy, with the set the core chose or was told to run.
  char asked[64];
  if (orb_serv_getenv("ORB_PROVIDER_CORETYPE", asked, sizeof asked) > 0)
    libs[0].kernels.forced = libs[1].kernels.forced = std::string("ORB_PROVIDER_CORETYPE=") + asked;
  // Asked before any peer is loaded here: each fixes its pick once per process.
  const std::map<std::string, std::string> own = own_kernel_sets();
  auto own_of = [&own](const char *key) {
    const auto it = own.find(key);
    return it == own.end() ? std::string() : it->second;
  };
  libs.push_back(openblas_pthread(kOpenBlasPthreadPath, threads, own_of("openblas")));
  libs.push_back(blis_pthread(kBlisPthreadPath, threads, own_of("blis")));
  return libs;
}

}  // namespace orb::bench
