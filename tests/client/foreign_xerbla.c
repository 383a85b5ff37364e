/* A library with an error handler of its own, as an interpreter's numerical
 * module has one: loaded by the program with RTLD_LOCAL, after orb.  Built
 * twice: plain, and with FOREIGN_IS_LAPACK, where it also defines a LAPACK
 * routine and so stands for a LAPACK library whose handler orb passes over. */
#include <stddef.h>
#include <string.h>

static int reports;
static char last_name[16];
static int last_info;

void xerbla_(const char *name, const int *info, size_t len) {
  ++reports;
  len = len < sizeof last_name - 1 ? len : sizeof last_name - 1;
  memcpy(last_name, name, len);
  last_name[len] = '\0';
  last_info = *info;
}

#ifdef FOREIGN_IS_LAPACK
void dgetrf_(void) {}
#endif

int foreign_reports(void) { return reports; }
const char *foreign_last_name(void) { return last_name; }
int foreign_last_info(void) { return last_info; }
