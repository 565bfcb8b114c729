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

inline constexpr std::uint32_t kOsXsave = 1u << 27;  // in base.ecx

// Asks for what the processor has: ReadXcr0 is an instruction that it may not know.
template <typename ReadLeaf, typename ReadXcr0>
CpuidAnswers Ask(ReadLeaf readLeaf, ReadXcr0 readXcr0) {
  CpuidAnswers answers{readLeaf(0, 0), readLeaf(1, 0), readLeaf(7, 0), {}, 0};
  if (answers.extensions.eax >= 1) {
    answers.moreExtensions = readLeaf(7, 1);
  }
  if ((answers.base.ecx & kOsXsave) != 0) {
    answers.xcr0 = readXcr0();
  }
  return answers;
}

// kKnown and each of the others that the answers stand for.
std::uint32_t FeaturesOf(const CpuidAnswers& answers);

}  // namespace Cifra::CpuFeatures
