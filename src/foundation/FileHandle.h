#pragma once

#include <windows.h>

#include <memory>

namespace kx {

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// FileHandle owns an open file. It is null, never INVALID_HANDLE_VALUE, when there is none.
using FileHandle = std::unique_ptr<void, HandleCloser>;

// Opens an existing file for reading, while others may use it as `sharing` allows. When that fails
// the result is null and GetLastError tells why.
inline FileHandle OpenForReading(const wchar_t* path, DWORD sharing, DWORD flags) {
  const HANDLE file =
      CreateFileW(path, GENERIC_READ, sharing, nullptr, OPEN_EXISTING, flags, nullptr);
  return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

}  // namespace kx
