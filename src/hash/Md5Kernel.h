#pragma once

#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// Internals of the MD5 engine: whole blocks, transformed by processor-specific kernels.
namespace Cifra::Md5Blocks {

// Transforms `length` bytes of whole blocks.
using TransformFunction = void (*)(std::uint32_t (&state)[4], const std::uint8_t* blocks,
                                   std::uint32_t length);

struct Kernel {
  const KernelRule& rule;
  TransformFunction transform;
};

// The kernels of this build; see KernelRules.h.
std::span<const Kernel> Kernels();

// Uses the kernel chosen on this processor.
void Transform(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);

void TransformScalar(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);
#if defined(__x86_64__) || defined(_M_X64)
void TransformAvx512(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length);
#endif

}  // namespace Cifra::Md5Blocks
