// The environment as a fresh process reads it: recorded settings, the budget
// they must not change, and MPI processes per node.
#include <gtest/gtest.h>
#include <orb/orb_service.h>

#include "process.hpp"

#include <tuple>

namespace orb::test {
namespace {

// Each variable reaches its rule (the value rules themselves are tested on
// texts in env_grammar_test), and 0 counts as unset.  No setting moves the
// budget away from the core count, and per-domain queries always answer 1.
TEST(RecordedEnvironment, IsParsedByItsRule) {
  using Fields = std::vector<std::pair<std::string, std::string>>;  // probe field -> value
  const std::tuple<const char *, std::vector<std::string>, Fields> cases[] = {
      {"nothing set", {}, {{"num_threads", "-1"}, {"num_stripes", "-1"}, {"dynamic", "1"}, {"ppn", "-1"}}},
      {"letters", {"ORB_NUM_THREADS=abc"}, {{"num_threads", "1"}}},
      {"zero", {"ORB_NUM_THREADS=0"}, {{"num_threads", "-1"}}},
      {"count wins over domain", {"ORB_NUM_THREADS=5", "ORB_DOMAIN_NUM_THREADS=ORB_DOMAIN_ALL=2"}, {{"num_threads", "5"}}},
      {"domain list", {"ORB_DOMAIN_NUM_THREADS=ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4"},
       {{"num_threads", "2"}, {"blas", "4"}, {"fft", "-1"}}},
      {"stripes", {"ORB_NUM_STRIPES=3"}, {{"num_stripes", "3"}}},
      {"stripes zero", {"ORB_NUM_STRIPES=0"}, {{"num_stripes", "0"}}},
      {"stripes ignored", {"ORB_NUM_STRIPES=3x"}, {{"num_stripes", "-1"}}},
      {"dynamic false", {"ORB_DYNAMIC=false"}, {{"dynamic", "0"}}},
      // MPI processes per node, from orb's own variable or the launchers'.
      {"ppn: own variable", {"ORB_MPI_PPN=3"}, {{"ppn", "3"}}},
      {"ppn: own zero defers", {"ORB_MPI_PPN=0", "VX_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE=5"}, {{"ppn", "5"}}},
      {"ppn: own unclean defers", {"ORB_MPI_PPN=3x", "MPI_LOCALNRANKS=6"}, {{"ppn", "6"}}},
      {"ppn: pin mapping", {"VX_MPI_PIN_MAPPING=4:0,1,2,3"}, {{"ppn", "4"}}},
      {"ppn: pin mapping without colon", {"VX_MPI_PIN_MAPPING=4,0"}, {{"ppn", "-1"}}},
      {"ppn: pin mapping zero", {"VX_MPI_PIN_MAPPING=0:0", "MPI_LOCALNRANKS=2"}, {{"ppn", "2"}}},
      {"ppn: local size", {"OMPI_COMM_WORLD_LOCAL_SIZE=8", "MPI_LOCALNRANKS=2"}, {{"ppn", "8"}}},
      {"ppn: local size zero", {"OMPI_COMM_WORLD_LOCAL_SIZE=0", "MPI_LOCALNRANKS=2"}, {{"ppn", "2"}}},
      {"ppn: local size zero alone", {"OMPI_COMM_WORLD_LOCAL_SIZE=0"}, {{"ppn", "-1"}}},
      {"ppn: local ranks unclean", {"MPI_LOCALNRANKS=2 "}, {{"ppn", "-1"}}}};
  for (const auto &[what, env, expected] : cases) {
    const ProbeResult r = run_probe({"env"}, env);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    for (const auto &[key, value] : expected) EXPECT_EQ(field(r.out, key), value) << what << ": " << key;
    EXPECT_EQ(field(r.out, "max_threads"), std::to_string(orb_serv_get_max_threads())) << what;
    EXPECT_EQ(field(r.out, "domain"), "1") << what;
  }
}

}  // namespace
}  // namespace orb::test

namespace orb::test {
namespace {

// ORB_THRESHOLD_SCALE lowers every threading threshold at once: with 0 a 9 x 9
// product on a budget of 4 is cut into the grid's 4 column blocks of 3 (the
// last empty, so 3 kernel calls) and a dot product of 100 into 4 runs; left
// unset, or given a value outside [0, 1], both stay one call.
TEST(ThresholdScale, LowersTheThresholdsOfEveryRule) {
  const struct {
    const char *budget;
    std::vector<std::string> env;
    const char *gemm_pieces, *dot_pieces;
  } cases[] = {{"4", {"ORB_VERBOSE=0"}, "1", "1"},
               {"4", {"ORB_THRESHOLD_SCALE=0"}, "3", "4"},
               {"4", {"ORB_THRESHOLD_SCALE=2"}, "1", "1"},
               {"4", {"ORB_THRESHOLD_SCALE=0x"}, "1", "1"},
               {"1", {"ORB_THRESHOLD_SCALE=0"}, "1", "1"}};
  for (const auto &c : cases) {
    const ProbeResult r = run_probe({"cuts", c.budget}, c.env);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(field(r.out, "gemm_pieces"), c.gemm_pieces) << c.env.back();
    EXPECT_EQ(field(r.out, "dot_pieces"), c.dot_pieces) << c.env.back();
    EXPECT_EQ(field(r.out, "results"), "9,100") << c.env.back();
  }
}

}  // namespace
}  // namespace orb::test
