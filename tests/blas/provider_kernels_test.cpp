// Which of the provider's kernel sets the core asks for, by processor.
#include "blas/provider_kernels.hpp"

#include <gtest/gtest.h>

#include <string>

namespace orb::core {
namespace {

// Processors by what they can do, from an x86-64 without SSE3 up; each adds to the one before.
ProcessorFeatures sse3() { ProcessorFeatures f; f.sse3 = true; return f; }
ProcessorFeatures ssse3() { auto f = sse3(); f.ssse3 = true; return f; }
ProcessorFeatures sse4_2() { auto f = ssse3(); f.sse4_2 = true; return f; }
ProcessorFeatures avx() { auto f = sse4_2(); f.avx = true; return f; }
ProcessorFeatures avx2() { auto f = avx(); f.avx2 = f.fma = true; return f; }
ProcessorFeatures avx512() { auto f = avx2(); f.avx512f = f.avx512dq = f.avx512bw = f.avx512vl = true; return f; }
ProcessorFeatures bf16() { auto f = avx512(); f.avx512bf16 = true; return f; }
ProcessorFeatures amd(ProcessorFeatures f) { f.amd = true; return f; }
ProcessorFeatures without(ProcessorFeatures f, bool ProcessorFeatures::*flag) { f.*flag = false; return f; }

struct ChoiceCase {
  const char *processor;
  ProcessorFeatures features;
  const char *kernels;  // null: none
};
void PrintTo(const ChoiceCase &c, std::ostream *os) { *os << c.processor; }
class ProviderKernelChoice : public ::testing::TestWithParam<ChoiceCase> {};

TEST_P(ProviderKernelChoice, IsTheBestSetTheProcessorRuns) {
  const char *chosen = provider_kernels_for(GetParam().features);
  EXPECT_STREQ(chosen ? chosen : "none", GetParam().kernels ? GetParam().kernels : "none");
}

INSTANTIATE_TEST_SUITE_P(
    Processors, ProviderKernelChoice,
    ::testing::Values(
        ChoiceCase{"AVX-512 with bfloat16 (family 6 model 207)", bf16(), "Cooperlake"},
        ChoiceCase{"AVX-512 without bfloat16", avx512(), "SkylakeX"},
        // AVX-512 foundation alone (no DQ, BW, VL) does not run the AVX-512 sets.
        ChoiceCase{"AVX-512 foundation only", without(without(avx512(), &ProcessorFeatures::avx512dq),
                                                      &ProcessorFeatures::avx512bw), "Haswell"},
        ChoiceCase{"bfloat16 without AVX-512 VL", without(bf16(), &ProcessorFeatures::avx512vl), "Haswell"},
        ChoiceCase{"AMD with AVX-512 and bfloat16", amd(bf16()), "Cooperlake"},
        ChoiceCase{"AMD with AVX2", amd(avx2()), "Zen"},
        ChoiceCase{"AVX2", avx2(), "Haswell"},
        ChoiceCase{"AVX2 without FMA", without(avx2(), &ProcessorFeatures::fma), "Sandybridge"},
        ChoiceCase{"AVX", avx(), "Sandybridge"},
        ChoiceCase{"AMD with AVX", amd(avx()), "Sandybridge"},
        ChoiceCase{"SSE4.2", sse4_2(), "Nehalem"},
        ChoiceCase{"SSSE3", ssse3(), "Core2"},
        ChoiceCase{"SSE3", sse3(), "Prescott"},
        ChoiceCase{"x86-64 without SSE3", ProcessorFeatures{}, nullptr},
        ChoiceCase{"AVX-512 without SSE3", without(bf16(), &ProcessorFeatures::sse3), nullptr}));

TEST(ProviderKernelTier, ReadsTheProvidersNamesInAnyCase) {
  IsaTier tier = IsaTier::baseline;
  ASSERT_TRUE(provider_kernel_tier("haswell", tier));
  EXPECT_EQ(tier, IsaTier::avx2);
  ASSERT_TRUE(provider_kernel_tier("COOPERLAKE", tier));
  EXPECT_EQ(tier, IsaTier::avx512_bf16);
  EXPECT_FALSE(provider_kernel_tier("Bulldozer", tier));
  EXPECT_FALSE(provider_kernel_tier(nullptr, tier));
}

}  // namespace
}  // namespace orb::core
