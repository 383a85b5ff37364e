// Observing the libraries from a test executable: forwarding from an
// interposed definition to the one it hides, and catching error reports.
#pragma once

#include <orb/orb_service.h>

#include <dlfcn.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orb::test {

//! The definition of `fn` that this executable's own definition hides.
#define ORB_TEST_NEXT(fn) reinterpret_cast<decltype(&fn)>(dlsym(RTLD_NEXT, #fn))

//! Catches the error reports made while it lives, from any thread, in place of the installed handler.
class Reports {
 public:
  using Log = std::vector<std::pair<std::string, int>>;
  Reports() : previous_(orb_serv_set_xerbla(record)) { log() = {}; }
  ~Reports() { orb_serv_set_xerbla(previous_); }
  Reports(const Reports &) = delete;
  Reports &operator=(const Reports &) = delete;

  static Log taken() {
    std::lock_guard<std::mutex> g(lock());
    return log();
  }
  static void record(const char *name, const int *info, int len) {
    std::lock_guard<std::mutex> g(lock());
    log().emplace_back(std::string(name, static_cast<size_t>(len)), *info);
  }

 private:
  static Log &log() {
    static Log entries;
    return entries;
  }
  static std::mutex &lock() {
    static std::mutex m;
    return m;
  }
  orb_xerbla_fn previous_;
};

}  // namespace orb::test
