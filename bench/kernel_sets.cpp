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

using core::IsaTier;

// `best` when the set `own` is written for a lower tier than it; empty when
// `own` is as good, or either is unknown to `tier_by_name`.
std::string better_set(const std::string &own, const char *best, bool (*tier_by_name)(const char *, IsaTier &)) {
  IsaTier own_tier, best_tier;
  if (!best || !tier_by_name(own.c_str(), own_tier) || !tier_by_name(best, best_tier)) return "";
  return own_tier < best_tier ? best : "";
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

std::string openblas_set_to_force(const std::string &own, const core::ProcessorFeatures &f) {
  return better_set(own, core::provider_kernels_for(f), core::provider_kernel_tier);
}

std::string blis_config_to_force(const std::string &own, const core::ProcessorFeatures &f) {
  // BLIS's configurations are the core's second provider's (the same library,
  // built with 64-bit integers): the core's choice is the one to force.
  return better_set(own, core::provider2_config_for(f), core::provider2_config_tier);
}

int blis_config_number(void *handle, const std::string &name) {
  auto arch_name = reinterpret_cast<const char *(*)(int)>(dlsym(handle, "bli_arch_string"));
  return arch_name ? core::provider2_config_number(arch_name, name.c_str()) : -1;
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
