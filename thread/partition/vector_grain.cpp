// The grain and splitter of the vector-function threaders (vector_grain.hpp).
#include "partition/vector_grain.hpp"

#include <climits>
#include <cmath>

namespace orb::thr {

int vector_grain(float cost) {
  const float quotient = 10000.0f / cost;  // single precision, as the rule is stated
  if (std::isnan(quotient) || quotient < 0.0f) return 0;
  if (quotient >= static_cast<float>(INT_MAX)) return INT_MAX;
  return static_cast<int>(quotient);
}

rt::Split vector_split(unsigned mode) {
  switch (mode & 0x30000u) {
    case 0x10000u: return rt::Split::even;
    case 0x20000u: return rt::Split::simple;
    default: return rt::Split::automatic;
  }
}

}  // namespace orb::thr
