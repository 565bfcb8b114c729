#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Base64 (RFC 4648, section 4) bit by bit, as the oracle for the codec.
namespace Cifra::Reference {

std::string Base64Encode(const std::vector<std::uint8_t>& bytes, bool addPadding);

// Decodes text without padding; no value when a character is not of the alphabet.
std::optional<std::vector<std::uint8_t>> Base64Decode(std::string_view text);

}  // namespace Cifra::Reference
