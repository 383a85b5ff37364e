// Case-insensitive comparison of option characters ('N', 't', ...), as the
// BLAS and LAPACK arguments are read.
#include <orb/orb_service.h>

#include <cctype>

extern "C" int orb_serv_lsame(const char *a, const char *b) {
  if (!a || !b) return 0;
  return std::toupper(static_cast<unsigned char>(*a)) == std::toupper(static_cast<unsigned char>(*b));
}
