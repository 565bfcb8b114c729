#include <iterator>

#include "hash/Md5Kernel.h"
#include "processor/KernelChoice.h"

namespace Cifra::Md5Blocks {

namespace {

// Shorter messages are not worth the choice.
constexpr std::uint32_t kLeastForKernel = 1024;

constexpr Kernel kKernels[] = {
#if defined(__x86_64__) || defined(_M_X64)
    {KernelRules::kMd5[0], TransformAvx512},
    {KernelRules::kMd5[1], TransformScalar},
#else
    {KernelRules::kMd5[0], TransformScalar},
#endif
};
static_assert(std::size(kKernels) == std::size(KernelRules::kMd5));

constinit KernelChoice<Kernel> choice(kKernels);

}  // namespace

std::span<const Kernel> Kernels() { return kKernels; }

void Transform(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length) {
  if (length < kLeastForKernel) {
    TransformScalar(state, blocks, length);
  } else {
    choice.Chosen().transform(state, blocks, length);
  }
}

}  // namespace Cifra::Md5Blocks
