#include "cipher/BlowfishObjectImplementation.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>

#include "foundation/Fatal.h"
#include "foundation/Wipe.h"
#include "framework/QueryInterfaceOf.h"

namespace {

constexpr std::uint64_t kBlockBytes = class_blowfish::kBlockBytes;

// Resizes output to size bytes and returns where the input is then. An input that lies in output's
// memory is moved to its start, to be ciphered in place: growing may have moved it, and shrinking
// cuts it off.
const std::uint8_t* ResizeFor(const std::uint8_t* input, std::uint64_t inputLength,
                              std::vector<std::uint8_t>& output, std::uint64_t size) {
  const std::less<const std::uint8_t*> isBelow;
  const std::uint8_t* const begin = output.data();
  if (isBelow(input, begin) || !isBelow(input, begin + output.capacity())) {
    output.resize(size);
    kx::FatalUnless(input != nullptr || inputLength == 0);
    return input;
  }
  const std::ptrdiff_t offset = input - begin;
  if (size > output.size()) {
    output.resize(size);
  }
  if (offset != 0) {
    std::memmove(output.data(), output.data() + offset, inputLength);
  }
  output.resize(size);
  return output.data();
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
  const std::uint64_t whole = inputLength / kBlockBytes;
  const std::uint64_t remainder = inputLength % kBlockBytes;
  const std::uint64_t blocks = whole + (remainder == 0 ? 0 : 1);
  // If the padded length wraps around, resizing to the input's length throws.
  input = ResizeFor(input, inputLength, output, std::max(blocks * kBlockBytes, inputLength));
  // Callers depend on this: blocks are counted modulo 2^32.
  const std::uint64_t counted = static_cast<std::uint32_t>(blocks);
  cipher.EncipherBlocks(input, output.data(), std::min(counted, whole));
  if (counted > whole) {
    std::uint8_t last[kBlockBytes] = {};
    std::memcpy(last, input + whole * kBlockBytes, remainder);
    cipher.EncipherBlocks(last, output.data() + whole * kBlockBytes, 1);
    kx::Wipe(last, sizeof(last));
  }
  return 0;
}

std::uint32_t BlowfishObjectImplementation::Decrypt(const std::uint8_t* input,
                                                    std::uint64_t inputLength,
                                                    std::vector<std::uint8_t>& output) {
  const std::uint64_t blocks = inputLength / kBlockBytes;
  input = ResizeFor(input, inputLength, output, blocks * kBlockBytes);
  cipher.DecipherBlocks(input, output.data(), blocks);
  return 0;
}
