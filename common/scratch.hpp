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
