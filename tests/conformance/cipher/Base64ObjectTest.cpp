#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/LibraryUnderTest.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUntouched = 0xEE;

class Base64Object : public testing::Test {
 protected:
  std::string Encode(const std::string& text, bool addPadding) {
    std::string output = "previous content";
    base64->Encode(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), output,
                   addPadding);
    return output;
  }

  // The decoded bytes as text; nothing but the result code matters on failure.
  std::string Decode(const std::string& text, std::uint32_t expectedResult = kCifraSuccess) {
    Bytes output = {1, 2, 3};
    EXPECT_EQ(expectedResult, base64->Decode(text, output)) << text;
    if (expectedResult != kCifraSuccess) {
      EXPECT_TRUE(output.empty()) << text;
    }
    return std::string(output.begin(), output.end());
  }

  Cifra::Object<Cifra::IBase64> base64{Cifra::Test::Library()};
};

// What DecodeToBuffer did to a buffer of `capacity` bytes.
struct BufferResult {
  std::uint32_t result;
  std::uint64_t size;
  Bytes buffer;
};

BufferResult DecodeToBuffer(Cifra::IBase64& base64, const std::string& text, std::size_t capacity) {
  BufferResult outcome{0, capacity, Bytes(capacity + 8, kUntouched)};
  outcome.result = base64.DecodeToBuffer(text, outcome.buffer.data(), &outcome.size);
  for (std::size_t i = capacity; i < outcome.buffer.size(); ++i) {
    EXPECT_EQ(kUntouched, outcome.buffer[i]) << "byte " << i << " after the capacity";
  }
  outcome.buffer.resize(capacity);
  return outcome;
}

TEST_F(Base64Object, Encode_OfOneTwoAndThreeBytes_PadsOnlyWhenAsked) {
  EXPECT_EQ("Zg==", Encode("f", true));
  EXPECT_EQ("Zm8=", Encode("fo", true));
  EXPECT_EQ("Zm9v", Encode("foo", true));
  EXPECT_EQ("Zg", Encode("f", false));
  EXPECT_EQ("Zm8", Encode("fo", false));
  EXPECT_EQ("Zm9v", Encode("foo", false));
}

TEST_F(Base64Object, Encode_OfEmptyInput_GivesAnEmptyText) {
  EXPECT_EQ("", Encode("", true));
  std::string output = "previous content";
  base64->Encode(nullptr, 0, output, true);
  EXPECT_EQ("", output);
  base64->Encode(Bytes(), output, true);
  EXPECT_EQ("", output);
}

TEST_F(Base64Object, Encode_OfALengthThatOverflows_ThrowsAndKeepsTheOutput) {
  std::string output = "previous content";
  for (const std::uint64_t length : {~std::uint64_t{0}, std::uint64_t{3} << 62}) {
    EXPECT_ANY_THROW(base64->Encode(nullptr, length, output, true)) << length;
    EXPECT_ANY_THROW(base64->Encode(nullptr, length, output, false)) << length;
  }
  EXPECT_EQ("previous content", output);
}

TEST_F(Base64Object, Encode_OfAVector_EqualsEncodeOfItsBytes) {
  const Bytes input = {0, 255, 16, 128};
  std::string fromVector;
  std::string fromBytes;
  base64->Encode(input, fromVector, true);
  base64->Encode(input.data(), input.size(), fromBytes, true);
  EXPECT_EQ("AP8QgA==", fromVector);
  EXPECT_EQ(fromBytes, fromVector);
}

// A large text is made in pieces; it must be the texts of its parts, one after the other.
TEST_F(Base64Object, Encode_OfALargeInput_JoinsTheTextsOfItsParts) {
  constexpr std::size_t kPart = 3000;
  std::mt19937 random(1);
  for (const std::size_t length : {786'430u, 786'432u, 3'000'001u}) {
    std::string input(length, '\0');
    for (char& byte : input) {
      byte = static_cast<char>(random());
    }
    std::string joined;
    for (std::size_t i = 0; i < length; i += kPart) {
      joined += Encode(input.substr(i, kPart), true);
    }
    EXPECT_TRUE(joined == Encode(input, true)) << length;
    // Into a text that has the space already.
    std::string text(joined.size(), '?');
    const char* const place = text.data();
    base64->Encode(reinterpret_cast<const std::uint8_t*>(input.data()), length, text, true);
    EXPECT_TRUE(joined == text) << length;
    EXPECT_EQ(place, text.data()) << length;
  }
}

