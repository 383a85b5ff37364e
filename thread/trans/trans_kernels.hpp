// The core's sequential copy and addition routines, named per precision, so
// that each threaded entry is written once as a template.
#pragma once

#include <orb/orb_trans.h>

namespace orb::thr {

template <class T>
struct TransKernels;

#define ORB_TRANS_KERNELS(p, T)                                    \
  template <>                                                      \
  struct TransKernels<T> {                                         \
    static constexpr auto omatcopy = &orb_trans_orb_##p##omatcopy; \
    static constexpr auto imatcopy = &orb_trans_orb_##p##imatcopy; \
    static constexpr auto omatcopy2 = &orb_trans_orb_##p##omatcopy2_seq; \
    static constexpr auto omatadd = &orb_trans_orb_##p##omatadd;   \
    static constexpr auto omatadd_seq = &orb_trans_orb_##p##omatadd_seq; \
  };
ORB_TRANS_KERNELS(s, float)
ORB_TRANS_KERNELS(d, double)
ORB_TRANS_KERNELS(c, ORB_Complex8)
ORB_TRANS_KERNELS(z, ORB_Complex16)
#undef ORB_TRANS_KERNELS

//! Expands X(letter, element type) once per precision.
#define ORB_TRANS_FOR_EACH_TYPE(X) X(s, float) X(d, double) X(c, ORB_Complex8) X(z, ORB_Complex16)

}  // namespace orb::thr
