// The version record and its short text.  The numbers and the build date come
// from the build (core/CMakeLists.txt writes them into version_info.hpp), so a
// rebuild on another day, or under SOURCE_DATE_EPOCH, reports what it is.
#include <orb/orb_service.h>

#include <cstdio>

#include "service/version_info.hpp"

extern "C" void orb_serv_get_version(OrbVersion *v) {
  if (!v) return;
  v->major = ORB_VERSION_MAJOR;
  v->minor = ORB_VERSION_MINOR;
  v->update = ORB_VERSION_UPDATE;
  v->status = "Product";
  v->build = ORB_BUILD_DATE;
  v->processor = "x86-64";
  v->platform = "Linux";
}

extern "C" const char *orb_serv_get_version_string(char *buf, int size) {
  if (!buf || size <= 0) return buf;
  std::snprintf(buf, static_cast<size_t>(size), "%d.%d.%d", ORB_VERSION_MAJOR, ORB_VERSION_MINOR,
                ORB_VERSION_UPDATE);
  return buf;
}
