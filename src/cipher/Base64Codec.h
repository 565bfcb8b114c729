#pragma once

#include <cstddef>
#include <cstdint>

// The Base64 encoding of RFC 4648, section 4, on plain buffers.
namespace Cifra::Base64Codec {

// The characters that Encode writes for inputLength bytes, without and with padding.
constexpr std::size_t EncodedLength(std::size_t inputLength, bool addPadding) {
  const std::size_t rest = inputLength % 3;
  return inputLength / 3 * 4 + (rest == 0 ? 0 : addPadding ? 4 : rest + 1);
}

// Writes EncodedLength(inputLength, addPadding) characters, without a terminator.
void Encode(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding);

// Decodes textLength characters, none of them padding, to textLength * 3 / 4 bytes; textLength
// modulo 4 is not 1. Bits left over in the last character are ignored. Returns false when a
// character is not of the alphabet; the output is then undefined.
bool Decode(const char* text, std::size_t textLength, std::uint8_t* output);

}  // namespace Cifra::Base64Codec
