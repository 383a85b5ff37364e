#include "service/report.hpp"

#include <orb/orb_service.h>

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include "report_ids.hpp"

namespace orb::core {

namespace {

using XerblaFn = void (*)(const char *, const int *, int);

void fallback_xerbla(const char *name, const int *info, int) {
  orb_serv_print(0, orb::kMsgReportHeader, 0);
  orb_serv_print(0, orb::kMsgIllegalArgument, 2, *info, name);
}

XerblaFn handler() {
  static std::atomic<XerblaFn> cached{nullptr};
  XerblaFn h = cached.load(std::memory_order_acquire);
  if (!h) {
    h = reinterpret_cast<XerblaFn>(dlsym(RTLD_DEFAULT, "orb_serv_xerbla"));
    if (!h) h = fallback_xerbla;
    cached.store(h, std::memory_order_release);
  }
  return h;
}

}  // namespace

void report_xerbla(const char *name, int info) {
  handler()(name, &info, static_cast<int>(std::strlen(name)));
}

}  // namespace orb::core
