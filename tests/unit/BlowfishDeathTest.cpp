#include <gtest/gtest.h>

#include "support/Blowfish.h"
#include "support/Death.h"

namespace Cifra::Test {
namespace {

void Initialize(const std::uint8_t* key, std::int32_t keyLength) {
  class_blowfish engine;
  engine.Initialize(key, keyLength);
}

TEST(BlowfishEngineDeath, KeyLengthBelowOne_EndsTheProcess) {
  const std::uint8_t key[8] = {};
  EXPECT_EXIT(Initialize(key, 0), EndedItself, kSilence);
  EXPECT_EXIT(Initialize(key, -1), EndedItself, kSilence);
}

TEST(BlowfishEngineDeath, NullKey_EndsTheProcess) {
  EXPECT_EXIT(Initialize(nullptr, 8), EndedItself, kSilence);
}

}  // namespace
}  // namespace Cifra::Test
