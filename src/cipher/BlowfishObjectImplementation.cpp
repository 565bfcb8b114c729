#include "cipher/BlowfishObjectImplementation.h"

#include <algorithm>
#include <cstring>

#include "framework/QueryInterfaceOf.h"

namespace {

constexpr std::uint64_t kBlockBytes = class_blowfish::kBlockBytes;

// The number of blocks that a call processes, modulo 2^32.
std::size_t BlockCount(std::uint64_t bytes) {
  return static_cast<std::uint32_t>(bytes / kBlockBytes);
}

// Resizes output and returns the input's address afterwards: if it is the output's buffer, growing
// may have moved it.
const std::uint8_t* ResizeFor(const std::uint8_t* input, std::vector<std::uint8_t>& output,
                              std::uint64_t size) {
  const bool isInPlace = input == output.data();
  output.resize(size);
  return isInPlace ? output.data() : input;
}

}  // namespace

void* BlowfishObjectImplementation::QueryInterface(const InterfaceId& iid) {
  return QueryInterfaceOf<Cifra::IBlowfish>(this, iid);
}

void BlowfishObjectImplementation::SetKey(const std::uint8_t* key, std::int32_t keyLength) {
  cipher.Initialize(key, keyLength);
}

std::uint32_t BlowfishObjectImplementation::Encrypt(const std::uint8_t* input,
                                                    std::uint64_t inputLength,
                                                    std::vector<std::uint8_t>& output) {
  const std::uint64_t remainder = inputLength % kBlockBytes;
  const std::uint64_t whole = inputLength - remainder;
  const std::uint64_t padded = whole + (remainder == 0 ? 0 : kBlockBytes);
  // If the padded length wraps around, resizing to the input's length throws.
  input = ResizeFor(input, output, std::max(padded, inputLength));
  cipher.EncipherBlocks(input, output.data(), BlockCount(whole));
  if (remainder != 0) {
    std::uint8_t last[kBlockBytes] = {};
    std::memcpy(last, input + whole, remainder);
    cipher.EncipherBlocks(last, output.data() + whole, 1);
  }
  return 0;
}

std::uint32_t BlowfishObjectImplementation::Decrypt(const std::uint8_t* input,
                                                    std::uint64_t inputLength,
                                                    std::vector<std::uint8_t>& output) {
  const std::uint64_t whole = inputLength - inputLength % kBlockBytes;
  input = ResizeFor(input, output, whole);
  cipher.DecipherBlocks(input, output.data(), BlockCount(whole));
  return 0;
}
