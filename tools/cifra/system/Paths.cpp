#include "system/Paths.h"

#include <windows.h>

#include "system/Unicode.h"

namespace client {

std::wstring ForSystem(const std::wstring& path) {
  constexpr std::size_t kLongestOrdinary = 247;  // a folder must leave room for an 8.3 name
  if (path.size() >= MAX_PATH * 128 || path.starts_with(L"\\\\?\\")) {
    return path;
  }
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (size <= kLongestOrdinary) {
    return path;
  }
  std::wstring absolute(size, L'\0');
  absolute.resize(GetFullPathNameW(path.c_str(), size, absolute.data(), nullptr));
  if (absolute.starts_with(L"\\\\.\\")) {
    return absolute;
  }
  return absolute.starts_with(L"\\\\") ? L"\\\\?\\UNC" + absolute.substr(1) : L"\\\\?\\" + absolute;
}

std::wstring FromArgument(const std::string& path) {
  return FromUtf8(path).value_or(std::wstring());  // arguments came from UTF-16, so it always works
}

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(ForSystem(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace client
