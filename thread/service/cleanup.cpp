// The clean-up list: at most 8 (function, argument) pairs run in reverse order
// of registration when the library is unloaded, or when a program asks.
//
// Registration and execution take two different locks on purpose: a clean-up
// function may itself register without deadlocking on one lock.  Such an entry
// becomes the last of the list and runs next, in the same pass, before the
// entries registered earlier; it cannot hit the limit of 8 on the entry that
// registers it, which is removed before its function is called.
//
// Since the locks differ, a registration may also race with a pass run by
// another thread.  The count is the one word they share, and both sides change
// it only by compare-and-swap from the value they read: a registration writes
// the slot at the count it read and publishes it only if the count is still
// that; a pass takes the entry below the count it read and removes it only if
// the count is still that.  Whichever loses reads the count again, so no entry
// is lost and none runs twice.
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

// Moves the count from `seen` to `next`; false (and `seen` updated) when it
// has changed since it was read.
bool move_count(int &seen, int next) {
  return __atomic_compare_exchange_n(&cleanup_list_items, &seen, next, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
}

}  // namespace

extern "C" int orb_serv_thr_register_cleanup(orb_cleanup_fn fn, void *arg) {
  orb_serv_lock(&register_lock);
  int n = __atomic_load_n(&cleanup_list_items, __ATOMIC_ACQUIRE);
  do {
    if (n >= kMaxCleanups) {
      orb_serv_unlock(&register_lock);
      orb_serv_exit(3);
      return 3;  // reached only when the exit service is replaced
    }
    cleanup_list[n] = {fn, arg};  // beyond the count: no pass reads it yet
  } while (!move_count(n, n + 1));
  orb_serv_unlock(&register_lock);
  return 0;
}

extern "C" void orb_serv_thr_cleanup(void) {
  orb_serv_lock(&call_cleanups_lock);
  int n = __atomic_load_n(&cleanup_list_items, __ATOMIC_ACQUIRE);
  while (n > 0) {
    const CleanupEntry e = cleanup_list[n - 1];
    if (!move_count(n, n - 1)) continue;  // a registration came in between
    // The entry is removed before its function runs.
    if (e.fn) e.fn(e.arg);
    n = __atomic_load_n(&cleanup_list_items, __ATOMIC_ACQUIRE);
  }
  orb_serv_unlock(&call_cleanups_lock);
}

extern "C" __attribute__((destructor)) void orb_thr_fini(void) { orb_serv_thr_cleanup(); }
