#pragma once

#include <cstdint>
#include <vector>

#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"

namespace Cifra {

// IBlowfish enciphers byte buffers with Blowfish (B. Schneier, "Description of a New
// Variable-Length Key, 64-Bit Block Cipher", 1994) in electronic-codebook mode: each 8-byte block
// independently, without an initialisation vector.
//
// The two 32-bit halves of a block are little-endian, unlike in the published test vectors. To
// interoperate with other implementations, reverse the bytes of each 4-byte half of both plaintext
// and ciphertext.
//
// Obtained from the object kBlowfishObjectId.
class IBlowfish {
 public:
  static constexpr InterfaceId kInterfaceId{
      0xD41C8FB2, 0x4EF4, 0x9E5E, {0x36, 0x23, 0xA7, 0x52, 0x23, 0x6F, 0x00, 0x00}};
  static constexpr const wchar_t* kObjectId = kBlowfishObjectId;

  // Sets the key for the calls that follow. keyLength is in bytes, at least 1; Blowfish defines
  // keys of up to 56, but further bytes, up to the 72nd, change the result too. A length below 1 or
  // a null key ends the process. Before the first key Encrypt and Decrypt give meaningless results.
  virtual void SetKey(const std::uint8_t* key, std::int32_t keyLength) = 0;

  // Enciphers inputLength bytes into output, which is resized to inputLength rounded up to a
  // multiple of 8; the last block is padded with zero bytes. input may lie in output's buffer;
  // other overlap is not allowed. A null input with a length ends the process. Always returns 0;
  // throws std::bad_alloc or std::length_error when output cannot grow.
  //
  // Blocks are counted modulo 2^32: of 2^32 or more only the remainder, from the first block on, is
  // enciphered. The rest of output keeps what it held, which in place is plaintext, or is zero
  // where output grew.
  virtual std::uint32_t Encrypt(const std::uint8_t* input, std::uint64_t inputLength,
                                std::vector<std::uint8_t>& output) = 0;

  // Deciphers inputLength bytes of ciphertext, any number of blocks, into output; the zero bytes
  // that Encrypt added are kept. Only whole blocks are deciphered: the remainder of inputLength
  // modulo 8 is dropped and output is that much shorter. Overlap, null input, result and exceptions
  // are as for Encrypt.
  virtual std::uint32_t Decrypt(const std::uint8_t* input, std::uint64_t inputLength,
                                std::vector<std::uint8_t>& output) = 0;

 protected:
  ~IBlowfish() = default;
};

}  // namespace Cifra
