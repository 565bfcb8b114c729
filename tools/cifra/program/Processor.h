#pragma once

#include <string>

#include "processor/KernelRules.h"

namespace client {

#if defined(__aarch64__) || defined(_M_ARM64)
inline constexpr char kCpu[] = "ARM64";
#else
inline constexpr char kCpu[] = "x64";
#endif

// The kernels that the library chooses on this processor: its own rules, asked here.
inline std::string ChosenKernels() {
  return std::string("Base64 ") + Cifra::KernelRules::Chosen(Cifra::KernelRules::kBase64).name +
         ", Blowfish " + Cifra::KernelRules::Chosen(Cifra::KernelRules::kBlowfish).name + ", MD5 " +
         Cifra::KernelRules::Chosen(Cifra::KernelRules::kMd5).name;
}

}  // namespace client
