#include "foundation/string/Utf8.h"

#include <windows.h>

namespace kx {
namespace {

constexpr int kToTerminator = -1;

// convert(buffer, room) converts the whole text, terminator included, or tells with a null buffer
// how many characters that takes; it returns 0 on failure.
template <typename To, typename Convert>
StringT<To> Converted(Convert convert) {
  const int room = convert(nullptr, 0);
  StringT<To> result;
  To* buffer = result.GetBuffer(static_cast<std::size_t>(room));
  const bool done = room > 0 && convert(buffer, room) > 0;
  result.ReleaseBuffer(done ? StringT<To>::npos : 0);
  return result;
}

}  // namespace

StringT<char> ToUtf8(const StringT<wchar_t>& source) {
  return Converted<char>([&](char* buffer, int room) {
    return WideCharToMultiByte(CP_UTF8, 0, source.CStr(), kToTerminator, buffer, room, nullptr,
                               nullptr);
  });
}

StringT<wchar_t> FromUtf8(const StringT<char>& source) {
  return Converted<wchar_t>([&](wchar_t* buffer, int room) {
    return MultiByteToWideChar(CP_UTF8, 0, source.CStr(), kToTerminator, buffer, room);
  });
}

}  // namespace kx
