#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "hash/Md5Engine.h"
#include "hash/Md5Kernel.h"
#include "reference/Md5Reference.h"
#include "support/GuardedPages.h"
#include "support/Md5.h"
#include "support/TestData.h"

namespace Cifra::Test {
namespace {

constexpr char kEmptyDigest[] = "d41d8cd98f00b204e9800998ecf8427e";

std::string HexDigest(const Bytes& message) {
  const Bytes digest = Md5(message);
  return ToHex(digest.data(), digest.size());
}

TEST(Md5Engine, Rfc1321Vectors_Hold) {
  const auto vectors = ReadVectors("md5.txt");
  EXPECT_EQ(7u, vectors.size());
  for (const auto& vector : vectors) {
    EXPECT_EQ(vector.at(1), HexDigest(FromText(vector.at(0)))) << vector.at(0);
  }
}

TEST(Md5Engine, NoInput_GivesTheDigestOfTheEmptyMessage) { EXPECT_EQ(kEmptyDigest, HexDigest({})); }

TEST(Md5Engine, MillionLettersInPiecesOfAnySize_GiveTheKnownDigest) {
  const Bytes message(1'000'000, 'a');
  for (const std::size_t piece : {1u, 3u, 55u, 63u, 64u, 65u, 128u, 1000u, 65'537u, 1'000'000u}) {
    const Bytes digest = Md5InPieces(message, [piece] { return piece; });
    EXPECT_EQ("7707d6ae4e027c70eea2a935c2296f21", ToHex(digest.data(), digest.size())) << piece;
  }
}

TEST(Md5Engine, EveryLengthAcrossThePadding_AgreesWithTheReference) {
  Random random(1);
  for (std::size_t length = 0; length <= 300; ++length) {
    const Bytes message = random.NextBytes(length);
    EXPECT_EQ(Reference::Md5(message.data(), length), Md5(message)) << length << " bytes";
  }
}

TEST(Md5Engine, EverySplitOfTwoBlocks_AgreesWithTheReference) {
  const Bytes message = Random(2).NextBytes(130);
  const Bytes expected = Reference::Md5(message.data(), message.size());
  for (std::size_t first = 0; first <= message.size(); ++first) {
    for (std::size_t second = first; second <= message.size(); second += 7) {
      std::array<std::size_t, 3> pieces = {first, second - first, message.size() - second};
      std::size_t next = 0;
      EXPECT_EQ(expected, Md5InPieces(message, [&] { return pieces.at(next++); }));
    }
  }
}

TEST(Md5Engine, RandomMessagesInRandomPieces_AgreeWithTheReference) {
  Random random(3);
  for (int i = 0; i < 1000; ++i) {
    const Bytes message = random.NextBytes(random.NextLength(1000));
    EXPECT_EQ(Reference::Md5(message.data(), message.size()),
              Md5InPieces(message, [&] { return random.Below(200); }));
  }
}

TEST(Md5Engine, Message_IsReadAtAnyAddress) {
  const Bytes buffer = Random(4).NextBytes(300);
  for (std::size_t offset = 0; offset < 16; ++offset) {
    const Bytes message(buffer.begin() + static_cast<std::ptrdiff_t>(offset), buffer.end());
    Md5Context context;
    Md5Init(context);
    Md5Update(context, buffer.data() + offset, static_cast<std::uint32_t>(message.size()));
    EXPECT_EQ(Reference::Md5(message.data(), message.size()), Finish(context));
  }
}

TEST(Md5Engine, EveryKernel_TransformsAsTheReferenceAndReadsNothingElse) {
  GuardedPages pages;
  Random random(6);
  for (const std::uint32_t blocks : {0u, 1u, 2u, 15u, 16u, 17u, 64u}) {
    const std::uint32_t length = 64 * blocks;
    const Bytes message = random.NextBytes(length);
    for (std::uint8_t* const place : {pages.Front(), pages.Back(length)}) {
      std::copy(message.begin(), message.end(), place);
      for (const Md5Blocks::Kernel& kernel : Md5Blocks::Kernels()) {
        if (!kernel.rule.isUsable()) {
          continue;
        }
        Md5Context context;
        Md5Init(context);
        kernel.transform(context.state, place, length);
        context.count[0] = length * 8;
        EXPECT_EQ(Reference::Md5(message.data(), length), Finish(context)) << kernel.rule.name;
      }
    }
  }
}

TEST(Md5Engine, NullOfNoLength_ChangesNothing) {
  Md5Context context;
  Md5Init(context);
  Md5Update(context, nullptr, 0);
  const Bytes digest = Finish(context);
  EXPECT_EQ(kEmptyDigest, ToHex(digest.data(), digest.size()));
}

TEST(Md5Engine, Init_SetsStateAndCountAndLeavesTheBuffer) {
  Md5Context context;
  std::memset(&context, 0x5A, sizeof(context));
  Md5Init(context);
  EXPECT_EQ(0x67452301u, context.state[0]);
  EXPECT_EQ(0xEFCDAB89u, context.state[1]);
  EXPECT_EQ(0x98BADCFEu, context.state[2]);
  EXPECT_EQ(0x10325476u, context.state[3]);
  EXPECT_EQ(0u, context.count[0]);
  EXPECT_EQ(0u, context.count[1]);
  EXPECT_TRUE(std::all_of(std::begin(context.buffer), std::end(context.buffer),
                          [](std::uint8_t byte) { return byte == 0x5A; }));
}

TEST(Md5Engine, Update_CarriesTheBitCountIntoItsHighWord) {
  const Bytes message(128);
  Md5Context context;
  Md5Init(context);
  context.count[0] = 0xFFFFFE00;  // a multiple of a block's 512 bits
  Md5Update(context, message.data(), 128);
  EXPECT_EQ(0x200u, context.count[0]);
  EXPECT_EQ(1u, context.count[1]);
}

TEST(Md5Engine, Final_SetsTheWholeContextToZero) {
  Md5Context context;
  Md5Init(context);
  const Bytes message = FromText("secret");
  Md5Update(context, message.data(), 6);
  Finish(context);
  const Md5Context zero = {};
  EXPECT_EQ(0, std::memcmp(&context, &zero, sizeof(zero)));
}

TEST(Md5Engine, SecondFinalWithoutInit_RepeatsNeitherDigest) {
  const Bytes message = FromText("abc");
  Md5Context context;
  Md5Init(context);
  Md5Update(context, message.data(), 3);
  const Bytes first = Finish(context);
  const Bytes second = Finish(context);
  EXPECT_NE(second, first);
  // The digest of the empty message from a state of zeros.
  EXPECT_EQ("b0e641c998cc3eae6fa2f8726d98cddd", ToHex(second.data(), second.size()));
  EXPECT_EQ(second, Finish(context));
}

TEST(Md5Engine, UpdateAfterFinal_WorksFromAStateOfZeros) {
  const Bytes message = FromText("abc");
  Md5Context context = {};
  Md5Update(context, message.data(), 3);
  const Bytes fromZeros = Finish(context);
  Md5Update(context, message.data(), 3);
  EXPECT_EQ(fromZeros, Finish(context));
  EXPECT_NE(Md5(message), fromZeros);
}

}  // namespace
}  // namespace Cifra::Test
