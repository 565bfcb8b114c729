#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cipher/Base64Codec.h"
#include "support/TestData.h"

// The Base64 codec with the test data's types. The buffers are on the heap and of exactly the
// needed size, so that the address sanitizer sees a step beyond them.
namespace Cifra::Test {

inline std::string Encode(const Bytes& message, bool addPadding) {
  std::string text(Base64Codec::EncodedLength(message.size(), addPadding), '\0');
  Base64Codec::Encode(message.data(), message.size(), text.data(), addPadding);
  return text;
}

inline std::optional<Bytes> Decode(std::string_view text) {
  const Bytes input(text.begin(), text.end());
  Bytes message(input.size() * 3 / 4);
  if (!Base64Codec::Decode(reinterpret_cast<const char*>(input.data()), input.size(),
                           message.data())) {
    return std::nullopt;
  }
  return message;
}

}  // namespace Cifra::Test
