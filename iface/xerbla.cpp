// The global error handler of the standard interface.
//
// Argument errors found by any layer end here: liborb installs a handler that
// forwards to the global xerbla_, so a program that defines its own xerbla_
// (as the reference test programs do) receives every report.  Our own xerbla_
// prints the report and returns: an illegal argument never ends the program.
#include <orb/orb_service.h>

#include <cstddef>

extern "C" ORB_EXPORT void xerbla_(const char *name, const int *info, size_t len) {
  if (!name || !info) return;
  // Fortran pads the routine name with blanks; report it without them.
  while (len > 0 && name[len - 1] == ' ') --len;
  orb_serv_default_xerbla(name, info, static_cast<int>(len));
}

namespace {

void forward_to_global_xerbla(const char *name, const int *info, int len) {
  xerbla_(name, info, len > 0 ? static_cast<size_t>(len) : 0);
}

// Installed when liborb is loaded, unless the program installed a handler first.
__attribute__((constructor)) void install_interface_xerbla() {
  orb_serv_set_xerbla_interface(forward_to_global_xerbla);
}

}  // namespace
