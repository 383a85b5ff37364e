// The global error handlers of the standard interface, and the one route every
// argument report takes.
//
// Every layer reports through the threading layer's installed handler
// (orb_serv_xerbla).  liborb installs, unless the program installed its own
// first, a handler that forwards to the global xerbla_: a program that defines
// xerbla_ (as the reference test programs do) receives every report.
//
// Our own xerbla_ is found first whenever liborb is preloaded, also by the
// libraries a program loads later with RTLD_LOCAL, which bring their own
// handler and expect their calls to reach it (an interpreter's numerical
// module defines xerbla_ to turn a report into the interpreter's error).  So
// ours first looks for another xerbla_ among the loaded objects, in load
// order, and hands the report to the first it finds; it prints the report
// itself only when there is none.  Objects that also define a BLAS or LAPACK
// routine are passed over: their xerbla_ is the default report of a library
// orb stands in for, not a handler of the program's.
//
// The CBLAS names report through cblas_xerbla, which programs written against
// the C interface may define themselves (with RowMajorStrg, which such
// programs expect the library to define).  A row-major call was checked as its
// column-major twin; ours puts the reported position back where the caller
// counts it, by the exchanges the reporting family named, and hands the report
// to the installed handler under the CBLAS routine's name.
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <string>
#include <vector>

#include "report.hpp"

namespace {

using FortranXerblaFn = void (*)(const char *, const int *, size_t);

//! The names of the loaded shared objects, in load order (the program itself
//! and the kernel's virtual object left out).
std::vector<std::string> loaded_objects() {
  std::vector<std::string> names;
  dl_iterate_phdr(
      [](dl_phdr_info *info, size_t, void *out) {
        if (info->dlpi_name && info->dlpi_name[0] == '/')
          static_cast<std::vector<std::string> *>(out)->emplace_back(info->dlpi_name);
        return 0;
      },
      &names);
  return names;
}

//! `symbol` if the object of `handle` defines it itself (not a dependency).
void *own_symbol(void *handle, const char *symbol) {
  void *sym = dlsym(handle, symbol);
  if (!sym) return nullptr;
  link_map *owner = nullptr, *object = nullptr;
  Dl_info info;
  if (!dladdr1(sym, &info, reinterpret_cast<void **>(&owner), RTLD_DL_LINKMAP)) return nullptr;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &object) != 0) return nullptr;
  return owner == object ? sym : nullptr;
}

//! The first xerbla_ of a loaded object that is not a BLAS or LAPACK library.
FortranXerblaFn foreign_xerbla() {
  for (const std::string &name : loaded_objects()) {
    void *handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (!handle) continue;
    void *found = own_symbol(handle, "xerbla_");
    if (found && (own_symbol(handle, "dgemm_") || own_symbol(handle, "dgetrf_"))) found = nullptr;
    dlclose(handle);
    if (found) return reinterpret_cast<FortranXerblaFn>(found);
  }
  return nullptr;
}

thread_local bool reporting = false;

}  // namespace

extern "C" ORB_EXPORT void xerbla_(const char *name, const int *info, size_t len) {
  if (!name || !info) return;
  if (!reporting) {  // a handler that calls back here gets our own report
    reporting = true;
    const FortranXerblaFn other = foreign_xerbla();
    if (other) other(name, info, len);
    reporting = false;
    if (other) return;
  }
  // Fortran pads the routine name with blanks; report it without them.
  while (len > 0 && name[len - 1] == ' ') --len;
  orb_serv_default_xerbla(name, info, static_cast<int>(len));
}

ORB_EXPORT int RowMajorStrg = 0;

// The exchanges the reporting family named for a row-major call, e.g. for
// gemm (m, n) and (lda, ldb):
//   cblas_dgemm(RowMajor, N, N, m = -1, ...)  checked as dgemm(N, N, n, m, ...):
//   argument 4 of dgemm, reported as 5, is the caller's m, argument 4.
extern "C" void cblas_xerbla(int info, const char *rout, const char *, ...) {
  if (!rout) return;
  if (__atomic_load_n(&RowMajorStrg, __ATOMIC_RELAXED)) info = orb::iface::row_major_position(info);
  orb_serv_xerbla(rout, &info, static_cast<int>(std::strlen(rout)));
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

// XERBLA_ARRAY(SRNAME_ARRAY, SRNAME_LEN, INFO): the report of a caller that
// has its name as an array of characters (a C program, say); it goes to
// xerbla_ with the name cut to the handler's 32 characters, as the standard
// routine does.
extern "C" ORB_EXPORT void xerbla_array_(const char *name, const int *len, const int *info, size_t) {
  char buf[33] = {};
  const int n = len && *len > 0 ? (*len < 32 ? *len : 32) : 0;
  if (name) std::memcpy(buf, name, static_cast<size_t>(n));
  xerbla_(buf, info, static_cast<size_t>(n));
}
