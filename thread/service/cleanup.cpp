// The clean-up list: at most 8 (function, argument) pairs run in reverse order
// of registration when the library is unloaded, or when a program asks.
//
// Registration and execution take two different locks on purpose: a clean-up
// function may itself register without deadlocking on one lock.  Such an entry
// becomes the last of the list and runs next, in the same pass, before the
// entries registered earlier; it cannot hit the limit of 8 on the entry that
// registers it, which is removed before its function is called.
#include <orb/orb_service.h>

namespace {

struct CleanupEntry {
  orb_cleanup_fn fn;
  void *arg;
};

constexpr int kMaxCleanups = 8;
CleanupEntry cleanup_list[kMaxCleanups];
int cleanup_list_items = 0;

volatile int register_lock = 0;  // orb_serv_thr_register_cleanup's lock
volatile int call_cleanups_lock = 0;

}  // namespace

extern "C" int orb_serv_thr_register_cleanup(orb_cleanup_fn fn, void *arg) {
  orb_serv_lock(&register_lock);
  const int n = __atomic_load_n(&cleanup_list_items, __ATOMIC_ACQUIRE);
  if (n >= kMaxCleanups) {
    orb_serv_unlock(&register_lock);
    orb_serv_exit(3);
    return 3;  // reached only when the exit service is replaced
  }
  cleanup_list[n] = {fn, arg};
  __atomic_store_n(&cleanup_list_items, n + 1, __ATOMIC_RELEASE);
  orb_serv_unlock(&register_lock);
  return 0;
}

extern "C" void orb_serv_thr_cleanup(void) {
  orb_serv_lock(&call_cleanups_lock);
  for (;;) {
    const int n = __atomic_load_n(&cleanup_list_items, __ATOMIC_ACQUIRE);
    if (n <= 0) break;
    const CleanupEntry e = cleanup_list[n - 1];
    // The entry is removed before its function runs.
    __atomic_store_n(&cleanup_list_items, n - 1, __ATOMIC_RELEASE);
    if (e.fn) e.fn(e.arg);
  }
  orb_serv_unlock(&call_cleanups_lock);
}

extern "C" __attribute__((destructor)) void orb_thr_fini(void) { orb_serv_thr_cleanup(); }
