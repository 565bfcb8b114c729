#pragma once

#include <algorithm>
#include <atomic>
#include <span>

#include "processor/KernelRules.h"

namespace Cifra {

// KernelChoice holds an algorithm's kernels, in the order of their rules, and the one chosen on
// this processor. The first call chooses, for the life of the process; threads that choose at the
// same time choose the same. A Kernel has a member `rule`.
template <typename Kernel>
class KernelChoice {
 public:
  explicit constexpr KernelChoice(std::span<const Kernel> itsKernels) : kernels(itsKernels) {}

  const Kernel& Chosen() {
    const Kernel* kernel = chosen.load(std::memory_order_relaxed);
    if (!kernel) {
      kernel = &*std::find_if(kernels.begin(), kernels.end(), [](const Kernel& candidate) {
        return KernelRules::IsChosen(candidate.rule);
      });
      chosen.store(kernel, std::memory_order_relaxed);
    }
    return *kernel;
  }

 private:
  std::span<const Kernel> kernels;
  std::atomic<const Kernel*> chosen = nullptr;
};

}  // namespace Cifra
