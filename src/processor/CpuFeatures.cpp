#include "processor/CpuFeatures.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <atomic>
#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace Cifra::CpuFeatures {

namespace {

struct Leaf {
  std::uint32_t eax, ebx, ecx, edx;
};

// A leaf that the processor does not have reads as zeros; asked for directly, the processor would
// answer with its highest one.
Leaf ReadLeaf(std::uint32_t number, std::uint32_t subleaf = 0) {
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
  Leaf leaf = {};
  __get_cpuid_count(number, subleaf, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx);
  return leaf;
#endif
}

// The registers that the operating system saves for each thread.
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

constexpr std::uint32_t kKnown = 1u << 0;
constexpr std::uint32_t kSsse3 = 1u << 1;
constexpr std::uint32_t kAvx2 = 1u << 2;
constexpr std::uint32_t kAvx512 = 1u << 3;
constexpr std::uint32_t kVbmi = 1u << 4;
constexpr std::uint32_t kFastGathers = 1u << 5;
constexpr std::uint32_t kFastVectorRotation = 1u << 6;

bool IsIntel() {
  const Leaf vendor = ReadLeaf(0);
  return vendor.ebx == 0x756E6547 && vendor.edx == 0x49656E69 && vendor.ecx == 0x6C65746E;
}

// The first designs with fast gathers, Alder Lake and Sapphire Rapids, brought AVX-VNNI; the server
// ones FP16 and tiles too. Any of them tells, as hypervisors may hide the others.
bool IsAlderLakeOrLater(const Leaf& extensions) {
  constexpr std::uint32_t kFp16 = 1u << 23;
  constexpr std::uint32_t kTiles = 1u << 24;
  constexpr std::uint32_t kHybrid = 1u << 15;
  constexpr std::uint32_t kAvxVnni = 1u << 4;
  const bool hasNew = (extensions.edx & (kFp16 | kTiles)) != 0 ||
                      (extensions.eax >= 1 && (ReadLeaf(7, 1).eax & kAvxVnni) != 0);
  return hasNew && (extensions.edx & kHybrid) == 0;
}

std::uint32_t Detect() {
  constexpr std::uint32_t kOsXsaveAndAvx = 1u << 27 | 1u << 28;
  constexpr std::uint64_t kXmmAndYmm = 1u << 1 | 1u << 2;
  constexpr std::uint64_t kMasksAndZmm = 1u << 5 | 1u << 6 | 1u << 7;
  constexpr std::uint32_t kFoundation = 1u << 16 | 1u << 17 | 1u << 30 | 1u << 31;  // F, DQ, BW, VL
  const Leaf base = ReadLeaf(1);
  std::uint32_t features = kKnown;
  if (HasBits(base.ecx, 1u << 9)) {
    features |= kSsse3;
  }
  const Leaf extensions = ReadLeaf(7);
  if (!HasBits(base.ecx, kOsXsaveAndAvx) || !HasBits(extensions.ebx, 1u << 5)) {
    return features;
  }
  const std::uint64_t saved = ReadXcr0();
  if (!HasBits(saved, kXmmAndYmm)) {
    return features;
  }
  features |= kAvx2;
  const bool isIntel = IsIntel();
  if (isIntel && IsAlderLakeOrLater(extensions)) {
    features |= kFastGathers;
  }
  if (!HasBits(saved, kMasksAndZmm) || !HasBits(extensions.ebx, kFoundation)) {
    return features;
  }
  features |= kAvx512;
  if (HasBits(extensions.ecx, 1u << 1)) {
    features |= kVbmi;
  }
  return isIntel ? features | kFastVectorRotation : features;
}

// Asked once: under a hypervisor, each question takes a microsecond and more.
bool Has(std::uint32_t feature) {
  static constinit std::atomic<std::uint32_t> known = 0;
  std::uint32_t features = known.load(std::memory_order_relaxed);
  if (features == 0) {
    features = Detect();
    known.store(features, std::memory_order_relaxed);
  }
  return (features & feature) != 0;
}

}  // namespace

bool HasSsse3() { return Has(kSsse3); }
bool HasAvx2() { return Has(kAvx2); }
bool HasAvx512() { return Has(kAvx512); }
bool HasAvx512Vbmi() { return Has(kVbmi); }
bool HasFastGathers() { return Has(kFastGathers); }
bool HasFastVectorRotation() { return Has(kFastVectorRotation); }

}  // namespace Cifra::CpuFeatures

#endif
