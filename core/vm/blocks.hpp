// The SLEEF kernels of one instruction set over whole arrays, and the table
// of the widest set the processor runs.
#pragma once

#include "vm_functions.hpp"

#include <cstdint>

namespace orb::vm {

//! The kernels of one instruction set over whole arrays of n elements; the
//! unary and binary ones answer whether every result is finite (looked at in
//! the registers they were computed in, so an error scan costs nothing until
//! one is not).
template <class E>
using UnaryBlock = bool (*)(const E *x, E *y, int64_t n);
template <class E>
using BinaryBlock = bool (*)(const E *a, const E *b, E *y, int64_t n);
template <class E>
using SinCosBlock = void (*)(const E *x, E *s, E *c, int64_t n);

//! SLEEF's kernels for one element type, [function][0 high, 1 low accuracy].
template <class E>
struct SleefBlocks {
  UnaryBlock<E> unary[kSleefUnary][2] = {};
  BinaryBlock<E> binary[kSleefBinary][2] = {};
  SinCosBlock<E> sincos[2] = {};
  //! Whether all of n elements are finite (the quick look before the error scan).
  bool (*all_finite)(const E *y, int64_t n) = nullptr;
};

//! The kernels of one instruction set, for double and float.
struct BlockTable {
  SleefBlocks<double> d;
  SleefBlocks<float> s;
};

//! Fills t with the 512-, 256- and 128-bit kernels (vm/blocks_*.cpp).
void fill_blocks_avx512(BlockTable &t);
void fill_blocks_avx2(BlockTable &t);
void fill_blocks_sse2(BlockTable &t);

//! The widest kernels this processor runs, chosen once.
const BlockTable &blocks();

}  // namespace orb::vm
