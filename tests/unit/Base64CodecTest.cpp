#include <gtest/gtest.h>

#include <algorithm>

#include "cipher/Base64Codec.h"
#include "cipher/Base64Kernel.h"
#include "reference/Base64Reference.h"
#include "support/Base64.h"
#include "support/GuardedPages.h"
#include "support/TestData.h"

namespace Cifra::Test {
namespace {

// Longer than several of the groups that a kernel converts at once.
constexpr std::size_t kLongestMessage = 300;

TEST(Base64Codec, Rfc4648Vectors_Hold) {
  const auto vectors = ReadVectors("base64.txt");
  EXPECT_EQ(7u, vectors.size());
  for (const auto& vector : vectors) {
    const Bytes message = FromText(vector.at(0));
    const std::string padded = vector.at(1);
    const std::string unpadded = padded.substr(0, padded.find('='));
    EXPECT_EQ(padded, Encode(message, true));
    EXPECT_EQ(unpadded, Encode(message, false));
    EXPECT_EQ(message, Decode(unpadded));
  }
}

TEST(Base64Codec, EncodedLength_CountsGroupsAndRest) {
  EXPECT_EQ(0u, Base64Codec::EncodedLength(0, true));
  EXPECT_EQ(0u, Base64Codec::EncodedLength(0, false));
  EXPECT_EQ(4u, Base64Codec::EncodedLength(1, true));
  EXPECT_EQ(2u, Base64Codec::EncodedLength(1, false));
  EXPECT_EQ(4u, Base64Codec::EncodedLength(2, true));
  EXPECT_EQ(3u, Base64Codec::EncodedLength(2, false));
  EXPECT_EQ(4u, Base64Codec::EncodedLength(3, true));
  EXPECT_EQ(4u, Base64Codec::EncodedLength(3, false));
}

TEST(Base64Codec, EveryLength_AgreesWithTheReferenceBothWays) {
  Random random(1);
  for (std::size_t length = 0; length <= kLongestMessage; ++length) {
    const Bytes message = random.NextBytes(length);
    const std::string text = Reference::Base64Encode(message, false);
    EXPECT_EQ(text, Encode(message, false)) << length << " bytes";
    EXPECT_EQ(Reference::Base64Encode(message, true), Encode(message, true)) << length << " bytes";
    EXPECT_EQ(message, Decode(text)) << length << " bytes";
  }
}

TEST(Base64Codec, EveryByteAtEveryPosition_IsTakenOrRefusedAsByTheReference) {
  for (const std::size_t length : {2u, 3u, 4u, 31u, 66u, 132u}) {
    const std::string text(length, 'Q');
    for (std::size_t position = 0; position < length; ++position) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string changed = text;
        changed[position] = static_cast<char>(byte);
        ASSERT_EQ(Reference::Base64Decode(changed), Decode(changed))
            << "byte " << byte << " at " << position << " of " << length;
      }
    }
  }
}

TEST(Base64Codec, EveryPairOfBytes_IsEncodedAsByTheReference) {
  Bytes message;
  for (unsigned pair = 0; pair < 65'536; ++pair) {
    message.push_back(static_cast<std::uint8_t>(pair >> 8));
    message.push_back(static_cast<std::uint8_t>(pair));
    message.push_back(static_cast<std::uint8_t>(pair >> 4));
  }
  const std::string text = Encode(message, true);
  EXPECT_EQ(Reference::Base64Encode(message, true), text);
  EXPECT_EQ(message, Decode(text));
}

TEST(Base64Codec, BitsLeftOver_AreIgnored) {
  EXPECT_EQ(FromText("f"), Decode("Zg"));
  EXPECT_EQ(FromText("f"), Decode("Zh"));
  EXPECT_EQ(FromText("f"), Decode("Zv"));
  EXPECT_EQ(FromText("fo"), Decode("Zm8"));
  EXPECT_EQ(Decode("Zm8"), Decode("Zm/"));
}

TEST(Base64Codec, Buffers_AreNotOverrun) {
  Random random(2);
  for (const Base64Codec::Kernel& kernel : Base64Codec::Kernels()) {
    if (!kernel.rule.isUsable()) {
      continue;
    }
    for (std::size_t length = 0; length <= kLongestMessage; ++length) {
      const Bytes message = random.NextBytes(length);
      for (const bool addPadding : {false, true}) {
        const std::size_t textLength = Base64Codec::EncodedLength(length, addPadding);
        std::string buffer(textLength + 64, '#');
        kernel.encode(message.data(), length, buffer.data() + 32, addPadding);
        EXPECT_EQ(std::string(32, '#'), buffer.substr(0, 32)) << kernel.rule.name;
        EXPECT_EQ(std::string(32, '#'), buffer.substr(32 + textLength)) << kernel.rule.name;
      }
      const std::string text = Reference::Base64Encode(message, false);
      Bytes buffer(length + 64, '#');
      EXPECT_TRUE(kernel.decode(text.data(), text.size(), buffer.data() + 32));
      EXPECT_EQ(Bytes(32, '#'), Bytes(buffer.begin(), buffer.begin() + 32)) << kernel.rule.name;
      EXPECT_EQ(Bytes(32, '#'), Bytes(buffer.end() - 32, buffer.end())) << kernel.rule.name;
    }
  }
}

TEST(Base64Codec, Buffers_AreReadAndWrittenToTheirEndsOnly) {
  Random random(3);
  GuardedPages bytes;
  GuardedPages text;
  GuardedPages decoded;
  const auto characters = [](std::uint8_t* place) { return reinterpret_cast<char*>(place); };
  for (const Base64Codec::Kernel& kernel : Base64Codec::Kernels()) {
    if (!kernel.rule.isUsable()) {
      continue;
    }
    for (std::size_t length = 0; length <= kLongestMessage; ++length) {
      const Bytes message = random.NextBytes(length);
      const std::size_t textLength = Base64Codec::EncodedLength(length, false);
      for (const bool atBack : {false, true}) {
        const auto place = [atBack](GuardedPages& pages, std::size_t size) {
          return atBack ? pages.Back(size) : pages.Front();
        };
        std::uint8_t* const input = std::copy(message.begin(), message.end(), place(bytes, length));
        char* const encoded = characters(place(text, textLength));
        std::uint8_t* const output = place(decoded, length);
        kernel.encode(input - length, length, encoded, false);
        EXPECT_TRUE(kernel.decode(encoded, textLength, output));
        EXPECT_TRUE(std::equal(message.begin(), message.end(), output)) << kernel.rule.name;
      }
    }
  }
}

TEST(Base64Codec, TheKernelOfThisProcessor_GivesWhatAllGive) {
  Random random(4);
  for (std::size_t length = 0; length <= kLongestMessage; ++length) {
    const Bytes message = random.NextBytes(length);
    for (const bool addPadding : {false, true}) {
      std::string text(Base64Codec::EncodedLength(length, addPadding), '\0');
      Base64Codec::Encode(message.data(), length, text.data(), addPadding);
      EXPECT_EQ(Encode(message, addPadding), text) << length << " bytes";
    }
    std::string text = Reference::Base64Encode(message, false);
    Bytes decoded(length);
    EXPECT_TRUE(Base64Codec::Decode(text.data(), text.size(), decoded.data()));
    EXPECT_EQ(message, decoded) << length << " bytes";
    if (length > 0) {
      text.back() = '.';
      EXPECT_FALSE(Base64Codec::Decode(text.data(), text.size(), decoded.data()));
    }
  }
}

}  // namespace
}  // namespace Cifra::Test
