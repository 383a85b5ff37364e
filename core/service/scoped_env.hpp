// An environment variable set for the length of a scope, such as the dlopen of
// a library that reads it while it is loaded, and given back afterwards.
//
// Changing the environment races with other threads reading it at that
// instant; callers do it once per process, while a library is being opened.
#pragma once

#include <cstdlib>
#include <string>

namespace orb::core {

//! Sets `name` to `value` (removes it when `value` is null) and puts back the
//! caller's value, or its absence, when the scope ends.
class ScopedEnv {
 public:
  ScopedEnv(const char *name, const char *value) : name_(name) {
    const char *previous = std::getenv(name);
    had_ = previous != nullptr;
    if (had_) saved_ = previous;
    if (value)
      setenv(name, value, 1);
    else
      unsetenv(name);
  }
  ~ScopedEnv() {
    if (had_)
      setenv(name_.c_str(), saved_.c_str(), 1);
    else
      unsetenv(name_.c_str());
  }
  ScopedEnv(const ScopedEnv &) = delete;
  ScopedEnv &operator=(const ScopedEnv &) = delete;

 private:
  std::string name_;
  std::string saved_;
  bool had_ = false;
};

}  // namespace orb::core
