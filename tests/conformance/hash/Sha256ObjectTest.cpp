#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "hash/HashData.h"
#include "support/LibraryUnderTest.h"
#include "support/TestData.h"

namespace {

using Cifra::Test::Bytes;
using Cifra::Test::BytesOf;
using Cifra::Test::FromHex;
using Cifra::Test::HashString;
using Cifra::Test::HashStringOf;

// One "Len, Msg, MD" group of a CAVP response file.
struct CavpVector {
  std::size_t bits = 0;
  Bytes message;
  std::string digest;  // in upper case
};

// Calls use(key, value) for every "key = value" line of a CAVP response file.
template <typename Use>
void ReadResponses(const std::string& fileName, Use use) {
  std::ifstream file(fileName);
  int count = 0;
  for (std::string line; std::getline(file, line); ++count) {
    const std::size_t separator = line.find(" = ");
    if (separator != std::string::npos && line[0] != '[') {
      use(line.substr(0, separator), line.substr(separator + 3));
    }
  }
  if (count == 0) {
    throw std::runtime_error("nothing to read in " + fileName);
  }
}

std::vector<CavpVector> ReadMessages(const std::string& fileName) {
  std::vector<CavpVector> vectors;
  ReadResponses(fileName, [&](const std::string& key, const std::string& value) {
    if (key == "Len") {
      vectors.push_back({std::stoul(value), {}, {}});
    } else if (key == "Msg") {
      vectors.back().message = FromHex(value);
      vectors.back().message.resize(vectors.back().bits / 8);
    } else if (key == "MD") {
      vectors.back().digest = Cifra::Test::UpperCase(value);
    }
  });
  return vectors;
}

class Sha256Object : public testing::Test {
 protected:
  void ExpectMessagesToAgree(const std::string& fileName, std::size_t count) {
    const std::vector<CavpVector> vectors = ReadMessages(fileName);
    EXPECT_EQ(count, vectors.size());
    for (const CavpVector& vector : vectors) {
      EXPECT_EQ(vector.digest, HashStringOf(*sha256.Get(), vector.message)) << vector.bits;
    }
  }

  Bytes Digest(const Bytes& message) {
    std::uint8_t digest[Cifra::ISha256::kDigestBytes];
    EXPECT_EQ(0, sha256->Init());
    EXPECT_EQ(0, sha256->Update(message.data(), static_cast<std::uint32_t>(message.size())));
    EXPECT_EQ(0, sha256->Final(digest));
    return Bytes(std::begin(digest), std::end(digest));
  }

  Cifra::Object<Cifra::ISha256> sha256{Cifra::Test::Library()};
};

TEST_F(Sha256Object, Fips180Vectors_Agree) {
  for (const auto& vector : Cifra::Test::ReadVectors("sha256.txt")) {
    EXPECT_EQ(Cifra::Test::UpperCase(vector[1]), HashStringOf(*sha256.Get(), BytesOf(vector[0])));
  }
}

// FIPS 180-2, appendix B.3.
TEST_F(Sha256Object, OneMillionLettersA_GiveTheirDigest) {
  EXPECT_EQ("CDC76E5C9914FB9281A1C7E284D73E67F1809A48A497200E046D39CCC7112CD0",
            HashStringOf(*sha256.Get(), BytesOf(std::string(1'000'000, 'a'))));
}

TEST_F(Sha256Object, CavpShortMessages_Agree) {
  ExpectMessagesToAgree("cavp/SHA256ShortMsg.rsp", 65);
}

TEST_F(Sha256Object, CavpLongMessages_Agree) {
  ExpectMessagesToAgree("cavp/SHA256LongMsg.rsp", 64);
}

// The chain of the SHA Validation System: a thousand times the digest of the last three digests,
// which then is the next seed.
TEST_F(Sha256Object, CavpMonteCarlo_Agrees) {
  Bytes seed;
  int checked = 0;
  ReadResponses("cavp/SHA256Monte.rsp", [&](const std::string& key, const std::string& value) {
    if (key == "Seed") {
      seed = FromHex(value);
    } else if (key == "MD") {
      Bytes last[3] = {seed, seed, seed};
      for (int i = 0; i < 1000; ++i) {
        Bytes message = last[0];
        message.insert(message.end(), last[1].begin(), last[1].end());
        message.insert(message.end(), last[2].begin(), last[2].end());
        last[0] = std::exchange(last[1], std::exchange(last[2], Digest(message)));
      }
      seed = last[2];
      EXPECT_EQ(FromHex(value), seed) << checked;
      ++checked;
    }
  });
  EXPECT_EQ(100, checked);
}

TEST_F(Sha256Object, NewObject_GivesTheDigestOfTheEmptyInputAtOnce) {
  EXPECT_EQ("E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855",
            HashString(*sha256.Get()));
}

TEST_F(Sha256Object, Abc_GivesItsDigestInUpperCase) {
  EXPECT_EQ(0, sha256->Update(BytesOf("abc").data(), 3));
  EXPECT_EQ("BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD",
            HashString(*sha256.Get()));
}

TEST_F(Sha256Object, AskedForTheMd5Identifier_YieldsItsOwnInterface) {
  auto* const md5View =
      static_cast<Cifra::ISha256*>(sha256.Base()->QueryInterface(Cifra::IMd5::kInterfaceId));
  ASSERT_NE(nullptr, md5View);
  EXPECT_EQ("E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855",
            HashString(*md5View));
}

TEST_F(Sha256Object, InitAfterFinal_MakesTheObjectReadyAgain) {
  Digest({1, 2, 3});
  EXPECT_EQ(0, sha256->Init());
  EXPECT_EQ("E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855",
            HashString(*sha256.Get()));
}

}  // namespace
