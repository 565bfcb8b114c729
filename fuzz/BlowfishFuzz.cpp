#include <fuzzer/FuzzedDataProvider.h>

#include "Require.h"
#include "cipher/BlowfishEngine.h"
#include "reference/BlowfishReference.h"

using namespace Cifra;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Bytes = std::vector<std::uint8_t>;
  constexpr std::size_t kLongestKey = 72;  // what can reach the tables
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
  Bytes result(message.size());
  engine.DecipherBlocks(message.data(), result.data(), blocks);
  Fuzz::Require(result == reference.Decipher(message));
  engine.EncipherBlocks(message.data(), result.data(), blocks);
  Fuzz::Require(result == reference.Encipher(message));
  engine.DecipherBlocks(result.data(), result.data(), blocks);
  Fuzz::Require(result == message);
  return 0;
}
