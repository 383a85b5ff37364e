#include "process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace orb::test {

ProbeResult run_probe(const std::vector<std::string> &args, const std::vector<std::string> &env) {
  ProbeResult r;
  const std::string path = std::string(ORB_PROBE_DIR) + "/probe";
  std::vector<std::string> envs = env;
  for (const char *keep : {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "PATH"})
    if (const char *v = std::getenv(keep)) envs.push_back(std::string(keep) + "=" + v);
  std::vector<char *> argv{const_cast<char *>(path.c_str())}, envp;
  for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
  for (auto &e : envs) envp.push_back(const_cast<char *>(e.c_str()));
  argv.push_back(nullptr);
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
  if (rc != 0) r.err = "cannot start " + path + ": " + std::strerror(rc);
  // Read both pipes to their ends without letting either fill up.
  pollfd fds[2] = {{out_pipe[0], POLLIN, 0}, {err_pipe[0], POLLIN, 0}};
  char buf[4096];
  for (int open = 2; open > 0 && poll(fds, 2, -1) >= 0;)
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      const ssize_t n = read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        (i == 0 ? r.out : r.err).append(buf, static_cast<size_t>(n));
      } else {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  int status = 0;
  if (rc == 0 && waitpid(pid, &status, 0) == pid)
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return r;
}

std::vector<std::string> lines_with(const std::string &text, const std::string &prefix) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, prefix.size(), prefix) == 0) lines.push_back(line);
  return lines;
}

std::string field(const std::string &text, const std::string &key) {
  const auto lines = lines_with(text, key + "=");
  return lines.empty() ? "" : lines[0].substr(key.size() + 1);
}

OutputCapture::OutputCapture() {
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    char name[] = "/tmp/orb_capture_XXXXXX";
    if ((files_[i] = mkstemp(name)) < 0) continue;
    unlink(name);
    saved_[i] = dup(i + 1);
    dup2(files_[i], i + 1);
  }
}

void OutputCapture::finish() {
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    if (saved_[i] >= 0) dup2(saved_[i], i + 1), close(saved_[i]), saved_[i] = -1;
    if (files_[i] < 0) continue;
    char buf[4096];
    lseek(files_[i], 0, SEEK_SET);
    for (ssize_t n; (n = read(files_[i], buf, sizeof buf)) > 0;) text_[i].append(buf, static_cast<size_t>(n));
    close(files_[i]);
    files_[i] = -1;
  }
}

}  // namespace orb::test
