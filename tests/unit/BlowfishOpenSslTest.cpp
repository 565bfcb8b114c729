// OpenSSL marks its Blowfish functions as deprecated since 3.0; the legacy provider, which would be
// the other way to it, is not installed everywhere.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <gtest/gtest.h>
#include <openssl/blowfish.h>

#include <algorithm>

#include "support/Blowfish.h"

namespace Cifra::Test {
namespace {

constexpr int kMessages = 100'000;
constexpr std::size_t kMaxBlocks = 40;

// OpenSSL takes the halves as words, so their byte order is ours to choose.
template <typename Operation>
Bytes WithOpenSsl(Operation operation, const BF_KEY& key, const Bytes& message) {
  Bytes result;
  for (std::size_t i = 0; i < message.size(); i += 8) {
    BF_LONG halves[2] = {LoadHalf(&message[i]), LoadHalf(&message[i + 4])};
    operation(halves, &key);
    for (const BF_LONG half : halves) {
      for (int shift = 0; shift < 32; shift += 8) {
        result.push_back(static_cast<std::uint8_t>(half >> shift));
      }
    }
  }
  return result;
}

TEST(BlowfishOpenSsl, RandomMessages_AgreeInBothDirections) {
  const std::vector<BlowfishWay> ways = BlowfishWays();
  Random random(10);
  int differences = 0;
  class_blowfish engine;
  for (int i = 0; i < kMessages; ++i) {
    const Bytes key = random.NextBytes(1 + random.Below(72));
    const Bytes message = random.NextBytes(8 * random.Below(kMaxBlocks));
    SetKey(engine, key);
    BF_KEY opensslKey;
    BF_set_key(&opensslKey, static_cast<int>(key.size()), key.data());
    const BlowfishWay& way = ways[static_cast<std::size_t>(i) % ways.size()];
    Bytes result(message.size());
    way.encipher(engine, message.data(), result.data(), message.size() / 8);
    differences += result != WithOpenSsl(BF_encrypt, opensslKey, message);
    way.decipher(engine, message.data(), result.data(), message.size() / 8);
    differences += result != WithOpenSsl(BF_decrypt, opensslKey, message);
  }
  EXPECT_EQ(0, differences);
}

}  // namespace
}  // namespace Cifra::Test
