// The global error handler of the standard interface.
//
// Argument errors found by any layer end here: liborb installs a handler that
// forwards to the global xerbla_, so a program that defines its own xerbla_
// (as the reference test programs do) receives every report.  Our own xerbla_
// prints the report and returns: an illegal argument never ends the program.
//
// The CBLAS names report through cblas_xerbla, which programs written against
// the C interface may define themselves (with RowMajorStrg, which such
// programs expect the library to define).  Ours places the argument as the
// caller counts it and hands the report on to xerbla_ under the CBLAS
// routine's name, so that one handler sees both interfaces.
#include <orb/orb_cblas.h>
#include <orb/orb_service.h>

#include <cstddef>
#include <cstring>

extern "C" ORB_EXPORT void xerbla_(const char *name, const int *info, size_t len) {
  if (!name || !info) return;
  // Fortran pads the routine name with blanks; report it without them.
  while (len > 0 && name[len - 1] == ' ') --len;
  orb_serv_default_xerbla(name, info, static_cast<int>(len));
}

ORB_EXPORT int RowMajorStrg = 0;

// A row-major call was checked as its column-major twin, whose m and n (and,
// for gemm, lda and ldb) stand in each other's places:
//   cblas_dgemm(RowMajor, N, N, m = -1, ...)  checked as dgemm(N, N, n, m, ...):
//   argument 4 of dgemm, reported as 5, is the caller's m, argument 4.
extern "C" void cblas_xerbla(int info, const char *rout, const char *, ...) {
  if (!rout) return;
  if (__atomic_load_n(&RowMajorStrg, __ATOMIC_RELAXED)) {
    struct Exchange {
      const char *family;
      int a, b;
    };
    static const Exchange exchanges[] = {{"gemm", 4, 5}, {"gemm", 9, 11}, {"gemv", 3, 4}};
    for (const Exchange &e : exchanges) {
      if (!std::strstr(rout, e.family)) continue;
      if (info == e.a) {
        info = e.b;
        break;
      }
      if (info == e.b) {
        info = e.a;
        break;
      }
    }
  }
  xerbla_(rout, &info, std::strlen(rout));
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
