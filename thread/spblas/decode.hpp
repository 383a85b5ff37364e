// The characters of the character-descriptor routines, read once for all of
// them, case-insensitively (orb_serv_lsame): the operation, and characters 1
// to 4 of the matrix descriptor.
#pragma once

#include <orb/orb_service.h>

#include <initializer_list>

namespace orb::thr {

struct Descriptor {
  char kind = 0;         //!< upper case: G S H T A D, or 0 for any other letter
  bool transposed;       //!< any operation letter but N
  bool conjugated;       //!< the operation letter C
  bool lower;            //!< character 2 is L (anything else: upper)
  bool non_unit;         //!< character 3 is N (anything else: unit)
  bool zero_based;       //!< character 4 is C (anything else: one-based)
};

inline Descriptor decode(const char *transa, const char *matdescra) {
  Descriptor d{};
  for (const char k : {'G', 'S', 'H', 'T', 'A', 'D'}) {
    const char letter[2] = {k, 0};
    if (orb_serv_lsame(matdescra, letter)) d.kind = k;
  }
  d.transposed = !orb_serv_lsame(transa, "N");
  d.conjugated = orb_serv_lsame(transa, "C");
  d.lower = orb_serv_lsame(matdescra + 1, "L");
  d.non_unit = orb_serv_lsame(matdescra + 2, "N");
  d.zero_based = orb_serv_lsame(matdescra + 3, "C");
  return d;
}

}  // namespace orb::thr
