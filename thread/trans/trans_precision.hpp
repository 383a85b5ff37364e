// The core's sequential copy and addition routines of one precision, so that
// each threaded entry is written once as a template.
#pragma once

#include <orb/orb_trans.h>

#include "precision.hpp"

namespace orb::thr {

template <class T>
struct TransPrecision;

#define ORB_TRANS_KERNELS(p, P, T)                                    \
  template <>                                                      \
  struct TransPrecision<T> : ::orb::Precision<T> {                \
    static constexpr auto omatcopy = &orb_trans_orb_##p##omatcopy; \
    static constexpr auto imatcopy = &orb_trans_orb_##p##imatcopy; \
    static constexpr auto omatcopy2 = &orb_trans_orb_##p##omatcopy2_seq; \
    static constexpr auto omatadd = &orb_trans_orb_##p##omatadd;   \
    static constexpr auto omatadd_seq = &orb_trans_orb_##p##omatadd_seq; \
  };
ORB_FOR_EACH_PRECISION(ORB_TRANS_KERNELS)
#undef ORB_TRANS_KERNELS

}  // namespace orb::thr
