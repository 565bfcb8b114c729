#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// Internals of the Blowfish engine: many blocks at once, by processor-specific kernels.
namespace Cifra::BlowfishBlocks {

inline constexpr std::size_t kBlockBytes = 8;

struct Tables {
  const std::uint32_t* p;
  const std::uint32_t* s;  // the four boxes
};

// Processes some of the blocks, beginning with the first, and returns their number.
using BlocksFunction = std::size_t (*)(const Tables& tables, const std::uint8_t* input,
                                       std::uint8_t* output, std::size_t blocks);

// Kernel processes as many blocks as fill its registers and leaves the remainder; without functions
// it leaves all of them.
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

// Use the kernel chosen on this processor.
void Encipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks);
void Decipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks);

// Process all blocks in general-purpose registers: in C++ and, on x64, in assembly. A build that
// has both uses the assembly and only tests the other.
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
