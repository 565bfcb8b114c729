#include "system/Unicode.h"

#include <iterator>
#include <limits>
#include <stdexcept>

namespace client {
namespace {

int CheckedLength(std::size_t length) {
  if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw std::length_error("the text is too long");
  }
  return static_cast<int>(length);
}

std::optional<std::string> Narrow(std::wstring_view text, DWORD flags) {
  if (text.empty()) {
    return std::string();
  }
  const int units = CheckedLength(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, flags, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (size <= 0) {
    return std::nullopt;
  }
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, flags, text.data(), units, result.data(), size, nullptr, nullptr);
  return result;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) { return Narrow(text, 0).value_or(std::string()); }

std::optional<std::string> ToUtf8Strictly(std::wstring_view text) {
  return Narrow(text, WC_ERR_INVALID_CHARS);
}

std::optional<std::wstring> FromUtf8(std::string_view text) {
  if (text.empty()) {
    return std::wstring();
  }
  const int bytes = CheckedLength(text.size());
  const int size =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
  if (size <= 0) {
    return std::nullopt;
  }
  std::wstring result(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, result.data(), size);
  return result;
}

std::string Visible(std::string_view utf8) {
  const auto isControl = [](wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x061C ||
           (unit >= 0x200E && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
  };
  std::wstring visible;
  for (const wchar_t unit : FromUtf8(utf8).value_or(std::wstring())) {
    if (unit == L'\n') {
      visible += L"\\n";
    } else if (isControl(unit)) {
      wchar_t code[8];
      wsprintfW(code, unit < 0x100 ? L"\\x%02X" : L"\\u%04X", unit);
      visible += code;
    } else {
      visible += unit;
    }
  }
  return ToUtf8(visible);
}

std::size_t UnfinishedUtf8(std::string_view text) {
  constexpr std::size_t kMostBytes = 4;
  for (std::size_t count = 1; count < kMostBytes && count <= text.size(); ++count) {
    const auto byte = static_cast<unsigned char>(text[text.size() - count]);
    const bool isContinuation = (byte & 0xC0) == 0x80;
    if (!isContinuation) {
      const std::size_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
      return size > count ? count : 0;
    }
  }
  return 0;
}

std::string SystemMessage(DWORD error) {
  wchar_t buffer[512];
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                     buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
  std::wstring_view text(buffer, length);
  text = text.substr(0, text.find_last_not_of(L" .\r\n") + 1);
  const std::string words = text.empty() ? "unknown error" : ToUtf8(text);
  return words + " (error " + std::to_string(error) + ")";
}

}  // namespace client
