// MPI processes per node, from the launchers' variables.  Computed on the
// first call; racing first callers compute the same value, so no lock.
//
// Order: ORB_MPI_PPN, VX_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE (each a clean
// positive number wins), VX_MPI_PIN_MAPPING ("4:0,1,2,3" gives 4),
// OMPI_COMM_WORLD_LOCAL_SIZE (0 defers to MPI_LOCALNRANKS), MPI_LOCALNRANKS.
#include "service/env_parse.hpp"

#include <orb/orb_service.h>

#include <cstdlib>

namespace orb::thr {
namespace {

int ppn_cache = 0;  // 0: not computed; afterwards a positive count or -1

constexpr int kEnvBuffer = 256;

// The variable as a clean positive number, or -1.
int clean_positive(const char *name) {
  char buf[kEnvBuffer];
  long v = 0;
  if (orb_serv_getenv(name, buf, kEnvBuffer) < 1 || !clean_number(buf, &v)) return -1;
  return v > 0 && v <= 0x7fffffff ? static_cast<int>(v) : -1;
}

int compute_ppn() {
  int v = clean_positive("ORB_MPI_PPN");
  if (v > 0) return v;
  v = clean_positive("VX_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE");
  if (v > 0) return v;

  char buf[kEnvBuffer];
  if (orb_serv_getenv("VX_MPI_PIN_MAPPING", buf, kEnvBuffer) >= 1) {
    char *end = nullptr;
    const long lead = std::strtol(buf, &end, 10);
    if (end != buf && *end == ':' && lead > 0 && lead <= 0x7fffffff) return static_cast<int>(lead);
  }

  v = clean_positive("OMPI_COMM_WORLD_LOCAL_SIZE");
  if (v > 0) return v;
  // A local size of 0, or none usable: the launcher's rank count decides.
  return clean_positive("MPI_LOCALNRANKS");
}

}  // namespace
}  // namespace orb::thr

extern "C" int orb_serv_mpi_get_ppn(void) {
  int v = __atomic_load_n(&orb::thr::ppn_cache, __ATOMIC_RELAXED);
  if (v == 0) {
    v = orb::thr::compute_ppn();
    __atomic_store_n(&orb::thr::ppn_cache, v, __ATOMIC_RELAXED);
  }
  return v;
}
