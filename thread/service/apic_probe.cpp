// The APIC probe: pins the calling thread to each processor of the process's
// affinity mask, reads the processor's initial APIC ID and decodes core and
// package IDs from it (with the rules of topology.cpp).  Which CPUID vendor's
// leaves 1 and 4 are trusted is decided here.
#include "service/topology.hpp"

#include <orb/orb_service.h>

#include <cpuid.h>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

#include "scratch.hpp"

namespace orb::thr {

namespace {

constexpr int kMaskBytes = 1024;  // 8192 processors
constexpr int kMaxProcessors = 8192;
constexpr int kMaxPackageList = 4096;

// Set once the affinity probe has been attempted (successfully or not): a
// second count goes straight to the single-core fallback.
unsigned char api_probe_is_called = 0;
// Byte length of the affinity mask as the kernel reported it.
int64_t orbaff_len = 0;

long get_affinity(size_t len, unsigned char *mask) { return syscall(SYS_sched_getaffinity, 0, len, mask); }
long set_affinity(size_t len, const unsigned char *mask) { return syscall(SYS_sched_setaffinity, 0, len, mask); }

// Leaves 1 and 4 are trusted only on the vendor whose leaf 4 enumerates the
// cores of a package (EAX bits 26-31 = cores - 1).  Elsewhere leaf 4 is
// reserved or means something else, so the probe counts 1 logical processor
// and 1 core per package and lets the APIC IDs speak for themselves.
constexpr char kTrustedVendor[] = "GenuineIntel";

struct CpuidLayout {
  int logical_per_package = 1;
  int cores_per_package = 1;
  int threads_per_core = 1;
};

CpuidLayout cpuid_layout() {
  CpuidLayout l;
  unsigned a, b, c, d;
  if (!__get_cpuid(0, &a, &b, &c, &d)) return l;
  const unsigned max_leaf = a;
  char vendor[13];
  std::memcpy(vendor, &b, 4);
  std::memcpy(vendor + 4, &d, 4);
  std::memcpy(vendor + 8, &c, 4);
  vendor[12] = '\0';
  if (std::strcmp(vendor, kTrustedVendor) != 0) return l;
  __cpuid(1, a, b, c, d);
  const bool htt = (d >> 28) & 1u;
  l.logical_per_package = htt ? static_cast<int>((b >> 16) & 0xffu) : 1;
  if (htt && max_leaf >= 4) {
    __cpuid_count(4, 0, a, b, c, d);
    l.cores_per_package = static_cast<int>((a >> 26) & 0x3fu) + 1;
  }
  if (l.logical_per_package < 1) l.logical_per_package = 1;
  l.threads_per_core = l.logical_per_package / l.cores_per_package;
  if (l.threads_per_core < 1) l.threads_per_core = 1;
  return l;
}

unsigned initial_apic_id() {
  unsigned a, b, c, d;
  __cpuid(1, a, b, c, d);
  return (b >> 24) & 0xffu;
}

}  // namespace

bool probe_apic_ids(int processors, ProbeCounts &probe) {
  if (api_probe_is_called) return false;
  unsigned char saved[kMaskBytes];
  std::memset(saved, 0, sizeof saved);
  long len = get_affinity(kMaskBytes, saved);
  if (len < 0) {
    api_probe_is_called = 1;
    return false;
  }
  if (len == 0) len = kMaskBytes;
  if (set_affinity(static_cast<size_t>(len), saved) < 0) {
    api_probe_is_called = 1;
    return false;
  }
  api_probe_is_called = 1;
  orbaff_len = len;
  std::memset(saved, 0, sizeof saved);
  if (get_affinity(static_cast<size_t>(len), saved) < 0) return false;

  const CpuidLayout layout = cpuid_layout();
  const int n = processors < kMaxProcessors ? processors : kMaxProcessors;
  if (n <= 0) return false;
  const orb::Scratch<unsigned char> core_buf(n, 64, orb::Allocator::plain), package_buf(n, 64, orb::Allocator::plain),
      distinct_buf(n, 64, orb::Allocator::plain);
  if (!core_buf || !package_buf || !distinct_buf) return false;
  unsigned char *core_ids = core_buf.get(), *package_ids = package_buf.get(), *distinct = distinct_buf.get();

  int probed = 0, packages = 0;
  for (int bit = 0; bit < kMaxProcessors && probed < n; ++bit) {
    if (!(saved[bit / 8] & (1u << (bit % 8)))) continue;
    unsigned char one[kMaskBytes];
    std::memset(one, 0, sizeof one);
    one[bit / 8] = static_cast<unsigned char>(1u << (bit % 8));
    if (set_affinity(static_cast<size_t>(len), one) < 0) continue;
    sleep(0);
    const unsigned apic = initial_apic_id();
    core_ids[probed] = static_cast<unsigned char>(core_id_of(apic, layout.threads_per_core, layout.cores_per_package));
    package_ids[probed] = static_cast<unsigned char>(package_id_of(apic, layout.logical_per_package));
    bool known = false;
    for (int i = 0; i < packages; ++i) known |= distinct[i] == package_ids[probed];
    if (!known && packages < kMaxPackageList && packages < n) distinct[packages++] = package_ids[probed];
    ++probed;
  }
  set_affinity(static_cast<size_t>(len), saved);
  sleep(0);

  // Physical cores: distinct (core ID | package ID) bytes, in probe order.
  bool seen[256] = {};
  int physical = 0;
  for (int i = 0; i < probed; ++i) {
    const unsigned char key = core_ids[i] | package_ids[i];
    if (!seen[key]) {
      seen[key] = true;
      ++physical;
    }
  }
  probe.physical_cores = physical;
  probe.distinct_packages = packages;
  probe.probed = probed;
  return true;
}

}  // namespace orb::thr
