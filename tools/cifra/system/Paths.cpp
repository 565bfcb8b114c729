#include "system/Paths.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

#include "system/Unicode.h"

namespace client {
namespace {

constexpr wchar_t kExactPrefix[] = L"\\\\?\\";
constexpr wchar_t kDevicePrefix[] = L"\\\\.\\";

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  return full;
}

std::wstring WithPrefix(const std::wstring& absolute) {
  if (absolute.starts_with(kExactPrefix) || absolute.starts_with(kDevicePrefix)) {
    return absolute;
  }
  return absolute.starts_with(L"\\\\") ? L"\\\\?\\UNC" + absolute.substr(1) : L"\\\\?\\" + absolute;
}

// Where the separator after a server's share, or the end, is: "\\server\share\...".
std::size_t EndOfShare(const std::wstring& path) {
  const std::size_t server = path.find(L'\\', 2);
  return std::min(server == path.npos ? server : path.find(L'\\', server + 1), path.size());
}

// A path apart: the folder that it starts from, in the exact form without a separator at its end,
// and the parts below it. above is the length of folder that ".." does not go beyond.
struct Origin {
  std::wstring folder;
  std::size_t above = 0;
  std::wstring_view rest;
};

std::size_t RootLength(const std::wstring& exact) {
  constexpr wchar_t kShare[] = L"\\\\?\\UNC\\";
  if (exact.starts_with(kShare)) {
    return EndOfShare(L"\\\\" + exact.substr(8)) + 6;
  }
  return std::min(exact.find(L'\\', 4), exact.size());
}

Origin OriginOf(const std::wstring& path) {
  const bool hasDrive = path.size() >= 2 && path[1] == L':';
  std::size_t given = 0;  // of path, for the folder
  std::wstring start = L".";
  if (path.starts_with(L"\\\\")) {
    given = EndOfShare(path);
    start = path.substr(0, given);
  } else if (hasDrive) {
    given = 2;
    start = path.substr(0, 2) + (path.substr(2).starts_with(L'\\') ? L"\\" : L".");
  } else if (path.starts_with(L'\\')) {
    start = L"\\";
  }
  Origin origin;
  origin.folder = WithPrefix(FullPath(start));
  while (origin.folder.ends_with(L'\\')) {
    origin.folder.pop_back();
  }
  origin.above = RootLength(origin.folder);
  origin.rest = std::wstring_view(path).substr(given);
  return origin;
}

}  // namespace

std::wstring ExactPath(const std::wstring& path) {
  std::wstring name = path;
  std::ranges::replace(name, L'/', L'\\');
  if (name.empty() || name.starts_with(kExactPrefix) || name.starts_with(kDevicePrefix)) {
    return name;
  }
  auto [exact, above, rest] = OriginOf(name);
  while (!rest.empty()) {
    const std::wstring_view part = rest.substr(0, rest.find(L'\\'));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    if (part == L"..") {
      exact.resize(std::max(above, exact.rfind(L'\\')));
    } else if (!part.empty() && part != L".") {
      exact.append(L"\\").append(part);
    }
  }
  const bool isFolder = name.ends_with(L'\\') || exact.size() == above;
  return isFolder ? exact + L"\\" : exact;
}

std::wstring NativePath(const std::wstring& path) {
  return L"\\??\\" + WithPrefix(FullPath(path)).substr(4);
}

bool IsDevice(const std::wstring& path) {
  return path.find_first_of(L"/\\.") == path.npos && FullPath(path).starts_with(kDevicePrefix);
}

std::wstring ForSystem(const std::wstring& path) {
  constexpr std::size_t kLongestOrdinary = 247;  // a folder's leaves 12 for an 8.3 name
  if (path.size() >= MAX_PATH * 128 || path.starts_with(kExactPrefix)) {
    return path;
  }
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (size <= kLongestOrdinary) {
    return path;
  }
  return WithPrefix(FullPath(path));
}

std::wstring FromArgument(const std::string& path) {
  return FromUtf8(path).value_or(std::wstring());  // arguments came from UTF-16, so it always works
}

std::wstring ProgramPath() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
         path.size()) {
    path.resize(path.size() * 2);
  }
  path.resize(length);
  return path;
}

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(ForSystem(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace client
