#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "support/Base64.h"

namespace Cifra::Test {
namespace {

constexpr int kTexts = 100'000;
constexpr std::size_t kMaxLength = 1000;

TEST(Base64OpenSsl, RandomTexts_AgreeInBothDirections) {
  Random random(3);
  int differences = 0;
  for (int i = 0; i < kTexts; ++i) {
    const Bytes message = random.NextBytes(random.NextLength(kMaxLength));
    std::string expected(Base64Codec::EncodedLength(message.size(), true) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()), message.data(),
                    static_cast<int>(message.size()));
    expected.pop_back();  // OpenSSL's terminator
    const std::string text = Encode(message, true);
    differences += text != expected;

    // OpenSSL decodes the padding to zeros and leaves it to its caller to cut them off.
    Bytes decoded(text.size() / 4 * 3);
    const int count =
        EVP_DecodeBlock(decoded.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    differences += count != static_cast<int>(decoded.size());
    decoded.resize(message.size());
    differences += Decode(text.substr(0, text.find('='))) != decoded;
  }
  EXPECT_EQ(0, differences);
}

TEST(Base64OpenSsl, RandomlyDamagedTexts_AreRefusedByBoth) {
  Random random(4);
  int differences = 0;
  for (int i = 0; i < kTexts; ++i) {
    std::string text = Encode(random.NextBytes(3 * random.Below(kMaxLength / 3) + 3), false);
    // Neither a blank, which OpenSSL skips at the ends, nor '=' or a mark of its own formats.
    constexpr char kForeign[] = "!\"#$%&'()*,.:;<>?@[]^_`{|}~\x80\xC3\xFF";
    text[random.Below(text.size())] = kForeign[random.Below(sizeof(kForeign) - 1)];
    Bytes buffer(text.size());
    const int count =
        EVP_DecodeBlock(buffer.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    differences += count != -1;
    differences += Decode(text).has_value();
  }
  EXPECT_EQ(0, differences);
}

}  // namespace
}  // namespace Cifra::Test
