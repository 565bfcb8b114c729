#include <gtest/gtest.h>

#include "hash/HashData.h"
#include "support/LibraryUnderTest.h"
#include "support/TestData.h"

namespace {

using Cifra::Test::BytesOf;
using Cifra::Test::HashString;
using Cifra::Test::HashStringOf;
using Cifra::Test::ReadVectors;

class Md5Object : public testing::Test {
 protected:
  Cifra::Object<Cifra::IMd5> md5{Cifra::Test::Library()};
};

TEST_F(Md5Object, Rfc1321Vectors_Agree) {
  for (const auto& vector : ReadVectors("md5.txt")) {
    EXPECT_EQ(Cifra::Test::UpperCase(vector[1]), HashStringOf(*md5.Get(), BytesOf(vector[0])));
  }
}

TEST_F(Md5Object, Abc_GivesItsDigestInUpperCase) {
  md5->Init();
  md5->Update(BytesOf("abc").data(), 3);
  EXPECT_EQ("900150983CD24FB0D6963F7D28E17F72", HashString(*md5.Get()));
}

TEST_F(Md5Object, OneMillionLettersA_GiveTheSameDigestInPiecesOfAnySize) {
  const std::string letters(1'000'000, 'a');
  for (const std::uint32_t piece : {1u, 7u, 63u, 64u, 65u, 4096u, 333'333u, 1'000'000u}) {
    md5->Init();
    for (std::uint32_t done = 0; done < letters.size(); done += piece) {
      md5->Update(BytesOf(letters).data() + done,
                  std::min(piece, static_cast<std::uint32_t>(letters.size()) - done));
    }
    EXPECT_EQ("7707D6AE4E027C70EEA2A935C2296F21", HashString(*md5.Get())) << piece;
  }
}

TEST_F(Md5Object, UpdateWithNothing_ChangesNothing) {
  md5->Update(nullptr, 0);
  EXPECT_EQ("D41D8CD98F00B204E9800998ECF8427E", HashString(*md5.Get()));
}

TEST_F(Md5Object, SecondGetHashString_GivesTheDigestOfTheWipedContext) {
  md5->Update(BytesOf("abc").data(), 3);
  EXPECT_EQ("900150983CD24FB0D6963F7D28E17F72", HashString(*md5.Get()));
  EXPECT_EQ("B0E641C998CC3EAE6FA2F8726D98CDDD", HashString(*md5.Get()));
  EXPECT_EQ("B0E641C998CC3EAE6FA2F8726D98CDDD", HashString(*md5.Get()));
}

TEST_F(Md5Object, InitAfterFinal_MakesTheObjectReadyAgain) {
  std::uint8_t digest[Cifra::IMd5::kDigestBytes];
  md5->Update(BytesOf("something").data(), 9);
  md5->Final(digest);
  EXPECT_EQ("900150983CD24FB0D6963F7D28E17F72", HashStringOf(*md5.Get(), BytesOf("abc")));
}

}  // namespace
