// The module's per-thread state: mode word, error status, error callback and
// the whole input vector that the pieces a thread computes belong to.
//
// A thread starts with mode 0 (high accuracy, status and callback on errors,
// the runtime's splitting), status 0 and no callback.  The threaders copy the
// caller's mode and callback into every thread that computes a piece of the
// caller's vector, through the entry points below.
#include "vm/state.hpp"

#include <orb/internal/orb_ewf.h>

namespace orb::vm {

ThreadState &state() {
  static thread_local ThreadState s;
  return s;
}

}  // namespace orb::vm

using orb::vm::state;

extern "C" {

orb_vm_error_callback orb_ewf_kernel_GetErrorCallBack(void) { return state().callback; }
orb_vm_error_callback orb_ewf_kernel_SetErrorCallBack(orb_vm_error_callback callback) {
  const orb_vm_error_callback old = state().callback;
  state().callback = callback;
  return old;
}
unsigned orb_ewf_kernel_GetMode(void) { return state().mode; }
unsigned orb_ewf_kernel_SetMode(unsigned mode) {
  const unsigned old = state().mode;
  state().mode = mode;
  return old;
}
void orb_ewf_kernel_SetInterfInputVectorPointer(const void *x) { state().input = x; }
int orb_ewf_kernel_GetErrStatus(void) { return state().status; }
int orb_ewf_kernel_SetErrStatus(int status) { return state().status = status; }

}  // extern "C"
