// The kernel sets of the peers: their own picks, found in a fresh process, and
// the sets the benchmark forces when those are below the processor.
#include "kernel_sets.hpp"

#include "blas/provider_kernels.hpp"
#include "libraries.hpp"
#include "service/scoped_env.hpp"

#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>

extern char **environ;

namespace orb::bench {

namespace {

using core::isa_tier;

struct BlisConfig {
  const char *name;
  isa_tier needs;
  bool forced_ever;  // a set the benchmark may force; the others it only recognises
};

// BLIS's x86-64 configurations.  Those it may force, best first, are its
// generic Intel-designed ones; the AMD ones are what its own detection picks
// on those parts and count by the instructions they use.
constexpr BlisConfig kBlisConfigs[] = {
    {"skx", isa_tier::avx512, true},     {"haswell", isa_tier::avx2, true},  {"sandybridge", isa_tier::avx, true},
    {"penryn", isa_tier::ssse3, true},   {"generic", isa_tier::baseline, true},
    {"knl", isa_tier::avx512, false},    {"zen3", isa_tier::avx2, false},    {"zen2", isa_tier::avx2, false},
    {"zen", isa_tier::avx2, false},      {"excavator", isa_tier::avx2, false}, {"steamroller", isa_tier::avx, false},
    {"piledriver", isa_tier::avx, false}, {"bulldozer", isa_tier::avx, false},
};

const BlisConfig *blis_config(const std::string &name) {
  for (const BlisConfig &c : kBlisConfigs)
    if (name == c.name) return &c;
  return nullptr;
}

// The path of this program, to start it again.
std::string own_executable() {
  char buf[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : "";
}

// What one process wrote to its standard output, or "" when it could not run.
std::string output_of(const std::vector<std::string> &argv_text) {
  int fds[2];
  if (pipe(fds) != 0) return "";
  std::vector<char *> argv;
  for (const std::string &a : argv_text) argv.push_back(const_cast<char *>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, fds[0]);
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  std::string out;
  char buf[512];
  for (ssize_t n; rc == 0 && (n = read(fds[0], buf, sizeof buf)) > 0;) out.append(buf, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  if (rc != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return "";
  return out;
}

}  // namespace

std::string openblas_set_to_force(const std::string &own, const core::processor_features &f) {
  const char *best = core::provider_kernels_for(f);
  isa_tier own_tier, best_tier;
  if (!best || !core::provider_kernel_tier(own.c_str(), own_tier) || !core::provider_kernel_tier(best, best_tier))
    return "";
  return own_tier < best_tier ? best : "";
}

std::string blis_config_to_force(const std::string &own, const core::processor_features &f) {
  const BlisConfig *mine = blis_config(own);
  if (!mine) return "";
  const isa_tier tier = core::tier_of(f);
  for (const BlisConfig &c : kBlisConfigs)
    if (c.forced_ever && c.needs <= tier) return mine->needs < c.needs ? c.name : "";
  return "";
}

// The position of `name` among the names bli_arch_string gives, whose list
// ends with "generic" in every release.
int blis_config_number(void *handle, const std::string &name) {
  auto arch_name = reinterpret_cast<const char *(*)(int)>(dlsym(handle, "bli_arch_string"));
  if (!arch_name) return -1;
  for (int id = 0; id < 64; ++id) {
    const char *s = arch_name(id);
    if (s && name == s) return id;
    if (!s || std::strcmp(s, "generic") == 0) break;
  }
  return -1;
}

std::map<std::string, std::string> own_kernel_sets() {
  std::map<std::string, std::string> sets;
  const std::string self = own_executable();
  std::istringstream lines(self.empty() ? "" : output_of({self, "kernels"}));
  for (std::string line; std::getline(lines, line);) {
    const size_t eq = line.find('=');
    if (eq != std::string::npos && eq > 0 && eq + 1 < line.size()) sets[line.substr(0, eq)] = line.substr(eq + 1);
  }
  return sets;
}

const char *kernels_usage() {
  return "usage: orb-bench kernels\n"
         "  prints KEY=SET for each peer that names the kernel set it picks by itself\n"
         "  in this environment (the gemm comparison forces a better one where it can)\n";
}

int kernels_main(const std::vector<std::string> &args) {
  if (!args.empty()) {
    std::fputs(kernels_usage(), stderr);
    return 2;
  }
  {
    // Held to one thread, it starts no helper threads while it is loaded.
    core::ScopedEnv one_thread("OPENBLAS_NUM_THREADS", "1");
    if (void *h = dlopen(kOpenBlasPthreadPath, private_dlopen_flags()))
      if (auto name = reinterpret_cast<const char *(*)()>(dlsym(h, "openblas_get_corename")))
        std::printf("openblas=%s\n", name());
  }
  if (void *h = dlopen(kBlisPthreadPath, private_dlopen_flags())) {
    // Its first call initialises it, and only then does it read BLIS_ARCH_TYPE.
    auto set_threads = reinterpret_cast<void (*)(int64_t)>(dlsym(h, "bli_thread_set_num_threads"));
    auto arch_id = reinterpret_cast<int (*)()>(dlsym(h, "bli_arch_query_id"));
    auto arch_name = reinterpret_cast<const char *(*)(int)>(dlsym(h, "bli_arch_string"));
    if (set_threads && arch_id && arch_name) {
      set_threads(1);
      std::printf("blis=%s\n", arch_name(arch_id()));
    }
  }
  return 0;
}

}  // namespace orb::bench
