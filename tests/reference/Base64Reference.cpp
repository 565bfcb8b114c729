#include "reference/Base64Reference.h"

namespace Cifra::Reference {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Regroups values of fromBits bits into values of toBits bits.
template <typename Take>
void Regroup(std::uint32_t& bits, std::uint32_t& bitCount, std::uint32_t value,
             std::uint32_t fromBits, std::uint32_t toBits, Take take) {
  bits = bits << fromBits | value;
  for (bitCount += fromBits; bitCount >= toBits; bitCount -= toBits) {
    take(bits >> (bitCount - toBits) & ((1u << toBits) - 1));
  }
}

}  // namespace

std::string Base64Encode(const std::vector<std::uint8_t>& bytes, bool addPadding) {
  std::string text;
  std::uint32_t bits = 0;
  std::uint32_t bitCount = 0;
  const auto addCharacter = [&text](std::uint32_t value) { text += kAlphabet[value]; };
  for (const std::uint8_t byte : bytes) {
    Regroup(bits, bitCount, byte, 8, 6, addCharacter);
  }
  if (bitCount > 0) {
    addCharacter(bits << (6 - bitCount) & 63);
  }
  while (addPadding && text.size() % 4 != 0) {
    text += '=';
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> Base64Decode(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::uint32_t bits = 0;
  std::uint32_t bitCount = 0;
  for (const char character : text) {
    const std::size_t value = kAlphabet.find(character);
    if (value == std::string_view::npos) {
      return std::nullopt;
    }
    Regroup(bits, bitCount, static_cast<std::uint32_t>(value), 6, 8,
            [&bytes](std::uint32_t byte) { bytes.push_back(static_cast<std::uint8_t>(byte)); });
  }
  return bytes;
}

}  // namespace Cifra::Reference
