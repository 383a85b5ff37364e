// The MPI function table of the distributed solve pieces.  The core links no
// MPI library: the table stays empty until an MPI wrapper library fills it.
#include <orb/orb_service.h>

extern "C" OrbMpiWrappers *orb_serv_get_mpi_wrappers(void) {
  static OrbMpiWrappers table{};
  return &table;
}
