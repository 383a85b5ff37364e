// Output of processes: the probe program run through posix_spawn with exactly
// the environment a case names (the environment is read once per process, and
// one that has started the task runtime must not fork), and this process's
// standard streams.
#pragma once

#include <string>
#include <vector>

namespace orb::test {

struct ProbeResult {
  int exit_code = -1;  //!< exit status, or 128 + signal
  std::string out, err;
};

//! Runs tests/probes/probe with `args` and an environment of `env` entries
//! ("NAME=value") plus LD_LIBRARY_PATH, PATH and the sanitizer options of this process.
ProbeResult run_probe(const std::vector<std::string> &args, const std::vector<std::string> &env = {});

//! The value of "key=value" on its own line of `text`, or "" when absent.
std::string field(const std::string &text, const std::string &key);

//! The lines of `text` that begin with `prefix`, without their newlines.
std::vector<std::string> lines_with(const std::string &text, const std::string &prefix);

//! Captures file descriptors 1 and 2 into temporary files from construction
//! to finish(), so it sees output from any layer and any thread.
class OutputCapture {
 public:
  OutputCapture();
  ~OutputCapture() { finish(); }
  OutputCapture(const OutputCapture &) = delete;
  OutputCapture &operator=(const OutputCapture &) = delete;
  //! Restores the streams and keeps what was written in out() and err().
  void finish();
  const std::string &out() const { return text_[0]; }
  const std::string &err() const { return text_[1]; }

 private:
  int saved_[2] = {-1, -1}, files_[2] = {-1, -1};
  std::string text_[2];
};

}  // namespace orb::test
