// Process-wide state of thread control, shared by the files of service/.
//
// The settings read from the environment are recorded for the process but no
// query of this layer consults them: the task runtime's arena decides
// concurrency, and the budget is the caller's local setting or the physical
// core count.  They are kept so that the environment is parsed with the same
// rules everywhere and so that reports can show what was recognised.
#pragma once

#include <cstdint>

extern "C" {
extern int __orb_num_threads;
extern int __orb_num_stripes;
extern int __orb_blas_num_threads;
extern int __orb_fft_num_threads;
extern int __orb_ewf_num_threads;
extern int __orb_kestrel_num_threads;
extern int __orb_dynamic;

extern int __N_CPU_Packages;
extern int __N_Cores_per_Packages;
extern int __N_Logical_Cores;
extern int __HT;
extern unsigned char __threads_env_NOT_readed;  // 1 once read, despite the name
}

namespace orb::thr {

//! True once the environment and topology have been read (acquire load).
inline bool environment_read() { return __atomic_load_n(&__threads_env_NOT_readed, __ATOMIC_ACQUIRE) != 0; }

//! Reads the environment and topology once per process, under its own lock.
void ORB_Read_ThreadENV_Count_Cores();

//! Makes sure the environment has been read.
inline void ensure_environment() {
  if (!environment_read()) ORB_Read_ThreadENV_Count_Cores();
}

}  // namespace orb::thr
