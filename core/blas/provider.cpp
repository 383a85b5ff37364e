// Opening the kernel provider and binding its routines, once per process.
//
// Which file is opened:
//   ORB_PROVIDER   path of the provider to open instead of the default; an
//                  empty value means the default.  The file must export the
//                  standard Fortran names with 64-bit integers, and must be
//                  safe to call from several threads at once: the threaded
//                  drivers call it from every worker.
//   default        ORB_DEFAULT_PROVIDER, fixed when the library is configured:
//                  the distribution's ILP64 build with its own threading, held
//                  to one thread.
//
// The provider is opened with RTLD_LOCAL | RTLD_DEEPBIND: its names stay out of
// the global namespace, where liborb's own dgemm_ (32-bit integers) lives, and
// its calls among its own routines resolve inside it first.
//
// Why not the distribution's serial build: it claims its per-call work buffer by
// scanning a table of buffers without a lock (only its one-time initialisation
// is locked), so two workers entering it together can pick the same buffer and
// corrupt each other's product; the tests caught it in GEMM and GEMV.  The
// threaded build locks that scan.  It reads its thread count from
// OPENBLAS_NUM_THREADS when it is loaded and starts its helper threads then, so
// the variable is set to 1 for the length of dlopen (the caller's value, if any,
// is put back): the provider then runs every call on the calling thread and
// starts no thread of its own.  Threads belong to this library's task runtime.
//
// Which kernels it runs:
//   ORB_PROVIDER_CORETYPE   the provider's name of a kernel set; empty or unset
//                           means the core's choice
//   the core's choice       the best set this processor can run
//                           (blas/provider_kernels.hpp)
// The provider reads its kernel set from OPENBLAS_CORETYPE when it is loaded,
// so that variable holds the set for the length of dlopen, like the thread
// count, and the caller's value, meant for a copy of its own, is put back.
// A name the provider does not know is its own to handle (it says so on the
// error stream and picks a set itself).
//
// A provider that cannot be opened, or that lacks one of the routines of
// ORB_PROVIDER_ROUTINES, leaves nothing sensible to do: the process prints
// message 771 or 772 on the error stream and ends with status
// kProviderExitCode (69, "service unavailable").  It ends through _Exit after flushing the streams, because the
// first kernel call may come from a worker of the task runtime while other
// threads wait for the binding; running the exit handlers then could deadlock.
#include "blas/provider.hpp"
#include "blas/provider_kernels.hpp"
#include "service/processor.hpp"
#include "service/scoped_env.hpp"

#include <orb/orb_service.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <string>
#include "report_ids.hpp"

namespace orb::core {

namespace {

//! What the provider says about itself, where it says it.
struct ProviderNotes {
  const char *(*kernels)() = nullptr;  // openblas_get_corename
  const char *(*config)() = nullptr;   // openblas_get_config
};

ProviderTable table;
ProviderNotes notes;
std::string bound_path;
std::atomic<bool> bound{false};
std::once_flag bind_once;

[[noreturn]] void give_up() {
  std::fflush(nullptr);
  std::_Exit(kProviderExitCode);
}

std::string chosen_path() {
  char buf[4096];
  if (orb_serv_getenv("ORB_PROVIDER", buf, sizeof buf) > 0) return buf;
  return ORB_DEFAULT_PROVIDER;
}

template <class F>
void bind(void *handle, const std::string &path, F &slot, const char *symbol) {
  void *p = dlsym(handle, symbol);
  if (!p) {
    orb_serv_print(1, orb::kMsgProviderLacks, 2, path.c_str(), symbol);
    give_up();
  }
  slot = reinterpret_cast<F>(p);
}

// The kernel set to ask for, or empty to leave the choice to the provider
// (a processor without SSE3, which none of the sets runs on).
std::string chosen_kernels() {
  char buf[64];
  if (orb_serv_getenv("ORB_PROVIDER_CORETYPE", buf, sizeof buf) > 0) return buf;
  const char *best = provider_kernels_for(this_processor());
  return best ? best : "";
}

// Opens the provider held to one thread and running the chosen kernel set.
// The environment changes once per process, at the first kernel call.
void *open_for_orb(const std::string &path) {
  const std::string kernels = chosen_kernels();
  ScopedEnv one_thread("OPENBLAS_NUM_THREADS", "1");
  ScopedEnv kernel_set("OPENBLAS_CORETYPE", kernels.empty() ? nullptr : kernels.c_str());
  return dlopen(path.c_str(), kProviderOpenFlags);
}

void open_provider() {
  const std::string path = chosen_path();
  void *handle = open_for_orb(path);
  if (!handle) {
    orb_serv_print(1, orb::kMsgProviderNotLoaded, 1, path.c_str());
    give_up();
  }
#define ORB_BIND_PROVIDER(name, type) bind(handle, path, table.name, #name "_");
  ORB_PROVIDER_ROUTINES(ORB_BIND_PROVIDER)
#undef ORB_BIND_PROVIDER
  // Optional: what the provider says about itself, for reports.
  notes.kernels = reinterpret_cast<const char *(*)()>(dlsym(handle, "openblas_get_corename"));
  notes.config = reinterpret_cast<const char *(*)()>(dlsym(handle, "openblas_get_config"));
  // The handle stays open for the life of the process: the table points into it.
  bound_path = path;
  bound.store(true, std::memory_order_release);
}

}  // namespace

const ProviderTable &provider() {
  if (!bound.load(std::memory_order_acquire)) std::call_once(bind_once, open_provider);
  return table;
}

}  // namespace orb::core

extern "C" const char *orb_serv_provider_path(void) {
  return orb::core::bound.load(std::memory_order_acquire) ? orb::core::bound_path.c_str() : nullptr;
}

extern "C" const char *orb_serv_provider_kernels(void) {
  orb::core::provider();
  return orb::core::notes.kernels ? orb::core::notes.kernels() : nullptr;
}

extern "C" const char *orb_serv_provider_config(void) {
  orb::core::provider();
  return orb::core::notes.config ? orb::core::notes.config() : nullptr;
}
