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
  EXPECT_EQ(1, EVP_Digest(message, length, digest.data(), nullptr, EVP_md5(), nullptr));
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
  EXPECT_EQ(0, differences);
}

// From 2^29 bytes on, the length in bits reaches into the high word of the count.
TEST(Md5OpenSsl, MessageOf512MiB_Agrees) {
  constexpr std::uint32_t kLength = (1u << 29) + 77;
  // Fresh zeros take no memory until they are written.
  const std::unique_ptr<void, decltype(&std::free)> zeros(std::calloc(kLength, 1), &std::free);
  ASSERT_NE(nullptr, zeros);
  const std::uint8_t* const message = static_cast<const std::uint8_t*>(zeros.get());
  Md5Context context;
  Md5Init(context);
  Md5Update(context, message, kLength);
  EXPECT_EQ(77u * 8, context.count[0]);
  EXPECT_EQ(1u, context.count[1]);
  EXPECT_EQ(WithOpenSsl(message, kLength), Finish(context));
}

}  // namespace
}  // namespace Cifra::Test
