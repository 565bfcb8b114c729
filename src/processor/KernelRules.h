#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "processor/CpuFeatures.h"

// Which kernel of an algorithm runs on which processor. The rules only ask for the processor's
// features and measure nothing: every process on a machine chooses the same, which lets the
// command-line client show the library's choice.
namespace Cifra {

struct KernelRule {
  const char* name;
  bool (*isUsable)();  // whether the processor has the instructions
  bool (*isFaster)();  // whether it is then faster than the kernels after it
};

namespace KernelRules {

constexpr bool Always() { return true; }

// In each list the fastest kernel comes first, and the last one is usable everywhere.
#if defined(__x86_64__) || defined(_M_X64)
inline constexpr KernelRule kBase64[] = {
    {"avx512-vbmi", CpuFeatures::HasAvx512Vbmi, Always},
    {"avx2", CpuFeatures::HasAvx2, Always},
    {"ssse3", CpuFeatures::HasSsse3, Always},
    {"scalar", Always, Always},
};
inline constexpr KernelRule kBlowfish[] = {
    {"avx512-gather", CpuFeatures::HasAvx512, CpuFeatures::HasFastGathers},
    {"avx2-gather", CpuFeatures::HasAvx2, CpuFeatures::HasFastGathers},
    {"scalar", Always, Always},
};
inline constexpr KernelRule kMd5[] = {
    {"avx512", CpuFeatures::HasAvx512, CpuFeatures::HasFastVectorRotation},
    {"scalar", Always, Always},
};
#elif defined(__aarch64__) || defined(_M_ARM64)
inline constexpr KernelRule kBase64[] = {
    {"neon", Always, Always},
    {"scalar", Always, Always},
};
inline constexpr KernelRule kBlowfish[] = {{"scalar", Always, Always}};
inline constexpr KernelRule kMd5[] = {{"scalar", Always, Always}};
#else
inline constexpr KernelRule kBase64[] = {{"scalar", Always, Always}};
inline constexpr KernelRule kBlowfish[] = {{"scalar", Always, Always}};
inline constexpr KernelRule kMd5[] = {{"scalar", Always, Always}};
#endif

inline bool IsChosen(const KernelRule& rule) { return rule.isUsable() && rule.isFaster(); }

// The rule of the kernel chosen on this processor.
template <std::size_t kCount>
const KernelRule& Chosen(const KernelRule (&rules)[kCount]) {
  return *std::find_if(std::begin(rules), std::end(rules), IsChosen);
}

}  // namespace KernelRules

}  // namespace Cifra
