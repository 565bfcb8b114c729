#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "cipher/Base64Kernel.h"
#include "cipher/BlowfishKernel.h"
#include "hash/Md5Kernel.h"
#include "processor/KernelRules.h"

namespace Cifra::Test {
namespace {

// Prints which kernels the tests of this build run on this processor, and which one is chosen.
template <std::size_t kCount, typename Kernels>
void ExpectKernels(const char* algorithm, const KernelRule (&rules)[kCount],
                   const Kernels& kernels) {
  ASSERT_EQ(kCount, kernels.size());
  std::cout << algorithm << ":";
  for (std::size_t i = 0; i < kCount; ++i) {
    EXPECT_STREQ(rules[i].name, kernels[i].rule.name);
    std::cout << ' ' << rules[i].name << (rules[i].isUsable() ? "" : " (not run here)");
  }
  std::cout << "; chosen: " << KernelRules::Chosen(rules).name << '\n';
  EXPECT_TRUE(rules[kCount - 1].isUsable());
  EXPECT_TRUE(rules[kCount - 1].isFaster());
}

TEST(KernelRules, Kernels_FollowTheRulesInTheirOrder) {
  ExpectKernels("Base64", KernelRules::kBase64, Base64Codec::Kernels());
  ExpectKernels("Blowfish", KernelRules::kBlowfish, BlowfishBlocks::Kernels());
  ExpectKernels("MD5", KernelRules::kMd5, Md5Blocks::Kernels());
}

TEST(KernelRules, ChosenKernel_IsUsable) {
  EXPECT_TRUE(KernelRules::Chosen(KernelRules::kBase64).isUsable());
  EXPECT_TRUE(KernelRules::Chosen(KernelRules::kBlowfish).isUsable());
  EXPECT_TRUE(KernelRules::Chosen(KernelRules::kMd5).isUsable());
}

#if defined(__x86_64__) && defined(__GNUC__)
// The compiler's own look at the processor is the second opinion, so that no kernel is left out of
// the tests unnoticed.
TEST(CpuFeatures, Answers_AgreeWithTheCompilersOwn) {
  __builtin_cpu_init();
  const bool hasAvx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                         __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
  EXPECT_EQ(__builtin_cpu_supports("ssse3") != 0, CpuFeatures::HasSsse3());
  EXPECT_EQ(__builtin_cpu_supports("avx2") != 0, CpuFeatures::HasAvx2());
  EXPECT_EQ(hasAvx512, CpuFeatures::HasAvx512());
  EXPECT_EQ(hasAvx512 && __builtin_cpu_supports("avx512vbmi"), CpuFeatures::HasAvx512Vbmi());
}

// On AMD, gathers and the vector rotation lose against plain code.
TEST(CpuFeatures, GathersAndVectorRotation_AreNotChosenOnAmd) {
  __builtin_cpu_init();
  if (__builtin_cpu_is("amd")) {
    EXPECT_FALSE(CpuFeatures::HasFastGathers());
    EXPECT_FALSE(CpuFeatures::HasFastVectorRotation());
  } else {
    EXPECT_EQ(CpuFeatures::HasAvx512() && __builtin_cpu_is("intel"),
              CpuFeatures::HasFastVectorRotation());
  }
}

// The machine that the tests run on must at least have what nearly all have.
TEST(KernelRules, Avx2Kernels_AreTestedHere) { EXPECT_TRUE(CpuFeatures::HasAvx2()); }
#elif defined(__aarch64__)
TEST(KernelRules, NeonKernels_AreTestedHere) {
  EXPECT_STREQ("neon", KernelRules::Chosen(KernelRules::kBase64).name);
}
#endif

}  // namespace
}  // namespace Cifra::Test
