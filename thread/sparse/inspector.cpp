// The format inspector of the analysis: whether a general CSR record would be
// smaller, and so faster to stream, in the sliced DIA or ESB layout
// (core/sparse/convert.cpp).  Answers 2 for DIA, 1 for ESB, 0 to keep CSR.
//
// Footprints in MiB, for a value of V bytes and an index of X bytes (12
// bytes an entry for double with 32-bit indices):
//   CSR  entries (V + X) + rows X + X
//   DIA  D 8 V + (S + D + 1) X, D the diagonal segments of the S slices
//   ESB  E (V + X) + S X + X, E the stored positions (8 per slice position)
// DIA within 5 % of CSR wins (a banded matrix stores no column indices);
// otherwise ESB wins when it is smaller than CSR, or when padding each row
// on its own (to 4 and then 8 entries, plus one vector) would take 15 % more
// than the slices and the rows are long enough (8 entries on average) to
// fill vectors.  The ESB count is marked overflowed, and ESB not taken, when
// it would reach 2^31.
//
// The two counts run as parallel loops over the slices; the diagonal count
// keeps one marker array of rows + columns entries per worker thread,
// holding 1 + the last slice that touched each diagonal.
#include "runtime/loop.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"

#include <algorithm>

namespace orb::thr {
namespace {

using sparse::kSliceRows;
using sparse::SparseHandle;
using sparse::SparseRecord;

constexpr rt::LoopShape kSliceLoop{1, rt::Split::automatic, rt::Binding::own, nullptr};
constexpr double kMiB = 1.0 / (1 << 20);

template <class T, class I>
int32_t inspect(SparseHandle<T, I> *h, int32_t op) {
  SparseRecord<T, I> *r = op == ORB_SPARSE_OP_N ? h->primary : h->transposed;
  if (!r) return 0;
  if (!r->opt) r->opt = zeroed<sparse::OptimizationRecord>(sparse::kPartitionBytes);
  if (!r->opt || r->rows < 1) return 0;
  const double V = sizeof(T), X = sizeof(I);
  const I rows = r->rows, cols = r->cols, base = r->base;
  const double entries = static_cast<double>(r->row_start[rows] - base);
  const double csr = (entries * (V + X) + rows * X + X) * kMiB;
  const I slices = (rows + kSliceRows - 1) / kSliceRows;
  const int workers = rt::max_concurrency();
  Scratch<int64_t> positions(slices, 64, Allocator::plain), segments(slices, 64, Allocator::plain);
  Scratch<I> markers((static_cast<int64_t>(rows) + cols) * workers, 64, Allocator::plain);
  if (!positions || !segments || !markers) return 0;
  for (int64_t s = 0; s < slices; ++s) segments.get()[s] = 0;
  const auto slice_rows = [&](int64_t s) { return std::min<int64_t>(rows, (s + 1) * kSliceRows); };
  rt::run_loop(slices, kSliceLoop, [&](int64_t first, int64_t last) {
    for (int64_t s = first; s < last; ++s) {
      int64_t most = 0;
      for (int64_t i = s * kSliceRows; i < slice_rows(s); ++i)
        most = std::max<int64_t>(most, r->row_start[i + 1] - r->row_start[i]);
      positions.get()[s] = most * kSliceRows;
    }
  });
  for (int64_t k = 0; k < (static_cast<int64_t>(rows) + cols) * workers; ++k) markers.get()[k] = 0;
  rt::run_loop(slices, kSliceLoop, [&](int64_t first, int64_t last) {
    const int slot = rt::current_slot();
    Scratch<I> own(slot < 0 || slot >= workers ? static_cast<int64_t>(rows) + cols : 0, 64, Allocator::plain);
    I *seen = own ? own.get() : markers.get() + static_cast<int64_t>(slot) * (rows + cols);
    if (own)
      for (int64_t k = 0; k < static_cast<int64_t>(rows) + cols; ++k) seen[k] = 0;
    else if (slot < 0 || slot >= workers)
      return;  // a thread outside the arena without memory for its markers: these slices count 0
    for (int64_t s = first; s < last; ++s) {
      int64_t count = 0;
      for (int64_t i = s * kSliceRows; i < slice_rows(s); ++i)
        for (I k = r->row_start[i] - base; k < r->row_start[i + 1] - base; ++k) {
          I &m = seen[r->col_index[k] - base - i + rows - 1];
          if (m != static_cast<I>(s + 1)) m = static_cast<I>(s + 1), ++count;
        }
      segments.get()[s] = count;
    }
  });
  int64_t E = 0, D = 0;
  bool overflow = false;
  for (int64_t s = 0; s < slices; ++s) {
    E += positions.get()[s];
    D += segments.get()[s];
    overflow |= E >= (int64_t{1} << 31);
  }
  const double dia = (static_cast<double>(D) * kSliceRows * V + (static_cast<double>(slices) + D + 1) * X) * kMiB;
  if (dia / csr < 1.05) return 2;
  if (overflow) return 0;
  const double esb = (static_cast<double>(E) * (V + X) + slices * X + X) * kMiB;
  if (csr > esb) return 1;
  double padded = 0;
  for (I i = 0; i < rows; ++i) {
    const int64_t L = r->row_start[i + 1] - r->row_start[i];
    padded += L < 5 ? (L + 3) / 4 * 4 + 4 : (L + 7) / 8 * 8 + 8;
  }
  return padded / static_cast<double>(E) >= 1.15 && entries / rows >= 8.0 ? 1 : 0;
}

}  // namespace
}  // namespace orb::thr

#define ORB_SPARSE_INSPECTOR_ENTRY(p, T, I, w)                                            \
  extern "C" int32_t orb_sparse_##p##_inspector_gen_mv_##w(orb_sparse_matrix A, int32_t op) { \
    return A ? orb::thr::inspect(orb::sparse::handle_cast<T, I>(A), op) : 0;               \
  }

ORB_SPARSE_EACH(ORB_SPARSE_INSPECTOR_ENTRY)
