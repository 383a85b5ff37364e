// Lock word, yield and process exit.
//
// The lock is a test-and-test-and-set spin lock on a caller-owned int: the
// places that take it (one-time readers, installers) hold it for microseconds,
// so a futex would buy nothing.  After a short spin the waiter yields.
#include <orb/orb_service.h>

#include <cstdlib>
#include <sched.h>
#include <unistd.h>

extern "C" void orb_serv_lock(volatile int *lock_word) {
  if (!lock_word) return;
  for (int spins = 0;; ++spins) {
    if (__atomic_load_n(lock_word, __ATOMIC_RELAXED) == 0 &&
        __atomic_exchange_n(lock_word, 1, __ATOMIC_ACQUIRE) == 0)
      return;
    if (spins < 64)
      __builtin_ia32_pause();
    else
      sched_yield();
  }
}

extern "C" void orb_serv_unlock(volatile int *lock_word) {
  if (lock_word) __atomic_store_n(lock_word, 0, __ATOMIC_RELEASE);
}

extern "C" void orb_serv_thread_yield(void) { sleep(0); }

extern "C" void orb_serv_exit(int code) { std::exit(code); }
