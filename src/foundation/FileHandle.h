#pragma once

#include <windows.h>

#include <utility>

namespace kx {

// FileHandle owns an open file. Without one it holds INVALID_HANDLE_VALUE.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(HANDLE file) : handle(file) {}
  FileHandle(FileHandle&& other) noexcept { std::swap(handle, other.handle); }
  FileHandle& operator=(FileHandle&& other) noexcept {
    Reset();
    std::swap(handle, other.handle);
    return *this;
  }
  ~FileHandle() { Reset(); }

  explicit operator bool() const { return handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle; }
  void Reset() {
    if (*this) {
      CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE));
    }
  }

 private:
  HANDLE handle = INVALID_HANDLE_VALUE;
};

// Opens an existing file for reading; `sharing` says what others may do with it meanwhile. Returns
// an empty handle on failure, with the reason in GetLastError.
inline FileHandle OpenForReading(const wchar_t* path, DWORD sharing, DWORD flags) {
  return FileHandle(
      CreateFileW(path, GENERIC_READ, sharing, nullptr, OPEN_EXISTING, flags, nullptr));
}

}  // namespace kx
