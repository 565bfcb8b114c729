#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace client {

using Bytes = std::span<const std::uint8_t>;

// DerReader reads the values of an encoded sequence one after another. Whatever is not DER ends it.
class DerReader {
 public:
  static constexpr std::uint8_t kInteger = 0x02;
  static constexpr std::uint8_t kOctetString = 0x04;
  static constexpr std::uint8_t kObjectId = 0x06;
  static constexpr std::uint8_t kUtcTime = 0x17;
  static constexpr std::uint8_t kGeneralizedTime = 0x18;
  static constexpr std::uint8_t kSequence = 0x30;
  // The tags [0], [1] and [2] of the context, around other values and in place of a value's own.
  static constexpr std::uint8_t kOuter0 = 0xA0;
  static constexpr std::uint8_t kOuter1 = 0xA1;
  static constexpr std::uint8_t kInner0 = 0x80;
  static constexpr std::uint8_t kInner1 = 0x81;

  struct Value {
    std::uint8_t tag;
    Bytes content;
  };

  explicit DerReader(Bytes encoded) : rest(encoded) {}

  std::optional<Value> Next();
  // The next value's content, if it has this tag; otherwise nothing is read.
  std::optional<Bytes> Next(std::uint8_t tag);

 private:
  Bytes rest;
};

// An object identifier's content as text, such as "1.2.840.113549"; empty if it is malformed.
std::string ObjectIdText(Bytes content);

// The time of a UTCTime or GeneralizedTime as ISO 8601 in UTC; empty for anything else.
std::string DerTimeText(const DerReader::Value& value);

}  // namespace client
