// The element types of the module and the type each is computed in: half
// precision goes through single precision, one conversion each way.
#pragma once

#include <orb/orb_vm.h>

#include <cstring>

namespace orb::vm {

//! Real storage type T: Work is the type it is computed in, letter its name.
template <class T>
struct Real {
  using Work = T;
  static Work load(T v) { return v; }
  static T store(Work v) { return v; }
  //! The value as stored, seen in the work type (an overflow of the storage shows).
  static Work stored(Work v) { return v; }
};
template <>
struct Real<ORB_Half> {
  using Work = float;
  static float load(ORB_Half h) {
    _Float16 v;
    std::memcpy(&v, &h, sizeof v);
    return static_cast<float>(v);
  }
  static ORB_Half store(float f) {
    const _Float16 v = static_cast<_Float16>(f);
    ORB_Half h;
    std::memcpy(&h, &v, sizeof h);
    return h;
  }
  static float stored(float f) { return static_cast<float>(static_cast<_Float16>(f)); }
};

template <class T>
constexpr char letter_of();
template <>
constexpr char letter_of<ORB_Half>() { return 'h'; }
template <>
constexpr char letter_of<float>() { return 's'; }
template <>
constexpr char letter_of<double>() { return 'd'; }
template <>
constexpr char letter_of<ORB_Complex8>() { return 'c'; }
template <>
constexpr char letter_of<ORB_Complex16>() { return 'z'; }

}  // namespace orb::vm
