// The task runtime behind run_range: oneTBB's parallel_for over a blocked
// range, inside an isolated region and a task group context chosen by the
// loop's binding, followed by the pass that runs whatever did not run.
//
// Which indices ran is kept per block.  Up to kMaxBlocks indices a block is one
// index; a longer range is cut into kMaxBlocks blocks of equal length (the last
// one shorter), and the runtime splits block numbers instead of indices, so the
// record never needs more than kMaxBlocks bytes.  For n = 200000:
//
//   block length ceil(200000 / 65536) = 4, 50000 blocks; block b covers
//   indices 4b .. 4b + 3; a grain of 10 indices becomes ceil(10 / 4) = 3 blocks.
//
// Records of up to kStackBlocks blocks live on the caller's stack; longer ones
// are allocated, and when even that fails the whole range runs on the calling
// thread.
#include "runtime/loop.hpp"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <memory>
#include <new>

namespace orb::thr::rt {

namespace {

static_assert(sizeof(tbb::affinity_partitioner) == 16, "the partitioner object is a pointer and a size");

constexpr int64_t kMaxBlocks = 65536;
constexpr int64_t kStackBlocks = 512;

//! The index blocks of one loop and the record of which of them ran.
struct Blocks {
  int64_t n;       //!< indices
  int64_t length;  //!< indices per block
  int64_t count;   //!< blocks
  unsigned char *done;

  int64_t first(int64_t block) const { return block * length; }
  int64_t end(int64_t block) const { return std::min(block * length, n); }
};

//! Loop body over block numbers: runs their indices, then marks them done.
struct BlockBody {
  const Blocks *blocks;
  RangeFn fn;
  void *ctx;

  void operator()(const tbb::blocked_range<int64_t> &r) const {
    fn(ctx, blocks->first(r.begin()), blocks->end(r.end()));
    std::fill(blocks->done + r.begin(), blocks->done + r.end(), static_cast<unsigned char>(1));
  }
};

void run_parallel(const Blocks &blocks, const LoopShape &shape, RangeFn fn, void *ctx) {
  const int64_t grain = std::max<int64_t>(1, (shape.grain + blocks.length - 1) / blocks.length);
  const tbb::blocked_range<int64_t> range(0, blocks.count, static_cast<size_t>(grain));
  const BlockBody body{&blocks, fn, ctx};
  tbb::task_group_context context(shape.binding == Binding::caller ? tbb::task_group_context::bound
                                                                    : tbb::task_group_context::isolated);
  tbb::this_task_arena::isolate([&] {
    switch (shape.split) {
      case Split::automatic:
        tbb::parallel_for(range, body, tbb::auto_partitioner(), context);
        break;
      case Split::even:
        tbb::parallel_for(range, body, tbb::static_partitioner(), context);
        break;
      case Split::affinity:
        if (shape.affinity) {
          tbb::parallel_for(range, body, *static_cast<tbb::affinity_partitioner *>(shape.affinity), context);
          break;
        }
        [[fallthrough]];
      case Split::simple:
        tbb::parallel_for(range, body, tbb::simple_partitioner(), context);
        break;
    }
  });
}

//! Runs, in increasing order on the calling thread, every run of blocks the
//! loop left undone.
void finish_on_caller(const Blocks &blocks, RangeFn fn, void *ctx) {
  for (int64_t b = 0; b < blocks.count;) {
    if (blocks.done[b]) {
      ++b;
      continue;
    }
    int64_t e = b + 1;
    while (e < blocks.count && !blocks.done[e]) ++e;
    fn(ctx, blocks.first(b), blocks.end(e));
    b = e;
  }
}

}  // namespace

void run_range(int64_t n, const LoopShape &shape, RangeFn fn, void *ctx) noexcept {
  if (n < 1 || !fn) return;
  Blocks blocks{n, 1, n, nullptr};
  if (n > kMaxBlocks) {
    blocks.length = (n + kMaxBlocks - 1) / kMaxBlocks;
    blocks.count = (n + blocks.length - 1) / blocks.length;
  }
  unsigned char on_stack[kStackBlocks] = {};
  std::unique_ptr<unsigned char[]> on_heap;
  if (blocks.count <= kStackBlocks) {
    blocks.done = on_stack;
  } else {
    on_heap.reset(new (std::nothrow) unsigned char[static_cast<size_t>(blocks.count)]());
    if (!on_heap) {
      fn(ctx, 0, n);  // not even the record fits: everything here, in order
      return;
    }
    blocks.done = on_heap.get();
  }
  try {
    run_parallel(blocks, shape, fn, ctx);
  } catch (...) {
    // The runtime could not start every piece; the loop has stopped and waited
    // for the pieces it started.  What is left runs below.
  }
  finish_on_caller(blocks, fn, ctx);
}

int max_concurrency() noexcept { return tbb::this_task_arena::max_concurrency(); }

int current_slot() noexcept { return tbb::this_task_arena::current_thread_index(); }

void *new_affinity() noexcept { return new (std::nothrow) tbb::affinity_partitioner(); }

void delete_affinity(void *affinity) noexcept { delete static_cast<tbb::affinity_partitioner *>(affinity); }

Affinity::Affinity() : handle_(new_affinity()) {}

Affinity::~Affinity() { delete_affinity(handle_); }

}  // namespace orb::thr::rt
