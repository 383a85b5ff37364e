// orb-info: what orb sees on this machine, for a person deciding how to run it.
// It binds the kernel provider to report which file it is and which kernel set
// it runs; a provider that cannot be bound ends it, as it would a kernel call.
// It opens the second provider too, and shows it and its configuration, or
// "none" when the process has none.
//
//   orb-info          human-readable report
//   orb-info --json   the same as one JSON object
#include <orb/orb_service.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

struct EnvLine {
  const char *variable;
  int recorded;
};

// A JSON string, or null for a missing text.  Provider reports and paths hold
// no quotes or control characters, but a backslash or quote is escaped anyway.
std::string json_text(const char *text) {
  if (!text) return "null";
  std::string s = "\"";
  for (const char *p = text; *p; ++p) {
    if (*p == '"' || *p == '\\') s += '\\';
    if (static_cast<unsigned char>(*p) >= 0x20) s += *p;
  }
  return s + "\"";
}

void print_value(bool json, const char *key, int value, bool last = false) {
  if (json)
    std::printf("    \"%s\": %d%s\n", key, value, last ? "" : ",");
  else if (value == -1)
    std::printf("  %-26s not set\n", key);
  else
    std::printf("  %-26s %d\n", key, value);
}

}  // namespace

int main(int argc, char **argv) {
  bool json = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--json") == 0) {
      json = true;
    } else {
      std::fprintf(stderr, "usage: %s [--json]\n", argv[0]);
      return 2;
    }
  }

  char version[32];
  orb_serv_get_version_string(version, sizeof version);
  const int budget = orb_serv_get_max_threads();
  const int packages = orb_serv_get_ncpus();
  const int cores = orb_serv_get_ncorespercpu();
  const int logical = orb_serv_get_nlogicalcores();
  const int ht = orb_serv_get_ht();
  const int ppn = orb_serv_mpi_get_ppn();
  OrbEnvSettings env;
  orb_serv_get_env_settings(&env);
  const int cbwr = orb_serv_cbwr_get(-1);
  const char *kernels = orb_serv_provider_kernels();  // binds the provider
  const char *provider = orb_serv_provider_path(), *config = orb_serv_provider_config();
  const char *provider2 = orb_serv_provider2_path(), *Provider2Config = orb_serv_provider2_config();
  char asked[64];
  const bool overridden = orb_serv_getenv("ORB_PROVIDER_CORETYPE", asked, sizeof asked) > 0;

  const EnvLine lines[] = {
      {"ORB_NUM_THREADS", env.num_threads},     {"ORB_NUM_STRIPES", env.num_stripes},
      {"ORB_DOMAIN_BLAS", env.blas_threads},    {"ORB_DOMAIN_FFT", env.fft_threads},
      {"ORB_DOMAIN_EWF", env.ewf_threads},      {"ORB_DOMAIN_KESTREL", env.kestrel_threads},
      {"ORB_DYNAMIC", env.dynamic},
  };

  if (json) {
    std::printf("{\n  \"version\": \"%s\",\n  \"thread_layer\": %d,\n", version, orb_serv_get_thread_layer());
    std::printf("  \"max_threads\": %d,\n  \"packages\": %d,\n  \"cores_per_package\": %d,\n", budget, packages,
                cores);
    std::printf("  \"logical_processors\": %d,\n  \"hyper_threading\": %d,\n  \"mpi_ppn\": %d,\n", logical, ht, ppn);
    std::printf("  \"cbwr\": %d,\n  \"strict\": %d,\n", cbwr & ~ORB_CBWR_STRICT, (cbwr & ORB_CBWR_STRICT) ? 1 : 0);
    std::printf("  \"provider\": %s,\n  \"provider_kernels\": %s,\n", json_text(provider).c_str(),
                json_text(kernels).c_str());
    std::printf("  \"provider2\": %s,\n  \"Provider2Config\": %s,\n", json_text(provider2).c_str(),
                json_text(Provider2Config).c_str());
    std::printf("  \"provider_kernels_from\": \"%s\",\n  \"provider_config\": %s,\n  \"environment\": {\n",
                overridden ? "ORB_PROVIDER_CORETYPE" : "processor", json_text(config).c_str());
    const size_t n = sizeof lines / sizeof lines[0];
    for (size_t i = 0; i < n; ++i) print_value(true, lines[i].variable, lines[i].recorded, i + 1 == n);
    std::printf("  }\n}\n");
    return 0;
  }

  std::printf("orb %s, threading layer code %d (task runtime)\n", version, orb_serv_get_thread_layer());
  std::printf("  %-26s %d\n", "thread budget", budget);
  std::printf("  %-26s %d\n", "packages", packages);
  std::printf("  %-26s %d\n", "cores per package", cores);
  std::printf("  %-26s %d\n", "logical processors", logical);
  std::printf("  %-26s %s\n", "hyper-threading", ht == 1 ? "yes" : "no");
  if (ppn > 0)
    std::printf("  %-26s %d\n", "MPI processes per node", ppn);
  else
    std::printf("  %-26s unknown\n", "MPI processes per node");
  std::printf("  %-26s %d%s\n", "reproducibility mode", cbwr & ~ORB_CBWR_STRICT,
              (cbwr & ORB_CBWR_STRICT) ? " (strict)" : "");
  std::printf("  %-26s %s\n", "kernel provider", provider ? provider : "?");
  std::printf("  %-26s %s (%s)\n", "provider kernel set", kernels ? kernels : "not named by the provider",
              overridden ? "ORB_PROVIDER_CORETYPE" : "chosen for this processor");
  if (config) std::printf("  %-26s %s\n", "provider build", config);
  std::printf("  %-26s %s\n", "second kernel provider", provider2 ? provider2 : "none");
  if (provider2)
    std::printf("  %-26s %s (chosen for this processor)\n", "second provider kernel set",
                Provider2Config ? Provider2Config : "not named by the provider");
  std::printf("environment recognised (value recorded):\n");
  for (const auto &l : lines) print_value(false, l.variable, l.recorded);
  return 0;
}
