// The shape lists of the gemm comparison and the --shape syntax.
#include "gemm_shapes.hpp"

#include <cerrno>
#include <cstdlib>

namespace orb::bench {

namespace {

GemmShape square(int64_t n, Precision p = Precision::d) { return {p, n, n, n, "square"}; }
GemmShape shape(int64_t m, int64_t n, int64_t k, const char *group) { return {Precision::d, m, n, k, group}; }
GemmShape transposed(const char *ops, int64_t n) { return {Precision::d, n, n, n, "transposed", ops[0], ops[1]}; }

bool is_op(char c) { return c == 'N' || c == 'T' || c == 'C'; }

// Reads a positive decimal integer at `s`, advancing past it.
bool read_size(const char *&s, int64_t &value) {
  if (*s < '0' || *s > '9') return false;
  char *end = nullptr;
  errno = 0;
  const long long v = std::strtoll(s, &end, 10);
  if (errno != 0 || v <= 0 || v > (int64_t{1} << 31) - 1) return false;  // peers take 32-bit sizes
  value = v;
  s = end;
  return true;
}

}  // namespace

std::vector<GemmShape> full_shapes() {
  return {
      square(100),
      square(200),
      square(500),
      square(1000),
      square(2000),
      square(4000),
      shape(4000, 64, 4000, "tall-skinny"),
      shape(100, 100, 10000, "long-k"),
      shape(128, 128, 50000, "long-k"),
      shape(64, 256, 20000, "long-k"),
      shape(2000, 2000, 128, "short-k"),
      shape(4000, 4000, 64, "short-k"),
      square(2000, Precision::s),
      square(1000, Precision::z),
      square(2000, Precision::z),
      transposed("TN", 2000),
      transposed("NT", 2000),
      transposed("TT", 2000),
  };
}

std::vector<GemmShape> quick_shapes() {
  return {square(200), square(1000), square(2000), shape(100, 100, 10000, "long-k")};
}

bool parse_shape(const std::string &text, GemmShape &out) {
  GemmShape s;
  const char *p = text.c_str();
  if (p[0] && p[1] == ':') {
    switch (p[0]) {
      case 's': s.prec = Precision::s; break;
      case 'd': s.prec = Precision::d; break;
      case 'z': s.prec = Precision::z; break;
      default: return false;
    }
    p += 2;
  }
  if (is_op(p[0]) && is_op(p[1]) && p[2] == ':') {
    s.transa = p[0];
    s.transb = p[1];
    p += 3;
  }
  if (!read_size(p, s.m)) return false;
  if (*p == '\0') {
    s.n = s.k = s.m;
    s.group = "square";
  } else {
    if (*p++ != 'x' || !read_size(p, s.n)) return false;
    if (*p++ != 'x' || !read_size(p, s.k) || *p != '\0') return false;
    s.group = (s.m == s.n && s.n == s.k) ? "square" : "custom";
  }
  if (s.transa != 'N' || s.transb != 'N') s.group = s.group == "square" ? "transposed" : "custom";
  out = s;
  return true;
}

char precision_letter(Precision p) { return p == Precision::s ? 's' : p == Precision::d ? 'd' : 'z'; }

std::string shape_name(const GemmShape &s) {
  const std::string ops = s.transa == 'N' && s.transb == 'N' ? "" : std::string{s.transa, s.transb, ' '};
  return std::string(1, precision_letter(s.prec)) + "gemm " + ops + std::to_string(s.m) + "x" +
         std::to_string(s.n) + "x" + std::to_string(s.k);
}

double gemm_flops(const GemmShape &s) {
  const double per_term = s.prec == Precision::z ? 8.0 : 2.0;
  return per_term * static_cast<double>(s.m) * static_cast<double>(s.n) * static_cast<double>(s.k);
}

}  // namespace orb::bench
