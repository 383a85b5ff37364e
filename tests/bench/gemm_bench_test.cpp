// Options, ratios and the written results of the gemm comparison, on runs
// made up here (nothing is timed).
#include "gemm_bench.hpp"

#include "gemm_output.hpp"
#include "naive_gemm.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace orb::bench {
namespace {

bool parse(const std::vector<std::string> &args, GemmOptions &o, std::string &error) {
  return parse_gemm_options(args, o, error);
}

TEST(GemmOptions, DefaultsToTheFullListAtAThirdOfASecond) {
  GemmOptions o;
  std::string error;
  ASSERT_TRUE(parse({}, o, error)) << error;
  EXPECT_EQ(o.shapes.size(), full_shapes().size());
  EXPECT_DOUBLE_EQ(o.target_s, 0.3);
  EXPECT_EQ(o.rounds, 3);
  EXPECT_EQ(o.threads, 0);
}

TEST(GemmOptions, QuickShortensListAndTimeUnlessTimeIsGiven) {
  GemmOptions o;
  std::string error;
  ASSERT_TRUE(parse({"--quick"}, o, error));
  EXPECT_EQ(o.shapes.size(), quick_shapes().size());
  EXPECT_LT(o.target_s, 0.3);
  ASSERT_TRUE(parse({"--time", "0.5", "--quick"}, o, error));
  EXPECT_DOUBLE_EQ(o.target_s, 0.5);
}

TEST(GemmOptions, ShapesOutputsThreadsAndLibraries) {
  GemmOptions o;
  std::string error;
  ASSERT_TRUE(parse({"--shape", "300", "--shape", "z:10x20x30", "--csv", "a.csv", "--json", "b.json", "--threads",
                     "4", "--rounds", "5", "--only", "orb,blis"},
                    o, error))
      << error;
  ASSERT_EQ(o.shapes.size(), 2u);
  EXPECT_EQ(shape_name(o.shapes[1]), "zgemm 10x20x30");
  EXPECT_EQ(o.csv_path, "a.csv");
  EXPECT_EQ(o.json_path, "b.json");
  EXPECT_EQ(o.threads, 4);
  EXPECT_EQ(o.rounds, 5);
  EXPECT_EQ(o.only, (std::vector<std::string>{"orb", "blis"}));
}

class BadOptions : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(BadOptions, AreRefusedWithAMessage) {
  GemmOptions o;
  std::string error;
  EXPECT_FALSE(parse(GetParam(), o, error));
  EXPECT_FALSE(error.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BadOptions,
    ::testing::Values(std::vector<std::string>{"--csv"}, std::vector<std::string>{"--threads", "0"},
                      std::vector<std::string>{"--threads", "2.5"}, std::vector<std::string>{"--time", "-1"},
                      std::vector<std::string>{"--time", "fast"}, std::vector<std::string>{"--shape", "10x10"},
                      std::vector<std::string>{"--only", "orb,nothing"}, std::vector<std::string>{"--fast"}));

// orb, the serial provider and two peers on one 1000^3 shape (2 GFLOP):
// orb 0.04 s (50 GFLOPS), serial 0.08 s (25), peer A 0.05 s (40), peer B n/a.
GemmRun made_up_run() {
  GemmRun run;
  run.threads = 2;
  run.date = "2030-01-01T00:00:00+0000";
  for (const char *key : {"orb", "serial", "openblas", "blis"}) {
    GemmLibrary lib;
    lib.key = lib.label = key;
    lib.peer = lib.key == "openblas" || lib.key == "blis";
    if (lib.key == "blis") lib.missing = "not \"installed\"";
    run.libraries.push_back(lib);
  }
  ShapeResult r;
  r.shape = {Precision::d, 1000, 1000, 1000, "square"};
  r.tolerance = 1e-12;
  r.libs.resize(4);
  const double best[] = {0.04, 0.08, 0.05};
  for (int i = 0; i < 3; ++i) {
    r.libs[i].measured = true;
    r.libs[i].timing = {best[i], best[i] * 1.1, 5};
    r.libs[i].check = i == 1 ? "reference" : "ok";
    r.libs[i].difference = i == 1 ? 0 : 1e-16;
  }
  run.shapes.push_back(r);
  return run;
}

TEST(GemmRatios, AgainstSerialAndTheFasterMeasuredPeer) {
  GemmRun run = made_up_run();
  const ShapeResult &r = run.shapes[0];
  EXPECT_DOUBLE_EQ(gflops(r, 0), 50.0);
  EXPECT_NEAR(gflops(r, 0, true), 50.0 / 1.1, 1e-9);
  EXPECT_EQ(gflops(r, 3), 0.0);
  EXPECT_EQ(best_peer(run, r), 2);
  EXPECT_DOUBLE_EQ(ratio_to_serial(run, r), 2.0);
  EXPECT_DOUBLE_EQ(ratio_to_best_peer(run, r), 1.25);

  run.shapes[0].libs[2].measured = false;  // no peer left
  EXPECT_EQ(best_peer(run, run.shapes[0]), -1);
  EXPECT_TRUE(std::isnan(ratio_to_best_peer(run, run.shapes[0])));
  run.shapes[0].libs[0].measured = false;  // orb missing
  EXPECT_TRUE(std::isnan(ratio_to_serial(run, run.shapes[0])));
}

TEST(GemmOutput, JsonStringsAndNumbers) {
  EXPECT_EQ(json_string("a\"b\\c\n"), "\"a\\\"b\\\\c\\u000a\"");
  EXPECT_EQ(json_number(NAN), "null");
  EXPECT_EQ(json_number(INFINITY), "null");
  EXPECT_EQ(json_number(1.25), "1.25");
}

std::string slurp(const std::string &path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST(GemmOutput, CsvHasOneRowPerShapeAndLibrary) {
  const GemmRun run = made_up_run();
  const std::string path = ::testing::TempDir() + "gemm_bench_test.csv";
  std::string error;
  ASSERT_TRUE(write_csv(path, run, error)) << error;
  std::istringstream lines(slurp(path));
  std::vector<std::string> rows;
  for (std::string line; std::getline(lines, line);) rows.push_back(line);
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_EQ(rows[1].rfind("d,1000,1000,1000,square,orb,", 0), 0u) << rows[1];
  EXPECT_NE(rows[1].find(",50,"), std::string::npos) << rows[1];
  EXPECT_NE(rows[1].find(",1e-16,ok,2,1.25"), std::string::npos) << rows[1];
  EXPECT_NE(rows[2].find(",0,reference,"), std::string::npos) << rows[2];
  EXPECT_NE(rows[4].find(",blis,"), std::string::npos);
  EXPECT_NE(rows[4].find("n/a"), std::string::npos);
  std::remove(path.c_str());
}

TEST(GemmOutput, JsonCarriesRatiosChecksAndMissingLibraries) {
  const GemmRun run = made_up_run();
  const std::string path = ::testing::TempDir() + "gemm_bench_test.json";
  std::string error;
  ASSERT_TRUE(write_json(path, run, error)) << error;
  const std::string j = slurp(path);
  for (const char *piece :
       {"\"ratio_serial\": 2,", "\"ratio_best_peer\": 1.25,", "\"best_peer\": \"openblas\"", "\"blis\": null",
        "\"missing\": \"not \\\"installed\\\"\"", "\"check\": \"reference\"", "\"max_rel_diff\": 1e-16", "\"max_rel_diff\": 0,",
        "\"gflops\": 50,", "\"statistic\": \"best\""})
    EXPECT_NE(j.find(piece), std::string::npos) << piece;
  std::remove(path.c_str());
}

// Plain loops stand in for the libraries: the serial one is the reference
// wherever it sits in the list, and a library that goes wrong only after its
// first calls is caught by the check after the timed calls.
int calls_of_late_bug = 0;

void late_bug(const char *ta, const char *tb, const int32_t *m, const int32_t *n, const int32_t *k,
              const double *alpha, const double *a, const int32_t *lda, const double *b, const int32_t *ldb,
              const double *beta, double *c, const int32_t *ldc, size_t, size_t) {
  test::beta_twice = ++calls_of_late_bug > 2;
  test::fake_lp64<double>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 0, 0);
  test::beta_twice = false;
}

TEST(MeasureGemm, ChecksAgainstTheSerialLibraryBeforeAndAfterTiming) {
  GemmRun run;
  run.options.shapes = {{Precision::d, 33, 17, 29, "custom"}, {Precision::s, 9, 9, 9, "square"}};
  run.options.target_s = 0.003;
  run.options.rounds = 2;
  GemmLibrary good = test::fake_library<test::Lp64>(CallAbi::fortran_lp64);
  GemmLibrary serial = test::fake_library<test::Ilp64>(CallAbi::fortran_ilp64);
  GemmLibrary late = good, missing = good;
  good.key = "orb";
  serial.key = "serial";
  late.key = "openblas";
  late.entries = {nullptr, reinterpret_cast<void *>(&late_bug), nullptr};  // double precision only
  missing.key = "blis";
  missing.missing = "not here";
  run.libraries = {good, late, serial, missing};

  calls_of_late_bug = 0;
  measure_gemm(run);
  ASSERT_EQ(run.shapes.size(), 2u);
  const ShapeResult &d = run.shapes[0];
  EXPECT_EQ(d.libs[2].check, "reference");
  EXPECT_EQ(d.libs[0].check, "ok");
  EXPECT_EQ(d.libs[1].check, "MISMATCH");  // right on its first call, wrong from the third
  EXPECT_GT(calls_of_late_bug, 2 + run.options.rounds);
  EXPECT_FALSE(d.libs[3].measured);
  for (int i : {0, 1, 2}) EXPECT_GE(d.libs[i].timing.reps, run.options.rounds) << i;

  const ShapeResult &s = run.shapes[1];
  EXPECT_EQ(s.libs[2].check, "reference");
  EXPECT_EQ(s.libs[0].check, "ok");
  EXPECT_FALSE(s.libs[1].measured);  // no single-precision entry
}

TEST(GemmOutput, UnwritablePathIsAnError) {
  std::string error;
  EXPECT_FALSE(write_json("/nonexistent/dir/x.json", made_up_run(), error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace orb::bench
