#pragma once

#include <cstdint>
#include <vector>

#include "Cifra/InterfaceId.h"

namespace Cifra {

// IBlowfish enciphers byte buffers with Blowfish (B. Schneier, "Description of a New
// Variable-Length Key, 64-Bit Block Cipher", 1994) in electronic-codebook mode: each 8-byte block
// by itself, no initialisation vector.
//
// The two 32-bit halves of a block are read and written little-endian, unlike in the published test
// vectors: ciphertext is that of other implementations with the bytes of each 4-byte half reversed.
//
// Obtained from the object kBlowfishObjectId.
class IBlowfish {
 public:
  static constexpr InterfaceId kInterfaceId{
      0xD41C8FB2, 0x4EF4, 0x9E5E, {0x36, 0x23, 0xA7, 0x52, 0x23, 0x6F, 0x00, 0x00}};

  // Sets the key for all that follows. keyLength is in bytes, from 1; the cipher uses up to 56, and
  // further bytes, up to the 72nd, still change the result. A length below 1 or a null key ends the
  // process. Until the first key is set the results of Encrypt and Decrypt are meaningless.
  virtual void SetKey(const std::uint8_t* key, std::int32_t keyLength) = 0;

  // Enciphers inputLength bytes into output, which is resized to inputLength rounded up to a
  // multiple of 8; zero bytes fill the last block. input may be output.data(): the buffer is then
  // enciphered in place. Otherwise the two must not overlap. One call enciphers at most 2^32 - 1
  // blocks. Always returns 0; std::bad_alloc or std::length_error when output cannot grow.
  virtual std::uint32_t Encrypt(const std::uint8_t* input, std::uint64_t inputLength,
                                std::vector<std::uint8_t>& output) = 0;

  // Deciphers inputLength bytes, which Encrypt made, into output; the zero bytes that Encrypt added
  // come back. Whole blocks are deciphered only: of a length that is not a multiple of 8 the rest
  // is dropped, and output is that much shorter. In place, overlap, result and exceptions are as
  // for Encrypt.
  virtual std::uint32_t Decrypt(const std::uint8_t* input, std::uint64_t inputLength,
                                std::vector<std::uint8_t>& output) = 0;

 protected:
  ~IBlowfish() = default;
};

}  // namespace Cifra
