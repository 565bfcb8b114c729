#pragma once

#include <cstddef>
#include <cstring>
#include <cwchar>

#include "foundation/Fatal.h"

namespace kx {

// Copies text to a caller's buffer of `room` characters, terminator included. Text that does not
// fit ends the process: a runtime whose bounds-checked copy comes back with an error instead of
// doing so is helped along.
inline void CopyBounded(char* destination, std::size_t room, const char* text) {
  FatalUnless(strcpy_s(destination, room, text) == 0);
}
inline void CopyBounded(wchar_t* destination, std::size_t room, const wchar_t* text) {
  FatalUnless(wcscpy_s(destination, room, text) == 0);
}

}  // namespace kx
