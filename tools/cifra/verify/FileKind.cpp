#include "verify/FileKind.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <string_view>
#include <vector>

#include "system/Handles.h"

namespace client {
namespace {

using namespace std::string_view_literals;

// What Windows' own script hosts and installers check signatures of.
constexpr std::wstring_view kScripts[] = {L"ps1",   L"psm1", L"psd1", L"ps1xml", L"psc1",
                                          L"cdxml", L"mof",  L"vbs",  L"vbe",    L"js",
                                          L"jse",   L"wsf",  L"psrc", L"pssc"};
constexpr std::wstring_view kPackages[] = {L"appx",       L"appxbundle", L"msix",
                                           L"msixbundle", L"emsix",      L"eappx"};

// FileBytes is a file that is looked at here and there.
class FileBytes {
 public:
  explicit FileBytes(const std::wstring& path)
      : file(NullIfInvalid(CreateFileW(path.c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))) {
    if (file && GetFileType(file.get()) != FILE_TYPE_DISK) {
      file.reset();  // a device may wait for ever
    }
  }

  // Up to count bytes from an offset; fewer at the end of the file.
  std::string At(std::uint64_t offset, std::size_t count) const {
    std::string bytes(count, '\0');
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(offset);
    DWORD read = 0;
    const bool isRead =
        file && SetFilePointerEx(file.get(), place, nullptr, FILE_BEGIN) &&
        ReadFile(file.get(), bytes.data(), static_cast<DWORD>(count), &read, nullptr);
    bytes.resize(isRead ? read : 0);
    return bytes;
  }

 private:
  FileHandle file;
};

template <typename Number>
Number NumberAt(std::string_view bytes, std::size_t offset) {
  Number number = 0;
  if (offset + sizeof(number) <= bytes.size()) {
    std::memcpy(&number, &bytes[offset], sizeof(number));
  }
  return number;
}

bool IsPe(const FileBytes& file, std::string_view begin) {
  constexpr std::size_t kPlaceOfOffset = 0x3C;
  return begin.starts_with("MZ") &&
         file.At(NumberAt<std::uint32_t>(begin, kPlaceOfOffset), 4) == "PE\0\0"sv;
}

// A compound file is an installer's when its root folder has the class of one: a package, a
// transform or a patch.
bool IsMsi(const FileBytes& file, std::string_view begin) {
  constexpr auto kCompound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv;
  constexpr std::size_t kSectorShift = 0x1E;
  constexpr std::size_t kDirectorySector = 0x30;
  constexpr std::size_t kClass = 0x50;
  constexpr auto kRestOfClass = "\x10\x0C\0\0\0\0\0\xC0\0\0\0\0\0\0\x46"sv;
  const unsigned shift = NumberAt<std::uint16_t>(begin, kSectorShift);
  if (!begin.starts_with(kCompound) || shift < 9 || shift > 12) {
    return false;
  }
  const std::uint64_t directory =
      (std::uint64_t{NumberAt<std::uint32_t>(begin, kDirectorySector)} + 1) << shift;
  const std::string id = file.At(directory + kClass, 16);
  return id.size() == 16 && "\x82\x84\x86"sv.find(id[0]) != std::string_view::npos &&
         id.substr(1) == kRestOfClass;
}

// A PKCS #7 message that says early that it signs a certificate trust list.
bool IsCatalog(std::string_view begin) {
  constexpr auto kSignedData = "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02"sv;
  constexpr auto kTrustList = "\x06\x09\x2B\x06\x01\x04\x01\x82\x37\x0A\x01"sv;
  constexpr std::size_t kMostHeader = 8;
  const std::size_t at = begin.find(kSignedData);
  return begin.starts_with('\x30') && at <= kMostHeader && begin.find(kTrustList, at) != begin.npos;
}

bool HasExtension(const std::wstring& path, std::span<const std::wstring_view> extensions) {
  const std::size_t dot = path.find_last_of(L"./\\");
  if (dot == path.npos || path[dot] != L'.') {
    return false;
  }
  std::wstring extension = path.substr(dot + 1);
  CharLowerBuffW(extension.data(), static_cast<DWORD>(extension.size()));
  return std::ranges::find(extensions, extension) != extensions.end();
}

}  // namespace

bool IsScript(const std::wstring& path) { return HasExtension(path, kScripts); }

std::string SignableKind(const std::wstring& path) {
  constexpr std::size_t kBegin = 512;
  const FileBytes file(path);
  const std::string begin = file.At(0, kBegin);
  if (IsPe(file, begin)) {
    return "PE";
  }
  if (IsMsi(file, begin)) {
    return "MSI";
  }
  if (begin.starts_with("MSCF\0\0\0\0"sv)) {
    return "CAB";
  }
  if (IsCatalog(begin)) {
    return "catalog";
  }
  if (IsScript(path)) {
    return "script";
  }
  const bool isZip = begin.starts_with("PK\3\4") || begin.starts_with("EXBH");
  return isZip && HasExtension(path, kPackages) ? "package" : "";
}

}  // namespace client