TEST_F(Base64Object, Encode_InPlace_GivesTheSameAsFromACopy) {
  for (const std::size_t length : {1u, 5u, 15u, 100u, 1000u}) {
    for (const std::size_t offset : {0u, 1u, 7u}) {
      for (const std::size_t capacity : {0u, 4000u}) {
        std::string plain(length, '\0');
        std::iota(plain.begin(), plain.end(), '\x01');
        std::string text = std::string(offset, '?') + plain;
        text.shrink_to_fit();
        text.reserve(capacity);
        base64->Encode(reinterpret_cast<const std::uint8_t*>(text.data()) + offset, length, text,
                       true);
        EXPECT_EQ(Encode(plain, true), text) << length << " at " << offset;
      }
    }
  }
}

TEST_F(Base64Object, Encode_InsertsNoLineBreak) {
  const std::string text = Encode(std::string(100000, 'x'), true);
  EXPECT_EQ(std::string::npos, text.find_first_of("\r\n"));
}

TEST_F(Base64Object, GetDecodedSize_CountsWholeGroups) {
  for (std::uint64_t length : {0u, 1u, 2u, 3u}) {
    EXPECT_EQ(0u, base64->GetDecodedSize(length));
  }
  EXPECT_EQ(3u, base64->GetDecodedSize(4));
  EXPECT_EQ(3u, base64->GetDecodedSize(7));
  EXPECT_EQ(6u, base64->GetDecodedSize(8));
}

TEST_F(Base64Object, Decode_OfPaddedText_GivesItsBytes) {
  EXPECT_EQ("foob", Decode("Zm9vYg=="));
  EXPECT_EQ("fooba", Decode("Zm9vYmE="));
  EXPECT_EQ("foobar", Decode("Zm9vYmFy"));
}

TEST_F(Base64Object, Decode_OfTextWithOnePaddingCharacterMissing_Fails) {
  Decode("Zm9vYg=", kCifraFunctionFailed);
}

TEST_F(Base64Object, DecodeToBuffer_WithOneOfTwoPaddingCharacters_Fails) {
  for (const std::size_t capacity : {6u, 7u, 100u}) {
    const BufferResult outcome = DecodeToBuffer(*base64.Get(), "Zm9vYg=", capacity);
    EXPECT_EQ(kCifraFunctionFailed, outcome.result) << capacity;
    EXPECT_EQ(0u, outcome.size) << capacity;
  }
}

TEST_F(Base64Object, Decode_OfTextWithALineBreak_Fails) {
  Decode("Zm9v\r\nYmFy", kCifraFunctionFailed);
  Decode("Zm9v\nYmF", kCifraFunctionFailed);
}

TEST_F(Base64Object, Decode_OfLengthFiveWithThreePaddingCharacters_Fails) {
  Decode("Zg===", kCifraFunctionFailed);
}

TEST_F(Base64Object, Decode_OfThreeOrMorePaddingCharactersInAWholeGroup_Fails) {
  Decode("Z===", kCifraFunctionFailed);
  Decode("====", kCifraFunctionFailed);
  Decode("Zm9vZ===", kCifraFunctionFailed);
}

TEST_F(Base64Object, Decode_OfEmptyAndShortTexts_FailsWithAnEmptyVector) {
  for (const char* text : {"", "Z", "Zg", "Zm8", "="}) {
    Decode(text, kCifraFunctionFailed);
  }
}

TEST_F(Base64Object, Decode_OfUnpaddedText_FailsBecauseItsRoomIsWholeGroupsOnly) {
  Decode("Zm9vYg", kCifraFunctionFailed);
  Decode("Zm9vYmE", kCifraFunctionFailed);
}

TEST_F(Base64Object, Decode_OfPaddingInsideTheText_Fails) {
  Decode("Zg==Zm9v", kCifraFunctionFailed);
  Decode("Z=9v", kCifraFunctionFailed);
}

