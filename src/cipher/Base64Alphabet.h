#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Cifra::Base64Codec {

// The characters by their values.
alignas(64) inline constexpr char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What entry(value) gives for the characters of the alphabet from first on, and other for all
// characters that are not of it.
template <std::size_t kCount, typename Entry>
constexpr std::array<std::uint8_t, kCount> TableByCharacter(std::size_t first, std::uint8_t other,
                                                            Entry entry) {
  std::array<std::uint8_t, kCount> table{};
  table.fill(other);
  for (unsigned value = 0; value < 64; ++value) {
    table[static_cast<std::uint8_t>(kAlphabet[value]) - first] =
        static_cast<std::uint8_t>(entry(value));
  }
  return table;
}

}  // namespace Cifra::Base64Codec
