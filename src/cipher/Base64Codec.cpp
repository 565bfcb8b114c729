#include "cipher/Base64Codec.h"

#include <array>
#include <cstring>
#include <iterator>

#include "cipher/Base64Alphabet.h"
#include "cipher/Base64Kernel.h"
#include "foundation/ByteOrder.h"
#include "foundation/ValueBarrier.h"
#include "processor/KernelChoice.h"

namespace Cifra::Base64Codec {

namespace {

// The two characters of every 12 bits, the first one in the low byte: half as many look-ups as with
// one character each.
constexpr auto kPairs = [] {
  std::array<std::uint16_t, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = static_cast<std::uint16_t>(kAlphabet[i / 64] | kAlphabet[i % 64] << 8);
  }
  return pairs;
}();

// The value of a character at each of the 4 places of a group, shifted to where it belongs in the
// group's 3 bytes, the first of which is the lowest. OR-ing the four words also propagates the
// invalid flag.
constexpr std::uint32_t kInvalid = 0x80000000;
constexpr auto kValues = [] {
  std::array<std::array<std::uint32_t, 256>, 4> values{};
  for (auto& place : values) {
    place.fill(kInvalid);
  }
  for (std::uint32_t value = 0; value < 64; ++value) {
    const auto character = static_cast<std::uint8_t>(kAlphabet[value]);
    values[0][character] = value << 2;
    values[1][character] = (value & 0x0F) << 12 | value >> 4;
    values[2][character] = (value & 0x03) << 22 | (value & 0x3C) << 6;
    values[3][character] = value << 16;
  }
  return values;
}();

// Shorter input is not worth the call of a kernel.
constexpr std::size_t kLeastForKernel = 12;

const std::uint8_t* ToBytes(const char* text) {
  return reinterpret_cast<const std::uint8_t*>(text);
}

void PutPair(std::uint64_t bits, char* output) {
  std::memcpy(output, &kPairs[bits & 0xFFF], sizeof(kPairs[0]));
}

// Two groups, of the first 6 of the 8 bytes that are read. Opaque, or the compiler reads the bytes
// that are needed one by one.
void EncodeTwoGroups(const std::uint8_t* input, char* output) {
  const std::uint64_t bits = kx::ValueBarrier(kx::LoadBigEndian64(input));
  PutPair(bits >> 52, output);
  PutPair(bits >> 40, output + 2);
  PutPair(bits >> 28, output + 4);
  PutPair(bits >> 16, output + 6);
}

void EncodeGroup(const std::uint8_t* input, char* output) {
  const std::uint32_t bits = static_cast<std::uint32_t>(input[0]) << 16 |
                             static_cast<std::uint32_t>(input[1]) << 8 | input[2];
  PutPair(bits >> 12, output);
  PutPair(bits, output + 2);
}

// The last 1 or 2 bytes.
void EncodeRest(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding) {
  const bool isPair = inputLength == 2;
  const std::uint32_t second = isPair ? input[1] : 0;
  PutPair((static_cast<std::uint32_t>(input[0]) << 8 | second) >> 4, output);
  if (isPair) {
    output[2] = kAlphabet[second << 2 & 0x3F];
  } else if (addPadding) {
    output[2] = '=';
  }
  if (addPadding) {
    output[3] = '=';
  }
}

std::uint32_t Value(std::uint32_t character, std::size_t place) {
  return kValues[place][character & 0xFF];
}

// Two characters are taken out of one word, two are read by themselves: with all four of a kind
// either the arithmetic or the reading would be the bottleneck. Opaque, or the compiler would
// decide.
std::uint32_t DecodeGroup(const std::uint8_t* text) {
  const std::uint32_t word = kx::ValueBarrier(kx::LoadLittleEndian32(text));
  const std::uint8_t* const rest = kx::ValueBarrier(text);
  return Value(word, 0) | Value(word >> 8, 1) | Value(rest[2], 2) | Value(rest[3], 3);
}

constexpr Kernel kKernels[] = {
#if defined(__x86_64__) || defined(_M_X64)
    {KernelRules::kBase64[0], EncodeAvx512Vbmi, DecodeAvx512Vbmi},
    {KernelRules::kBase64[1], EncodeAvx2, DecodeAvx2},
    {KernelRules::kBase64[2], EncodeSsse3, DecodeSsse3},
    {KernelRules::kBase64[3], EncodeScalar, DecodeScalar},
#elif defined(__aarch64__) || defined(_M_ARM64)
    {KernelRules::kBase64[0], EncodeNeon, DecodeNeon},
    {KernelRules::kBase64[1], EncodeScalar, DecodeScalar},
#else
    {KernelRules::kBase64[0], EncodeScalar, DecodeScalar},
#endif
};
static_assert(std::size(kKernels) == std::size(KernelRules::kBase64));

constinit KernelChoice<Kernel> choice(kKernels);

}  // namespace

std::span<const Kernel> Kernels() { return kKernels; }

void EncodeScalar(const std::uint8_t* input, std::size_t inputLength, char* output,
                  bool addPadding) {
  for (; inputLength >= 8; inputLength -= 6, input += 6, output += 8) {
    EncodeTwoGroups(input, output);
  }
  for (; inputLength >= 3; inputLength -= 3, input += 3, output += 4) {
    EncodeGroup(input, output);
  }
  if (inputLength > 0) {
    EncodeRest(input, inputLength, output, addPadding);
  }
}

bool DecodeScalar(const char* text, std::size_t textLength, std::uint8_t* output) {
  std::uint32_t joined = 0;
  const auto decodeGroup = [&joined](const char* group) {
    const std::uint32_t word = DecodeGroup(ToBytes(group));
    joined |= word;
    return word;
  };
  // Whole words are stored, whose last byte the next group overwrites; not so in the last group.
  for (; textLength > 8; textLength -= 8, text += 8, output += 6) {
    kx::StoreLittleEndian32(decodeGroup(text), output);
    kx::StoreLittleEndian32(decodeGroup(text + 4), output + 3);
  }
  if (textLength > 4) {
    kx::StoreLittleEndian32(decodeGroup(text), output);
    textLength -= 4;
    text += 4;
    output += 3;
  }
  if (textLength == 4) {
    const std::uint32_t word = decodeGroup(text);
    std::memcpy(output, &word, 3);
  } else if (textLength >= 2) {
    const bool isPair = textLength == 3;
    const std::uint32_t word = Value(ToBytes(text)[0], 0) | Value(ToBytes(text)[1], 1) |
                               (isPair ? Value(ToBytes(text)[2], 2) : 0);
    joined |= word;
    output[0] = static_cast<std::uint8_t>(word);
    if (isPair) {
      output[1] = static_cast<std::uint8_t>(word >> 8);
    }
  }
  return (joined & kInvalid) == 0;
}

void Encode(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding) {
  if (inputLength < kLeastForKernel) {
    EncodeScalar(input, inputLength, output, addPadding);
  } else {
    choice.Chosen().encode(input, inputLength, output, addPadding);
  }
}

bool Decode(const char* text, std::size_t textLength, std::uint8_t* output) {
  return textLength < kLeastForKernel ? DecodeScalar(text, textLength, output)
                                      : choice.Chosen().decode(text, textLength, output);
}

}  // namespace Cifra::Base64Codec
