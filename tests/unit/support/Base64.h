#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "cipher/Base64Codec.h"
#include "cipher/Base64Kernel.h"
#include "support/TestData.h"

// The Base64 codec with the test data's types. Buffers are on the heap and have exactly the needed
// size: the address sanitizer detects any overrun.
namespace Cifra::Test {

// Converts with each kernel that this processor supports; all must agree.
template <typename Convert>
auto WithEveryKernel(Convert convert) {
  const auto kernels = Base64Codec::Kernels();
  const auto result = convert(kernels.back());
  for (const Base64Codec::Kernel& kernel : kernels.first(kernels.size() - 1)) {
    if (kernel.rule.isUsable()) {
      EXPECT_EQ(result, convert(kernel)) << kernel.rule.name;
    }
  }
  return result;
}

inline std::string Encode(const Bytes& message, bool addPadding) {
  return WithEveryKernel([&](const Base64Codec::Kernel& kernel) {
    std::string text(Base64Codec::EncodedLength(message.size(), addPadding), '\0');
    kernel.encode(message.data(), message.size(), text.data(), addPadding);
    return text;
  });
}

inline std::optional<Bytes> Decode(std::string_view text) {
  const Bytes input(text.begin(), text.end());
  return WithEveryKernel([&](const Base64Codec::Kernel& kernel) -> std::optional<Bytes> {
    Bytes message(input.size() * 3 / 4);
    if (!kernel.decode(reinterpret_cast<const char*>(input.data()), input.size(), message.data())) {
      return std::nullopt;
    }
    return message;
  });
}

}  // namespace Cifra::Test
