// The clean-up list, each case in a fresh probe process (the list and the
// local-setting key belong to the process): order at unload, the limit of
// eight, a clean-up that registers another while the list runs, an explicit
// run and the local setting after it, and registrations racing a run.
#include <gtest/gtest.h>

#include <tuple>

#include "process.hpp"

namespace orb::test {
namespace {

std::string lines(const char *key, std::initializer_list<int> values) {
  std::string s;
  for (int v : values) s += std::string(key) + "=" + std::to_string(v) + "\n";
  return s;
}

// Probe arguments, exit code and everything the probe prints.
TEST(CleanupList, RunsEachEntryOnceLastFirst) {
  const std::tuple<std::vector<std::string>, int, std::string> cases[] = {
      {{"cleanup", "3"}, 0, lines("registered", {0, 1, 2}) + lines("cleanup", {2, 1, 0})},
      // A ninth registration ends the process with code 3; the eight still run.
      {{"cleanup", "9"}, 3, lines("registered", {0, 1, 2, 3, 4, 5, 6, 7}) + lines("cleanup", {7, 6, 5, 4, 3, 2, 1, 0})},
      // The full list's last clean-up registers another as it runs: its own
      // entry is already gone, so the list has room, and the new entry runs
      // next, before the older ones.
      {{"cleanup-reenter"}, 0,
       lines("registered", {0, 1, 2, 3, 4, 5, 6, 7}) + "cleanup=7\nregistered=8\n" + lines("cleanup", {8, 6, 5, 4, 3, 2, 1, 0})},
      // An explicit run empties the list (nothing runs again at unload) and
      // deletes the local-setting key: the thread's setting of 997 is gone,
      // and a new one is kept under a new key.
      {{"cleanup-explicit"}, 0,
       "previous=0\nbudget=997\ncleanup=1\ncleanup=0\ncleaned\nbudget=cores\nprevious=0\nbudget=998\n"},
      // Registration and an explicit run take different locks; entries
      // registered while another thread runs the list are neither lost nor
      // run twice.
      {{"cleanup-race", "20000"}, 0, "lost=0\nrepeated=0\n"}};
  for (const auto &[args, exit_code, out] : cases) {
    const ProbeResult r = run_probe(args);
    EXPECT_EQ(r.exit_code, exit_code) << args[0] << " " << r.err;
    EXPECT_EQ(r.out, out) << args[0];
  }
}

}  // namespace
}  // namespace orb::test
