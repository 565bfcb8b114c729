#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Cifra::Reference {

// SHA-256 as FIPS 180-4 writes it down, without a thought of speed.
std::vector<std::uint8_t> Sha256(const std::uint8_t* bytes, std::size_t length);

}  // namespace Cifra::Reference
