#pragma once

#include <windows.h>

#include <memory>

namespace kx {

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// FileHandle owns an open file. Without one it is null, never INVALID_HANDLE_VALUE.
using FileHandle = std::unique_ptr<void, HandleCloser>;

// Opens an existing file for reading; `sharing` says what others may do with it meanwhile. Returns
// null on failure, with the reason in GetLastError.
inline FileHandle OpenForReading(const wchar_t* path, DWORD sharing, DWORD flags) {
  const HANDLE file =
      CreateFileW(path, GENERIC_READ, sharing, nullptr, OPEN_EXISTING, flags, nullptr);
  return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

}  // namespace kx
