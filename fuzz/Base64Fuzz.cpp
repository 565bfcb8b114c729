#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <string>

#include "Require.h"
#include "cipher/Base64Codec.h"
#include "cipher/Base64Kernel.h"
#include "reference/Base64Reference.h"

namespace {

using namespace Cifra;
using Bytes = std::vector<std::uint8_t>;

std::string Encode(const Base64Codec::Kernel& kernel, const Bytes& bytes, bool addPadding) {
  std::string text(Base64Codec::EncodedLength(bytes.size(), addPadding), '\0');
  kernel.encode(bytes.data(), bytes.size(), text.data(), addPadding);
  return text;
}

std::optional<Bytes> Decode(const Base64Codec::Kernel& kernel, const std::string& text) {
  // A vector of exactly that size: the terminator would hide a read of one character too many.
  const Bytes characters(text.begin(), text.end());
  Bytes bytes(text.size() * 3 / 4);
  if (!kernel.decode(reinterpret_cast<const char*>(characters.data()), characters.size(),
                     bytes.data())) {
    return std::nullopt;
  }
  return bytes;
}

// Damages up to two characters: of texts made by the fuzzer alone, hardly any long one is Base64.
void Damage(std::string& text, FuzzedDataProvider& input) {
  for (int count = input.ConsumeIntegralInRange(0, 2); count > 0 && !text.empty(); --count) {
    const std::size_t place = input.ConsumeIntegralInRange<std::size_t>(0, text.size() - 1);
    text[place] = input.ConsumeIntegral<char>();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool addPadding = input.ConsumeBool();
  const Bytes bytes =
      input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 400));
  const std::string encoded = Reference::Base64Encode(bytes, addPadding);
  std::string text = Reference::Base64Encode(bytes, false);
  Damage(text, input);
  const std::optional<Bytes> decoded = Reference::Base64Decode(text);
  for (const Base64Codec::Kernel& kernel : Base64Codec::Kernels()) {
    if (kernel.rule.isUsable()) {
      Fuzz::Require(Encode(kernel, bytes, addPadding) == encoded);
      Fuzz::Require(Decode(kernel, text) == decoded);
    }
  }
  return 0;
}
