#pragma once

#include "cipher/BlowfishEngine.h"
#include "support/TestData.h"

// class_blowfish with the test data's types.
namespace Cifra::Test {

inline void SetKey(class_blowfish& engine, const Bytes& key) {
  engine.Initialize(key.data(), static_cast<std::int32_t>(key.size()));
}

inline Bytes Encipher(const class_blowfish& engine, const Bytes& message) {
  Bytes result(message.size());
  engine.EncipherBlocks(message.data(), result.data(), message.size() / 8);
  return result;
}

inline Bytes Decipher(const class_blowfish& engine, const Bytes& message) {
  Bytes result(message.size());
  engine.DecipherBlocks(message.data(), result.data(), message.size() / 8);
  return result;
}

inline std::uint32_t LoadHalf(const std::uint8_t* bytes) {
  std::uint32_t word = 0;
  for (int i = 3; i >= 0; --i) {
    word = word << 8 | bytes[i];
  }
  return word;
}

}  // namespace Cifra::Test
