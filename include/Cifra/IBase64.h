#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "foundation/Slots.h"

namespace Cifra {

// IBase64 encodes bytes as Base64 and decodes it, with the alphabet of RFC 4648, section 4. It
// neither writes nor accepts line breaks.
//
// Lengths and sizes are in bytes; a Base64 character is one byte. Operations that grow a container
// throw std::bad_alloc or std::length_error when they cannot.
//
// Obtained from the object kBase64ObjectId.
class IBase64 {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x6AEEF266, 0x03FC, 0x8400, {0xF6, 0x42, 0xAB, 0x72, 0x71, 0x15, 0x53, 0xAF}};
  static constexpr const wchar_t* kObjectId = kBase64ObjectId;

  // Replaces output with the Base64 text of the input, padded with '=' to a multiple of 4
  // characters if addPadding is set. Empty input gives an empty text. The input may lie in output's
  // buffer.
  KX_SLOTS_2(virtual void Encode(const std::uint8_t* input, std::uint64_t inputLength,
                                 std::string& output, bool addPadding) = 0,
             virtual void Encode(const std::vector<std::uint8_t>& input, std::string& output,
                                 bool addPadding) = 0);

  // The buffer size that Decode uses for encodedLength characters: (encodedLength / 4) * 3. It can
  // exceed the decoded length by up to 2.
  virtual std::uint64_t GetDecodedSize(std::uint64_t encodedLength) = 0;

  // Decodes input into the caller's buffer. On entry *size is the buffer's size, at least 3 bytes
  // for every 4 characters, rounded up; on return it is the decoded length. Padding may be omitted.
  // The buffer must not overlap input.
  //
  // Returns kCifraSuccess, or kCifraFunctionFailed with 0 in *size when the buffer is too small,
  // the text is empty, or it has a character outside the alphabet (white space included), '='
  // before the end or padding of the wrong length. An invalid character leaves the buffer zeroed,
  // every other failure leaves it untouched.
  virtual std::uint32_t DecodeToBuffer(const std::string& input, std::uint8_t* output,
                                       std::uint64_t* size) = 0;

  // Decodes input into output, resized to the decoded length, 0 on failure. Result codes are those
  // of DecodeToBuffer. Text without its padding is refused: GetDecodedSize is too small for it.
  virtual std::uint32_t Decode(const std::string& input, std::vector<std::uint8_t>& output) = 0;

 protected:
  ~IBase64() = default;
};

}  // namespace Cifra
