#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "cipher/BlowfishEngine.h"
#include "cipher/BlowfishKernel.h"
#include "support/TestData.h"

// class_blowfish with the test data's types.
namespace Cifra::Test {

inline void SetKey(class_blowfish& engine, const Bytes& key) {
  engine.Initialize(key.data(), static_cast<std::int32_t>(key.size()));
}

// A way to encipher and decipher blocks with a keyed engine.
struct BlowfishWay {
  using Function = std::function<void(const class_blowfish& engine, const std::uint8_t* input,
                                      std::uint8_t* output, std::size_t blocks)>;
  std::string name;
  Function encipher;
  Function decipher;
};

// Every one that this processor can go: the engine's own choice, each kernel by force, and the
// rounds in C++ and in assembly where the build has both.
inline std::vector<BlowfishWay> BlowfishWays() {
  namespace Blocks = BlowfishBlocks;
  const auto directly = [](auto function) {
    return [function](const class_blowfish& engine, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) { function(engine.Tables(), input, output, blocks); };
  };
  std::vector<BlowfishWay> ways = {
      {"engine", std::mem_fn(&class_blowfish::EncipherBlocks),
       std::mem_fn(&class_blowfish::DecipherBlocks)},
      {"portable", directly(Blocks::EncipherPortable), directly(Blocks::DecipherPortable)}};
#ifdef CIFRA_BLOWFISH_ASSEMBLY
  ways.push_back(
      {"assembly", directly(Blocks::EncipherAssembly), directly(Blocks::DecipherAssembly)});
#endif
  for (const Blocks::Kernel& kernel : Blocks::Kernels()) {
    if (kernel.rule.isUsable()) {
      ways.push_back({kernel.rule.name, directly(std::bind_front(Blocks::EncipherWith, kernel)),
                      directly(std::bind_front(Blocks::DecipherWith, kernel))});
    }
  }
  return ways;
}

inline Bytes WithEveryWay(const class_blowfish& engine, const Bytes& message,
                          BlowfishWay::Function BlowfishWay::* direction) {
  static const std::vector<BlowfishWay> ways = BlowfishWays();
  Bytes first(message.size());
  (ways.front().*direction)(engine, message.data(), first.data(), message.size() / 8);
  for (const BlowfishWay& way : ways) {
    Bytes result(message.size());
    (way.*direction)(engine, message.data(), result.data(), message.size() / 8);
    EXPECT_EQ(first, result) << way.name;
  }
  return first;
}

// By every way; all must give the same result.
inline Bytes Encipher(const class_blowfish& engine, const Bytes& message) {
  return WithEveryWay(engine, message, &BlowfishWay::encipher);
}

inline Bytes Decipher(const class_blowfish& engine, const Bytes& message) {
  return WithEveryWay(engine, message, &BlowfishWay::decipher);
}

inline std::uint32_t LoadHalf(const std::uint8_t* bytes) {
  std::uint32_t word = 0;
  for (int i = 3; i >= 0; --i) {
    word = word << 8 | bytes[i];
  }
  return word;
}

}  // namespace Cifra::Test
