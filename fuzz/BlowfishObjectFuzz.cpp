#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "Require.h"
#include "cipher/BlowfishObjectImplementation.h"
#include "reference/BlowfishReference.h"

// The Blowfish object with an output of its own, and in place, at every length.
namespace {

using namespace Cifra;
using Bytes = std::vector<std::uint8_t>;
using Fuzz::Require;

constexpr std::size_t kBlock = 8;

Bytes Padded(Bytes bytes) {
  bytes.resize((bytes.size() + kBlock - 1) / kBlock * kBlock);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const Bytes key =
      input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(1, 56));
  if (key.empty()) {
    return -1;
  }
  const std::size_t oldSize = input.ConsumeIntegral<std::uint8_t>();
  const Bytes message = input.ConsumeRemainingBytes<std::uint8_t>();
  BlowfishObjectImplementation object;
  object.SetKey(key.data(), static_cast<std::int32_t>(key.size()));
  const Reference::Blowfish reference(key);
  const Bytes encrypted = reference.Encipher(Padded(message));

  Bytes output(oldSize, 0xEE);
  Require(object.Encrypt(message.data(), message.size(), output) == 0);
  Require(output == encrypted);
  Bytes inPlace = message;
  inPlace.reserve(1);
  object.Encrypt(inPlace.data(), inPlace.size(), inPlace);
  Require(inPlace == encrypted);
  object.Decrypt(inPlace.data(), inPlace.size(), inPlace);
  Require(inPlace == Padded(message));

  // Of a length that is no whole number of blocks the rest is dropped.
  Bytes whole(message.begin(),
              message.end() - static_cast<std::ptrdiff_t>(message.size() % kBlock));
  object.Decrypt(message.data(), message.size(), output);
  Require(output == reference.Decipher(whole));
  return 0;
}
