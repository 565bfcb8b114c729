#include <gtest/gtest.h>

#include <algorithm>

#include "cipher/BlowfishEngine.h"
#include "cipher/BlowfishTables.h"
#include "reference/BlowfishReference.h"
#include "support/Blowfish.h"
#include "support/GuardedPages.h"
#include "support/TestData.h"

namespace Cifra::Test {
namespace {

// The published vectors have big-endian halves, this library little-endian ones.
Bytes SwapHalves(Bytes block) {
  std::reverse(block.begin(), block.begin() + 4);
  std::reverse(block.begin() + 4, block.end());
  return block;
}

void ExpectVectorsHold(const std::string& fileName, std::size_t count) {
  const auto vectors = ReadVectors(fileName);
  EXPECT_EQ(count, vectors.size());
  for (const auto& vector : vectors) {
    SCOPED_TRACE("key " + vector.at(0) + ", plain text " + vector.at(1));
    const Bytes plain = SwapHalves(FromHex(vector.at(1)));
    const Bytes cipher = SwapHalves(FromHex(vector.at(2)));
    class_blowfish engine;
    SetKey(engine, FromHex(vector.at(0)));
    EXPECT_EQ(cipher, Encipher(engine, plain));
    EXPECT_EQ(plain, Decipher(engine, cipher));
  }
}

TEST(BlowfishEngine, EcbVectors_Hold) { ExpectVectorsHold("blowfish-ecb.txt", 34); }

TEST(BlowfishEngine, VariableKeyVectors_Hold) {
  ExpectVectorsHold("blowfish-variable-key.txt", 24);
}

TEST(BlowfishEngine, ZeroBlockUnderZeroKey_HasTheHalvesOfThePublishedOneReversed) {
  class_blowfish engine;
  SetKey(engine, Bytes(8));
  EXPECT_EQ(FromHex("4597F94E78DD9861"), Encipher(engine, Bytes(8)));
}

TEST(BlowfishEngine, InitialTables_AreTheDigitsOfPi) {
  namespace Tables = BlowfishTables;
  const std::vector<std::uint32_t>& digits = Reference::PiFraction();
  EXPECT_EQ(Tables::kPWords + Tables::kSWords, digits.size());
  EXPECT_TRUE(std::equal(digits.begin(), digits.begin() + Tables::kPWords, Tables::kInitialP));
  EXPECT_TRUE(std::equal(digits.begin() + Tables::kPWords, digits.end(), Tables::kInitialS));
}

TEST(BlowfishEngine, OneByteKey_FillsEveryWordWithThatByte) {
  const Bytes message = Random(1).NextBytes(64);
  for (const std::size_t repeats : {2u, 4u, 8u, 56u, 72u}) {
    class_blowfish once;
    class_blowfish repeated;
    SetKey(once, Bytes(1, 0xA7));
    SetKey(repeated, Bytes(repeats, 0xA7));
    EXPECT_EQ(Encipher(repeated, message), Encipher(once, message)) << repeats;
  }
}

TEST(BlowfishEngine, KeyOf56Bytes_WrapsForTheLastFourWords) {
  Random random(2);
  const Bytes key = random.NextBytes(56);
  Bytes wrapped = key;
  wrapped.insert(wrapped.end(), key.begin(), key.begin() + 16);
  const Bytes message = random.NextBytes(64);
  class_blowfish engine;
  class_blowfish wrappedEngine;
  SetKey(engine, key);
  SetKey(wrappedEngine, wrapped);
  EXPECT_EQ(Encipher(wrappedEngine, message), Encipher(engine, message));
}

TEST(BlowfishEngine, KeyBeyond72Bytes_DoesNotReachTheTables) {
  Random random(3);
  const Bytes key = random.NextBytes(72);
  Bytes longer = key;
  longer.resize(200, 0x55);
  const Bytes message = random.NextBytes(64);
  class_blowfish engine;
  class_blowfish longerEngine;
  SetKey(engine, key);
  SetKey(longerEngine, longer);
  EXPECT_EQ(Encipher(longerEngine, message), Encipher(engine, message));
}

TEST(BlowfishEngine, EveryKeyLength_AgreesWithTheReferenceAndDeciphersBack) {
  Random random(4);
  for (std::size_t length = 1; length <= 80; ++length) {
    const Bytes key = random.NextBytes(length);
    const Bytes message = random.NextBytes(8 * random.Below(20));
    class_blowfish engine;
    SetKey(engine, key);
    const Bytes cipher = Encipher(engine, message);
    EXPECT_EQ(Reference::Blowfish(key).Encipher(message), cipher) << "key length " << length;
    EXPECT_EQ(message, Decipher(engine, cipher)) << "key length " << length;
  }
}

TEST(BlowfishEngine, NewKey_LeavesNothingOfTheOldOne) {
  Random random(5);
  const Bytes message = random.NextBytes(64);
  class_blowfish fresh;
  SetKey(fresh, FromText("second"));
  class_blowfish used;
  SetKey(used, FromText("first"));
  SetKey(used, FromText("second"));
  EXPECT_EQ(Encipher(fresh, message), Encipher(used, message));
}

// Every number of blocks up to several times the widest group.
TEST(BlowfishEngine, EveryNumberOfBlocks_AgreesWithTheReference) {
  Random random(6);
  const Bytes key = random.NextBytes(16);
  const Reference::Blowfish reference(key);
  class_blowfish engine;
  SetKey(engine, key);
  for (std::size_t blocks = 0; blocks <= 200; ++blocks) {
    const Bytes message = random.NextBytes(8 * blocks);
    EXPECT_EQ(reference.Encipher(message), Encipher(engine, message)) << blocks << " blocks";
    EXPECT_EQ(reference.Decipher(message), Decipher(engine, message)) << blocks << " blocks";
  }
}

TEST(BlowfishEngine, Blocks_AgreeWithTheSingleBlockOperations) {
  Random random(7);
  class_blowfish engine;
  SetKey(engine, random.NextBytes(16));
  const Bytes message = random.NextBytes(8 * 33);
  const Bytes cipher = Encipher(engine, message);
  for (std::size_t i = 0; i < message.size(); i += 8) {
    std::uint32_t left = LoadHalf(&message[i]);
    std::uint32_t right = LoadHalf(&message[i + 4]);
    engine.Encipher(left, right);
    EXPECT_EQ(LoadHalf(&cipher[i]), left);
    EXPECT_EQ(LoadHalf(&cipher[i + 4]), right);
    engine.Decipher(left, right);
    EXPECT_EQ(LoadHalf(&message[i]), left);
    EXPECT_EQ(LoadHalf(&message[i + 4]), right);
  }
}

TEST(BlowfishEngine, Blocks_AreEncipheredInPlaceAndAtAnyAddress) {
  Random random(8);
  class_blowfish engine;
  SetKey(engine, random.NextBytes(16));
  for (const BlowfishWay& way : BlowfishWays()) {
    for (const std::size_t blocks : {1u, 2u, 7u, 8u, 9u, 20u, 64u, 115u}) {
      const Bytes message = random.NextBytes(8 * blocks);
      const Bytes cipher = Encipher(engine, message);
      for (std::size_t offset = 0; offset < 8; ++offset) {
        Bytes buffer(offset + message.size());
        std::uint8_t* const start = buffer.data() + offset;
        std::copy(message.begin(), message.end(), start);
        way.encipher(engine, start, start, blocks);
        EXPECT_TRUE(std::equal(cipher.begin(), cipher.end(), start)) << way.name;
        way.decipher(engine, start, start, blocks);
        EXPECT_TRUE(std::equal(message.begin(), message.end(), start)) << way.name;
      }
    }
  }
}

// The bytes before and after the output differ from those around the input, so that neither a copy
// of them nor an overrun that is undone passes.
TEST(BlowfishEngine, Blocks_AreNotOverrun) {
  constexpr std::size_t kGuard = 1024;
  Random random(9);
  class_blowfish engine;
  SetKey(engine, random.NextBytes(16));
  for (const BlowfishWay& way : BlowfishWays()) {
    for (std::size_t blocks = 0; blocks <= 130; blocks += 3) {
      const Bytes input = random.NextBytes(8 * blocks + 2 * kGuard);
      const Bytes before = random.NextBytes(8 * blocks + 2 * kGuard);
      for (const auto& cipher : {way.encipher, way.decipher}) {
        Bytes output = before;
        cipher(engine, input.data() + kGuard, output.data() + kGuard, blocks);
        EXPECT_TRUE(std::equal(before.begin(), before.begin() + kGuard, output.begin()))
            << way.name << ", " << blocks << " blocks";
        EXPECT_TRUE(std::equal(before.end() - kGuard, before.end(), output.end() - kGuard))
            << way.name << ", " << blocks << " blocks";
      }
    }
  }
}

TEST(BlowfishEngine, Blocks_AreReadAndWrittenToTheirEndsOnly) {
  class_blowfish engine;
  SetKey(engine, FromText("key"));
  GuardedPages input;
  GuardedPages output;
  for (const BlowfishWay& way : BlowfishWays()) {
    for (std::size_t blocks = 1; blocks <= 130; blocks += 3) {
      const std::size_t bytes = 8 * blocks;
      for (const auto& cipher : {way.encipher, way.decipher}) {
        cipher(engine, input.Front(), output.Front(), blocks);
        cipher(engine, input.Back(bytes), output.Back(bytes), blocks);
        EXPECT_TRUE(std::equal(output.Front(), output.Front() + 8, output.Back(bytes))) << way.name;
      }
    }
  }
}

}  // namespace
}  // namespace Cifra::Test
