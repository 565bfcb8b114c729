#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <optional>
#include <string>

#include "Require.h"
#include "cipher/Base64ObjectImplementation.h"
#include "reference/Base64Reference.h"

// Both decoders of the Base64 object, into buffers of any capacity, beside the contract in short.
namespace {

using namespace Cifra;
using Bytes = std::vector<std::uint8_t>;
using Fuzz::Require;

constexpr std::uint32_t kFunctionFailed = 1627;

std::string AnyText(FuzzedDataProvider& input) {
  std::string text =
      input.ConsumeBool()
          ? input.ConsumeRandomLengthString(200)
          : Reference::Base64Encode(
                input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegral<std::uint8_t>()),
                input.ConsumeBool());
  if (input.ConsumeBool() && !text.empty()) {
    text[input.ConsumeIntegralInRange<std::size_t>(0, text.size() - 1)] =
        input.ConsumeBool() ? '=' : input.ConsumeIntegral<char>();
  }
  return text;
}

// What a text decodes to given enough space, if it is Base64.
std::optional<Bytes> Decoded(const std::string& text) {
  const std::size_t missing = (4 - text.size() % 4) % 4;
  const std::size_t written =
      missing != 0 ? 0
                   : static_cast<std::size_t>(
                         std::find_if(text.rbegin(), text.rend(), [](char c) { return c != '='; }) -
                         text.rbegin());
  if (text.empty() || missing > 2 || written > 2) {
    return std::nullopt;
  }
  return Reference::Base64Decode(text.substr(0, text.size() - written));
}

void RequireBuffer(Base64ObjectImplementation& object, const std::string& text,
                   const std::optional<Bytes>& decoded, std::size_t capacity) {
  Bytes buffer(capacity, 0xEE);
  std::uint64_t length = capacity;
  const std::uint32_t result = object.DecodeToBuffer(text, buffer.data(), &length);
  const std::size_t needed = (text.size() + 3) / 4 * 3;
  const bool fits = decoded && capacity >= needed;
  Require(result == (fits ? 0 : kFunctionFailed));
  Require(length == (fits ? decoded->size() : 0));
  Require(!fits || std::equal(decoded->begin(), decoded->end(), buffer.begin()));
  const auto beyond = buffer.begin() + static_cast<std::ptrdiff_t>(std::min(needed, capacity));
  Require(std::all_of(beyond, buffer.end(), [](std::uint8_t byte) { return byte == 0xEE; }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Base64ObjectImplementation object;
  const std::string text = AnyText(input);
  const std::optional<Bytes> decoded = Decoded(text);
  RequireBuffer(object, text, decoded, input.ConsumeIntegralInRange<std::size_t>(0, 300));

  Bytes vector(input.ConsumeIntegral<std::uint8_t>(), 0xEE);
  const std::uint32_t result = object.Decode(text, vector);
  // A text without its padding is decoded into a buffer that is too small for it.
  const bool isDecoded = decoded && !decoded->empty() && text.size() % 4 == 0;
  Require(result == (isDecoded ? 0 : kFunctionFailed));
  Require(vector == (isDecoded ? *decoded : Bytes()));
  Require(object.GetDecodedSize(text.size()) == text.size() / 4 * 3);
  return 0;
}