TEST_F(Base64Object, Decode_RefusesEveryByteOutsideTheAlphabetAtEveryPlace) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string valid(96, 'A');
  for (int byte = 0; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const bool isAlphabet = alphabet.find(character) != std::string::npos;
    for (std::size_t at = 0; at < valid.size() - 2; ++at) {
      std::string text = valid;
      text[at] = character;
      Bytes output;
      ASSERT_EQ(isAlphabet ? kCifraSuccess : kCifraFunctionFailed, base64->Decode(text, output))
          << byte << " at " << at;
    }
  }
}

TEST_F(Base64Object, Decode_IgnoresTheBitsLeftOverInTheLastCharacter) {
  EXPECT_EQ("f", Decode("Zh=="));
  EXPECT_EQ("fo", Decode("Zm9="));
}

TEST_F(Base64Object, DecodeToBuffer_WithTooLittleRoom_FailsAndStoresZero) {
  for (std::size_t capacity = 0; capacity < 3; ++capacity) {
    const BufferResult outcome = DecodeToBuffer(*base64.Get(), "Zm9v", capacity);
    EXPECT_EQ(kCifraFunctionFailed, outcome.result);
    EXPECT_EQ(0u, outcome.size);
    EXPECT_EQ(Bytes(capacity, kUntouched), outcome.buffer);
  }
}

TEST_F(Base64Object, DecodeToBuffer_OfAnEmptyText_FailsAndStoresZero) {
  const BufferResult outcome = DecodeToBuffer(*base64.Get(), "", 16);
  EXPECT_EQ(kCifraFunctionFailed, outcome.result);
  EXPECT_EQ(0u, outcome.size);
}

TEST_F(Base64Object, DecodeToBuffer_AcceptsTextThatLacksItsPadding) {
  const BufferResult one = DecodeToBuffer(*base64.Get(), "Zg", 3);
  EXPECT_EQ(kCifraSuccess, one.result);
  EXPECT_EQ(1u, one.size);
  const BufferResult two = DecodeToBuffer(*base64.Get(), "Zm9vYmE", 6);
  EXPECT_EQ(kCifraSuccess, two.result);
  EXPECT_EQ(5u, two.size);
}

TEST_F(Base64Object, DecodeToBuffer_ZeroesTheBytesThatPaddingStandsFor) {
  for (const char* text : {"Zg==", "Zg"}) {
    const BufferResult outcome = DecodeToBuffer(*base64.Get(), text, 4);
    EXPECT_EQ((Bytes{'f', 0, 0, kUntouched}), outcome.buffer) << text;
  }
}

TEST_F(Base64Object, DecodeToBuffer_OfTextsOfLength4kPlus1_Fails) {
  for (const std::size_t length : {1u, 5u, 9u, 33u, 101u}) {
    const BufferResult outcome = DecodeToBuffer(*base64.Get(), std::string(length, 'A'), 200);
    EXPECT_EQ(kCifraFunctionFailed, outcome.result) << length;
    EXPECT_EQ(0u, outcome.size) << length;
  }
}

TEST_F(Base64Object, DecodeToBuffer_OfABadCharacter_LeavesNoHalfDecodedBytes) {
  const BufferResult outcome = DecodeToBuffer(*base64.Get(), "Zm9vYm*yZm9v", 12);
  EXPECT_EQ(kCifraFunctionFailed, outcome.result);
  EXPECT_EQ(0u, outcome.size);
  Bytes expected(12, kUntouched);
  std::fill_n(expected.begin(), 9, std::uint8_t{0});
  EXPECT_EQ(expected, outcome.buffer);
}

TEST_F(Base64Object, EveryLengthUpTo300_RoundTrips) {
  std::mt19937 random(4648);
  for (std::size_t length = 1; length <= 300; ++length) {
    std::string plain(length, '\0');
    std::generate(plain.begin(), plain.end(), [&] { return static_cast<char>(random()); });
    ASSERT_EQ(plain, Decode(Encode(plain, true))) << length;
    const BufferResult unpadded =
        DecodeToBuffer(*base64.Get(), Encode(plain, false), (length + 2) / 3 * 3);
    ASSERT_EQ(kCifraSuccess, unpadded.result) << length;
    ASSERT_EQ(length, unpadded.size);
    ASSERT_TRUE(std::equal(
        plain.begin(), plain.end(), unpadded.buffer.begin(),
        [](char left, std::uint8_t right) { return static_cast<std::uint8_t>(left) == right; }));
  }
}

}  // namespace
