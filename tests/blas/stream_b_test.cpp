// The core's streaming kernel: both instruction-set versions against the naive
// product on every edge of their tiles, their agreement bit for bit, and when
// orb_blas_xdgemm hands a product to the kernel (seen through the allocation
// of its packed block, the one call it makes to the allocator).
#include <orb/internal/orb_kernels.h>
#include "blas/gemm_stream_b.hpp"
#include "blas/provider_kernels.hpp"
#include "dense.hpp"
#include "interpose.hpp"

#include <cstring>
#include <memory>

namespace orb::test {
namespace {

using core::StreamBProduct;

struct Isa {
  const char *name;
  void (*run)(const StreamBProduct &);
  bool avx512;
};

bool available(const Isa &isa) {
  __builtin_cpu_init();
  return isa.avx512 ? __builtin_cpu_supports("avx512f")
                    : __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

const Isa kAvx512{"avx512", core::stream_b_dgemm_avx512, true}, kAvx2{"avx2", core::stream_b_dgemm_avx2, false};

using Pack = std::unique_ptr<double, decltype(&orb_serv_deallocate)>;

// Blocks of 512 rows, so that 1033 rows make three blocks, the last one short.
constexpr ORB_INT kBlockRows = core::kStreamBBlockRowsOther;

Pack pack_for(ORB_INT m) {
  const ORB_INT bytes = core::stream_b_scratch(m, kBlockRows) * ORB_INT{sizeof(double)};
  return Pack(static_cast<double *>(orb_serv_allocate(bytes, 64)), orb_serv_deallocate);
}

void PrintTo(const Isa &isa, std::ostream *os) { *os << isa.name; }
class StreamBTiles : public ::testing::TestWithParam<Isa> {};

// Rows around the register heights (8 .. 32 with AVX-512, 4 and 8 with AVX2)
// and the block of packed rows, columns around the tile width (6), k around
// the block depth; odd leading dimensions put every column off its alignment.
// beta 1, 0 (C starts as NaN, which must go) and 0.5: the three ways a tile
// stores its first block of k.
TEST_P(StreamBTiles, MatchTheNaiveProductOnEveryEdge) {
  if (!available(GetParam())) GTEST_SKIP() << "the processor lacks " << GetParam().name;
  for (ORB_INT m : {ORB_INT{1}, ORB_INT{3}, ORB_INT{4}, ORB_INT{8}, ORB_INT{13}, ORB_INT{17}, ORB_INT{31}, ORB_INT{32},
                    ORB_INT{33}, ORB_INT{250}, core::kStreamBBlockRowsAmd + 9})
    for (ORB_INT n : {1, 5, 6, 7, 13})
      for (ORB_INT k : {ORB_INT{1}, core::kStreamBDepth + 1})
        for (double beta : {1.0, 0.0, 0.5}) {
          SCOPED_TRACE(testing::Message() << m << "x" << n << "x" << k << " beta " << beta);
          check_gemm<double>(false, 'N', 'N', m, n, k, -1.5, beta, {3, 1, 2},
                             [&](double alpha, const double *a, ORB_INT lda, const double *b, ORB_INT ldb, double beta,
                                 double *c, ORB_INT ldc) {
                               Pack pack = pack_for(m);
                               GetParam().run({m, n, k, alpha, beta, a, lda, b, ldb, c, ldc, pack.get(), kBlockRows});
                             });
        }
}

INSTANTIATE_TEST_SUITE_P(Isas, StreamBTiles, ::testing::Values(kAvx512, kAvx2),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(StreamB, InstructionSetsAgreeBitForBit) {
  if (!available(kAvx512)) GTEST_SKIP() << "the processor lacks avx512";
  const ORB_INT m = 37, n = 29, k = 3 * core::kStreamBDepth + 5;
  const auto a = random_matrix<double>(m, k, m, 1), b = random_matrix<double>(k, n, k, 2);
  auto c1 = random_matrix<double>(m, n, m, 3), c2 = c1;
  Pack pack = pack_for(m);
  kAvx512.run({m, n, k, 0.75, 0.5, a.data(), m, b.data(), k, c1.data(), m, pack.get(), kBlockRows});
  kAvx2.run({m, n, k, 0.75, 0.5, a.data(), m, b.data(), k, c2.data(), m, pack.get(), kBlockRows});
  EXPECT_EQ(std::memcmp(c1.data(), c2.data(), c1.size() * sizeof(double)), 0);
}

struct Route {
  const char *name;
  ORB_INT m, n, k;
  char ta;
  bool strict, fail_alloc;
  bool tried;           // the kernel asked for its block
  bool many_rows = false;  // ... only where the AVX-512 version takes many rows
};

// The AVX-512 version leaves products of many rows to a second provider that
// runs AVX-512 kernels of its own.
bool takes_many_rows() {
  core::IsaTier tier = core::IsaTier::baseline;
  const char *second = orb_serv_provider2_config();
  const bool second_wide = second && core::provider2_config_tier(second, tier) && tier >= core::IsaTier::avx512;
  return __builtin_cpu_supports("avx512f") && !second_wide;
}

void PrintTo(const Route &r, std::ostream *os) { *os << r.name; }
class StreamBRoute : public ::testing::TestWithParam<Route> {};

// Whatever the route, the result is right, C with beta = 0 starting as NaN.
TEST_P(StreamBRoute, TakesItsShapeOutsideStrictModeAndFallsBackWithoutScratch) {
  const Route &r = GetParam();
  check_gemm<double>(false, r.ta, 'N', r.m, r.n, r.k, 1.25, 0.0, {1, 0, 3},
                     [&](double alpha, const double *a, ORB_INT lda, const double *b, ORB_INT ldb, double beta,
                         double *c, ORB_INT ldc) {
                       // A fresh thread: its block is asked for once, and given back when it ends.
                       observe(r.fail_alloc, r.strict);
                       std::thread([&] {
                         orb_blas_xdgemm(&r.ta, "N", &r.m, &r.n, &r.k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
                       }).join();
                     });
  const Observed o = observed();
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no kernel for this processor";
  const bool tried = r.tried && (!r.many_rows || takes_many_rows());
  EXPECT_EQ(o.alloc_bytes.size(), tried ? 1u : 0u);
  EXPECT_EQ(o.deallocations, tried && !r.fail_alloc ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Shapes, StreamBRoute,
                         ::testing::Values(Route{"taken", 256, 16, 256, 'N', false, false, true},
                                           Route{"taken_lower_case", 100, 20, 2100, 'n', false, false, true},
                                           Route{"many_rows_wide", 1100, 256, 256, 'N', false, false, true, true},
                                           Route{"many_rows_narrow", 257, 255, 300, 'N', false, false, false},
                                           Route{"small_product", 256, 15, 260, 'N', false, false, false},
                                           Route{"too_few_columns", 64, 11, 4000, 'N', false, false, false},
                                           Route{"too_short", 64, 20, 255, 'N', false, false, false},
                                           Route{"transposed", 64, 20, 4000, 'T', false, false, false},
                                           Route{"strict", 64, 20, 4000, 'N', true, false, false},
                                           Route{"no_scratch", 64, 20, 4000, 'N', false, true, true}),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orb::test
