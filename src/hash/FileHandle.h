#pragma once

#include <windows.h>

#include <memory>

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// FileHandle owns an open file. It is null, never INVALID_HANDLE_VALUE, when there is none.
using FileHandle = std::unique_ptr<void, HandleCloser>;

// Opens an existing file for reading, while others may read it too. When that fails the result is
// null and GetLastError tells why.
inline FileHandle OpenForReading(const wchar_t* path) {
  const HANDLE file =
      CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}
