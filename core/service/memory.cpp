// Aligned allocation services.  Both pairs return NULL for a request of 0 or
// fewer bytes: callers rely on that to fall back to paths without scratch
// (a threaded product asking for "(pieces - 1) x size" bytes with one piece).
#include <orb/orb_service.h>

#include <cstdlib>

namespace {

void *aligned(int64_t bytes, int alignment) {
  if (bytes <= 0) return nullptr;
  size_t align = alignment > 0 ? static_cast<size_t>(alignment) : 64;
  if (align < sizeof(void *)) align = sizeof(void *);
  if (align & (align - 1)) align = 64;  // not a power of two: use a cache line
  void *p = nullptr;
  return posix_memalign(&p, align, static_cast<size_t>(bytes)) == 0 ? p : nullptr;
}

}  // namespace

extern "C" void *orb_serv_allocate(int64_t bytes, int alignment) { return aligned(bytes, alignment); }
extern "C" void orb_serv_deallocate(void *ptr) { std::free(ptr); }
extern "C" void *orb_serv_malloc(int64_t bytes, int alignment) { return aligned(bytes, alignment); }
extern "C" void orb_serv_free(void *ptr) { std::free(ptr); }
