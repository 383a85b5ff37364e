// The two readings of /proc/cpuinfo.  Both take the file's path, so that the
// tests read canned texts.
#include "service/topology.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orb::thr {

namespace {

// Calls fn(line) for every line of the file, without its newline.
template <class Fn>
bool for_each_line(const char *path, Fn fn) {
  FILE *f = std::fopen(path, "r");
  if (!f) return false;
  char *line = nullptr;
  size_t cap = 0;
  ssize_t len;
  while ((len = getline(&line, &cap, f)) >= 0) {
    if (len > 0 && line[len - 1] == '\n') line[len - 1] = '\0';
    fn(line);
  }
  std::free(line);
  std::fclose(f);
  return true;
}

bool starts_with(const char *s, const char *prefix) { return std::strncmp(s, prefix, std::strlen(prefix)) == 0; }

// The number after the colon; `missing` when the line has no colon, 0 when no
// number follows it.
long number_after_colon(const char *line, long missing) {
  const char *colon = std::strchr(line, ':');
  return colon ? std::strtol(colon + 1, nullptr, 10) : missing;
}

}  // namespace

int count_processor_lines(const char *path) {
  int count = 0;
  if (!for_each_line(path, [&](const char *line) { count += starts_with(line, "processor"); })) return 8192;
  return count;
}

CpuinfoCounts read_cpuinfo_counts(const char *path) {
  CpuinfoCounts c;
  static constexpr int kMaxPackages = 4096;
  long ids[kMaxPackages];
  int blocks = 0;  // "processor" lines seen so far; the first block is blocks == 1
  c.opened = for_each_line(path, [&](const char *line) {
    if (starts_with(line, "processor")) {
      ++blocks;
      ++c.processors;
    } else if (starts_with(line, "physical id")) {
      const long id = number_after_colon(line, -1);
      if (id == -1) return;
      for (int i = 0; i < c.packages; ++i)
        if (ids[i] == id) return;
      if (c.packages < kMaxPackages) ids[c.packages++] = id;
    } else if (blocks == 1 && starts_with(line, "cpu cores")) {
      c.cpu_cores = static_cast<int>(number_after_colon(line, 0));
    } else if (blocks == 1 && starts_with(line, "siblings")) {
      c.siblings = static_cast<int>(number_after_colon(line, 0));
    }
  });
  return c;
}

}  // namespace orb::thr
