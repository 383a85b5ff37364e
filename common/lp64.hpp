// The lp64 entries of the threaded drivers, all through one helper: every
// 32-bit integer passed by reference is sign-extended into a 64-bit local that
// lives for the length of the call, and every other argument passes as it is.
// A null integer stays null, so the 64-bit entry reports it at its own place.
#pragma once

#include <orb/orb_types.h>

#include <utility>

namespace orb::thr {

//! A 32-bit integer argument seen as a pointer to its 64-bit value.
class Widened {
 public:
  explicit Widened(const int *v) : value_(v ? *v : 0), null_(!v) {}
  operator const ORB_INT *() const { return null_ ? nullptr : &value_; }

 private:
  ORB_INT value_;
  bool null_;
};

inline Widened widen(const int *v) { return Widened(v); }
template <class A>
A &&widen(A &&other) {
  return std::forward<A>(other);
}

//! Calls the 64-bit entry with the arguments of its lp64 sibling, and returns
//! what it returns.
template <class Entry, class... Args>
decltype(auto) call_lp64(Entry entry, Args... args) {
  return entry(widen(args)...);
}

}  // namespace orb::thr
