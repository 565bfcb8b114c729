#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Cifra::Reference {

// The MD5 digest (RFC 1321) of a whole message, as the oracle for the engine.
std::vector<std::uint8_t> Md5(const std::uint8_t* message, std::size_t length);

}  // namespace Cifra::Reference
