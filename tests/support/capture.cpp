#include "capture.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace orb::test {

namespace {

std::string read_all(int fd) {
  std::string text;
  char buf[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buf, sizeof buf)) > 0;) text.append(buf, static_cast<size_t>(n));
  return text;
}

}  // namespace

OutputCapture::OutputCapture() {
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    char name[] = "/tmp/orb_capture_XXXXXX";
    files_[i] = mkstemp(name);
    if (files_[i] < 0) continue;
    unlink(name);
    saved_[i] = dup(i + 1);
    dup2(files_[i], i + 1);
  }
}

OutputCapture::~OutputCapture() { finish(); }

void OutputCapture::finish() {
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    if (saved_[i] >= 0) {
      dup2(saved_[i], i + 1);
      close(saved_[i]);
      saved_[i] = -1;
    }
    if (files_[i] >= 0) {
      (i == 0 ? out_ : err_) = read_all(files_[i]);
      close(files_[i]);
      files_[i] = -1;
    }
  }
}

std::vector<std::string> lines_with(const std::string &text, const std::string &prefix) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, prefix.size(), prefix) == 0) lines.push_back(line);
  return lines;
}

}  // namespace orb::test
