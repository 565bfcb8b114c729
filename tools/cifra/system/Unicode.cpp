#include "system/Unicode.h"

#include <algorithm>
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

// Characters that show nothing of themselves but change what is shown: controls, separators of
// lines, marks of direction and the others that Unicode calls default ignorable.
bool IsHidden(char32_t character) {
  struct Range {
    char32_t first;
    char32_t last;
  };
  constexpr Range kHidden[] = {
      {0x00, 0x1F},       {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},
      {0x61C, 0x61C},     {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
      {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
      {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
      {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
  };
  return std::ranges::any_of(kHidden, [character](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

std::string EscapeSequence(char32_t character) {
  const bool isShort = character < 0x100;
  const bool isLong = character > 0xFFFF;
  std::string text = isShort ? "\\x" : isLong ? "\\U" : "\\u";
  for (int shift = isShort ? 4 : isLong ? 28 : 12; shift >= 0; shift -= 4) {
    text += "0123456789ABCDEF"[(character >> shift) & 15];
  }
  return text;
}

char32_t Combined(wchar_t high, wchar_t low) {
  return 0x10000 + ((high - 0xD800U) << 10) + (low - 0xDC00U);
}

// The bytes of the character that the text begins with; 0 when it is not UTF-8. What may follow a
// first byte is limited by the ranges of the second, after table 3-7 of the Unicode standard.
std::size_t CharacterSize(std::string_view text) {
  struct Form {
    unsigned char first, last, secondFrom, secondTo;
    std::size_t size;
  };
  constexpr Form kForms[] = {
      {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
      {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
      {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
  };
  const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Form& form : kForms) {
    if (byteAt(0) < form.first || byteAt(0) > form.last || text.size() < form.size) {
      continue;
    }
    bool isValid = form.size == 1 || (byteAt(1) >= form.secondFrom && byteAt(1) <= form.secondTo);
    for (std::size_t i = 2; i < form.size; ++i) {
      isValid = isValid && (byteAt(i) & 0xC0) == 0x80;
    }
    return isValid ? form.size : 0;
  }
  return 0;
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

std::string ToValidUtf8(std::string_view bytes) {
  std::string valid;
  while (!bytes.empty()) {
    const std::size_t size = CharacterSize(bytes);
    valid += size > 0 ? bytes.substr(0, size) : "\xEF\xBF\xBD";
    bytes.remove_prefix(size > 0 ? size : 1);
  }
  return valid;
}

std::string EscapeForConsole(std::string_view untrusted, Backslashes backslashes) {
  const std::wstring text = FromUtf8(ToValidUtf8(untrusted)).value_or(std::wstring());
  std::string escaped;
  for (std::size_t at = 0, size = 0; at < text.size(); at += size) {
    const bool isPair = IS_HIGH_SURROGATE(text[at]) && at + 1 < text.size();
    const char32_t character = isPair ? Combined(text[at], text[at + 1]) : text[at];
    size = isPair ? 2 : 1;
    if (character == U'\n') {
      escaped += "\\n";
    } else if (character == U'\\' && backslashes == Backslashes::kDoubled) {
      escaped += "\\\\";
    } else {
      escaped += IsHidden(character) ? EscapeSequence(character) : ToUtf8(text.substr(at, size));
    }
  }
  return escaped;
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
