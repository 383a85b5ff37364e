// The environment as a fresh process reads it: recorded settings, the budget
// they must not change, and MPI processes per node.
#include <gtest/gtest.h>
#include <orb/orb_service.h>

#include "process.hpp"

namespace orb::test {
namespace {

struct EnvCase {
  const char *what;
  std::vector<std::string> env;
  std::vector<std::pair<std::string, std::string>> expected;  // probe field -> value
};
void PrintTo(const EnvCase &c, std::ostream *os) { *os << c.what; }
class RecordedEnvironment : public ::testing::TestWithParam<EnvCase> {};

TEST_P(RecordedEnvironment, IsParsedByItsRule) {
  const auto &c = GetParam();
  const ProbeResult r = run_probe({"env"}, c.env);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  for (const auto &[key, value] : c.expected) EXPECT_EQ(field(r.out, key), value) << c.what << ": " << key;
  // No setting of the environment moves the budget away from the core count,
  // and per-domain queries always answer 1.
  EXPECT_EQ(field(r.out, "max_threads"), std::to_string(orb_serv_get_max_threads()));
  EXPECT_EQ(field(r.out, "domain"), "1");
}

INSTANTIATE_TEST_SUITE_P(
    Variables, RecordedEnvironment,
    ::testing::Values(
        // The value rules themselves are tested on texts in env_grammar_test; here each
        // variable reaches its rule, and 0 counts as unset.
        EnvCase{"nothing set", {}, {{"num_threads", "-1"}, {"num_stripes", "-1"}, {"dynamic", "1"}, {"ppn", "-1"}}},
        EnvCase{"letters", {"ORB_NUM_THREADS=abc"}, {{"num_threads", "1"}}},
        EnvCase{"zero", {"ORB_NUM_THREADS=0"}, {{"num_threads", "-1"}}},
        EnvCase{"count wins over domain", {"ORB_NUM_THREADS=5", "ORB_DOMAIN_NUM_THREADS=ORB_DOMAIN_ALL=2"},
                {{"num_threads", "5"}}},
        EnvCase{"domain list",
                {"ORB_DOMAIN_NUM_THREADS=ORB_DOMAIN_ALL=2, ORB_DOMAIN_BLAS 4"},
                {{"num_threads", "2"}, {"blas", "4"}, {"fft", "-1"}}},
        EnvCase{"stripes", {"ORB_NUM_STRIPES=3"}, {{"num_stripes", "3"}}},
        EnvCase{"stripes zero", {"ORB_NUM_STRIPES=0"}, {{"num_stripes", "0"}}},
        EnvCase{"stripes ignored", {"ORB_NUM_STRIPES=3x"}, {{"num_stripes", "-1"}}},
        EnvCase{"dynamic false", {"ORB_DYNAMIC=false"}, {{"dynamic", "0"}}},
        // MPI processes per node, from orb's own variable or the launchers'.
        EnvCase{"ppn: own variable", {"ORB_MPI_PPN=3"}, {{"ppn", "3"}}},
        EnvCase{"ppn: own zero defers", {"ORB_MPI_PPN=0", "VX_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE=5"}, {{"ppn", "5"}}},
        EnvCase{"ppn: own unclean defers", {"ORB_MPI_PPN=3x", "MPI_LOCALNRANKS=6"}, {{"ppn", "6"}}},
        EnvCase{"ppn: pin mapping", {"VX_MPI_PIN_MAPPING=4:0,1,2,3"}, {{"ppn", "4"}}},
        EnvCase{"ppn: pin mapping without colon", {"VX_MPI_PIN_MAPPING=4,0"}, {{"ppn", "-1"}}},
        EnvCase{"ppn: pin mapping zero", {"VX_MPI_PIN_MAPPING=0:0", "MPI_LOCALNRANKS=2"}, {{"ppn", "2"}}},
        EnvCase{"ppn: local size", {"OMPI_COMM_WORLD_LOCAL_SIZE=8", "MPI_LOCALNRANKS=2"}, {{"ppn", "8"}}},
        EnvCase{"ppn: local size zero", {"OMPI_COMM_WORLD_LOCAL_SIZE=0", "MPI_LOCALNRANKS=2"}, {{"ppn", "2"}}},
        EnvCase{"ppn: local size zero alone", {"OMPI_COMM_WORLD_LOCAL_SIZE=0"}, {{"ppn", "-1"}}},
        EnvCase{"ppn: local ranks unclean", {"MPI_LOCALNRANKS=2 "}, {{"ppn", "-1"}}}));

}  // namespace
}  // namespace orb::test
