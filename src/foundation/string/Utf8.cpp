#include "foundation/string/Utf8.h"

#include <windows.h>

namespace kx {
namespace {

constexpr int kToTerminator = -1;

// convert(buffer, size) converts the whole text, terminator included, and returns the number of
// characters, or with a null buffer the number needed; 0 on failure.
template <typename To, typename Convert>
StringT<To> Converted(Convert convert) {
  const int size = convert(nullptr, 0);
  StringT<To> result;
  To* buffer = result.GetBuffer(static_cast<std::size_t>(size));
  const bool done = size > 0 && convert(buffer, size) > 0;
  result.ReleaseBuffer(done ? StringT<To>::npos : 0);
  return result;
}

}  // namespace

StringT<char> ToUtf8(const StringT<wchar_t>& source) {
  return Converted<char>([&](char* buffer, int size) {
    return WideCharToMultiByte(CP_UTF8, 0, source.CStr(), kToTerminator, buffer, size, nullptr,
                               nullptr);
  });
}

StringT<wchar_t> FromUtf8(const StringT<char>& source) {
  return Converted<wchar_t>([&](wchar_t* buffer, int size) {
    return MultiByteToWideChar(CP_UTF8, 0, source.CStr(), kToTerminator, buffer, size);
  });
}

}  // namespace kx
