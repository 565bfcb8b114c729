#pragma once

#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// The inside of the MD5 engine: how whole blocks are transformed on the processor at hand.
namespace Cifra::Md5Blocks {

// Transforms the blocks of length bytes, a multiple of the block's.
using TransformFunction = void (*)(std::uint32_t (&state)[4], const std::uint8_t* blocks,
                                   std::uint32_t length);

struct Kernel {
  const KernelRule& rule;
  TransformFunction transform;
};

// The kernels of this build; see KernelRules.h.
std::span<const Kernel> Kernels();

// With the kernel that is chosen on this processor.
void Transform(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);

void TransformScalar(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);
#if defined(__x86_64__) || defined(_M_X64)
void TransformAvx512(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);
#endif

}  // namespace Cifra::Md5Blocks
