// Opening the second kernel provider and binding its routines, once per process.
//
// Which file is opened:
//   ORB_PROVIDER2   path of the file to open instead of the default; an empty
//                   value means the default, "none" opens none.  The file must
//                   export the standard Fortran names with 64-bit integers and
//                   be safe to call from several threads at once.
//   default         ORB_DEFAULT_PROVIDER2, fixed when the library is configured:
//                   the distribution's serial BLIS with 64-bit integers.  Its
//                   serial build is safe for concurrent callers: its critical
//                   sections lock a mutex whatever the build's threading.
//
// It is opened as the first provider is (RTLD_LOCAL, and RTLD_DEEPBIND outside
// sanitizer builds).  Unlike the first, it is an optimisation: when the
// default file is missing, the process runs without it and says nothing; when
// a file named in ORB_PROVIDER2 cannot be opened or lacks a routine, message
// 773 says so once on the error stream and the process runs without it.
//
// Which kernels it runs: the configuration blas/provider_kernels.hpp chooses
// for this processor.  The library reads the number of its configuration from
// BLIS_ARCH_TYPE when it initialises, which it does at its first call; so the
// core initialises it explicitly (bli_init) right after opening it, with the
// variable holding the chosen number, and puts the caller's value, meant for
// a copy of its own, back.  A library without bli_init is taken as it is.
#include "blas/provider2.hpp"
#include "blas/provider_kernels.hpp"
#include "service/processor.hpp"
#include "service/scoped_env.hpp"

#include <orb/orb_service.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <string>
#include "report_ids.hpp"

namespace orb::core {

namespace {

Provider2Table table;
std::string bound_path;
const char *config_name = nullptr;  // the configuration it runs, as it names it
std::atomic<bool> bound{false};
std::once_flag bind_once;

// Initialises the library at `handle` running the core's configuration.
void initialise(void *handle) {
  auto init = reinterpret_cast<void (*)()>(dlsym(handle, "bli_init"));
  auto arch_name = reinterpret_cast<const char *(*)(int)>(dlsym(handle, "bli_arch_string"));
  auto arch_id = reinterpret_cast<int (*)()>(dlsym(handle, "bli_arch_query_id"));
  if (!init) return;
  const int number = arch_name ? provider2_config_number(arch_name, provider2_config_for(this_processor())) : -1;
  {
    // A number the library lacks is left to its own detection, the caller's
    // value included: the library ends the process on a number it was not built with.
    const std::string text = std::to_string(number);
    ScopedEnv arch("BLIS_ARCH_TYPE", number >= 0 ? text.c_str() : nullptr);
    init();
  }
  if (arch_name && arch_id) config_name = arch_name(arch_id());
}

// The leak checker of an AddressSanitizer build crashes at exit while it scans
// the thread-local blocks this library gives each thread, so such a build
// opens the second provider only when ORB_PROVIDER2 names it.
#if defined(__SANITIZE_ADDRESS__)
constexpr const char *kDefaultProvider2 = "";
#else
constexpr const char *kDefaultProvider2 = ORB_DEFAULT_PROVIDER2;
#endif

void open_provider2() {
  char buf[4096];
  const bool named = orb_serv_getenv("ORB_PROVIDER2", buf, sizeof buf) > 0;
  if (named && std::strcmp(buf, "none") == 0) return;
  const std::string path = named ? buf : kDefaultProvider2;
  if (path.empty()) return;
  void *handle = dlopen(path.c_str(), kProviderOpenFlags);
  if (!handle) {
    if (named) orb_serv_print(1, orb::kMsgProvider2Unused, 2, path.c_str(), "it cannot be loaded");
    return;
  }
  Provider2Table found{};
  const char *lacking = nullptr;
#define ORB_BIND_PROVIDER2(name, type)                                  \
  found.name = reinterpret_cast<type>(dlsym(handle, #name "_"));       \
  if (!found.name && !lacking) lacking = "it lacks the routine " #name "_";
  ORB_PROVIDER2_ROUTINES(ORB_BIND_PROVIDER2)
#undef ORB_BIND_PROVIDER2
#define ORB_BIND_OPTIONAL(name, type) found.name = reinterpret_cast<type>(dlsym(handle, #name "_"));
  ORB_PROVIDER2_OPTIONAL(ORB_BIND_OPTIONAL)
#undef ORB_BIND_OPTIONAL
  if (lacking) {
    if (named) orb_serv_print(1, orb::kMsgProvider2Unused, 2, path.c_str(), lacking);
    dlclose(handle);
    return;
  }
  initialise(handle);
  // The handle stays open for the life of the process: the table points into it.
  table = found;
  bound_path = path;
  bound.store(true, std::memory_order_release);
}

}  // namespace

const Provider2Table *provider2() {
  std::call_once(bind_once, open_provider2);
  return bound.load(std::memory_order_acquire) ? &table : nullptr;
}

bool second_provider_wide() {
  static const bool wide = [] {
    IsaTier tier = IsaTier::baseline;
    return provider2() && config_name && provider2_config_tier(config_name, tier) && tier >= IsaTier::avx512;
  }();
  return wide;
}

}  // namespace orb::core

extern "C" const char *orb_serv_provider2_path(void) {
  return orb::core::provider2() ? orb::core::bound_path.c_str() : nullptr;
}

extern "C" const char *orb_serv_provider2_config(void) {
  return orb::core::provider2() ? orb::core::config_name : nullptr;
}
