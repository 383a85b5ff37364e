#include "probe.hpp"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace orb::test {

namespace {

// Reads both pipes to their ends without letting either fill up.
void drain(int out_fd, int err_fd, std::string &out, std::string &err) {
  pollfd fds[2] = {{out_fd, POLLIN, 0}, {err_fd, POLLIN, 0}};
  int open = 2;
  char buf[4096];
  while (open > 0) {
    if (poll(fds, 2, -1) < 0) break;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      const ssize_t n = read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        (i == 0 ? out : err).append(buf, static_cast<size_t>(n));
      } else {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
}

}  // namespace

ProbeResult run_probe(const std::string &name, const std::vector<std::string> &args,
                      const std::vector<std::string> &env) {
  ProbeResult r;
  const std::string path = std::string(ORB_PROBE_DIR) + "/" + name;
  std::vector<std::string> envs = env;
  for (const char *keep : {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "PATH"})
    if (const char *v = std::getenv(keep)) envs.push_back(std::string(keep) + "=" + v);
  std::vector<char *> argv{const_cast<char *>(path.c_str())};
  for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
  argv.push_back(nullptr);
  std::vector<char *> envp;
  for (auto &e : envs) envp.push_back(const_cast<char *>(e.c_str()));
  envp.push_back(nullptr);

  int out_pipe[2], err_pipe[2];
  if (pipe2(out_pipe, O_CLOEXEC) != 0 || pipe2(err_pipe, O_CLOEXEC) != 0) return r;
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_adddup2(&fa, out_pipe[1], 1);
  posix_spawn_file_actions_adddup2(&fa, err_pipe[1], 2);
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, path.c_str(), &fa, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&fa);
  close(out_pipe[1]);
  close(err_pipe[1]);
  if (rc != 0) {
    close(out_pipe[0]);
    close(err_pipe[0]);
    r.err = "cannot start " + path + ": " + std::strerror(rc);
    return r;
  }
  drain(out_pipe[0], err_pipe[0], r.out, r.err);
  int status = 0;
  waitpid(pid, &status, 0);
  r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return r;
}

std::string field(const std::string &text, const std::string &key) {
  std::istringstream in(text);
  std::string line;
  const std::string prefix = key + "=";
  while (std::getline(in, line))
    if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
  return "";
}

}  // namespace orb::test
