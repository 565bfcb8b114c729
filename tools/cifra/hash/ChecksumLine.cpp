#include "hash/ChecksumLine.h"

#include <algorithm>
#include <string_view>

namespace client {
namespace {

std::optional<std::string> Unescaped(const std::string& name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '\\') {
      result += name[i];
      continue;
    }
    const std::size_t which = i + 1 < name.size() ? std::string_view("nr\\").find(name[i + 1]) : 3;
    if (which >= 3) {
      return std::nullopt;
    }
    result += "\n\r\\"[which];
    ++i;
  }
  return result;
}

// NAME) = DIGEST, what follows the tag.
std::optional<ChecksumLine> ParseTagged(const std::string& rest, const Algorithm& algorithm) {
  const std::size_t end = rest.rfind(')');
  if (end == std::string::npos) {
    return std::nullopt;
  }
  const std::size_t equals = rest.find_first_not_of(" \t", end + 1);
  if (equals == std::string::npos || rest[equals] != '=') {
    return std::nullopt;
  }
  const std::size_t begin = std::min(rest.find_first_not_of(" \t", equals + 1), rest.size());
  const std::optional<std::string> digest = HexDigits(rest.substr(begin));
  if (!digest || digest->size() != algorithm.digits) {
    return std::nullopt;
  }
  return ChecksumLine{&algorithm, *digest, rest.substr(0, end)};
}

// DIGEST, a blank, a blank or an asterisk, NAME. Older lists have one blank only.
std::optional<ChecksumLine> ParseUntagged(const std::string& line) {
  const std::size_t end = line.find_first_of(" \t");
  if (end == std::string::npos) {
    return std::nullopt;
  }
  const std::optional<std::string> digest = HexDigits(line.substr(0, end));
  const Algorithm* const algorithm = digest ? AlgorithmOfDigits(digest->size()) : nullptr;
  const bool hasMark = end + 2 < line.size() && (line[end + 1] == ' ' || line[end + 1] == '*');
  const std::string name = line.substr(end + (hasMark ? 2 : 1));
  if (!algorithm || name.empty()) {
    return std::nullopt;
  }
  return ChecksumLine{algorithm, *digest, name};
}

std::optional<ChecksumLine> ParseEitherForm(const std::string& line) {
  for (const Algorithm* algorithm : {&kMd5, &kSha256}) {
    const std::string tag = algorithm->tag;
    for (const std::string& begin : {tag + " (", tag + "("}) {
      if (line.starts_with(begin)) {
        return ParseTagged(line.substr(begin.size()), *algorithm);
      }
    }
  }
  return ParseUntagged(line);
}

}  // namespace

std::string FormatChecksumLine(const ChecksumLine& line, const ChecksumStyle& style) {
  const bool isEscaped =
      !style.endsWithZero && line.name.find_first_of("\\\n\r") != std::string::npos;
  const std::string name = isEscaped ? EscapedName(line.name) : line.name;
  const std::string text =
      style.isTagged ? std::string(line.algorithm->tag) + " (" + name + ") = " + line.digest
                     : line.digest + (style.isBinary ? " *" : "  ") + name;
  return (isEscaped ? "\\" : "") + text;
}

std::optional<ChecksumLine> ParseChecksumLine(const std::string& text, const Algorithm* algorithm) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string::npos) {
    return std::nullopt;
  }
  const bool isEscaped = text[begin] == '\\';
  std::optional<ChecksumLine> line = ParseEitherForm(text.substr(begin + (isEscaped ? 1 : 0)));
  if (!line || (algorithm && line->algorithm != algorithm)) {
    return std::nullopt;
  }
  if (isEscaped) {
    const std::optional<std::string> name = Unescaped(line->name);
    if (!name) {
      return std::nullopt;
    }
    line->name = *name;
  }
  return line;
}

std::string EscapedName(const std::string& name) {
  std::string result;
  for (const char c : name) {
    const std::size_t which = std::string_view("\n\r\\").find(c);
    if (which == std::string_view::npos) {
      result += c;
    } else {
      result += {'\\', "nr\\"[which]};
    }
  }
  return result;
}

std::optional<std::string> HexDigits(const std::string& text) {
  std::string result = text;
  for (char& c : result) {
    c = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  const bool isHex =
      !result.empty() && result.find_first_not_of("0123456789abcdef") == std::string::npos;
  return isHex ? std::optional(result) : std::nullopt;
}

}  // namespace client
