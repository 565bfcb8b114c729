#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// The inside of the Blowfish engine: how many blocks are worked on with the processor at hand.
namespace Cifra::BlowfishBlocks {

inline constexpr std::size_t kBlockBytes = 8;

struct Tables {
  const std::uint32_t* p;
  const std::uint32_t* s;  // the four boxes
};

// Works on the first of so many blocks and returns how many it has done.
using BlocksFunction = std::size_t (*)(const Tables& tables, const std::uint8_t* input,
                                       std::uint8_t* output, std::size_t blocks);

// Kernel works on as many blocks as fill its registers and leaves the rest; without functions it
// leaves everything.
struct Kernel {
  const KernelRule& rule;
  BlocksFunction encipher;
  BlocksFunction decipher;
};

// The kernels of this build; see KernelRules.h.
std::span<const Kernel> Kernels();

void EncipherWith(const Kernel& kernel, const Tables& tables, const std::uint8_t* input,
                  std::uint8_t* output, std::size_t blocks);
void DecipherWith(const Kernel& kernel, const Tables& tables, const std::uint8_t* input,
                  std::uint8_t* output, std::size_t blocks);

// With the kernel that is chosen on this processor.
void Encipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks);
void Decipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks);

// All blocks, in general-purpose registers: in C++ alone, and on x64 in assembly. A build uses one
// of the two; where there is a choice, the other one is only tested.
void EncipherPortable(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks);
void DecipherPortable(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks);

#if defined(__x86_64__) && defined(__GNUC__)
#define CIFRA_BLOWFISH_ASSEMBLY
void EncipherAssembly(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks);
void DecipherAssembly(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks);
#endif

#if defined(__x86_64__) || defined(_M_X64)
std::size_t EncipherAvx2(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks);
std::size_t DecipherAvx2(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks);
std::size_t EncipherAvx512(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                           std::size_t blocks);
std::size_t DecipherAvx512(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                           std::size_t blocks);
#endif

}  // namespace Cifra::BlowfishBlocks
