// When the core's streaming kernel computes a double-precision product instead
// of the provider, and with which instruction set.
//
// It takes neither transposed operand, at least kStreamBMinColumns columns, at
// least kStreamBMinDepth steps of k and more than kStreamBMinWork multiply-adds;
// at most kStreamBMaxRows rows, or any number with AVX-512 when there are at
// least kStreamBWideColumns columns, unless the second provider runs its own
// AVX-512 kernels: those beat the kernel on products of more rows (on a Zen 5
// core 1000^3 ran at 80 GFLOPS there against 71 here, 2000 x 1000 x 2000 at 88
// against 79), while with at most kStreamBMaxRows rows the kernel stays ahead
// (200 x 2000 x 2000: 77 against 67; 256^3: 88 against 81).  The other
// measurements are beside the constants.  It is never taken in strict reproducibility mode: there a result
// must not depend on how the threaded drivers cut C, and whether a piece falls
// in the kernel's shape depends on the cut.  Its scratch (the packed block of A,
// at most 2 MiB) is kept by each thread between calls (scratch.hpp): taken
// afresh from the allocator, it came back through unmapped pages often enough
// that a threaded 500^3 product spent 4 % of its time in page faults and in
// the other core's cache flushes that unmapping sends.  Without it the
// provider computes the product.
#include "blas/gemm_stream_b.hpp"
#include "blas/provider2.hpp"
#include "service/processor.hpp"

#include <orb/orb_service.h>
#include "scratch.hpp"

namespace orb::core {

namespace {

struct Version {
  void (*run)(const StreamBProduct &);
  bool any_rows;         // takes more than kStreamBMaxRows rows when C is wide
  double shared_b_most;  // ... while B has at most this many bytes
};

Version pick_instruction_set() {
  const ProcessorFeatures &f = this_processor();
  if (f.avx512f) return {stream_b_dgemm_avx512, !second_provider_wide(), f.amd ? kStreamBSharedBAmd : kStreamBSharedBOther};
  if (f.avx2 && f.fma) return {stream_b_dgemm_avx2, false, 0};
  return {nullptr, false, 0};
}

}  // namespace

ORB_INT stream_b_block_rows() { return this_processor().amd ? kStreamBBlockRowsAmd : kStreamBBlockRowsOther; }

namespace {

// The packed block of A, which each thread keeps: 2 MiB at most.
struct PackTag;
using Pack = ThreadScratch<PackTag, stream_b_scratch(kStreamBBlockRowsAmd, kStreamBBlockRowsAmd) * ORB_INT{sizeof(double)}>;

bool of_its_shape(const Version &v, ORB_INT m, ORB_INT n, ORB_INT k) {
  if (n < kStreamBMinColumns || k < kStreamBMinDepth) return false;
  if (static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k) <= kStreamBMinWork) return false;
  const double b_bytes = static_cast<double>(n) * static_cast<double>(k) * sizeof(double);
  return m <= kStreamBMaxRows || (v.any_rows && n >= kStreamBWideColumns && b_bytes <= v.shared_b_most);
}

bool untransposed(const char *t) { return (*t | 0x20) == 'n'; }

}  // namespace

bool stream_b_dgemm(const char *transa, const char *transb, ORB_INT m, ORB_INT n, ORB_INT k, double alpha,
                    const double *a, ORB_INT lda, const double *b, ORB_INT ldb, double beta, double *c, ORB_INT ldc) {
  static const Version version = pick_instruction_set();
  if (!version.run || !of_its_shape(version, m, n, k) || !untransposed(transa) || !untransposed(transb)) return false;
  if (orb_serv_cbwr_get(-1) & ORB_CBWR_STRICT) return false;
  const ORB_INT block_rows = stream_b_block_rows();
  auto *pack = static_cast<double *>(Pack::get(stream_b_scratch(m, block_rows) * ORB_INT{sizeof(double)}));
  if (!pack) return false;
  version.run(StreamBProduct{m, n, k, alpha, beta, a, lda, b, ldb, c, ldc, pack, block_rows});
  return true;
}

}  // namespace orb::core
