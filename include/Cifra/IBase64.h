#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Cifra/InterfaceId.h"
#include "foundation/Slots.h"

namespace Cifra {

// IBase64 turns bytes into Base64 text and back, with the alphabet of RFC 4648, section 4. There
// are no line breaks in what it writes, and none are accepted in what it reads.
//
// Lengths and sizes are in bytes, which are characters in a Base64 text. Exhausted memory raises
// the standard library's exception.
//
// Obtained from the object kBase64ObjectId.
class IBase64 {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x6AEEF266, 0x03FC, 0x8400, {0xF6, 0x42, 0xAB, 0x72, 0x71, 0x15, 0x53, 0xAF}};

  // Encode replaces output with the Base64 text of the input, with '=' padding to a multiple of 4
  // characters when addPadding is set. Empty input gives an empty text.
  KX_SLOTS_2(virtual void Encode(const std::uint8_t* input, std::uint64_t inputLength,
                                 std::string& output, bool addPadding) = 0,
             virtual void Encode(const std::vector<std::uint8_t>& input, std::string& output,
                                 bool addPadding) = 0);

  // The room that Decode makes for a text of encodedLength characters: (encodedLength / 4) * 3. It
  // can exceed the decoded length by up to 2.
  virtual std::uint64_t GetDecodedSize(std::uint64_t encodedLength) = 0;

  // Decodes input into a buffer of the caller's. *size is the room in bytes on entry, which must be
  // 3 bytes for every 4 characters begun, and the decoded length on return. Padding may be left
  // off.
  //
  // Returns kCifraSuccess, or kCifraFunctionFailed with 0 in *size: too little room, an empty text,
  // a character outside the alphabet (white space too), '=' inside the text, or padding of a wrong
  // length. On failure the buffer is untouched or, when a character was to blame, zeroed.
  virtual std::uint32_t DecodeToBuffer(const std::string& input, std::uint8_t* output,
                                       std::uint64_t* size) = 0;

  // Decodes input into output, which is resized to the decoded length, 0 on failure. Result codes
  // are those of DecodeToBuffer; text without its padding is refused, because the room made is
  // GetDecodedSize.
  virtual std::uint32_t Decode(const std::string& input, std::vector<std::uint8_t>& output) = 0;

 protected:
  ~IBase64() = default;
};

}  // namespace Cifra
