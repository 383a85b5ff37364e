// The thread budget every driver asks for, the per-thread setting behind it,
// and the settings services that are inert in this layer (the task runtime's
// arena decides how many threads actually run).
#include "service/thread_state.hpp"

#include <orb/orb_service.h>

#include <cstdint>
#include <pthread.h>

namespace orb::thr {

namespace {

// The per-thread setting lives in one POSIX key.  The value stored is the
// thread count itself in the pointer slot; below 1 means "no local setting".
struct TlsKeyRecord {
  pthread_key_t key;
  int64_t spare;
  volatile int lock;
  int flags;  // bit 0: key created
};
constexpr int kKeyCreated = 1;
TlsKeyRecord tls_key_thr = {};

bool key_created() { return __atomic_load_n(&tls_key_thr.flags, __ATOMIC_ACQUIRE) & kKeyCreated; }

extern "C" void orb_tls_destroy(void *arg) {
  auto *r = static_cast<TlsKeyRecord *>(arg);
  if (__atomic_load_n(&r->flags, __ATOMIC_ACQUIRE) & kKeyCreated) {
    pthread_key_delete(r->key);
    __atomic_store_n(&r->flags, 0, __ATOMIC_RELEASE);
  }
}

void ensure_key() {
  if (key_created()) return;
  orb_serv_lock(&tls_key_thr.lock);
  if (!key_created()) {
    if (pthread_key_create(&tls_key_thr.key, nullptr) == 0) {
      tls_key_thr.spare = 0;
      __atomic_store_n(&tls_key_thr.flags, kKeyCreated, __ATOMIC_RELEASE);
      orb_serv_thr_register_cleanup(orb_tls_destroy, &tls_key_thr);
    }
  }
  orb_serv_unlock(&tls_key_thr.lock);
}

// The calling thread's setting; 0 when it has none or the key could not be made.
int get_tls() {
  ensure_key();
  if (!key_created()) return 0;
  return static_cast<int>(reinterpret_cast<intptr_t>(pthread_getspecific(tls_key_thr.key)));
}

}  // namespace

}  // namespace orb::thr

using namespace orb::thr;

extern "C" {

int orb_serv_get_max_threads(void) {
  const int local = get_tls();
  if (local > 0) return local;
  if (!environment_read()) {
    ORB_Read_ThreadENV_Count_Cores();
    if (!environment_read()) ORB_Read_ThreadENV_Count_Cores();
  }
  const int cores = __N_CPU_Packages * __N_Cores_per_Packages;
  return cores > 0 ? cores : 1;
}

int orb_serv_set_num_threads_local(int n) {
  const int previous = get_tls();
  if (key_created()) pthread_setspecific(tls_key_thr.key, reinterpret_cast<void *>(static_cast<intptr_t>(n)));
  return previous > 0 ? previous : 0;
}

// The settings below are inert in this layer: each leaves the value in force
// unchanged and returns it, as a set service returns the previous value.
int orb_serv_set_num_threads(int) { return orb_serv_get_max_threads(); }
int orb_serv_domain_set_num_threads(int, int) { return 1; }
int orb_serv_domain_get_max_threads(int) { return 1; }
int orb_serv_set_dynamic(int) { return orb_serv_get_dynamic(); }
int orb_serv_get_dynamic(void) { return 1; }
int orb_serv_set_num_stripes(int) { return orb_serv_get_num_stripes(); }
int orb_serv_get_num_stripes(void) { return 1; }
int orb_serv_omp_in_parallel(void) { return 0; }
int orb_serv_mpi_safe(void) { return 0; }

// Code of the task-runtime threading layer.
int orb_serv_get_thread_layer(void) { return 4; }

int orb_serv_get_ncpus(void) {
  ensure_environment();
  return __N_CPU_Packages;
}

int orb_serv_get_ncorespercpu(void) {
  ensure_environment();
  return __N_Cores_per_Packages;
}

int orb_serv_get_nlogicalcores(void) {
  ensure_environment();
  return __N_Logical_Cores;
}

int orb_serv_get_ht(void) {
  ensure_environment();
  return __HT;
}

}  // extern "C"
