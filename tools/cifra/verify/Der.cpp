#include "verify/Der.h"

#include <algorithm>

namespace client {
namespace {

struct Header {
  std::size_t size;
  std::size_t contentSize;
};

std::optional<Header> ReadHeader(Bytes encoded) {
  constexpr std::uint8_t kLongTag = 0x1F;
  constexpr std::uint8_t kLongLength = 0x80;
  constexpr std::size_t kMostLengthBytes = 4;
  if (encoded.size() < 2 || (encoded[0] & kLongTag) == kLongTag) {
    return std::nullopt;
  }
  if (encoded[1] < kLongLength) {
    return Header{2, encoded[1]};
  }
  const std::size_t count = encoded[1] & (kLongLength - 1U);
  if (count == 0 || count > kMostLengthBytes || encoded.size() < 2 + count) {
    return std::nullopt;
  }
  std::size_t length = 0;
  for (const std::uint8_t byte : encoded.subspan(2, count)) {
    length = length << 8 | byte;
  }
  return Header{2 + count, length};
}

bool AreDigits(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::optional<DerReader::Value> DerReader::Next() {
  const std::optional<Header> header = ReadHeader(rest);
  if (!header || header->contentSize > rest.size() - header->size) {
    rest = {};
    return std::nullopt;
  }
  const Value value{rest[0], rest.subspan(header->size, header->contentSize)};
  rest = rest.subspan(header->size + header->contentSize);
  return value;
}

std::optional<Bytes> DerReader::Next(std::uint8_t tag) {
  if (rest.empty() || rest[0] != tag) {
    return std::nullopt;
  }
  const std::optional<Value> value = Next();
  return value ? std::optional(value->content) : std::nullopt;
}

std::string ObjectIdText(Bytes content) {
  std::string text;
  std::uint64_t arc = 0;
  for (const std::uint8_t byte : content) {
    if (arc >> 56 != 0) {
      return {};
    }
    arc = arc << 7 | (byte & 0x7FU);
    if (byte & 0x80U) {
      continue;
    }
    if (text.empty()) {
      const std::uint64_t root = std::min<std::uint64_t>(arc / 40, 2);
      text = std::to_string(root) + "." + std::to_string(arc - root * 40);
    } else {
      text += "." + std::to_string(arc);
    }
    arc = 0;
  }
  const bool isCut = !content.empty() && (content.back() & 0x80U);
  return isCut ? std::string() : text;
}

std::string DerTimeText(const DerReader::Value& value) {
  std::string text(value.content.begin(), value.content.end());
  if (value.tag == DerReader::kUtcTime && text.size() >= 2) {
    text.insert(0, text[0] < '5' ? "20" : "19");
  } else if (value.tag != DerReader::kGeneralizedTime) {
    return {};
  }
  constexpr std::size_t kSecondsEnd = 14;  // YYYYMMDDhhmmss
  if (text.size() <= kSecondsEnd || text.back() != 'Z' ||
      !AreDigits(std::string_view(text).substr(0, kSecondsEnd))) {
    return {};
  }
  const std::string fraction = text.substr(kSecondsEnd, text.size() - kSecondsEnd - 1);
  if (!fraction.empty() &&
      (fraction[0] != '.' || !AreDigits(std::string_view(fraction).substr(1)))) {
    return {};
  }
  return text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6, 2) + "T" +
         text.substr(8, 2) + ":" + text.substr(10, 2) + ":" + text.substr(12, 2) + fraction + "Z";
}

}  // namespace client
