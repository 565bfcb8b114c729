#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kx {

// Unaligned little-endian loads and stores, and a big-endian load. All supported processors are
// little-endian.
static_assert(std::endian::native == std::endian::little);

inline std::uint32_t LoadLittleEndian32(const std::uint8_t* bytes) {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

inline std::uint64_t LoadLittleEndian64(const std::uint8_t* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

// Uses the byte-swap builtin: not every compiler recognises the loop.
inline std::uint64_t LoadBigEndian64(const std::uint8_t* bytes) {
#if defined(_MSC_VER) && !defined(__clang__)
  return _byteswap_uint64(LoadLittleEndian64(bytes));
#else
  return __builtin_bswap64(LoadLittleEndian64(bytes));
#endif
}

inline void StoreLittleEndian32(std::uint32_t word, std::uint8_t* bytes) {
  std::memcpy(bytes, &word, sizeof(word));
}

inline void StoreLittleEndian64(std::uint64_t word, std::uint8_t* bytes) {
  std::memcpy(bytes, &word, sizeof(word));
}

}  // namespace kx
