// The calling thread's state in the elementwise math module (state.cpp).
#pragma once

#include <orb/orb_vm.h>

namespace orb::vm {

struct ThreadState {
  unsigned mode = 0;
  int status = 0;
  orb_vm_error_callback callback = nullptr;
  const void *input = nullptr;  //!< the whole input vector, while a threader runs pieces of it
};

//! The calling thread's state.
ThreadState &state();

//! 0 for high accuracy (the default), 1 for low accuracy and the fast mode.
inline int accuracy_of(unsigned mode) {
  const unsigned a = mode & ORB_VM_ACCURACY_MASK;
  return a == ORB_VM_LA || a == ORB_VM_EP ? 1 : 0;
}

}  // namespace orb::vm
