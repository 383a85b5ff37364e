// One-time reading of the thread-control environment and the topology.
//
// Order matters and is fixed: the thread count, stripes, domain list, dynamic
// switch, the two variables read only for their side effects (with the MPI
// processes-per-node cache filled between them), then the topology count.
#include "service/env_parse.hpp"
#include "service/thread_state.hpp"
#include "service/topology.hpp"

#include <orb/orb_service.h>

extern "C" {
int __orb_num_threads = -1;
int __orb_num_stripes = -1;
int __orb_blas_num_threads = -1;
int __orb_fft_num_threads = -1;
int __orb_ewf_num_threads = -1;
int __orb_kestrel_num_threads = -1;
int __orb_dynamic = -1;

int __N_CPU_Packages = -1;
int __N_Cores_per_Packages = -1;
int __N_Logical_Cores = 1;
int __HT = -1;
unsigned char __threads_env_NOT_readed = 0;
}

namespace orb::thr {

namespace {

volatile int env_read_lock = 0;
constexpr int kEnvBuffer = 256;

// Fetches a variable into buf; false when absent (or empty).
bool fetch(const char *name, char (&buf)[kEnvBuffer]) { return orb_serv_getenv(name, buf, kEnvBuffer) >= 1; }

void read_environment() {
  char buf[kEnvBuffer];
  if (fetch("ORB_NUM_THREADS", buf)) {
    const int v = all_digit_value(buf, 1);
    if (v >= 1 && __orb_num_threads == kUnset) __orb_num_threads = v;
  }
  if (fetch("ORB_NUM_STRIPES", buf)) {
    const int v = all_digit_value(buf, kUnset);  // anything but digits: ignored
    if (v >= 0 && __orb_num_stripes == kUnset) __orb_num_stripes = v;
  }
  if (fetch("ORB_DOMAIN_NUM_THREADS", buf)) {
    int domains[kDomainCount] = {__orb_num_threads, __orb_blas_num_threads, __orb_fft_num_threads,
                                 __orb_ewf_num_threads, __orb_kestrel_num_threads};
    parse_domain_list(buf, domains);
    __orb_num_threads = domains[kDomainAll];
    __orb_blas_num_threads = domains[kDomainBlas];
    __orb_fft_num_threads = domains[kDomainFft];
    __orb_ewf_num_threads = domains[kDomainEwf];
    __orb_kestrel_num_threads = domains[kDomainKestrel];
  }
  if (__orb_dynamic == kUnset) __orb_dynamic = fetch("ORB_DYNAMIC", buf) ? dynamic_value(buf) : 1;

  // Read for their side effects only: the values are not used by this layer,
  // but the MPI processes-per-node cache is filled at this point.
  if (fetch("OMP_NUM_THREADS", buf)) (void)all_digit_value(buf, 1);
  (void)orb_serv_mpi_get_ppn();
  if (fetch("VX_MPI_THREAD_LEVEL", buf)) (void)all_digit_value(buf, 1);
}

// The topology count: first reading of /proc/cpuinfo, the APIC probe, second
// reading, decision.  A probe that cannot run leaves one package of one core.
Topology count_topology() {
  static constexpr const char *kCpuinfo = "/proc/cpuinfo";
  const int processors = count_processor_lines(kCpuinfo);
  ProbeCounts probe;
  if (!probe_apic_ids(processors, probe)) return Topology{};
  return decide_topology(read_cpuinfo_counts(kCpuinfo), probe);
}

}  // namespace

void ORB_Read_ThreadENV_Count_Cores() {
  orb_serv_lock(&env_read_lock);
  if (environment_read()) {
    orb_serv_unlock(&env_read_lock);
    return;
  }
  read_environment();
  const Topology t = count_topology();
  __N_Logical_Cores = t.logical;
  __N_CPU_Packages = t.packages;
  __N_Cores_per_Packages = t.packages > 0 ? t.total_cores / t.packages : t.total_cores;
  __HT = t.total_cores != t.logical ? 1 : 0;
  __atomic_store_n(&__threads_env_NOT_readed, 1, __ATOMIC_RELEASE);
  orb_serv_unlock(&env_read_lock);
}

}  // namespace orb::thr

extern "C" void orb_serv_get_env_settings(OrbEnvSettings *s) {
  orb::thr::ensure_environment();
  if (!s) return;
  s->num_threads = __orb_num_threads;
  s->num_stripes = __orb_num_stripes;
  s->blas_threads = __orb_blas_num_threads;
  s->fft_threads = __orb_fft_num_threads;
  s->ewf_threads = __orb_ewf_num_threads;
  s->kestrel_threads = __orb_kestrel_num_threads;
  s->dynamic = __orb_dynamic;
}
