// The operands of one gemm shape, shared by every library that is measured
// on it, and the check that a library's C agrees with a reference C.
//
// Every library computes C = alpha A B + beta C with the same A, B, alpha and
// beta; alpha and beta are neither 0 nor 1, so that a library that applies
// either of them wrongly (or twice) shows up in the check.  Repeating the call
// keeps C bounded (it tends to alpha A B / (1 - beta)), so timed calls may run
// on whatever an earlier call left in C.
#pragma once

#include "gemm_shapes.hpp"
#include "libraries.hpp"

#include <cstddef>
#include <memory>

namespace orb::bench {

//! A 64-byte aligned array of floating-point numbers.
class RealBuffer {
 public:
  RealBuffer() = default;
  RealBuffer(size_t count, size_t real_bytes);
  void *data() const { return data_.get(); }
  size_t count() const { return count_; }
  size_t real_bytes() const { return real_bytes_; }

 private:
  struct Free {
    void operator()(void *p) const;
  };
  std::unique_ptr<void, Free> data_;
  size_t count_ = 0;
  size_t real_bytes_ = 0;
};

//! Largest |x_i - ref_i| divided by the largest |ref_i| (0 when both are 0);
//! measured against the largest element so that entries near zero, where
//! summation order changes the value most, do not dominate.
double max_relative_difference(const float *x, const float *ref, size_t n);
double max_relative_difference(const double *x, const double *ref, size_t n);

//! Operands of one shape, filled with pseudo-random values in [-1, 1).
class GemmProblem {
 public:
  explicit GemmProblem(const GemmShape &shape, uint64_t seed = 1);

  const GemmShape &shape() const { return shape_; }

  //! Restores C to its initial contents.
  void reset_c();

  //! One call of `lib`'s gemm on this problem; C is updated in place.
  void call(const GemmLibrary &lib);

  //! Keeps the current C as the reference for later checks.
  void keep_as_reference();

  //! max_relative_difference of the current C against the reference.
  double difference_from_reference() const;

  //! The largest difference a correct library may show: different blockings
  //! sum the k terms in different orders, each order losing about one unit
  //! of rounding per term in the worst case.
  double tolerance() const;

 private:
  GemmShape shape_;
  RealBuffer a_, b_, c0_, c_, ref_;
  double alpha_[2], beta_[2];   // real and imaginary parts
  float alpha_s_[2], beta_s_[2];
};

}  // namespace orb::bench
