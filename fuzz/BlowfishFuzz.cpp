#include <fuzzer/FuzzedDataProvider.h>

#include "Require.h"
#include "cipher/BlowfishEngine.h"
#include "reference/BlowfishReference.h"
#include "support/Blowfish.h"

using namespace Cifra;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Bytes = std::vector<std::uint8_t>;
  constexpr std::size_t kLongestKey = 72;  // what can reach the tables
  static const std::vector<Test::BlowfishWay> ways = Test::BlowfishWays();
  FuzzedDataProvider input(data, size);
  const Bytes key =
      input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(1, kLongestKey));
  if (key.empty()) {
    return -1;  // not worth keeping
  }
  Bytes message = input.ConsumeRemainingBytes<std::uint8_t>();
  const std::size_t blocks = message.size() / class_blowfish::kBlockBytes;
  message.resize(blocks * class_blowfish::kBlockBytes);

  class_blowfish engine;
  engine.Initialize(key.data(), static_cast<std::int32_t>(key.size()));
  const Reference::Blowfish reference(key);
  const Bytes deciphered = reference.Decipher(message);
  const Bytes enciphered = reference.Encipher(message);
  Bytes result(message.size());
  for (const Test::BlowfishWay& way : ways) {
    way.decipher(engine, message.data(), result.data(), blocks);
    Fuzz::Require(result == deciphered);
    way.encipher(engine, message.data(), result.data(), blocks);
    Fuzz::Require(result == enciphered);
    way.decipher(engine, result.data(), result.data(), blocks);
    Fuzz::Require(result == message);
  }
  return 0;
}
