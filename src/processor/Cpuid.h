#pragma once

#include <cstdint>

// Internals of CpuFeatures: what a processor answers, and what follows from it. Tests ask about
// processors that they do not run on.
namespace Cifra::CpuFeatures {

struct CpuidLeaf {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

struct CpuidAnswers {
  CpuidLeaf vendor;          // leaf 0
  CpuidLeaf base;            // leaf 1
  CpuidLeaf extensions;      // leaf 7
  CpuidLeaf moreExtensions;  // leaf 7, subleaf 1
  std::uint64_t xcr0 = 0;    // the registers that the operating system saves for each thread
};

inline constexpr std::uint32_t kKnown = 1u << 0;
inline constexpr std::uint32_t kSsse3 = 1u << 1;
inline constexpr std::uint32_t kAvx2 = 1u << 2;
inline constexpr std::uint32_t kAvx512 = 1u << 3;
inline constexpr std::uint32_t kVbmi = 1u << 4;
inline constexpr std::uint32_t kFastGathers = 1u << 5;
inline constexpr std::uint32_t kFastVectorRotation = 1u << 6;

// kKnown and each of the others that the answers stand for.
std::uint32_t FeaturesOf(const CpuidAnswers& answers);

}  // namespace Cifra::CpuFeatures
