#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "cipher/Base64Kernel.h"
#include "cipher/BlowfishKernel.h"
#include "hash/Md5Kernel.h"
#include "processor/Cpuid.h"
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

constexpr bool Never() { return false; }

TEST(KernelRules, Chosen_IsTheFirstThatIsUsableAndFaster) {
  constexpr KernelRule kRules[] = {{"not usable", Never, KernelRules::Always},
                                   {"not faster", KernelRules::Always, Never},
                                   {"first", KernelRules::Always, KernelRules::Always},
                                   {"second", KernelRules::Always, KernelRules::Always}};
  EXPECT_STREQ("first", KernelRules::Chosen(kRules).name);
  EXPECT_FALSE(KernelRules::IsChosen(kRules[0]));
  EXPECT_FALSE(KernelRules::IsChosen(kRules[1]));
}

#if defined(__x86_64__) || defined(_M_X64)
namespace Features = CpuFeatures;

constexpr std::uint32_t kVectors = Features::kAvx2 | Features::kAvx512 | Features::kVbmi;
constexpr std::uint32_t kSpeed = Features::kFastGathers | Features::kFastVectorRotation;
constexpr std::uint32_t kAll = Features::kKnown | Features::kSsse3 | kVectors | kSpeed;

// A processor that has everything: an Intel server since Sapphire Rapids.
Features::CpuidAnswers Everything() {
  Features::CpuidAnswers answers;
  answers.vendor = {0x20, 0x756E6547, 0x6C65746E, 0x49656E69};  // "GenuineIntel"
  answers.base.ecx = 1u << 9 | 1u << 27 | 1u << 28;
  answers.extensions = {1, 1u << 5 | 1u << 16 | 1u << 17 | 1u << 30 | 1u << 31, 1u << 1,
                        1u << 23 | 1u << 24};
  answers.moreExtensions.eax = 1u << 4;
  answers.xcr0 = 0xE7;
  return answers;
}

struct Change {
  const char* name;
  void (*make)(Features::CpuidAnswers& answers);
  std::uint32_t lost;
};

const Change kChanges[] = {
    {"nothing", [](auto&) {}, 0},
    {"no SSSE3", [](auto& answers) { answers.base.ecx &= ~(1u << 9); }, Features::kSsse3},
    {"no XSAVE", [](auto& answers) { answers.base.ecx &= ~(1u << 27); }, kVectors | kSpeed},
    {"no AVX", [](auto& answers) { answers.base.ecx &= ~(1u << 28); }, kVectors | kSpeed},
    {"no AVX2", [](auto& answers) { answers.extensions.ebx &= ~(1u << 5); }, kVectors | kSpeed},
    {"no XMM saved", [](auto& answers) { answers.xcr0 &= ~2u; }, kVectors | kSpeed},
    {"no YMM saved", [](auto& answers) { answers.xcr0 &= ~4u; }, kVectors | kSpeed},
    {"no masks saved", [](auto& answers) { answers.xcr0 &= ~0x20u; },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no low ZMM saved", [](auto& answers) { answers.xcr0 &= ~0x40u; },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no high ZMM saved", [](auto& answers) { answers.xcr0 &= ~0x80u; },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no AVX-512 F", [](auto& answers) { answers.extensions.ebx &= ~(1u << 16); },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no AVX-512 DQ", [](auto& answers) { answers.extensions.ebx &= ~(1u << 17); },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no AVX-512 BW", [](auto& answers) { answers.extensions.ebx &= ~(1u << 30); },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no AVX-512 VL", [](auto& answers) { answers.extensions.ebx &= ~(1u << 31); },
     Features::kAvx512 | Features::kVbmi | Features::kFastVectorRotation},
    {"no VBMI", [](auto& answers) { answers.extensions.ecx = 0; }, Features::kVbmi},
    {"another maker", [](auto& answers) { answers.vendor.ebx ^= 1; }, kSpeed},
    {"another maker still", [](auto& answers) { answers.vendor.ecx ^= 1; }, kSpeed},
    {"and another", [](auto& answers) { answers.vendor.edx ^= 1; }, kSpeed},
    {"tiles only",
     [](auto& answers) {
       answers.extensions.edx = 1u << 24;
       answers.moreExtensions.eax = 0;
     },
     0},
    {"FP16 only",
     [](auto& answers) {
       answers.extensions.edx = 1u << 23;
       answers.moreExtensions.eax = 0;
     },
     0},
    {"AVX-VNNI only", [](auto& answers) { answers.extensions.edx = 0; }, 0},
    {"none of the three",
     [](auto& answers) {
       answers.extensions.edx = 0;
       answers.moreExtensions.eax = ~(1u << 4);
     },
     Features::kFastGathers},
    {"hybrid", [](auto& answers) { answers.extensions.edx |= 1u << 15; }, Features::kFastGathers},
};

TEST(CpuFeatures, EachAnswer_TakesAwayWhatDependsOnIt) {
  for (const Change& change : kChanges) {
    Features::CpuidAnswers answers = Everything();
    change.make(answers);
    EXPECT_EQ(kAll & ~change.lost, Features::FeaturesOf(answers)) << change.name;
  }
}

// A subleaf that is not there reads as anything, and XGETBV without XSAVE ends the program.
TEST(CpuFeatures, Processors_AreAskedOnlyForWhatTheyHave) {
  for (const std::uint32_t lastSubleaf : {0u, 1u, 2u}) {
    for (const std::uint32_t xsave : {0u, Features::kOsXsave}) {
      const auto readLeaf = [=](std::uint32_t number, std::uint32_t subleaf) {
        const std::uint32_t last = number == 7 ? lastSubleaf : 0;
        EXPECT_LE(subleaf, last);
        return Features::CpuidLeaf{last, 1 + 16 * number + subleaf, xsave, 0};
      };
      const auto readXcr0 = [=] {
        EXPECT_NE(0u, xsave);
        return std::uint64_t{0xE7};
      };
      const Features::CpuidAnswers answers = Features::Ask(readLeaf, readXcr0);
      EXPECT_EQ(0x01u, answers.vendor.ebx);
      EXPECT_EQ(0x11u, answers.base.ebx);
      EXPECT_EQ(0x71u, answers.extensions.ebx);
      EXPECT_EQ(lastSubleaf == 0 ? 0u : 0x72u, answers.moreExtensions.ebx);
      EXPECT_EQ(xsave == 0 ? 0u : 0xE7u, answers.xcr0);
    }
  }
}
#endif

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
