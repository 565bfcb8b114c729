#include "hash/ChecksumList.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "system/Input.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

std::string FromUtf16(const std::string& bytes, bool isBigEndian) {
  std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
  if (isBigEndian) {
    for (wchar_t& unit : units) {
      unit = static_cast<wchar_t>((unit << 8 | unit >> 8) & 0xFFFF);
    }
  }
  return ToUtf8(units);
}

// Some shells write what they redirect as UTF-16.
std::string Decoded(std::string bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    return bytes.substr(3);
  }
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    return FromUtf16(bytes.substr(2), bytes.front() == '\xFE');
  }
  return bytes;
}

}  // namespace

ChecksumList::ChecksumList(const ListedFile& file, const Algorithm* wanted)
    : name(file.name == kStandardStream ? "standard input" : file.Shown()),
      isStandardInput(file.name == kStandardStream),
      algorithm(wanted),
      text(Decoded(Input(file).ReadAll())) {}

std::optional<ChecksumList::Line> ChecksumList::Next() {
  while (next < text.size()) {
    const std::size_t end = std::min(text.find('\n', next), text.size());
    std::string line = text.substr(next, end - next);
    next = end + 1;
    ++number;
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    std::optional<ChecksumLine> content = ParseChecksumLine(line, algorithm);
    if (content && isStandardInput && content->name == "-") {
      content.reset();  // the list itself
    }
    return Line{number, std::move(content)};
  }
  return std::nullopt;
}

void ChecksumList::Rewind() {
  next = 0;
  number = 0;
}

}  // namespace client
