#include <cstdint>
#include <optional>
#include <regex>
#include <string>

#include "Require.h"
#include "verify/Der.h"

// The client's own reading of signed files: encoded values one after another and inside each other,
// object identifiers and times, each beside its definition.
namespace {

using Cifra::Fuzz::Require;
using client::Bytes;
using client::DerReader;

constexpr std::uint8_t kConstructed = 0x20;

struct Extent {
  std::size_t header;
  std::uint64_t content;
};

// Where the value that begins the bytes ends; nothing if that is not told in at most four bytes.
std::optional<Extent> ExtentOf(Bytes bytes) {
  if (bytes.size() < 2 || bytes[0] % 32 == 31) {
    return std::nullopt;
  }
  const std::size_t more = bytes[1] >= 128 ? bytes[1] - 128U : 0;
  if (bytes[1] < 128) {
    return Extent{2, bytes[1]};
  }
  if (more < 1 || more > 4 || bytes.size() < 2 + more) {
    return std::nullopt;
  }
  std::uint64_t content = 0;
  for (std::size_t i = 0; i < more; ++i) {
    content = content * 256 + bytes[2 + i];
  }
  return Extent{2 + more, content};
}

std::string IdentifierOf(Bytes content) {
  constexpr std::uint64_t kLargest = ~std::uint64_t{0} >> 1;
  std::string text;
  std::uint64_t arc = 0;
  bool isCut = false;
  for (const std::uint8_t byte : content) {
    if (arc > kLargest / 128) {
      return "";
    }
    arc = arc * 128 + byte % 128;
    isCut = byte >= 128;
    if (!isCut) {
      const std::uint64_t root = arc < 40 ? 0 : arc < 80 ? 1 : 2;
      text += text.empty() ? std::to_string(root) + "." + std::to_string(arc - 40 * root)
                           : "." + std::to_string(arc);
      arc = 0;
    }
  }
  return isCut ? "" : text;
}

std::string TimeOf(const DerReader::Value& value) {
  static const std::regex form(R"((\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)(\.\d*)?Z)");
  if (value.tag != DerReader::kUtcTime && value.tag != DerReader::kGeneralizedTime) {
    return "";
  }
  std::string text(value.content.begin(), value.content.end());
  if (value.tag == DerReader::kUtcTime && text.size() > 1) {
    text = (text[0] < '5' ? "20" : "19") + text;
  }
  return std::regex_match(text, form) ? std::regex_replace(text, form, "$1-$2-$3T$4:$5:$6$7Z") : "";
}

void Read(Bytes bytes, bool isOutermost) {
  // Read as an identifier at every depth, values in hundreds of others would take most of the time.
  constexpr std::size_t kMostOfInner = 40;
  DerReader reader(bytes);
  for (;;) {
    const std::optional<Extent> extent = ExtentOf(bytes);
    const bool isThere = extent && extent->content <= bytes.size() - extent->header;
    DerReader second = reader;
    DerReader third = reader;
    const std::optional<DerReader::Value> value = reader.Next();
    Require(value.has_value() == isThere);
    if (!value) {
      Require(!reader.Next());
      return;
    }
    const Bytes content = bytes.subspan(extent->header, static_cast<std::size_t>(extent->content));
    Require(value->tag == bytes[0]);
    Require(value->content.data() == content.data() && value->content.size() == content.size());
    // Asked for another tag, the reader stays where it is.
    Require(!second.Next(static_cast<std::uint8_t>(bytes[0] ^ 1)));
    Require(second.Next(bytes[0])->data() == content.data());
    Require(third.Next(bytes[0])->size() == content.size());
    if (isOutermost || content.size() <= kMostOfInner) {
      Require(client::ObjectIdText(content) == IdentifierOf(content));
    }
    Require(client::DerTimeText(*value) == TimeOf(*value));
    if (value->tag & kConstructed) {
      Read(content, false);
    }
    bytes = bytes.subspan(extent->header + content.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Read(Bytes(data, size), true);
  return 0;
}
