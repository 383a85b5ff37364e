// The libraries a benchmark compares: orb's threaded drivers, the serial
// kernel provider beneath them, and the threaded libraries a user could pick
// instead.  Every foreign library is loaded privately (its own symbol scope),
// so four different `dgemm_` live side by side in one process; a library that
// cannot be loaded stays in the list with the reason, and the tables show it
// as "n/a".
#pragma once

#include <orb/orb_service.h>

#include <cstddef>
#include <cstdio>
#include <cstdint>
#include <string>
#include <vector>

namespace orb::bench {

//! Element type of a product: single, double, double complex.
enum class Precision { s, d, z };

//! How an entry point takes its integers and character lengths.
enum class CallAbi {
  orb,            //!< orb_blas_?gemm: 64-bit integers, no character lengths
  fortran_ilp64,  //!< provider dgemm_: 64-bit integers, trailing character lengths
  fortran_lp64,   //!< peer dgemm_: 32-bit integers, trailing character lengths
};

//! One library's gemm entry points, null where it has none.
struct GemmEntries {
  void *s = nullptr;
  void *d = nullptr;
  void *z = nullptr;
  void *get(Precision p) const { return p == Precision::s ? s : p == Precision::d ? d : z; }
};

//! The kernel set a library ran and how it came to run it (kernel_sets.hpp).
struct KernelSet {
  std::string ran;     //!< what the library reports running; empty when it does not say
  std::string own;     //!< a peer's own pick in this environment; empty when unknown, and for orb's provider
  std::string forced;  //!< the setting that forced `ran` ("OPENBLAS_CORETYPE=Cooperlake"); empty when none
};

//! A library under measurement; `missing` is empty when it can be called.
struct GemmLibrary {
  std::string key;       //!< short name in CSV and JSON: orb, serial, openblas, blis
  std::string label;     //!< name in the tables
  std::string path;      //!< the file it came from (empty for orb itself)
  std::string about;     //!< what the library says about itself (version, configuration)
  std::string missing;   //!< why it cannot be measured; empty when it can
  int threads = 1;       //!< threads it was told to use
  bool peer = false;     //!< a library a user would pick instead of orb (enters "best peer")
  double settle_s = 0;   //!< pause after a batch of its calls, while its idle workers go to sleep
  CallAbi abi = CallAbi::orb;
  GemmEntries entries;
  KernelSet kernels;     //!< for orb, its provider's

  bool available() const { return missing.empty(); }
};

//! Default locations of the Debian packages the benchmark compares against;
//! the provider's is the one orb's core is configured with.
#ifdef ORB_DEFAULT_PROVIDER
inline constexpr const char *kSerialProviderPath = ORB_DEFAULT_PROVIDER;
#else
inline constexpr const char *kSerialProviderPath = "/usr/lib/x86_64-linux-gnu/openblas64-pthread/libopenblas64.so.0";
#endif
inline constexpr const char *kOpenBlasPthreadPath = "/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0";
inline constexpr const char *kBlisPthreadPath = "/usr/lib/x86_64-linux-gnu/blis-pthread/libblis.so.4";

//! Flags for loading a peer: resolved now, private scope, its own symbols first.
int private_dlopen_flags();

//! orb's own threaded drivers, with the budget they will use.
GemmLibrary orb_library(int threads);

//! The 64-bit-integer provider from `path`, held to one thread and called on the calling thread.
GemmLibrary serial_provider(const std::string &path);

//! A threaded library with 32-bit-integer BLAS names, told to use `threads`;
//! given its own kernel set (`own_kernels`, empty when unknown), it runs the
//! best set of the processor instead where its own is less (kernel_sets.hpp).
GemmLibrary openblas_pthread(const std::string &path, int threads, const std::string &own_kernels = "");
GemmLibrary blis_pthread(const std::string &path, int threads, const std::string &own_kernels = "");

//! The provider file orb's core bound, or the default location when it reports none.
std::string orb_provider_path();

//! Every library of a gemm comparison, orb first.
std::vector<GemmLibrary> gemm_libraries(int threads);

//! What a subcommand starts with: its options parsed by parse (on a bad one,
//! the message and the usage go to the error stream and the answer is false),
//! and the calling thread's budget set from o.threads when given.
template <class Options, class Parse>
bool start_subcommand(const char *name, const std::vector<std::string> &args, Options &o, Parse parse,
                      const char *usage) {
  std::string error;
  if (!parse(args, o, error)) {
    std::fprintf(stderr, "orb-bench %s: %s\n%s", name, error.c_str(), usage);
    return false;
  }
  if (o.threads > 0) orb_serv_set_num_threads_local(o.threads);
  return true;
}

//! The same, and the BLAS libraries to compare on the budget's thread count.
template <class Options, class Parse>
bool start_subcommand(const char *name, const std::vector<std::string> &args, Options &o, Parse parse,
                      const char *usage, std::vector<GemmLibrary> &libs) {
  if (!start_subcommand(name, args, o, parse, usage)) return false;
  libs = gemm_libraries(orb_serv_get_max_threads());
  return true;
}

}  // namespace orb::bench
