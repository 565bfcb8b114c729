#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace client {

// ToHex writes bytes as lower-case hexadecimal digits, two for each.
inline std::string ToHex(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

}  // namespace client
