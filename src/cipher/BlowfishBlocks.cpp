#include "cipher/BlowfishKernel.h"
#include "processor/KernelChoice.h"

namespace Cifra::BlowfishBlocks {

namespace {

// Fewer blocks than this do not fill the registers of any kernel.
constexpr std::size_t kLeastForKernel = 16;

#ifdef CIFRA_BLOWFISH_ASSEMBLY
constexpr auto kEncipherScalar = EncipherAssembly;
constexpr auto kDecipherScalar = DecipherAssembly;
#else
constexpr auto kEncipherScalar = EncipherPortable;
constexpr auto kDecipherScalar = DecipherPortable;
#endif

constexpr Kernel kKernels[] = {
#if defined(__x86_64__) || defined(_M_X64)
    {KernelRules::kBlowfish[0], EncipherAvx512, DecipherAvx512},
    {KernelRules::kBlowfish[1], EncipherAvx2, DecipherAvx2},
    {KernelRules::kBlowfish[2], nullptr, nullptr},
#else
    {KernelRules::kBlowfish[0], nullptr, nullptr},
#endif
};
static_assert(std::size(kKernels) == std::size(KernelRules::kBlowfish));

constinit KernelChoice<Kernel> choice(kKernels);

template <typename Scalar>
void Cipher(BlocksFunction kernel, Scalar scalar, const Tables& tables, const std::uint8_t* input,
            std::uint8_t* output, std::size_t blocks) {
  const std::size_t done = kernel ? kernel(tables, input, output, blocks) : 0;
  scalar(tables, input + done * kBlockBytes, output + done * kBlockBytes, blocks - done);
}

}  // namespace

std::span<const Kernel> Kernels() { return kKernels; }

void EncipherWith(const Kernel& kernel, const Tables& tables, const std::uint8_t* input,
                  std::uint8_t* output, std::size_t blocks) {
  Cipher(kernel.encipher, kEncipherScalar, tables, input, output, blocks);
}

void DecipherWith(const Kernel& kernel, const Tables& tables, const std::uint8_t* input,
                  std::uint8_t* output, std::size_t blocks) {
  Cipher(kernel.decipher, kDecipherScalar, tables, input, output, blocks);
}

void Encipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks) {
  if (blocks < kLeastForKernel) {
    kEncipherScalar(tables, input, output, blocks);
  } else {
    EncipherWith(choice.Chosen(), tables, input, output, blocks);
  }
}

void Decipher(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
              std::size_t blocks) {
  if (blocks < kLeastForKernel) {
    kDecipherScalar(tables, input, output, blocks);
  } else {
    DecipherWith(choice.Chosen(), tables, input, output, blocks);
  }
}

}  // namespace Cifra::BlowfishBlocks
