#pragma once

#include <cstddef>
#include <cstring>
#include <cwchar>

#include "foundation/Fatal.h"

namespace kx {

// CopyBounded copies text to a buffer of `size` characters, terminator included. Text that does not
// fit ends the process: the bounds-checked copy of most runtimes fails fast. Some return an error
// instead; this turns it into the same fail-fast.
inline void CopyBounded(char* destination, std::size_t size, const char* text) {
  FatalUnless(strcpy_s(destination, size, text) == 0);
}
inline void CopyBounded(wchar_t* destination, std::size_t size, const wchar_t* text) {
  FatalUnless(wcscpy_s(destination, size, text) == 0);
}

}  // namespace kx
