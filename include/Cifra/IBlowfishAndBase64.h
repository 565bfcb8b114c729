#pragma once

#include <cstdint>
#include <string>

#include "Cifra/InterfaceId.h"

namespace Cifra {

// IBlowfishAndBase64 turns text into Blowfish ciphertext written as Base64 text, and back. Text is
// enciphered as its UTF-8 bytes; see IBlowfish for the cipher and IBase64 for the encoding.
//
// Wide text is terminated UTF-16; destinations are the caller's, and their sizes are in characters
// and include the terminator. All operations return 1 for success and 0 for failure, and 0 when a
// part of the object could not be obtained at its creation. std::bad_alloc leaves them when there
// is no memory for bytes; a wide text without memory ends the process.
//
// Obtained from the object kBlowfishAndBase64ObjectId.
class IBlowfishAndBase64 {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x8E9FC09D, 0xF087, 0x2200, {0x97, 0x48, 0xA5, 0x2D, 0x00, 0x00, 0x07, 0x63}};

  static constexpr std::uint32_t kMaxKeyBytes = 56;

  // Sets the key for all that follows: 1 to kMaxKeyBytes bytes. A longer key gives 0 and leaves the
  // key in force as it was. A length of 0, and a null key with a length, end the process. Until the
  // first key is set the results of the other operations are meaningless.
  virtual std::uint32_t SetKey(const std::uint8_t* key, std::uint32_t keyLength) = 0;

  // Enciphers text and writes its Base64 form to destination. A null or empty text gives an empty
  // one and needs no key. A null destination gives 0. A destination that is too small for the
  // result and its terminator ends the process.
  virtual std::uint32_t EncodeText(const wchar_t* text, wchar_t* destination,
                                   std::uint32_t destinationSize) = 0;

  // Decodes and deciphers length characters at text into output: all bytes, with the zero bytes
  // that fill the last block. Returns 0, and leaves output as it was, when the text is not Base64
  // or decodes to nothing.
  virtual std::uint32_t DecodeToBytes(const char* text, std::uint64_t length,
                                      std::string& output) = 0;

  // Decodes and deciphers text into destination, up to the first zero byte of the plaintext. A
  // result that does not fit is cut to destinationSize - 1 characters. A null or empty text gives
  // an empty text and 1. Returns 0 with an empty text when the text is not Base64 or decodes to
  // nothing, and 0 when there is no destination to write to.
  virtual std::uint32_t DecodeText(const wchar_t* text, wchar_t* destination,
                                   std::uint32_t destinationSize) = 0;

 protected:
  ~IBlowfishAndBase64() = default;
};

}  // namespace Cifra
