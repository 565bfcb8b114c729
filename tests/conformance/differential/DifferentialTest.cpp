#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

#include "reference/Base64Reference.h"
#include "reference/BlowfishReference.h"
#include "reference/Md5Reference.h"
#include "reference/Sha256Reference.h"
#include "support/LibraryUnderTest.h"

// Random inputs through the objects of the shipped library, beside plain references. The number of
// inputs for each object is CIFRA_DIFFERENTIAL_INPUTS.
namespace {

using Cifra::Object;
using Cifra::Test::Library;
using Bytes = std::vector<std::uint8_t>;

constexpr int kInputs = 500;
constexpr std::size_t kLongest = 300;

class Differential : public testing::Test {
 protected:
  static int Inputs() {
    const char* given = std::getenv("CIFRA_DIFFERENTIAL_INPUTS");
    return given ? std::atoi(given) : kInputs;
  }

  std::size_t Below(std::size_t bound) { return engine() % bound; }

  Bytes Random(std::size_t length) {
    Bytes bytes(length);
    for (std::uint8_t& byte : bytes) {
      byte = static_cast<std::uint8_t>(engine() >> 8);
    }
    return bytes;
  }
  Bytes AnyBytes() { return Random(Below(kLongest)); }

  // Hands the bytes on in pieces.
  template <typename Hash>
  void UpdateInPieces(Hash& hash, const Bytes& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t piece = std::min(1 + Below(100), bytes.size() - at);
      hash.Update(bytes.data() + at, static_cast<std::uint32_t>(piece));
      at += piece;
    }
  }

  std::minstd_rand engine{20261121};
};

TEST_F(Differential, Base64_IsThatOfTheReferenceBothWays) {
  const Object<Cifra::IBase64> base64(Library());
  for (int i = 0; i < Inputs(); ++i) {
    const Bytes bytes = AnyBytes();
    std::string text;
    base64->Encode(bytes, text, true);
    ASSERT_EQ(Cifra::Reference::Base64Encode(bytes, true), text) << i;
    if (!text.empty() && i % 2 != 0) {
      text[Below(text.size())] = static_cast<char>(engine());
    }
    const std::size_t end = text.find_last_not_of('=') + 1;
    const auto expected =
        text.size() - end <= 2 ? Cifra::Reference::Base64Decode(text.substr(0, end)) : std::nullopt;
    Bytes decoded;
    const std::uint32_t result = base64->Decode(text, decoded);
    ASSERT_EQ(expected && !expected->empty() ? 0u : 1627u, result) << i << " " << text;
    ASSERT_EQ(result == 0 ? *expected : Bytes(), decoded) << i << " " << text;
  }
}

TEST_F(Differential, Blowfish_IsThatOfTheReferenceBothWays) {
  const Object<Cifra::IBlowfish> blowfish(Library());
  constexpr int kMessagesForAKey = 10;
  for (int i = 0; i < Inputs(); i += kMessagesForAKey) {
    const Bytes key = Random(1 + Below(56));
    blowfish->SetKey(key.data(), static_cast<std::int32_t>(key.size()));
    const Cifra::Reference::Blowfish reference(key);
    for (int j = 0; j < kMessagesForAKey; ++j) {
      Bytes message = AnyBytes();
      Bytes output;
      blowfish->Encrypt(message.data(), message.size(), output);
      message.resize((message.size() + 7) / 8 * 8);
      ASSERT_EQ(reference.Encipher(message), output) << i;
      blowfish->Decrypt(message.data(), message.size(), output);
      ASSERT_EQ(reference.Decipher(message), output) << i;
    }
  }
}

TEST_F(Differential, Md5_IsThatOfTheReferenceInAnyPieces) {
  const Object<Cifra::IMd5> md5(Library());
  for (int i = 0; i < Inputs(); ++i) {
    const Bytes bytes = AnyBytes();
    md5->Init();
    UpdateInPieces(*md5.Get(), bytes);
    std::uint8_t digest[Cifra::IMd5::kDigestBytes];
    md5->Final(digest);
    ASSERT_EQ(Cifra::Reference::Md5(bytes.data(), bytes.size()),
              Bytes(std::begin(digest), std::end(digest)))
        << i;
  }
}

TEST_F(Differential, Sha256_IsThatOfTheReferenceInAnyPieces) {
  const Object<Cifra::ISha256> sha256(Library());
  for (int i = 0; i < Inputs(); ++i) {
    const Bytes bytes = AnyBytes();
    ASSERT_EQ(0, sha256->Init());
    UpdateInPieces(*sha256.Get(), bytes);
    std::uint8_t digest[Cifra::ISha256::kDigestBytes];
    ASSERT_EQ(0, sha256->Final(digest));
    ASSERT_EQ(Cifra::Reference::Sha256(bytes.data(), bytes.size()),
              Bytes(std::begin(digest), std::end(digest)))
        << i;
  }
}

}  // namespace
