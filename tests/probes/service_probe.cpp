// Probe for thread-control cases that need a fresh process.
//
//   service_probe env            prints what the environment reader recorded
//   service_probe cleanup N      registers N clean-ups that print their index at unload
//   service_probe xerbla NAME INFO LEN
//                                calls the default error handler
#include <orb/orb_service.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void print_index(void *arg) { std::printf("cleanup=%d\n", static_cast<int>(reinterpret_cast<intptr_t>(arg))); }

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return 2;
  if (std::strcmp(argv[1], "env") == 0) {
    OrbEnvSettings s;
    orb_serv_get_env_settings(&s);
    std::printf("num_threads=%d\nnum_stripes=%d\nblas=%d\nfft=%d\newf=%d\nkestrel=%d\ndynamic=%d\n", s.num_threads,
                s.num_stripes, s.blas_threads, s.fft_threads, s.ewf_threads, s.kestrel_threads, s.dynamic);
    std::printf("max_threads=%d\nppn=%d\ndomain=%d\n", orb_serv_get_max_threads(), orb_serv_mpi_get_ppn(),
                orb_serv_domain_get_max_threads(1));
    return 0;
  }
  if (std::strcmp(argv[1], "cleanup") == 0 && argc == 3) {
    const int n = std::atoi(argv[2]);
    for (int i = 0; i < n; ++i) {
      orb_serv_thr_register_cleanup(print_index, reinterpret_cast<void *>(static_cast<intptr_t>(i)));
      std::printf("registered=%d\n", i);
      std::fflush(stdout);
    }
    return 0;
  }
  if (std::strcmp(argv[1], "xerbla") == 0 && argc == 5) {
    const int info = std::atoi(argv[3]);
    orb_serv_default_xerbla(argv[2], &info, std::atoi(argv[4]));
    return 0;
  }
  return 2;
}
