// Scratch memory for the length of one call, taken from the core's allocators
// and released on every path out of the scope that holds it.  A request the
// allocator cannot meet (or of fewer than one element) leaves the holder
// empty, and the caller takes its path that needs no scratch.
#pragma once

#include <orb/orb_service.h>

#include <cstdint>

namespace orb {

//! Which of the core's two allocators a scratch block comes from.
enum class Allocator { aligned, plain };  //!< orb_serv_allocate, orb_serv_malloc

//! `count` elements of T at `alignment` bytes, or nothing.
template <class T>
class Scratch {
 public:
  Scratch(int64_t count, int alignment, Allocator from = Allocator::aligned) : from_(from) {
    int64_t bytes = 0;
    if (count < 1 || __builtin_mul_overflow(count, static_cast<int64_t>(sizeof(T)), &bytes)) return;
    void *p = from == Allocator::aligned ? orb_serv_allocate(bytes, alignment) : orb_serv_malloc(bytes, alignment);
    data_ = static_cast<T *>(p);
  }
  ~Scratch() {
    if (!data_) return;
    if (from_ == Allocator::aligned)
      orb_serv_deallocate(data_);
    else
      orb_serv_free(data_);
  }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;

  T *get() const { return data_; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  T *data_ = nullptr;
  Allocator from_;
};

//! `count` elements of T from orb_serv_malloc that outlive the call (the
//! sparse analysis keeps them in a handle), or null; released with
//! orb_serv_free.
template <class T>
T *allocate(int64_t count, int alignment = 64) {
  int64_t bytes = 0;
  if (count < 1 || __builtin_mul_overflow(count, static_cast<int64_t>(sizeof(T)), &bytes)) return nullptr;
  return static_cast<T *>(orb_serv_malloc(bytes, alignment));
}

//! One T from orb_serv_malloc with every byte zero, or null.
template <class T>
T *zeroed(int alignment = 64, int64_t bytes = sizeof(T)) {
  void *p = orb_serv_malloc(bytes, alignment);
  if (p) __builtin_memset(p, 0, static_cast<size_t>(bytes));
  return static_cast<T *>(p);
}

}  // namespace orb

namespace orb {

//! Scratch that each thread keeps between calls, for a kernel that runs often
//! on blocks of the same size: a fresh block costs a page fault per page when
//! first touched, which for some megabytes outweighs the work done in them.
//! Each `Tag` names one block per thread; it grows to the largest request of
//! at most `Limit` bytes and is released when the thread ends.  A larger
//! request, or one the allocator cannot meet, gets null and the caller takes
//! another path.  The block is the thread's alone; the caller must not hold
//! it across anything that could ask for the same tag on the same thread.
//! The alignment of the blocks threads keep: a page, which also tells them
//! apart from a call's own scratch where allocations are observed.
constexpr int kThreadScratchAlignment = 4096;

template <class Tag, int64_t Limit>
class ThreadScratch {
 public:
  static void *get(int64_t bytes) {
    if (bytes <= 0 || bytes > Limit) return nullptr;
    Block &b = block();
    if (b.bytes < bytes) {
      if (b.data) orb_serv_deallocate(b.data);
      b.data = orb_serv_allocate(bytes, kThreadScratchAlignment);
      b.bytes = b.data ? bytes : 0;
    }
    return b.data;
  }

 private:
  struct Block {
    void *data = nullptr;
    int64_t bytes = 0;
    ~Block() {
      if (data) orb_serv_deallocate(data);
    }
  };
  static Block &block() {
    static thread_local Block b;
    return b;
  }
};

}  // namespace orb
