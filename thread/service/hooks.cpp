// The three replaceable user hooks: error handler, progress callback and the
// direct solver's pivot callback, with their default behaviours.
//
// "set" installers replace and return the previous hook (or the default when
// none was installed); "interface" installers install only into an empty slot,
// so a user's own handler, installed first, is never overridden by a layer.
#include <orb/orb_service.h>

#include <atomic>
#include <cstring>
#include "report_ids.hpp"

namespace {

int default_progress(int *, int *, char *, int) { return 0; }

//! One replaceable hook: an installed function, or `fallback` while none is.
template <class Fn>
class Hook {
 public:
  explicit constexpr Hook(Fn fallback) : fallback_(fallback) {}

  //! The function to call.
  Fn get() const { return or_fallback(slot_.load(std::memory_order_acquire)); }
  //! True once a function has been installed.
  bool installed() const { return slot_.load(std::memory_order_acquire) != nullptr; }
  //! Installs `fn` (null puts the fallback back); returns what was in use.
  Fn replace(Fn fn) { return or_fallback(slot_.exchange(fn, std::memory_order_acq_rel)); }
  //! Installs `fn` only while nothing is installed; returns what was in use.
  Fn install_if_empty(Fn fn) {
    Fn previous = nullptr;
    slot_.compare_exchange_strong(previous, fn, std::memory_order_acq_rel);
    return or_fallback(previous);
  }

 private:
  Fn or_fallback(Fn fn) const { return fn ? fn : fallback_; }

  std::atomic<Fn> slot_{nullptr};
  const Fn fallback_;
};

Hook<orb_xerbla_fn> xerbla_hook(orb_serv_default_xerbla);
Hook<orb_progress_fn> progress_hook(default_progress);
Hook<orb_pivot_fn> kestrel_pivot_hook(orb_serv_default_kestrel_pivot);
volatile int xerbla_interface_lock = 0;

}  // namespace

extern "C" {

void orb_serv_default_xerbla(const char *name, const int *info, int len) {
  if (!name || !info || len < 0) return;
  char routine[22];
  orb_serv_strncpy_s(routine, sizeof routine, name, static_cast<size_t>(len < 20 ? len : 20));
  const int i = *info;
  orb_serv_print(0, orb::kMsgReportHeader, 0);
  switch (const orb::MessageId id = orb::message_for_info(i)) {
    case orb::kMsgInternalError: orb_serv_print(0, id, 2, -i, routine); break;
    case orb::kMsgIllegalArgument: orb_serv_print(0, id, 2, i, routine); break;
    default: orb_serv_print(0, id, 1, routine); break;
  }
}

void orb_serv_xerbla(const char *name, const int *info, int len) {
  if (!name || !info) return;
  xerbla_hook.get()(name, info, len);
}

orb_xerbla_fn orb_serv_set_xerbla(orb_xerbla_fn fn) { return xerbla_hook.replace(fn); }

orb_xerbla_fn orb_serv_set_xerbla_interface(orb_xerbla_fn fn) {
  // Checked once without the lock, and again under it.
  if (xerbla_hook.installed()) return xerbla_hook.get();
  orb_serv_lock(&xerbla_interface_lock);
  const orb_xerbla_fn previous = xerbla_hook.install_if_empty(fn);
  orb_serv_unlock(&xerbla_interface_lock);
  return previous;
}

int orb_serv_check_ptr(const void *ptr, const char *name) {
  if (ptr) return 0;
  if (!name) return 1;
  const int len = static_cast<int>(strnlen(name, 4096));
  const int info = orb::kInfoNullPointer;
  xerbla_hook.get()(name, &info, len);
  return 1;
}

int orb_serv_check_ptr_and_warn(const void *ptr, const char *) { return ptr ? 0 : 1; }

int orb_serv_progress(int *thread, int *step, char *stage, int len) {
  return progress_hook.get()(thread, step, stage, len);
}

orb_progress_fn orb_serv_set_progress(orb_progress_fn fn) { return progress_hook.replace(fn); }

orb_progress_fn orb_serv_set_progress_interface(orb_progress_fn fn) { return progress_hook.install_if_empty(fn); }

int orb_serv_default_kestrel_pivot(const void *, double *a, const double *eps) {
  if (!a || !eps) return 0;
  if (*a > *eps || *a < -*eps) return 0;
  *a = *a > 0 ? *eps : -*eps;  // an exact zero becomes -eps
  return 1;
}

int orb_serv_kestrel_pivot(const void *ctx, double *a, const double *eps) {
  return kestrel_pivot_hook.get()(ctx, a, eps);
}

orb_pivot_fn orb_serv_set_kestrel_pivot(orb_pivot_fn fn) { return kestrel_pivot_hook.replace(fn); }

orb_pivot_fn orb_serv_set_kestrel_pivot_interface(orb_pivot_fn fn) { return kestrel_pivot_hook.install_if_empty(fn); }

}  // extern "C"
