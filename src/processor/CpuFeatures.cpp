#include "processor/CpuFeatures.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <atomic>
#include <cstdint>

#include "processor/Cpuid.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace Cifra::CpuFeatures {

namespace {

// A leaf that the processor does not have reads as zeros; asked for directly, the processor would
// answer with its highest one.
CpuidLeaf ReadLeaf(std::uint32_t number, std::uint32_t subleaf) {
#if defined(_MSC_VER) && !defined(__clang__)
  int words[4];
  __cpuid(words, 0);
  if (number > static_cast<std::uint32_t>(words[0])) {
    return {};
  }
  __cpuidex(words, static_cast<int>(number), static_cast<int>(subleaf));
  return {static_cast<std::uint32_t>(words[0]), static_cast<std::uint32_t>(words[1]),
          static_cast<std::uint32_t>(words[2]), static_cast<std::uint32_t>(words[3])};
#else
  CpuidLeaf leaf;
  __get_cpuid_count(number, subleaf, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx);
  return leaf;
#endif
}

std::uint64_t ReadXcr0() {
#if defined(_MSC_VER) && !defined(__clang__)
  return _xgetbv(0);
#else
  std::uint32_t low, high;
  // Volatile: it must not be moved ahead of the check that the processor has the instruction.
  asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return std::uint64_t{high} << 32 | low;
#endif
}

constexpr bool HasBits(std::uint64_t word, std::uint64_t bits) { return (word & bits) == bits; }

bool IsIntel(const CpuidLeaf& vendor) {
  return vendor.ebx == 0x756E6547 && vendor.edx == 0x49656E69 && vendor.ecx == 0x6C65746E;
}

// The first designs with fast gathers, Alder Lake and Sapphire Rapids, brought AVX-VNNI; the server
// ones FP16 and tiles too. Any of them tells, as hypervisors may hide the others.
bool IsAlderLakeOrLater(const CpuidAnswers& answers) {
  constexpr std::uint32_t kFp16 = 1u << 23;
  constexpr std::uint32_t kTiles = 1u << 24;
  constexpr std::uint32_t kHybrid = 1u << 15;
  constexpr std::uint32_t kAvxVnni = 1u << 4;
  const std::uint32_t known = answers.extensions.edx;
  const bool hasNew =
      (known & (kFp16 | kTiles)) != 0 || (answers.moreExtensions.eax & kAvxVnni) != 0;
  return hasNew && (known & kHybrid) == 0;
}

// Asked once: under a hypervisor, each question takes a microsecond and more.
bool Has(std::uint32_t feature) {
  static constinit std::atomic<std::uint32_t> known = 0;
  std::uint32_t features = known.load(std::memory_order_relaxed);
  if (features == 0) {
    features = FeaturesOf(Ask(ReadLeaf, ReadXcr0));
    known.store(features, std::memory_order_relaxed);
  }
  return (features & feature) != 0;
}

}  // namespace

std::uint32_t FeaturesOf(const CpuidAnswers& answers) {
  constexpr std::uint32_t kOsXsaveAndAvx = kOsXsave | 1u << 28;
  constexpr std::uint64_t kXmmAndYmm = 1u << 1 | 1u << 2;
  constexpr std::uint64_t kMasksAndZmm = 1u << 5 | 1u << 6 | 1u << 7;
  constexpr std::uint32_t kFoundation = 1u << 16 | 1u << 17 | 1u << 30 | 1u << 31;  // F, DQ, BW, VL
  std::uint32_t features = kKnown;
  if (HasBits(answers.base.ecx, 1u << 9)) {
    features |= kSsse3;
  }
  const CpuidLeaf& extensions = answers.extensions;
  if (!HasBits(answers.base.ecx, kOsXsaveAndAvx) || !HasBits(extensions.ebx, 1u << 5) ||
      !HasBits(answers.xcr0, kXmmAndYmm)) {
    return features;
  }
  features |= kAvx2;
  const bool isIntel = IsIntel(answers.vendor);
  if (isIntel && IsAlderLakeOrLater(answers)) {
    features |= kFastGathers;
  }
  if (!HasBits(answers.xcr0, kMasksAndZmm) || !HasBits(extensions.ebx, kFoundation)) {
    return features;
  }
  features |= kAvx512;
  if (HasBits(extensions.ecx, 1u << 1)) {
    features |= kVbmi;
  }
  return isIntel ? features | kFastVectorRotation : features;
}

bool HasSsse3() { return Has(kSsse3); }
bool HasAvx2() { return Has(kAvx2); }
bool HasAvx512() { return Has(kAvx512); }
bool HasAvx512Vbmi() { return Has(kVbmi); }
bool HasFastGathers() { return Has(kFastGathers); }
bool HasFastVectorRotation() { return Has(kFastVectorRotation); }

}  // namespace Cifra::CpuFeatures

#endif
