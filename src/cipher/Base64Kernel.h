#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "processor/KernelRules.h"

// The inside of the Base64 codec: how a buffer is converted on the processor at hand.
namespace Cifra::Base64Codec {

// A kernel does all that Encode and Decode (see Base64Codec.h) do, for input of any length.
struct Kernel {
  const KernelRule& rule;
  void (*encode)(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding);
  bool (*decode)(const char* text, std::size_t textLength, std::uint8_t* output);
};

// The kernels of this build; see KernelRules.h.
std::span<const Kernel> Kernels();

// Without vector instructions. The other kernels leave to these what is too short for them.
void EncodeScalar(const std::uint8_t* input, std::size_t inputLength, char* output,
                  bool addPadding);
bool DecodeScalar(const char* text, std::size_t textLength, std::uint8_t* output);

#if defined(__x86_64__) || defined(_M_X64)
void EncodeSsse3(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding);
bool DecodeSsse3(const char* text, std::size_t textLength, std::uint8_t* output);
void EncodeAvx2(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding);
bool DecodeAvx2(const char* text, std::size_t textLength, std::uint8_t* output);
void EncodeAvx512Vbmi(const std::uint8_t* input, std::size_t inputLength, char* output,
                      bool addPadding);
bool DecodeAvx512Vbmi(const char* text, std::size_t textLength, std::uint8_t* output);
#elif defined(__aarch64__) || defined(_M_ARM64)
void EncodeNeon(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding);
bool DecodeNeon(const char* text, std::size_t textLength, std::uint8_t* output);
#endif

}  // namespace Cifra::Base64Codec
