#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// The inside of the Base64 codec: how the bulk of a buffer is converted on the processor at hand.
namespace Cifra::Base64Codec {

// Kernel converts the bulk of a buffer with the instructions of one family of processors. It stops
// short of the end where a whole step would read or write beyond it; what it leaves is the codec's.
// Without functions it leaves everything.
struct Kernel {
  const KernelRule& rule;
  // Encodes from the front of input and returns how many bytes it has taken, a multiple of 3.
  std::size_t (*encode)(const std::uint8_t* input, std::size_t inputLength, char* output);
  // Decodes from the front of text and returns how many characters it has taken, a multiple of 4;
  // stops in front of the step that holds a character which is not of the alphabet.
  std::size_t (*decode)(const char* text, std::size_t textLength, std::uint8_t* output);
};

// The kernels of this build; see KernelRules.h. The last one takes nothing: the codec's plain part
// does all the work.
std::span<const Kernel> Kernels();

// Encode and Decode (see Base64Codec.h) with a kernel that is usable on this processor.
void EncodeWith(const Kernel& kernel, const std::uint8_t* input, std::size_t inputLength,
                char* output, bool addPadding);
bool DecodeWith(const Kernel& kernel, const char* text, std::size_t textLength,
                std::uint8_t* output);

#if defined(__x86_64__) || defined(_M_X64)
std::size_t EncodeSsse3(const std::uint8_t* input, std::size_t inputLength, char* output);
std::size_t DecodeSsse3(const char* text, std::size_t textLength, std::uint8_t* output);
std::size_t EncodeAvx2(const std::uint8_t* input, std::size_t inputLength, char* output);
std::size_t DecodeAvx2(const char* text, std::size_t textLength, std::uint8_t* output);
#elif defined(__aarch64__) || defined(_M_ARM64)
std::size_t EncodeNeon(const std::uint8_t* input, std::size_t inputLength, char* output);
std::size_t DecodeNeon(const char* text, std::size_t textLength, std::uint8_t* output);
#endif

}  // namespace Cifra::Base64Codec
