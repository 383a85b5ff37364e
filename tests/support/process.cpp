#include "process.hpp"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace orb::test {

namespace {

// A temporary file, already unlinked, that holds what is written to it.
int temporary_file() {
  char name[] = "/tmp/orb_output_XXXXXX";
  const int fd = mkstemp(name);
  if (fd >= 0) unlink(name);
  return fd;
}

std::string read_and_close(int fd) {
  std::string text;
  char buf[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buf, sizeof buf)) > 0;) text.append(buf, static_cast<size_t>(n));
  close(fd);
  return text;
}

}  // namespace

ProbeResult run_probe(const std::vector<std::string> &args, const std::vector<std::string> &env) {
  const std::string path = std::string(ORB_PROBE_DIR) + "/probe";
  std::vector<std::string> envs = env;
  for (const char *keep : {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "PATH"})
    if (const char *v = std::getenv(keep)) envs.push_back(std::string(keep) + "=" + v);
  std::vector<char *> argv{const_cast<char *>(path.c_str())}, envp;
  for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
  for (auto &e : envs) envp.push_back(const_cast<char *>(e.c_str()));
  argv.push_back(nullptr);
  envp.push_back(nullptr);

  const int out = temporary_file(), err = temporary_file();
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_adddup2(&fa, out, 1);
  posix_spawn_file_actions_adddup2(&fa, err, 2);
  pid_t pid = -1;
  const int rc = out < 0 || err < 0 ? EMFILE : posix_spawn(&pid, path.c_str(), &fa, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&fa);
  ProbeResult r;
  int status = 0;
  if (rc == 0 && waitpid(pid, &status, 0) == pid)
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  r.out = out < 0 ? "" : read_and_close(out);
  r.err = (err < 0 ? "" : read_and_close(err)) + (rc == 0 ? "" : "cannot start " + path + ": " + std::strerror(rc));
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
  for (int i = 0; i < 2; ++i)
    if ((files_[i] = temporary_file()) >= 0) saved_[i] = dup(i + 1), dup2(files_[i], i + 1);
}

void OutputCapture::finish() {
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    if (saved_[i] >= 0) dup2(saved_[i], i + 1), close(saved_[i]), saved_[i] = -1;
    if (files_[i] >= 0) text_[i] = read_and_close(files_[i]), files_[i] = -1;
  }
}

}  // namespace orb::test
