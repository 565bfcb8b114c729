#pragma once

#include <cstdint>
#include <string>

#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"

namespace Cifra {

// IBlowfishAndBase64 enciphers text with Blowfish and encodes the ciphertext as Base64, and the
// reverse. Text is enciphered as UTF-8; see IBlowfish for the cipher and IBase64 for the encoding.
//
// Wide text is terminated UTF-16. Destinations are the caller's; their sizes are in characters and
// include the terminator. All operations return 1 for success and 0 for failure, always 0 if the
// cipher or the encoder could not be obtained when the object was made. Without memory they throw
// std::bad_alloc or end the process.
//
// Obtained from the object kBlowfishAndBase64ObjectId.
class IBlowfishAndBase64 {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x8E9FC09D, 0xF087, 0x2200, {0x97, 0x48, 0xA5, 0x2D, 0x00, 0x00, 0x07, 0x63}};
  static constexpr const wchar_t* kObjectId = kBlowfishAndBase64ObjectId;

  static constexpr std::uint32_t kMaxKeyBytes = 56;

  // Sets the key for the calls that follow: 1 to kMaxKeyBytes bytes. A longer key gives 0, and the
  // previous key remains. A length of 0, or a null key, ends the process. Before the first key the
  // other operations give meaningless results.
  virtual std::uint32_t SetKey(const std::uint8_t* key, std::uint32_t keyLength) = 0;

  // Enciphers text and writes the ciphertext to destination as Base64. A null or empty text gives
  // an empty result, even without a key. A null destination gives 0. A destination too small for
  // the result and its terminator ends the process.
  virtual std::uint32_t EncodeText(const wchar_t* text, wchar_t* destination,
                                   std::uint32_t destinationSize) = 0;

  // Decodes and deciphers the length characters at text into output: all bytes, including the zero
  // bytes that pad the last block. Returns 0 and leaves output unchanged when the text is not
  // Base64 or decodes to nothing.
  virtual std::uint32_t DecodeToBytes(const char* text, std::uint64_t length,
                                      std::string& output) = 0;

  // Decodes and deciphers text into destination, up to the first zero byte of the plaintext. A
  // result that does not fit is cut to destinationSize - 1 characters. A null or empty text gives
  // an empty result and 1. Returns 0 with an empty result when the text is not Base64 or decodes to
  // nothing, and 0 when destination is null or has size 0.
  virtual std::uint32_t DecodeText(const wchar_t* text, wchar_t* destination,
                                   std::uint32_t destinationSize) = 0;

 protected:
  ~IBlowfishAndBase64() = default;
};

}  // namespace Cifra
