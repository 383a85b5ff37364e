// The scaling of the threading thresholds (see threshold.hpp for its table).
#include "partition/threshold.hpp"

#include <orb/orb_service.h>

#include <cmath>
#include <cstdlib>

namespace orb::thr {

int64_t scaled_threshold(int64_t nominal, double scale) {
  const double scaled = std::ceil(static_cast<double>(nominal) * scale);
  return scaled < 1 ? 1 : scaled >= static_cast<double>(nominal) ? nominal : static_cast<int64_t>(scaled);
}

namespace {

double read_scale() {
  char text[64];
  if (orb_serv_getenv("ORB_THRESHOLD_SCALE", text, sizeof text) <= 0) return 1.0;
  char *end = nullptr;
  const double v = std::strtod(text, &end);
  if (end == text || *end != '\0' || !(v >= 0.0 && v <= 1.0)) return 1.0;
  return v;
}

}  // namespace

double threshold_scale() {
  static const double scale = read_scale();
  return scale;
}

}  // namespace orb::thr
