// Running a probe program in a fresh process.
//
// The environment and topology are read once per process, and a process that
// has started the task runtime must not fork, so every case that depends on
// the environment runs a small probe program through posix_spawn with exactly
// the environment the case names.
#pragma once

#include <string>
#include <vector>

namespace orb::test {

struct ProbeResult {
  int exit_code = -1;  //!< exit status, or 128 + signal
  std::string out;     //!< everything the probe wrote to standard output
  std::string err;     //!< everything it wrote to the error stream
};

//! Runs tests/probes/<name> with `args` and an environment of `env` entries
//! ("NAME=value") plus LD_LIBRARY_PATH and the sanitizer options of this process.
ProbeResult run_probe(const std::string &name, const std::vector<std::string> &args,
                      const std::vector<std::string> &env);

//! The value of "key=value" on its own line of `text`, or "" when absent.
std::string field(const std::string &text, const std::string &key);

}  // namespace orb::test
