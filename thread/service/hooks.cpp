// The three replaceable user hooks: error handler, progress callback and the
// direct solver's pivot callback, with their default behaviours.
//
// "set" installers replace and return the previous hook (or the default when
// none was installed); "interface" installers install only into an empty slot,
// so a user's own handler, installed first, is never overridden by a layer.
#include <orb/orb_service.h>

#include <atomic>
#include <cstring>

namespace {

std::atomic<orb_xerbla_fn> orb_xerbla_address{nullptr};
std::atomic<orb_progress_fn> orb_progress_address{nullptr};
std::atomic<orb_pivot_fn> orb_kestrel_pivot_address{nullptr};
volatile int xerbla_interface_lock = 0;

int default_progress(int *, int *, char *, int) { return 0; }

}  // namespace

extern "C" {

void orb_serv_default_xerbla(const char *name, const int *info, int len) {
  if (!name || !info || len < 0) return;
  char routine[22];
  orb_serv_strncpy_s(routine, sizeof routine, name, static_cast<size_t>(len < 20 ? len : 20));
  const int i = *info;
  orb_serv_print(0, 0, 0);
  if (i == 1000)
    orb_serv_print(0, 8, 1, routine);
  else if (i == 1001)
    orb_serv_print(0, 9, 1, routine);
  else if (i == 1102)
    orb_serv_print(0, 1102, 1, routine);
  else if (i == 1225)
    orb_serv_print(0, 1225, 1, routine);
  else if (i < 1)
    orb_serv_print(0, 7, 2, -i, routine);
  else
    orb_serv_print(0, 6, 2, i, routine);
}

void orb_serv_xerbla(const char *name, const int *info, int len) {
  if (!name || !info) return;
  const orb_xerbla_fn fn = orb_xerbla_address.load(std::memory_order_acquire);
  (fn ? fn : orb_serv_default_xerbla)(name, info, len);
}

orb_xerbla_fn orb_serv_set_xerbla(orb_xerbla_fn fn) {
  const orb_xerbla_fn previous = orb_xerbla_address.exchange(fn, std::memory_order_acq_rel);
  return previous ? previous : orb_serv_default_xerbla;
}

orb_xerbla_fn orb_serv_set_xerbla_interface(orb_xerbla_fn fn) {
  orb_xerbla_fn previous = orb_xerbla_address.load(std::memory_order_acquire);
  if (!previous) {
    orb_serv_lock(&xerbla_interface_lock);
    previous = orb_xerbla_address.load(std::memory_order_acquire);
    if (!previous) orb_xerbla_address.store(fn, std::memory_order_release);
    orb_serv_unlock(&xerbla_interface_lock);
  }
  return previous ? previous : orb_serv_default_xerbla;
}

int orb_serv_check_ptr(const void *ptr, const char *name) {
  if (ptr) return 0;
  if (!name) return 1;
  const int len = static_cast<int>(strnlen(name, 4096));
  const int info = 1102;
  const orb_xerbla_fn fn = orb_xerbla_address.load(std::memory_order_acquire);
  (fn ? fn : orb_serv_default_xerbla)(name, &info, len);
  return 1;
}

int orb_serv_check_ptr_and_warn(const void *ptr, const char *) { return ptr ? 0 : 1; }

int orb_serv_progress(int *thread, int *step, char *stage, int len) {
  const orb_progress_fn fn = orb_progress_address.load(std::memory_order_acquire);
  return fn ? fn(thread, step, stage, len) : 0;
}

orb_progress_fn orb_serv_set_progress(orb_progress_fn fn) {
  const orb_progress_fn previous = orb_progress_address.exchange(fn, std::memory_order_acq_rel);
  return previous ? previous : default_progress;
}

orb_progress_fn orb_serv_set_progress_interface(orb_progress_fn fn) {
  orb_progress_fn previous = nullptr;
  orb_progress_address.compare_exchange_strong(previous, fn, std::memory_order_acq_rel);
  return previous ? previous : default_progress;
}

int orb_serv_default_kestrel_pivot(const void *, double *a, const double *eps) {
  if (!a || !eps) return 0;
  if (*a > *eps || *a < -*eps) return 0;
  *a = *a > 0 ? *eps : -*eps;  // an exact zero becomes -eps
  return 1;
}

int orb_serv_kestrel_pivot(const void *ctx, double *a, const double *eps) {
  const orb_pivot_fn fn = orb_kestrel_pivot_address.load(std::memory_order_acquire);
  return (fn ? fn : orb_serv_default_kestrel_pivot)(ctx, a, eps);
}

orb_pivot_fn orb_serv_set_kestrel_pivot(orb_pivot_fn fn) {
  const orb_pivot_fn previous = orb_kestrel_pivot_address.exchange(fn, std::memory_order_acq_rel);
  return previous ? previous : orb_serv_default_kestrel_pivot;
}

orb_pivot_fn orb_serv_set_kestrel_pivot_interface(orb_pivot_fn fn) {
  orb_pivot_fn previous = nullptr;
  orb_kestrel_pivot_address.compare_exchange_strong(previous, fn, std::memory_order_acq_rel);
  return previous ? previous : orb_serv_default_kestrel_pivot;
}

}  // extern "C"
