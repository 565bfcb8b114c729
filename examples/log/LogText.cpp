#include "LogText.h"

#include <windows.h>

#include <cwchar>

namespace {

constexpr std::size_t kFirstSize = 512;
constexpr std::size_t kMaxSize = 1 << 20;

// The same format with the width of its texts written out, which every runtime understands alike:
// "%s" is wide here and narrow elsewhere, "%S" the other way round.
std::wstring WithExplicitWidths(std::wstring_view format) {
  std::wstring result;
  for (std::size_t i = 0; i < format.size(); ++i) {
    result += format[i];
    if (format[i] != L'%') {
      continue;
    }
    while (i + 1 < format.size() && wcschr(L"-+ #0123456789.*", format[i + 1])) {
      result += format[++i];
    }
    const wchar_t conversion = i + 1 < format.size() ? format[i + 1] : L'\0';
    if (conversion == L's' || conversion == L'c') {
      result += L'l';
    } else if (conversion == L'S' || conversion == L'C') {
      result += conversion == L'S' ? L"hs" : L"hc";
      ++i;
    } else if (conversion == L'%') {
      result += format[++i];
    }
  }
  return result;
}

}  // namespace

std::wstring FormatLogText(const wchar_t* format, va_list arguments) {
  const std::wstring widened = WithExplicitWidths(format);
  for (std::size_t size = kFirstSize; size <= kMaxSize; size *= 2) {
    std::wstring text(size, L'\0');
    va_list again;
    va_copy(again, arguments);
    const int length = vswprintf(text.data(), size, widened.c_str(), again);
    va_end(again);
    if (length >= 0 && static_cast<std::size_t>(length) < size) {
      text.resize(static_cast<std::size_t>(length));
      return text;
    }
  }
  return format;
}

std::string ToUtf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}
