#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <memory>

#include "support/Md5.h"

namespace Cifra::Test {
namespace {

constexpr int kMessages = 100'000;
constexpr std::size_t kMaxLength = 1000;

Bytes WithOpenSsl(const std::uint8_t* message, std::size_t length) {
  Bytes digest(kMd5DigestBytes);
  EXPECT_EQ(EVP_Digest(message, length, digest.data(), nullptr, EVP_md5(), nullptr), 1);
  return digest;
}

TEST(Md5OpenSsl, RandomMessagesInRandomPieces_Agree) {
  Random random(5);
  int differences = 0;
  for (int i = 0; i < kMessages; ++i) {
    const Bytes message = random.NextBytes(random.NextLength(kMaxLength));
    const Bytes digest = Md5InPieces(message, [&] { return random.Below(200); });
    differences += digest != WithOpenSsl(message.data(), message.size());
  }
  EXPECT_EQ(differences, 0);
}

// From 2^29 bytes on, the length in bits reaches into the high word of the count.
TEST(Md5OpenSsl, MessageOf512MiB_Agrees) {
  constexpr std::uint32_t kLength = (1u << 29) + 77;
  // Fresh zeros take no memory until they are written.
  const std::unique_ptr<void, decltype(&std::free)> zeros(std::calloc(kLength, 1), &std::free);
  ASSERT_NE(zeros, nullptr);
  const std::uint8_t* const message = static_cast<const std::uint8_t*>(zeros.get());
  Md5Context context;
  Md5Init(context);
  Md5Update(context, message, kLength);
  EXPECT_EQ(context.count[0], 77u * 8);
  EXPECT_EQ(context.count[1], 1u);
  EXPECT_EQ(Finish(context), WithOpenSsl(message, kLength));
}

}  // namespace
}  // namespace Cifra::Test
