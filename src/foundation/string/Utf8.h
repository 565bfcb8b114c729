#pragma once

#include "foundation/string/StringT.h"

namespace kx {

// ToUtf8 and FromUtf8 convert between UTF-16 and UTF-8 with the platform's code page 65001, which
// replaces malformed sequences. Text that it refuses to convert gives an empty text, not an error.
// The result always has a buffer.
StringT<char> ToUtf8(const StringT<wchar_t>& source);
StringT<wchar_t> FromUtf8(const StringT<char>& source);

}  // namespace kx
