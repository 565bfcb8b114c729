#pragma once

#include <cstdint>

#include "foundation/string/StringT.h"

namespace kx {

using HexDigits = const char[17];

inline constexpr HexDigits kUpperHexDigits = "0123456789ABCDEF";
inline constexpr HexDigits kLowerHexDigits = "0123456789abcdef";

// AppendHex appends the two hexadecimal digits of a byte.
inline void AppendHex(StringT<wchar_t>& text, std::uint8_t byte, HexDigits& digits) {
  const wchar_t pair[] = {static_cast<wchar_t>(digits[byte >> 4]),
                          static_cast<wchar_t>(digits[byte & 0xF])};
  FatalUnless(text.Append(pair, 2));
}

}  // namespace kx
