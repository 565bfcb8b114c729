#include "cipher/CpuFeatures.h"

#if defined(__x86_64__) || defined(_M_X64)

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

Leaf ReadLeaf(std::uint32_t number) {
#if defined(_MSC_VER) && !defined(__clang__)
  int words[4];
  __cpuidex(words, static_cast<int>(number), 0);
  return {static_cast<std::uint32_t>(words[0]), static_cast<std::uint32_t>(words[1]),
          static_cast<std::uint32_t>(words[2]), static_cast<std::uint32_t>(words[3])};
#else
  Leaf leaf = {};
  __get_cpuid_count(number, 0, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx);
  return leaf;
#endif
}

// The registers that the operating system keeps for each thread.
std::uint64_t ReadKeptRegisters() {
#if defined(_MSC_VER) && !defined(__clang__)
  return _xgetbv(0);
#else
  std::uint32_t low, high;
  asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return std::uint64_t{high} << 32 | low;
#endif
}

constexpr bool HasBits(std::uint64_t word, std::uint64_t bits) { return (word & bits) == bits; }

}  // namespace

bool HasSsse3() { return HasBits(ReadLeaf(1).ecx, 1u << 9); }

bool HasAvx2() {
  constexpr std::uint32_t kOsXsaveAndAvx = 1u << 27 | 1u << 28;
  constexpr std::uint64_t kXmmAndYmm = 1u << 1 | 1u << 2;
  return HasBits(ReadLeaf(1).ecx, kOsXsaveAndAvx) && HasBits(ReadKeptRegisters(), kXmmAndYmm) &&
         HasBits(ReadLeaf(7).ebx, 1u << 5);
}

}  // namespace Cifra::CpuFeatures

#endif
