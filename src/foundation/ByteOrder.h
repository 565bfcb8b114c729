#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kx {

// Words of the least significant byte first, at any address. All processors that the library runs
// on keep their words that way, so a load or store is a plain one.
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

// The exchange of bytes is asked for by name: not every compiler finds it in a loop.
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
