// Math errors of one element: which status it is, and telling the caller.
//
// An element is in error when its result is NaN from arguments that are not
// (a domain error: log(-1), sqrt(-1), sin(inf)), or infinite from finite
// arguments: a singularity when the arguments are a pole of the function
// (log(0), 1/0, pow(0, -1)), an overflow otherwise (exp(1000)).  Underflow is
// not an error.  The vector is always computed to its end.
#pragma once

#include "vm_functions.hpp"
#include "vm/state.hpp"

#include <cmath>
#include <cstdint>

namespace orb::vm {

//! Whether (a, b) is a pole of a function with poles p.
template <class W>
bool at_pole(Pole p, W a, W b) {
  switch (p) {
    case Pole::zero: return a == 0;
    case Pole::minus_one: return a == -1;
    case Pole::unit: return std::fabs(a) == 1;
    case Pole::nonpos_int: return a <= 0 && std::nearbyint(a) == a;
    case Pole::zero_negpow: return a == 0 && b < 0;
    case Pole::divisor_zero: return b == 0 && a != 0;
    case Pole::none: break;
  }
  return false;
}

//! The status of result r from arguments a, b (b = 0 for one argument).
template <class W>
int classify(Pole p, W a, W b, W r) {
  if (std::isnan(r)) return std::isnan(a) || std::isnan(b) ? 0 : ORB_VM_STATUS_ERRDOM;
  if (std::isinf(r) && std::isfinite(a) && std::isfinite(b))
    return at_pole(p, a, b) ? ORB_VM_STATUS_SING : ORB_VM_STATUS_OVERFLOW;
  return 0;
}

//! What the mode asks of an error, and the status of one kernel call so far.
class ErrorReport {
 public:
  ErrorReport(const ThreadState &st, const char *function)
      : callback_(st.callback), function_(function) {
    const unsigned e = st.mode & ORB_VM_ERRMODE_MASK;
    keep_status_ = e == 0 || (e & ORB_VM_ERRMODE_STATUS);
    call_ = callback_ && (e == 0 || (e & ORB_VM_ERRMODE_CALLBACK));
  }

  //! Whether errors are looked for at all.
  bool wanted() const { return keep_status_ || call_; }

  //! Element `index` of the whole vector is in error `status`.
  void error(int status, int64_t index, double a, double b, double r) {
    if (keep_status_) status_ = status;
    if (call_) {
      const orb_vm_error_context c{status, index, a, b, r, function_};
      callback_(&c);
    }
  }

  int status() const { return status_; }

 private:
  orb_vm_error_callback callback_;
  const char *function_;
  bool keep_status_ = false, call_ = false;
  int status_ = 0;
};

//! The index in the whole vector of the first element at x (stride inc): the
//! threaders record the whole vector's start; a direct call is the whole vector.
template <class T>
int64_t first_index(const ThreadState &st, const T *x, int64_t inc) {
  if (!st.input || inc == 0) return 0;
  return (x - static_cast<const T *>(st.input)) / inc;
}

//! What every kernel call works with: the thread's state, the report of its
//! errors, and the index in the whole vector of its first element.
struct KernelCall {
  template <class T>
  KernelCall(const char *function, const T *x, int64_t inc)
      : st(state()), report(st, function), first(first_index(st, x, inc)) {}

  //! Ends the call: its status becomes the thread's.
  int finish() { return st.status = report.status(); }

  ThreadState &st;
  ErrorReport report;
  int64_t first;
};

}  // namespace orb::vm
